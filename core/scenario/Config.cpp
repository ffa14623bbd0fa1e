#include <scenario/Config.h>

#include "ModelIndex.h"

Config::Config() = default;

// The store is released; the children are not: only RemoveChild destroys them.
Config::~Config() = default;

void Config::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    ScenarioItemStore::GetChildren(children, out, kindFilter);
}

void Config::DetachChildren() {
    ModelIndex::NoteChange(this);
    children.clear();
}

void Config::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    ScenarioItemStore::AddChild(children, this, child, reference, after);
}

void Config::RemoveChild(ScenarioItem* child) {
    ScenarioItemStore::RemoveChild(children, this, child);
}

void Config::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    ScenarioItemStore::ReplaceChild(children, this, newChild, oldChild);
}

void Config::SwapChildren(ScenarioItem* a, ScenarioItem* b) {
    ScenarioItemStore::SwapChildren(children, a, b);
}

namespace {

// A flag is set only by the exact text "1"; any other text leaves it open.
bool ReadFlag(ScenarioTextStream& stream, const char* key, bool& flag) {
    std::string text;
    if (!ReadStringAttribute(stream, key, text))
        return false;
    flag = text == "1";
    return true;
}

bool ReadOnce(ScenarioTextStream& stream, const char* key, std::string& field) {
    return field.empty() && ReadStringAttribute(stream, key, field);
}

} // namespace

bool Config::LoadAttribute(ScenarioTextStream& stream) {
    if (ScenarioItem::LoadAttribute(stream))
        return true;
    // Keys match by prefix: "EVALUATION" takes an "EVALUATION_ACTIVE" line while
    // the evaluation is still empty.
    return ReadOnce(stream, "LABEL", label) || ReadOnce(stream, "REQUEST_DELAY", requestDelay) ||
           ReadOnce(stream, "UPDATE_DELAY", updateDelay) || ReadOnce(stream, "WAITMSG_DELAY", waitMsgDelay) ||
           ReadOnce(stream, "NUMOF_UNDOS", numOfUndos) || ReadOnce(stream, "STUDENT", student) ||
           ReadOnce(stream, "TRAINING", training) || ReadOnce(stream, "EVALUATION", evaluation) ||
           ReadOnce(stream, "SESSION", session) || ReadOnce(stream, "HISTORY", history) ||
           (!evaluationActive && ReadFlag(stream, "EVALUATION_ACTIVE", evaluationActive)) ||
           (!generalParametersActive &&
            ReadFlag(stream, "GENERAL_PARAMETERS_ACTIVE", generalParametersActive));
}

void Config::SaveAttributes(std::ostream& out) {
    ScenarioItem::SaveAttributes(out);
    WriteAttribute(out, "REQUEST_DELAY", requestDelay.c_str());
    WriteAttribute(out, "WAITMSG_DELAY", waitMsgDelay.c_str());
    WriteAttribute(out, "UPDATE_DELAY", updateDelay.c_str());
    WriteAttribute(out, "NUMOF_UNDOS", numOfUndos.c_str());
    WriteAttribute(out, "STUDENT", student.c_str());
    WriteAttribute(out, "TRAINING", training.c_str());
    WriteAttribute(out, "EVALUATION", evaluation.c_str());
    WriteAttribute(out, "SESSION", session.c_str());
    WriteAttribute(out, "HISTORY", history.c_str());
}

bool Config::OnLoadEnd() {
    if (requestDelay.empty())
        requestDelay = "1";
    if (waitMsgDelay.empty())
        waitMsgDelay = "500";
    if (updateDelay.empty())
        updateDelay = "1";
    if (numOfUndos.empty())
        numOfUndos = "5";
    return true;
}

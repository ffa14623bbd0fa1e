#include <scenario/Criteria.h>

#include <algorithm>
#include <ostream>

namespace {

std::vector<std::string>& Categories() {
    static std::vector<std::string> categories;
    return categories;
}

} // namespace

const std::vector<std::string>& CriteriaCategories() {
    return Categories();
}

Criteria::Criteria(void* context) : Task(context) {
    RegisterCategory();
}

Criteria::~Criteria() = default;

size_t Criteria::RegisterCategory() {
    std::vector<std::string>& categories = Categories();
    auto it = std::find(categories.begin(), categories.end(), category);
    if (it != categories.end())
        return static_cast<size_t>(it - categories.begin());
    categories.push_back(category);
    return categories.size() - 1;
}

bool Criteria::LoadAttribute(ScenarioTextStream& stream) {
    if (Task::LoadAttribute(stream))
        return true;
    std::string value;
    if (ReadStringAttribute(stream, "IS_DISABLED", value)) {
        disabled = value == "1" ? 1 : 0;
        return true;
    }
    if (category.empty() && ReadStringAttribute(stream, "CATEGORY", category)) {
        RegisterCategory();
        return true;
    }
    if (ReadStringAttribute(stream, "CRITICITY", criticity))
        return true;
    if (ReadStringAttribute(stream, "ATTRIBUTE_CRITERIA_TYPE", criteriaType))
        return true;
    if (text.empty() && ReadStringAttribute(stream, "TEXT", text))
        return true;
    return sound.empty() && ReadStringAttribute(stream, "SOUND", sound);
}

void Criteria::SaveAttributes(std::ostream& out) {
    Token::SaveAttributes(out);
    if (disabled != 0)
        WriteAttribute(out, "IS_DISABLED", "1");
    WriteAttribute(out, "CATEGORY", category.c_str());
    WriteAttribute(out, "CRITICITY", criticity.c_str());
    WriteAttribute(out, "ATTRIBUTE_CRITERIA_TYPE", criteriaType.c_str());
    WriteAttribute(out, "TEXT", text.c_str());
    WriteAttribute(out, "SOUND", sound.c_str());
}

ScenarioItem* Criteria::Clone() {
    ScenarioItem* copy = Task::Clone();
    if (Criteria* criteria = dynamic_cast<Criteria*>(copy)) {
        criteria->disabled = disabled;
        criteria->category = category;
        criteria->criteriaType = criteriaType;
        criteria->criticity = criticity;
        criteria->text = text;
        criteria->sound = sound;
        criteria->RegisterCategory();
    }
    return copy;
}

void Criteria::UpdateDisplayText() {
    displayText = disabled != 0 ? "//    " + label : label;
}

void Criteria::Init(const std::string& path, double time) {
    workPath = path;
    if (disabled != 0)
        return;
    SetCounter(0.0f, 0, 0.0f);
    SetCounter(0.0f, 1, 0.0f);
    Task::Init(path, time);
}

void Criteria::StepCriteria(double time, ScenarioLib::Scenario* scenario) {
    if (disabled == 0)
        Task::Step(time, scenario, true);
}

void Criteria::SetCounter(float value, int32_t level, float key) {
    counters[static_cast<int16_t>(level)].values[key] = value;
}

#include <scenario/Condition.h>

#include <scenario/Rule.h>
#include <scenario/RuntimeTables.h>

#include "ModelIndex.h"
#include "ValidityRules.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string_view>

namespace {

const char* const kSource = "Condition";

// The modifiers with the words a display line shows for them.
struct ModifierEntry {
    const char* word;
    const char* display;
};

constexpr ModifierEntry kModifiers[] = {
    {"IS_TRUE", "IS TRUE"},
    {"IS_FALSE", "IS FALSE"},
    {"BECOMES_TRUE", "BECOMES TRUE"},
    {"BECOMES_FALSE", "BECOMES FALSE"},
    {"HAS_BEEN_TRUE", "HAS BEEN TRUE"},
    {"HAS_BEEN_FALSE", "HAS BEEN FALSE"},
    {"HAS_BEEN_TRUE_FOR", "HAS BEEN TRUE FOR"},
    {"HAS_BEEN_FALSE_FOR", "HAS BEEN FALSE FOR"},
};

const ModifierEntry* FindModifier(const std::string& word) {
    for (const ModifierEntry& entry : kModifiers)
        if (word == entry.word)
            return &entry;
    return nullptr;
}

bool IsTimedModifier(const std::string& word) {
    return word == "HAS_BEEN_TRUE_FOR" || word == "HAS_BEEN_FALSE_FOR";
}

// The sign of the six comparisons, which show as "a  >  b"; null for any other
// name.
const char* ComparisonSign(const std::string& name) {
    if (name == "EQUAL")
        return "=";
    if (name == "NOTEQUAL")
        return "!=";
    if (name == "INFERIOR")
        return "<";
    if (name == "INFEQUAL")
        return "<=";
    if (name == "SUPERIOR")
        return ">";
    if (name == "SUPEQUAL")
        return ">=";
    return nullptr;
}

Condition* AsCondition(ScenarioItem* item) {
    return item != nullptr && item->kind == ITEM_CONDITION ? dynamic_cast<Condition*>(item) : nullptr;
}

} // namespace

Condition::Condition() = default;

Condition::~Condition() {
    for (Condition* condition : subConditions)
        delete condition;
}

void Condition::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_CONDITION)
        out.insert(out.end(), subConditions.begin(), subConditions.end());
    Function::GetChildren(out, kindFilter);
}

void Condition::DetachChildren() {
    ModelIndex::NoteChange(this);
    subConditions.clear();
    Function::DetachChildren();
}

void Condition::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    if (child == nullptr || child->kind != ITEM_CONDITION) {
        Function::AddChild(child, reference, after);
        return;
    }
    Condition* condition = AsCondition(child);
    if (condition == nullptr)
        return;
    ModelIndex::NoteChange(this);
    ScenarioItemStore::Place(subConditions, condition, reference, after);
    condition->parent = this;
}

void Condition::RemoveChild(ScenarioItem* child) {
    auto it = std::find(subConditions.begin(), subConditions.end(), child);
    if (child == nullptr || child->kind != ITEM_CONDITION || it == subConditions.end()) {
        Function::RemoveChild(child);
        return;
    }
    ModelIndex::NoteChange(this);
    subConditions.erase(it);
    if (child->parent == this)
        delete child;
}

void Condition::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    Condition* condition = AsCondition(newChild);
    if (condition == nullptr) {
        Function::ReplaceChild(newChild, oldChild);
        return;
    }
    ModelIndex::NoteChange(this);
    std::replace(subConditions.begin(), subConditions.end(), static_cast<Condition*>(oldChild), condition);
    condition->parent = this;
}

void Condition::SwapChildren(ScenarioItem* a, ScenarioItem* b) {
    if (ScenarioItemStore::Swap(subConditions, a, b))
        ModelIndex::NoteChange(this);
    else
        Function::SwapChildren(a, b);
}

void Condition::SaveChildren(std::ostream& out) {
    if (IsJunction())
        ScenarioItem::SaveChildren(out);
    else
        Function::SaveChildren(out);
}

bool Condition::AcceptsChildKind(uint32_t childKind) {
    if (IsJunction())
        return childKind == ITEM_CONDITION;
    return Function::AcceptsChildKind(childKind);
}

bool Condition::OnLoadBegin() {
    return LinkToDefinition("CONDITION_LIST", "BOOL");
}

bool Condition::OnLoadEnd() {
    // "AND" and "OR" hold sub-conditions, not the parameters of a definition.
    if (!IsJunction() && !Function::OnLoadEnd())
        return false;
    if (modifier.empty())
        modifier = "IS_TRUE";
    return true;
}

void Condition::UpdateDisplayText() {
    if (model == nullptr)
        AssertAbort(kSource, 70);
    if (model->kind != ITEM_CONDITION)
        AssertAbort(kSource, 71);
    if (parent == nullptr)
        AssertAbort(kSource, 72);
    std::vector<ScenarioItem*> children;
    GetChildren(children);
    for (const ScenarioItem* child : children)
        if (child == nullptr || (child->kind != ITEM_CONDITION && child->kind != ITEM_PARAMETER))
            AssertAbort(kSource, 80);
    if (model == this) {
        displayText = name + "    (" + label + ")";
        return;
    }
    std::string text = dynamic_cast<const Rule*>(parent) != nullptr ? "IF    " : "";
    const std::string& definitionName = model->name;
    if (IsJunction()) {
        if (subConditions.empty()) {
            text += "[  " + definitionName + "  ?  ]";
        } else {
            for (size_t i = 0; i < subConditions.size(); ++i) {
                if (i > 0)
                    text += "  " + definitionName + "  ";
                text += "[  " + subConditions[i]->displayText + "  ]";
            }
        }
    } else if (ComparisonSign(name) != nullptr) {
        const char* sign = ComparisonSign(definitionName);
        auto textOf = [this](size_t index) {
            return index < parameters.size() ? parameters[index]->displayText : std::string();
        };
        text += textOf(0) + "  " + (sign != nullptr ? sign : "") + "  " + textOf(1);
    } else {
        text += CallText();
    }
    if (modifier != "IS_TRUE") {
        const ModifierEntry* entry = FindModifier(modifier);
        text += "    " + std::string(entry != nullptr ? entry->display : modifier.c_str());
        if (IsTimedModifier(modifier))
            text += "  " + DurationText() + "  second(s)";
    }
    displayText = text;
}

void Condition::SetModel(Token* item) {
    Function::SetModel(item);
    // A condition runs the CODE of the definition its chain ends in.
    if (const Function* definition = RootDefinition())
        codeNumber = definition->codeNumber;
}

bool Condition::LoadUserAttribute(ScenarioTextStream& stream) {
    if (Function::LoadUserAttribute(stream))
        return true;
    switch (stream.Peek()) {
    case 'M':
        if (!modifier.empty() || !ReadStringAttribute(stream, "MODIFIER", modifier))
            return false;
        return FindModifier(modifier) != nullptr;
    case 'D': {
        std::string text;
        if (!DurationText().empty() || !ReadStringAttribute(stream, "DURATION", text))
            return false;
        duration = static_cast<float>(std::atof(text.c_str()));
        return true;
    }
    default:
        return false;
    }
}

void Condition::SaveUserAttributes(std::ostream& out) {
    Function::SaveUserAttributes(out);
    if (modifier != "IS_TRUE")
        WriteAttribute(out, "MODIFIER", modifier.c_str());
    if (IsTimedModifier(modifier))
        WriteAttribute(out, "DURATION", DurationText().c_str());
}

void Condition::CopyUserAttributes(Token* target) {
    target->SetModel(model);
    if (!IsJunction())
        Function::CopyUserAttributes(target);
    if (Condition* copy = AsCondition(target)) {
        copy->modifier = modifier;
        // Through its text, as a save and a load would carry it.
        const std::string text = DurationText();
        copy->duration = text.empty() ? -1.0f : static_cast<float>(std::atof(text.c_str()));
    }
}

namespace {

std::string JunctionFault(const Condition& junction) {
    return junction.subConditions.empty() ? junction.name + " without sub-conditions" : std::string();
}

// A rule evaluates its first child only.
std::string PositionFault(const Condition& condition) {
    const Rule* rule = dynamic_cast<const Rule*>(condition.parent);
    if (rule == nullptr || rule->GetFirstChild() == &condition)
        return std::string();
    return "condition after the first item of its rule";
}

} // namespace

std::string ConditionFault(const Condition& condition) {
    std::string fault = condition.IsJunction() ? JunctionFault(condition) : CallFault(condition);
    return fault.empty() ? PositionFault(condition) : fault;
}

void Condition::UpdateValidity() {
    if (IsJunction()) {
        valid = JunctionFault(*this).empty() &&
                std::all_of(subConditions.begin(), subConditions.end(),
                            [](const Condition* condition) { return condition->IsValid(); });
    } else {
        Function::UpdateValidity();
    }
    if (valid)
        valid = PositionFault(*this).empty();
}

void Condition::Init(double time) {
    lastChangeTime = time;
    state = 2;
    hasBeenTrue = 0;
    hasBeenFalse = 0;
    for (Condition* condition : subConditions)
        condition->Init(time);
}

bool Condition::Evaluate(double time) {
    const int32_t previous = state;
    if (!subConditions.empty()) {
        // Every branch is evaluated, so that each one's memory of the past moves.
        const bool any = name == "OR";
        int32_t result = any ? 0 : 1;
        for (Condition* condition : subConditions) {
            const bool branch = condition->Evaluate(time);
            if (any && branch)
                result = 1;
            else if (name == "AND" && !branch)
                result = 0;
        }
        state = result;
    } else {
        const Function* definition = RootDefinition();
        const int32_t code = definition != nullptr ? definition->codeNumber : codeNumber;
        if (code == -1)
            state = 0;
        // A condition without implementation is a fault of the model: the table
        // holds nothing at -1.
        const ConditionEntry* entry = FindConditionEntry(code);
        if (entry == nullptr)
            AssertAbort(kSource, 920);
        Values values;
        FillValues(values, kSource);
        state = (*entry)(values.data) ? 1 : 0;
    }
    const bool changed = state != previous;
    if (changed) {
        lastChangeTime = time;
        if (state == 1)
            hasBeenTrue = 1;
        else
            hasBeenFalse = 1;
    }
    // Every rule of a running task asks this at every step: the words are told
    // apart by their length first.
    const auto is = [this](std::string_view word) {
        return modifier.size() == word.size() && std::string_view(modifier) == word;
    };
    switch (modifier.size()) {
    case 7:
        if (is("IS_TRUE"))
            return state == 1;
        break;
    case 8:
        if (is("IS_FALSE"))
            return state == 0;
        break;
    case 12:
        if (is("BECOMES_TRUE"))
            return state == 1 && changed;
        break;
    case 13:
        if (is("BECOMES_FALSE"))
            return state == 0 && changed;
        if (is("HAS_BEEN_TRUE"))
            return hasBeenTrue != 0;
        break;
    case 14:
        if (is("HAS_BEEN_FALSE"))
            return hasBeenFalse != 0;
        break;
    case 17:
        if (is("HAS_BEEN_TRUE_FOR"))
            return state == 1 && time - lastChangeTime >= duration;
        break;
    case 18:
        if (is("HAS_BEEN_FALSE_FOR"))
            return state == 0 && time - lastChangeTime >= duration;
        break;
    default:
        break;
    }
    if (scenarioLog != nullptr) {
        scenarioLog->put('\x03');
        *scenarioLog << "Unknown modifier " << modifier << std::endl;
    }
    return false;
}

std::string Condition::DurationText() const {
    if (duration == -1.0f)
        return std::string();
    char text[64];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(duration));
    return text;
}

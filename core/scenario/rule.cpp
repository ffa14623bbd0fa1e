#include <scenario/Rule.h>

#include <scenario/Action.h>
#include <scenario/Condition.h>
#include <scenario/Parameter.h>
#include <scenario/Variable.h>

#include "ModelIndex.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <ostream>

using ScenarioItemStore::PlaceAs;
using ScenarioItemStore::ReplaceAs;
using ScenarioItemStore::Swap;
using ScenarioItemStore::Take;

namespace {

bool IsEvaluationWord(const std::string& word) {
    return word == "NORMAL" || word == "WARNING" || word == "ERROR";
}

} // namespace

Rule::Rule(ScenarioItemObserver* observer) {
    if (observer != nullptr)
        AddObserver(observer);
}

Rule::~Rule() {
    for (Variable* variable : variables)
        delete variable;
    for (Condition* condition : conditions)
        delete condition;
    for (Action* action : actions)
        delete action;
    for (Action* action : elseActions)
        delete action;
}

void Rule::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_VARIABLE)
        out.insert(out.end(), variables.begin(), variables.end());
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_CONDITION)
        out.insert(out.end(), conditions.begin(), conditions.end());
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_ACTION)
        out.insert(out.end(), actions.begin(), actions.end());
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_ELSE_ACTION)
        out.insert(out.end(), elseActions.begin(), elseActions.end());
}

void Rule::DetachChildren() {
    ModelIndex::NoteChange(this);
    variables.clear();
    conditions.clear();
    actions.clear();
    elseActions.clear();
}

void Rule::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    if (child == nullptr)
        return;
    bool placed = false;
    switch (child->kind) {
    case ITEM_VARIABLE:
        placed = PlaceAs(variables, child, reference, after);
        break;
    case ITEM_CONDITION:
        placed = PlaceAs(conditions, child, reference, after);
        break;
    case ITEM_ACTION:
        placed = PlaceAs(actions, child, reference, after);
        break;
    case ITEM_ELSE_ACTION:
        placed = PlaceAs(elseActions, child, reference, after);
        break;
    default:
        break;
    }
    if (!placed)
        return;
    ModelIndex::NoteChange(this);
    child->parent = this;
}

void Rule::RemoveChild(ScenarioItem* child) {
    if (child == nullptr)
        return;
    if (!Take(variables, child) && !Take(conditions, child) && !Take(actions, child) &&
        !Take(elseActions, child))
        return;
    ModelIndex::NoteChange(this);
    if (child->parent == this)
        delete child;
}

void Rule::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    if (newChild == nullptr)
        return;
    ModelIndex::NoteChange(this);
    bool replaced = false;
    switch (newChild->kind) {
    case ITEM_VARIABLE:
        replaced = ReplaceAs(variables, newChild, oldChild);
        break;
    case ITEM_CONDITION:
        replaced = ReplaceAs(conditions, newChild, oldChild);
        break;
    case ITEM_ACTION:
        replaced = ReplaceAs(actions, newChild, oldChild);
        break;
    case ITEM_ELSE_ACTION:
        replaced = ReplaceAs(elseActions, newChild, oldChild);
        break;
    default:
        break;
    }
    if (replaced)
        newChild->parent = this;
}

void Rule::SwapChildren(ScenarioItem* a, ScenarioItem* b) {
    if (Swap(variables, a, b) || Swap(conditions, a, b) || Swap(actions, a, b) || Swap(elseActions, a, b))
        ModelIndex::NoteChange(this);
}

void Rule::SetName(const std::string& newName) {
    Token::SetName(newName);
    SetObservableId(static_cast<uint32_t>(std::atoi(newName.c_str())));
}

bool Rule::LoadAttribute(ScenarioTextStream& stream) {
    if (Token::LoadAttribute(stream))
        return true;
    std::string text;
    if (disabled == 0 && ReadStringAttribute(stream, "IS_DISABLED", text)) {
        disabled = text == "1" ? 1 : 0;
        return true;
    }
    if (evaluation.empty() && ReadStringAttribute(stream, "EVALUATION", evaluation))
        return IsEvaluationWord(evaluation);
    return false;
}

void Rule::SaveAttributes(std::ostream& out) {
    Token::SaveAttributes(out);
    if (disabled != 0)
        WriteAttribute(out, "IS_DISABLED", "1");
    if (evaluation != "NORMAL")
        WriteAttribute(out, "EVALUATION", evaluation.c_str());
}

bool Rule::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_ACTION || childKind == ITEM_ELSE_ACTION || childKind == ITEM_CONDITION;
}

bool Rule::OnLoadEnd() {
    if (evaluation.empty())
        evaluation = "NORMAL";
    return true;
}

ScenarioItem* Rule::Clone() {
    ScenarioItem* copy = Token::Clone();
    if (Rule* rule = dynamic_cast<Rule*>(copy)) {
        rule->evaluation = evaluation;
        rule->disabled = disabled;
    }
    return copy;
}

void Rule::UpdateDisplayText() {
    displayText = disabled != 0 ? "//    " + label : label;
}

void Rule::SwitchBranch(Action* action, size_t index) {
    if (action == nullptr)
        return;
    const bool toElse = action->kind == ITEM_ACTION;
    std::vector<Action*>& from = toElse ? actions : elseActions;
    std::vector<Action*>& to = toElse ? elseActions : actions;
    auto it = std::find(from.begin(), from.end(), action);
    if (it == from.end())
        return;
    ModelIndex::NoteChange(this);
    from.erase(it);
    action->kind = toElse ? ITEM_ELSE_ACTION : ITEM_ACTION;
    to.insert(to.begin() + static_cast<std::ptrdiff_t>(std::min(index, to.size())), action);
}

void Rule::Init(const std::string& path, double time) {
    workPath = path;
    if (scenarioLog != nullptr) {
        scenarioLog->put('\x02');
        *scenarioLog << "Init rule [" << name << "]" << std::endl;
    }
    if (!conditions.empty() && conditions[0] != nullptr)
        conditions[0]->Init(time);
    lastChangeTime = time;
    result = 2;
    activationCount = 0;
    activeTime = 0.0;
}

void Rule::Step(double time) {
    if (disabled != 0)
        return;
    const int32_t previous = result;
    if (conditions.empty() || conditions[0] == nullptr)
        result = 1;
    else
        result = conditions[0]->Evaluate(time) ? 1 : 0;
    // A branch runs at every step, not only when the result changes. An action
    // may disable the rule; the else branch then stays still.
    if (result == 1) {
        for (size_t i = 0; i < actions.size(); ++i)
            actions[i]->Execute();
    } else if (disabled == 0) {
        for (size_t i = 0; i < elseActions.size(); ++i)
            elseActions[i]->Execute();
    }
    if (result != previous) {
        if (result == 1)
            ++activationCount;
        else
            activeTime += time - lastChangeTime;
        NotifyObservers(result == 1 ? 0 : 1);
        lastChangeTime = time;
    }
}

void Rule::PrefetchStep() const {
    auto prefetch = [](const Function* function) {
        __builtin_prefetch(&function->model);
        for (const Parameter* parameter : function->parameters) {
            __builtin_prefetch(&parameter->model);
            __builtin_prefetch(&parameter->value);
            __builtin_prefetch(&parameter->valueKind);
        }
    };
    if (!conditions.empty() && conditions[0] != nullptr)
        prefetch(conditions[0]);
    for (const Action* action : actions)
        prefetch(action);
}

int32_t Rule::Level() const {
    return activationCount > 0 ? level : 0;
}

#include <scenario/Task.h>

#include <scenario/Parameter.h>
#include <scenario/Rule.h>
#include <scenario/Scenario.h>
#include <scenario/Variable.h>

#include "ModelIndex.h"

#include <boost/lexical_cast.hpp>

#include <algorithm>
#include <cstdlib>
#include <ostream>

int32_t taskRuleCounter = 0;

using ScenarioItemStore::PlaceAs;
using ScenarioItemStore::ReplaceAs;
using ScenarioItemStore::Swap;
using ScenarioItemStore::Take;

namespace {

void Log(char severity, const std::string& text) {
    if (scenarioLog == nullptr)
        return;
    scenarioLog->put(severity);
    *scenarioLog << text << std::endl;
}

} // namespace

Task::Task(void*) {}

Task::~Task() {
    for (Variable* variable : variables)
        delete variable;
    for (Rule* rule : rules)
        delete rule;
    for (Task* task : subTasks)
        delete task;
    --taskRuleCounter;
}

void Task::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_VARIABLE)
        out.insert(out.end(), variables.begin(), variables.end());
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_RULE)
        out.insert(out.end(), rules.begin(), rules.end());
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_TASK)
        out.insert(out.end(), subTasks.begin(), subTasks.end());
}

void Task::DetachChildren() {
    ModelIndex::NoteChange(this);
    variables.clear();
    rules.clear();
    subTasks.clear();
    taskRuleCounter = 0;
}

void Task::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    if (child == nullptr)
        return;
    bool placed = false;
    switch (child->kind) {
    case ITEM_VARIABLE:
        placed = PlaceAs(variables, child, reference, after);
        break;
    case ITEM_RULE:
        placed = PlaceAs(rules, child, reference, after);
        taskRuleCounter += placed ? 1 : 0;
        break;
    case ITEM_TASK:
        placed = PlaceAs(subTasks, child, reference, after);
        break;
    default:
        break;
    }
    if (!placed)
        return;
    ModelIndex::NoteChange(this);
    child->parent = this;
    // The variables of a task brought in must not take names already in use.
    if (child->kind == ITEM_TASK)
        static_cast<Task*>(child)->RenumberVariables();
}

void Task::RemoveChild(ScenarioItem* child) {
    if (child == nullptr)
        return;
    if (!Take(variables, child) && !Take(rules, child) && !Take(subTasks, child))
        return;
    ModelIndex::NoteChange(this);
    if (child->parent == this)
        delete child;
}

void Task::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    if (newChild == nullptr)
        return;
    if (newChild->kind == ITEM_INCLUDE) {
        if (parent != nullptr)
            parent->ReplaceChild(newChild, oldChild);
        return;
    }
    ModelIndex::NoteChange(this);
    bool replaced = false;
    switch (newChild->kind) {
    case ITEM_VARIABLE:
        replaced = ReplaceAs(variables, newChild, oldChild);
        break;
    case ITEM_RULE:
        replaced = ReplaceAs(rules, newChild, oldChild);
        break;
    case ITEM_TASK:
        replaced = ReplaceAs(subTasks, newChild, oldChild);
        break;
    default:
        break;
    }
    if (replaced)
        newChild->parent = this;
}

void Task::SwapChildren(ScenarioItem* a, ScenarioItem* b) {
    if (Swap(variables, a, b) || Swap(rules, a, b) || Swap(subTasks, a, b))
        ModelIndex::NoteChange(this);
}

void Task::SetName(const std::string& newName) {
    Token::SetName(newName);
    SetObservableId(static_cast<uint32_t>(std::atoi(newName.c_str())));
}

bool Task::LoadAttribute(ScenarioTextStream& stream) {
    return Token::LoadAttribute(stream);
}

bool Task::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_RULE || childKind == ITEM_TASK || childKind == ITEM_VARIABLE;
}

bool Task::LoadUserAttribute(ScenarioTextStream& stream) {
    if (Token::LoadUserAttribute(stream))
        return true;
    std::string text;
    if (!ReadStringAttribute(stream, "TASK_KIND", text))
        return false;
    try {
        taskKind = boost::lexical_cast<int32_t>(text);
        return true;
    } catch (const boost::bad_lexical_cast& error) {
        Log('\x04', std::string("Task::LoadUserAttribute : ") + error.what());
        return false;
    }
}

void Task::SaveUserAttributes(std::ostream& out) {
    Token::SaveUserAttributes(out);
    try {
        WriteAttribute(out, "TASK_KIND", boost::lexical_cast<std::string>(taskKind).c_str());
    } catch (const boost::bad_lexical_cast& error) {
        Log('\x04', std::string("Task::SaveUserAttributes : ") + error.what());
    }
}

void Task::CopyUserAttributes(Token* target) {
    Token::CopyUserAttributes(target);
    if (Task* task = dynamic_cast<Task*>(target))
        task->taskKind = taskKind;
}

void Task::GetSubTasks(std::vector<Task*>& out) const {
    out.insert(out.end(), subTasks.begin(), subTasks.end());
}

bool Task::RenumberVariables() {
    std::vector<ScenarioItem*> parameters;
    CollectItemsOfKind(parameters, ITEM_PARAMETER, true, true);
    bool renamed = false;
    for (Variable* variable : variables) {
        const std::string former = variable->name;
        variable->MakeUniqueName();
        if (variable->name == former)
            continue;
        renamed = true;
        variable->MakeUniqueLabel();
        for (ScenarioItem* item : parameters) {
            Parameter* parameter = dynamic_cast<Parameter*>(item);
            if (parameter != nullptr && parameter->valueKind == "VARIABLE" && parameter->value == former)
                parameter->value = variable->name;
        }
    }
    return renamed;
}

int Task::StateIndex(int32_t number) const {
    for (size_t i = 0; i < subTasks.size(); ++i)
        if (std::atoi(subTasks[i]->name.c_str()) == number)
            return static_cast<int>(i);
    return -1;
}

int32_t Task::MaxRuleLevel() const {
    int32_t highest = 0;
    for (const Rule* rule : rules)
        highest = std::max(highest, rule->Level());
    for (const Task* task : subTasks)
        highest = std::max(highest, task->MaxRuleLevel());
    return highest;
}

void Task::Init(const std::string& path, double time) {
    workPath = path;
    Log('\x02', "Init task [" + label + "]");
    stepCount = 0;
    startTime = time;
    for (Task* task : subTasks)
        task->Init(workPath, time);
    if (subTasks.empty())
        currentState = -1;
    else
        currentState = nextState != -1 ? nextState : std::atoi(subTasks[0]->name.c_str());
    for (Rule* rule : rules)
        rule->Init(workPath, time);
    for (Variable* variable : variables)
        variable->value = variable->initialValue;
    const ScenarioItem* root = GetTreeRoot(this);
    if (root != nullptr && root->kind == ITEM_SCENARIO && time != 0.0)
        NotifyObservers(2);
    transitionPending = 0;
}

void Task::Step(double time, ScenarioLib::Scenario* scenario, bool countStep) {
    currentTime = time;
    if (scenario != nullptr)
        scenario->currentTask = this;
    if (currentState == -3)
        return;
    if (transitionPending != 0) {
        // The state asked for by the last step is entered, and nothing else is
        // done in this step.
        transitionPending = 0;
        currentState = nextState;
        if (currentState != -4 && scenario != nullptr)
            scenario->paused = 0;
        for (Task* task = this; task != nullptr;) {
            const int index = task->StateIndex(task->currentState);
            if (index < 0)
                break;
            Task* state = task->subTasks[static_cast<size_t>(index)];
            state->Init(workPath, time);
            task = state;
        }
        return;
    }
    bool ended = false;
    for (size_t i = 0; i < rules.size(); ++i) {
        // What the rules ahead read is asked for while this one runs.
        if (i + 1 < rules.size())
            rules[i + 1]->PrefetchStep();
        rules[i]->Step(time);
        if (nextState == -3) {
            ended = true;
            break;
        }
    }
    if (!ended) {
        const int index = StateIndex(currentState);
        if (index >= 0)
            subTasks[static_cast<size_t>(index)]->Step(time, scenario, countStep);
    }
    if (countStep)
        ++stepCount;
}

#pragma once

#include <scenario/Token.h>

#include <map>
#include <string>
#include <vector>

class Rule;
class Variable;

namespace ScenarioLib {
class Scenario;
}

/// A numbered state machine: variables, rules, and sub-tasks that are its
/// states, each named by its decimal state number. A step runs the rules, then
/// the current state; an action asks for another state by setting `nextState`
/// and `transitionPending`, and the next step enters it and does nothing else.
/// State -3 ends the task; entering -4 leaves the scenario's pause flag alone.
///
/// Observers hear event 2 when the task starts over within a scenario at a time
/// other than 0.
class Task : public Token {
public:
    /// The loader's context is taken and not used.
    explicit Task(void* context = nullptr);
    /// Destroys variables, rules and sub-tasks.
    ~Task() override;

    /// Variables, rules and sub-tasks, in that order, each for filter 0 or its
    /// own kind.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets every child without destroying it.
    void DetachChildren() override;
    /// Places a VARIABLE, RULE or TASK in its list, before or after `reference`;
    /// a TASK then renumbers its variables. Other kinds are ignored.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Takes the child out of its list, destroying it when this is its parent.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts `newChild` wherever `oldChild` stands in the list of its kind; an
    /// INCLUDE is handed to the parent.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Exchanges two children of one list.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// Stores the name; its number is the task's observable id.
    void SetName(const std::string& newName) override;
    /// The flags, LABEL and TASK_KIND.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// RULE, TASK and VARIABLE.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// TASK_KIND, a whole 32-bit decimal number; anything else is logged and
    /// refused.
    bool LoadUserAttribute(ScenarioTextStream& stream) override;
    /// TASK_KIND, always.
    void SaveUserAttributes(std::ostream& out) override;
    /// The task kind.
    void CopyUserAttributes(Token* target) override;

    /// Appends the sub-tasks.
    virtual void GetSubTasks(std::vector<Task*>& out) const;
    /// Starts over at `time`: states, rules and variables as loaded.
    virtual void Init(const std::string& path, double time);
    /// One step at `time` under `scenario` (which may be null); `countStep` says
    /// whether it counts.
    virtual void Step(double time, ScenarioLib::Scenario* scenario, bool countStep);
    /// Gives each own variable whose name another one holds the smallest free
    /// number, and the parameters below that name it the new name; true if any
    /// was renamed.
    virtual bool RenumberVariables();

    /// The index of the first sub-task whose number is `number`, or -1.
    int StateIndex(int32_t number) const;
    /// The highest level of a fired rule here and below; 0 when none.
    int32_t MaxRuleLevel() const;

    double currentTime = 0.0;
    int32_t stepCount = 0;
    double startTime = 0.0;
    int32_t currentState = -1;
    uint8_t transitionPending = 0;
    int32_t nextState = -1;
    std::vector<Variable*> variables;
    std::vector<Rule*> rules;
    std::vector<Task*> subTasks;
    std::map<int32_t, std::string> stateNames;
    std::string workPath;
    int32_t taskKind = 0;
};

/// Rules added to tasks, less the tasks destroyed; zeroed when a task forgets its
/// children. Kept for hosts; nothing here reads it.
extern int32_t taskRuleCounter;

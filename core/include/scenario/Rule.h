#pragma once

#include <scenario/Token.h>

#include <string>
#include <vector>

class Action;
class Condition;
class Variable;

/// One test with what to do when it holds (the ACTION children) and when it
/// doesn't (the ELSE_ACTION children), and variables of its own. A task steps
/// it: the first condition is evaluated, and a branch runs, at every step.
///
/// Observers hear event 0 when the test comes to hold and event 1 when it comes
/// to fail (the first step always counts as a change).
class Rule : public Token {
public:
    /// `observer`, when given, hears the rule's events.
    explicit Rule(ScenarioItemObserver* observer = nullptr);
    /// Destroys variables, conditions and actions.
    ~Rule() override;

    /// Variables, conditions, actions, else-actions, in that order, each for
    /// filter 0 or its own kind.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets every child without destroying it.
    void DetachChildren() override;
    /// Places a VARIABLE, CONDITION, ACTION or ELSE_ACTION in its list, before
    /// or after `reference`; other kinds are ignored.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Takes the child out of its list, destroying it when this is its parent.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts `newChild` wherever `oldChild` stands in the list of its kind.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Exchanges two children of one list.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// Stores the name; its number is the rule's observable id.
    void SetName(const std::string& newName) override;
    /// LABEL, IS_DISABLED (set only by "1") and EVALUATION ("NORMAL", "WARNING"
    /// or "ERROR"; another word is kept but refused).
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// LABEL, IS_DISABLED when set, EVALUATION unless "NORMAL".
    void SaveAttributes(std::ostream& out) override;
    /// ACTION, ELSE_ACTION and CONDITION.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// EVALUATION defaults to "NORMAL"; true.
    bool OnLoadEnd() override;
    /// A copy with EVALUATION and IS_DISABLED.
    ScenarioItem* Clone() override;
    /// The label, behind "//    " when disabled.
    void UpdateDisplayText() override;

    /// Moves the action to the other branch, at `index` of it (its front when
    /// that branch is empty), and turns ACTION into ELSE_ACTION or back.
    virtual void SwitchBranch(Action* action, size_t index);

    /// Starts over at `time`: the condition forgets its past, nothing counted.
    void Init(const std::string& path, double time);
    /// Evaluates the first condition (a rule without one holds) and runs the
    /// branch of the result; a change is counted and told to the observers.
    void Step(double time);
    /// The level once the rule has fired, else 0.
    int32_t Level() const;
    /// Asks the processor for what the next Step reads, so that a task stepping
    /// its rules one after the other overlaps their memory reads.
    void PrefetchStep() const;

    std::string evaluation;
    uint8_t disabled = 0;
    std::vector<Variable*> variables;
    std::vector<Condition*> conditions;
    std::vector<Action*> actions;
    std::vector<Action*> elseActions;
    int32_t level = 0;
    int32_t result = 2;
    double lastChangeTime = 0.0;
    int32_t activationCount = 0;
    double activeTime = 0.0;
    std::string workPath;
};

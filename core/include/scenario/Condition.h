#pragma once

#include <scenario/Function.h>

#include <string>
#include <vector>

/// The test of a rule: a comparison, a call of a condition function, or an "AND"
/// or "OR" of sub-conditions, with a modifier that says how its truth is read
/// over time. Links to a definition of "CONDITION_LIST".
///
/// Internal faults end the process through AssertAbort with the source
/// "Condition": 70 (a display text without a definition), 71 (a definition of
/// another kind), 72 (a display text without a parent), 80 (a child that is
/// neither a condition nor a parameter), 918 (more than twelve parameters), 920 (a CODE without
/// run-time entry, CODE -1 included).
class Condition : public Function {
public:
    Condition();
    /// Destroys the sub-conditions.
    ~Condition() override;

    /// The sub-conditions (filter 0 or CONDITION), then the parameters.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets sub-conditions and parameters without destroying them.
    void DetachChildren() override;
    /// A CONDITION among the sub-conditions, by the placing rule of the calls;
    /// other kinds as a call does.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// A sub-condition is taken out, and destroyed when this is its parent; other
    /// kinds as a call does.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts a CONDITION wherever `oldChild` stands among the sub-conditions; other
    /// kinds as a call does.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Exchanges two sub-conditions, or two parameters.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// "AND" and "OR" write every child in order; others as a call does.
    void SaveChildren(std::ostream& out) override;
    /// "AND" and "OR" take CONDITION only; others what a call takes.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// Links to the definition in "CONDITION_LIST" (a definition returns
    /// "BOOL"); false when there is none.
    bool OnLoadBegin() override;
    /// Checks a call against its definition ("AND" and "OR" have no parameters
    /// to check), then the modifier defaults to "IS_TRUE".
    bool OnLoadEnd() override;
    /// "IF    " in a rule, then the test ("a  >  b", "[  a  ]  AND  [  b  ]", or
    /// the call's text) and the modifier unless it is "IS_TRUE".
    void UpdateDisplayText() override;
    /// Stores the definition and takes the CODE of the definition at the end of
    /// its chain.
    void SetModel(Token* item) override;
    /// MODIFIER (known words only) and DURATION, each while unset.
    bool LoadUserAttribute(ScenarioTextStream& stream) override;
    /// MODIFIER unless "IS_TRUE"; DURATION for the two "_FOR" modifiers.
    void SaveUserAttributes(std::ostream& out) override;
    /// The definition, the call's values unless "AND" or "OR", the modifier and
    /// the duration.
    void CopyUserAttributes(Token* target) override;
    /// "AND" and "OR" need valid sub-conditions, at least one; others are valid
    /// as calls. In a rule, only its first condition is valid.
    void UpdateValidity() override;

    /// Forgets what earlier evaluations saw: the state is unknown again.
    void Init(double time);
    /// Evaluates the test at `time` and answers what the modifier makes of it.
    bool Evaluate(double time);

    /// DURATION as written: empty when unset, else "%f".
    std::string DurationText() const;

    std::string modifier;
    std::vector<Condition*> subConditions;
    float duration = -1.0f;
    double lastChangeTime = 0.0;
    int32_t state = 2;
    uint8_t hasBeenTrue = 0;
    uint8_t hasBeenFalse = 0;

private:
    // The validity rules tell a junction from a call.
    friend std::string ConditionFault(const Condition& condition);
    bool IsJunction() const { return name == "AND" || name == "OR"; }
};

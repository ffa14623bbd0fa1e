#pragma once

#include <scenario/ParameterValue.h>
#include <scenario/Token.h>

/// A named value of a script, kept as text, with what a front end needs to offer it.
class Variable : public Token {
public:
    Variable();
    ~Variable() override;

    /// Nothing: a variable has no children.
    void DetachChildren() override;
    /// Stores nothing; the child only learns this variable as its parent, so that
    /// the reader refuses it.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Nothing.
    void RemoveChild(ScenarioItem* child) override;
    /// Nothing.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Nothing.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// Takes the token's lines and the variable's keys. A "TYPE" outside the five
    /// type words is refused; a bool or a number that doesn't convert raises
    /// boost::bad_lexical_cast.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// Writes every attribute, empty or not.
    void SaveAttributes(std::ostream& out) override;
    /// False: a variable has no children.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// A copy with all the values; ends the process if the kind has no class.
    ScenarioItem* Clone() override;
    /// label + "=" + value.
    void UpdateDisplayText() override;

    /// Fills `out` with the value under the tag it already holds; a tag other than
    /// STRING that differs from the variable's type leaves `out` as it is and warns.
    void FillValue(ParameterValue& out) const;

    std::string type;
    std::string category = "INTERNAL";
    std::string interactiveType = "VOID";
    std::string value;
    std::string initialValue;
    std::string spare = "0";
    bool isInitializationNeededAtStart = false;
    double interactiveMinValue = 0.0;
    double interactiveMaxValue = 9999.0;
    double interactiveStepValue = 1.0;
};

/// The tag of a type word: INTEGER 0, FLOAT 1, BOOL 2, STRING 3, anything else 4.
int TypeTagOf(const std::string& type);
/// The type word of a tag, 0 to 4; "" for any other number.
std::string TypeNameOf(int tag);

#pragma once

#include <scenario/ParameterValue.h>
#include <scenario/Token.h>

#include <string>
#include <vector>

class Function;

/// One argument of a function, action or condition. As a definition (in the
/// folder "PARAMETER_LIST" of the root model) it says what the argument may be:
/// type, unit, limits and the kinds of value allowed; as an instance it holds
/// what the user chose: a KIND saying how to read VALUE, the VALUE, and for a
/// variable the file that owns it. Kinds PARAMETER and RETURN make this class;
/// in memory every parameter is a PARAMETER, and `isReturn` remembers a RETURN.
///
/// Internal faults end the process through AssertAbort with the source
/// "Parameter": 89 and 90 (CheckValueFormat without a parameter definition),
/// 120 (Save without a parent), 302 and 303 (user attributes without a
/// parameter definition), 452 (saving a KIND "FUNCTION" without its call), 481
/// and 482 (CopyModelAttributes to no parameter), 516 (CopyUserAttributes to no
/// parameter), 1153 (no root model), 1157 (no folder "ENUMTAB_LIST" in it), 1176
/// (no enumeration table of the definition), 1396 (FillValue of an ENUM without
/// its table), 876 and 877 (the display text of an instance without a parameter
/// definition), 885 and 886 (an ENUM value that is no entry of its table), 1104,
/// 682 and 833 (no tree root), 569 and 570 (the validity of an instance without
/// a parameter definition), 610 (no folder for a file), 624 and 625 (a call's
/// value without a call definition).
class Parameter : public Token {
public:
    Parameter();
    /// Destroys the call that computes the value.
    ~Parameter() override;

    /// The call of a KIND "FUNCTION" (filter 0 or FUNCTION).
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets the call without destroying it.
    void DetachChildren() override;
    /// Takes a FUNCTION as the call (destroying a former one that it owned) and
    /// becomes its parent; other kinds are ignored.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Forgets the call without destroying it: the caller owns it from now on.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts a FUNCTION in place of the call.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Nothing: a parameter has one child at most.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// Nothing: the call is written among the user attributes.
    void SaveChildren(std::ostream& out) override;
    /// FUNCTION only.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// Turns a RETURN into a PARAMETER with `isReturn`, then links to the
    /// definition in "PARAMETER_LIST"; false when there is none.
    bool OnLoadBegin() override;
    /// A definition needs a KINDLIST and a TYPE, an instance a KIND.
    bool OnLoadEnd() override;
    /// A copy linked to this parameter's definition (an instance), with its KIND,
    /// VALUE, owner file and type.
    ScenarioItem* Clone() override;
    /// Writes the block; a return parameter of its own function's definition is
    /// written as RETURN. Ends the process without a parent.
    bool Save(std::ostream& out) override;
    /// The call first, then validity and display text.
    void UpdateDisplayTextTree() override;
    /// A definition shows "name    (label)"; an instance what its KIND makes of
    /// VALUE, with "?" appended when invalid and `""` for nothing.
    void UpdateDisplayText() override;
    /// LABEL, UNIT, TYPE, USAGE, ENUMTAB, FILEDIR, FILEEXT, KINDLIST, MINVALUE,
    /// MAXVALUE, each while its field is empty; false for a word outside the
    /// vocabulary or a check that fails.
    bool LoadModelAttribute(ScenarioTextStream& stream) override;
    /// KIND, VALUE, OWNER_FILE, each while its field is empty; false for a KIND
    /// outside the definition's KINDLIST or a VALUE that fails its KIND's check.
    bool LoadUserAttribute(ScenarioTextStream& stream) override;
    /// Every model attribute, empty or not, in reading order.
    void SaveModelAttributes(std::ostream& out) override;
    /// KIND, then VALUE (or the call) and OWNER_FILE.
    void SaveUserAttributes(std::ostream& out) override;
    /// Type, usage, enumeration table, file folder, limits and the KINDLIST.
    void CopyModelAttributes(Token* target) override;
    /// The definition, the return mark, VALUE and KIND.
    void CopyUserAttributes(Token* target) override;
    /// Whether VALUE is usable as its KIND says.
    void UpdateValidity() override;
    /// Nothing: parameters keep their names.
    void MakeUniqueName() override;

    /// For a FLOAT VALUE, whether it scans as a number; for an INTEGER, as an
    /// integer (a tail such as "12abc" passes); true for every other type.
    virtual bool CheckValueFormat();

    /// The TYPE of the definition at the end of the chain of definitions.
    const std::string& GetType() const;
    /// Sets KIND; any word but "VARIABLE" forgets the owner file.
    void SetKind(const std::string& word);
    /// Sets the owner file, only while KIND is "VARIABLE".
    void SetOwnerFile(const std::string& file);
    /// Takes the call that computes the value; null forgets it.
    void SetFunction(Function* function);
    /// The enumeration table of that name in "ENUMTAB_LIST" of the root model, or
    /// null; a missing root model or folder ends the process.
    ScenarioItem* FindEnumTab(const std::string& tabName);
    /// The entry of that name in that table, or null; a missing table ends the
    /// process.
    ScenarioItem* FindEnumEntry(const std::string& tabName, const std::string& entryName);
    /// Fills a fresh record with what KIND and VALUE make of this parameter for a
    /// run-time entry; a value that can't be used leaves it as it is.
    void FillValue(ParameterValue& out);

    bool isReturn = false;

private:
    // The definition that GetType found at the end of a one-step chain. Kept
    // here, beside the link to the definition, which a run-time call reads too.
    mutable const Token* typeSourceModel_ = nullptr;
    mutable const Parameter* typeSource_ = nullptr;

public:
    std::string unit;
    std::string type;
    std::string usage;
    Function* functionValue = nullptr;
    std::vector<std::string> kindList;
    std::string enumTab;
    std::string fileDir;
    std::string fileExt;
    std::string minValue;
    std::string maxValue;
    std::string ownerFile;
    std::string value;

private:
    // VALUE as a number, converted again only when the text changed: a run-time
    // loop evaluates the same calls over and over. Beside VALUE, which it is
    // compared with.
    std::string numberText_;
    double number_ = 0.0;
    bool numberKnown_ = false;

public:
    std::string valueKind;

private:
    double NumberOfValue();
};

/// Whether `word` is one of the words of KIND and KINDLIST.
bool IsParameterKindWord(const std::string& word);

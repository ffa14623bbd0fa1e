#pragma once

#include <scenario/Parameter.h>
#include <scenario/Token.h>

#include <string>
#include <vector>

/// A call in a script, or the definition of such a call in "FUNCTION_LIST" of
/// the root model (then `model` is the item itself). A definition declares the
/// parameters, the return type and the CODE by which the run-time table finds
/// the implementation; an instance holds the values of its parameters, and is
/// checked against, and upgraded to, its definition when it is read.
///
/// Internal faults end the process through AssertAbort with the source
/// "function": 101 (a call read without a definition), 102 (a definition of
/// another kind), 131 (a null child while display texts are refreshed), 132 (a
/// child that is neither a call nor a parameter), 160 (a definition of
/// IS_VHL_AT_POSITION without MAP_RADIUS), 161 (an upgrade that needs a
/// parameter that the definition doesn't have), 162 (an INIT_ANIMATION call
/// with too few parameters), 210 (CopyModelAttributes to no call), 918 (a call
/// of more than twelve parameters), 920 (a CODE without run-time entry).
class Function : public Token {
public:
    Function();
    /// Destroys the parameters and the return parameter.
    ~Function() override;

    /// The parameters (filter 0 or PARAMETER).
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets the parameters without destroying them.
    void DetachChildren() override;
    /// Inserts a PARAMETER or RETURN before `reference`, or after it when
    /// `after` (last or first when it isn't a parameter), and becomes its parent;
    /// other kinds are ignored.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Destroys a RETURN that is the return parameter; takes any other child out
    /// of the parameters, destroying it when this is its parent.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts a PARAMETER or RETURN wherever `oldChild` stands among the parameters.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Exchanges two parameters when both are found.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// Every parameter, then the return parameter.
    void SaveChildren(std::ostream& out) override;
    /// PARAMETER or FUNCTION.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// Links to the definition in "FUNCTION_LIST" (a definition returns "FLOAT"
    /// until told otherwise); false when there is none.
    bool OnLoadBegin() override;
    /// Upgrades an old call, takes out the return parameter, and checks the
    /// parameters against the definition; false drops the call.
    bool OnLoadEnd() override;
    /// Places nested calls into parameters, then refreshes children, parameters,
    /// validity and display text.
    void UpdateDisplayTextTree() override;
    /// A definition shows "name    (label)    (code)"; an arithmetic call
    /// "a + b"; any other call "Label  (a,  b)".
    void UpdateDisplayText() override;
    /// This call, its children or its parameters, within the file scope `scope`
    /// when it isn't empty; null if none.
    ScenarioItem* FindItem(uint32_t kind, const std::string& name, const std::string& scope) override;
    const ScenarioItem* FindItem(uint32_t kind, const std::string& name,
                                 const std::string& scope) const override;
    /// Whether the item is this call or lies below it.
    bool ContainsItem(const ScenarioItem* item) const override;
    /// LABEL, IS_OVERLOADABLE, CODE, WIZARD and SEE_ALSO, each while its field is
    /// empty; a WIZARD other than "MAPTOOL" or "MAPTOOLRECT" is refused.
    bool LoadModelAttribute(ScenarioTextStream& stream) override;
    /// False: a call has no attribute of its own.
    bool LoadUserAttribute(ScenarioTextStream& stream) override;
    /// LABEL, IS_OVERLOADABLE when set, CODE, WIZARD, SEE_ALSO.
    void SaveModelAttributes(std::ostream& out) override;
    /// Nothing.
    void SaveUserAttributes(std::ostream& out) override;
    /// CODE, return type, WIZARD, IS_OVERLOADABLE and a copy of the return
    /// parameter; ends the process when the target is no call.
    void CopyModelAttributes(Token* target) override;
    /// The definition and the weight.
    void CopyUserAttributes(Token* target) override;
    /// Valid when every child and parameter is, an EVALUATION call stands in
    /// criteria, and a call under a parent that takes parameters fills one.
    void UpdateValidity() override;

    /// Appends this call when it matches, then every item of that kind below,
    /// whatever its name, across includes.
    virtual void CollectAllItems(uint32_t kind, const std::string& name, std::vector<ScenarioItem*>& out);
    virtual void CollectAllItems(uint32_t kind, const std::string& name,
                                 std::vector<const ScenarioItem*>& out) const;
    /// Appends this call when it is of that kind, then every item of that kind
    /// below, across includes.
    virtual void CollectAllItemsOfKind(uint32_t kind, std::vector<ScenarioItem*>& out);
    virtual void CollectAllItemsOfKind(uint32_t kind, std::vector<const ScenarioItem*>& out) const;
    /// Upgrades a call written for an older model to the parameters of its
    /// definition; nothing for a definition.
    virtual void SetFunctionModel(Token* definition);

    /// The result of the call through the function table by the CODE of its
    /// definition; 0 for a definition without CODE.
    float Evaluate();

private:
    // The definition that RootDefinition found at the end of a one-step chain.
    // Kept here, beside the link to the definition, which a run-time call reads
    // too.
    mutable const Token* rootModel_ = nullptr;
    mutable const Function* rootDefinition_ = nullptr;

public:
    std::string code;
    std::string returnType;
    std::string wizard;
    Parameter* returnParameter = nullptr;
    std::string overloadable;
    std::vector<std::string> seeAlso;
    int32_t codeNumber = -1;
    Parameter* boundParameter = nullptr;
    double weight = 50000.0;
    std::vector<Parameter*> parameters;

protected:
    /// Twelve fresh records for one call of a run-time entry. They are reused from
    /// call to call, as a run-time loop makes the same calls over and over; a
    /// call made while another fills its records (a parameter's nested call) gets
    /// records of its own.
    class Values {
    public:
        Values();
        ~Values();
        Values(const Values&) = delete;
        Values& operator=(const Values&) = delete;
        /// Says that the first `count` records were filled.
        void Filled(size_t count);
        ParameterValue* data;

    private:
        size_t level_;
    };

    /// Links to the definition in `listName`; a definition returns
    /// `definitionReturnType`. True when a definition was found.
    bool LinkToDefinition(const char* listName, const char* definitionReturnType);
    /// Fills `values` from the parameters, in order; more than twelve ends the
    /// process with `source`.
    void FillValues(Values& values, const char* source);
    /// The definition at the end of the chain of definitions.
    const Function* RootDefinition() const;
    /// What a call shows: "a + b" for the arithmetic calls, else the
    /// definition's label and the parameters' texts.
    std::string CallText() const;
};

/// Whether the item is of a callable kind and made by a call class.
Function* AsFunction(ScenarioItem* item);

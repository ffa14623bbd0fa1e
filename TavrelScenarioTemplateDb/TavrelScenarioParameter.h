#pragma once

#include <TavrelScenarioTemplateDb/Export.h>

#include <ScenarioTemplateDb/ParameterType.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <environment/SheetSection/Section.h>

#include <memory>
#include <string>

namespace TavrelScenarioTemplateDb {

/// The read-only view of one parameter of a section. Everything is read live
/// from the section at each call; values come converted to the parameter's unit.
/// Failures are Exception* (the catcher deletes it), except getValueAsString,
/// which throws by value.
class TAVREL_DRIVER_API TavrelScenarioParameter : public ScenarioTemplateDb::ScenarioParameter {
public:
    /// Keeps a private copy of the iterator position. Throws Exception* (code -1)
    /// when `iterator` or `parent` is null.
    TavrelScenarioParameter(const cfg::Section::ParameterIterator* iterator,
                            ScenarioTemplateDb::ScenarioNode* parent);
    ~TavrelScenarioParameter() override;
    TavrelScenarioParameter(const TavrelScenarioParameter&) = delete;
    TavrelScenarioParameter& operator=(const TavrelScenarioParameter&) = delete;

    /// Position among the parent's parameters; throws Exception* if the parent disowns it.
    size_t getIndex() const override;
    /// The node whose section holds the parameter.
    ScenarioTemplateDb::ScenarioNode* getParentNode() const override;
    /// The parameter's short name.
    std::string getId() const override;
    /// The parameter's short name, the same text as getId().
    std::string getName() const override;
    /// The parameter's long name; may be empty.
    std::string getDescription() const override;
    /// The parent's node id, "/" and the parameter's name.
    std::string getParameterId() const override;
    /// The unit as text, also for the two values that mean no unit.
    std::string getParameterUnit() const override;
    /// False for the two unit values that mean no unit.
    bool hasParameterUnit() const override;
    /// The value as text (reals with six decimals, booleans as "true"/"false");
    /// throws Exception by value (code -1) for a type it can't show.
    std::string getValueAsString() const override;
    bool isInteger() const override;
    bool isReal() const override;
    bool isLiteral() const override;
    bool isBoolean() const override;
    /// The text; throws Exception* (code 32) if the parameter isn't a string.
    std::string getLiteralValue() const override;
    /// The value in the parameter's unit, truncated toward zero; throws
    /// Exception* (code 32) if the parameter isn't an integer.
    int64_t getIntegerValue() const override;
    /// The value in the parameter's unit; throws Exception* (code 32) if the
    /// parameter isn't a real.
    double getRealValue() const override;
    /// The value; throws Exception* (code 32) if the parameter isn't a boolean.
    bool getBooleanValue() const override;
    /// The interface type; types this class can't read count as literal.
    virtual ScenarioTemplateDb::ParameterType getParameterType() const;
    /// The type as the file writes it ("float", "vector", "choice", ...), for
    /// the types that the interface doesn't expose too.
    std::string getTypeText() const;
    /// The value as the file writes it, whatever the type.
    std::string getValueText() const;

    /// The parameter's position in its section (what a variant writer edits).
    const cfg::Section::ParameterIterator& getIterator() const { return *iterator; }

private:
    cfg::Section::ParameterIterator* iterator;
    ScenarioTemplateDb::ScenarioNode* parent;
};

} // namespace TavrelScenarioTemplateDb

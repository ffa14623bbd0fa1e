#pragma once

#include <ScenarioTemplateDb/VariadicParameter.h>
#include <TavrelScenarioTemplateDb/Export.h>
#include <TavrelScenarioTemplateDb/TavrelRange.h>

#include <string>
#include <vector>

namespace cfg {
class Section;
class VariadicParameter;
} // namespace cfg

namespace TavrelScenarioTemplateDb {

/// The editable view of one variadic section of a scenario file: which
/// parameter may be varied, its default and its permitted domain. Every write
/// goes straight into the sections, so saving the scenario stores it. Copies
/// are shallow and view the same sections. Type mismatches throw Exception*
/// (code 32; the catcher deletes it); removeRange throws by value.
class TAVREL_DRIVER_API TavrelVariadicParameter : public ScenarioTemplateDb::VariadicParameter {
public:
    /// A fresh declaration: type integer, no target; reads nothing from `section`.
    explicit TavrelVariadicParameter(cfg::VariadicParameter* section);
    /// A declaration read from `section`: the type comes from the typed
    /// sub-section (boolean before integer, real, literal; integer if none), and
    /// so do the ranges or literals. Throws Exception by value (code -1) for a
    /// null range section.
    TavrelVariadicParameter(ScenarioTemplateDb::ScenarioParameter* target, cfg::VariadicParameter* section);
    TavrelVariadicParameter(const TavrelVariadicParameter& other);
    TavrelVariadicParameter& operator=(const TavrelVariadicParameter& other);
    /// Destroys the range views only; no section is touched.
    ~TavrelVariadicParameter() override;

    /// The display name stored in the section.
    std::string getName() const override;
    /// The description stored in the section.
    std::string getDescription() const override;
    /// The full id of the target, as stored in the section.
    std::string getParameterId() const override;
    /// The unit text stored in the section.
    std::string getParameterUnit() const override;
    /// True when the unit text names a unit ("" and "-" name none).
    bool hasParameterUnit() const override;
    /// The type: read at construction, or set by setType.
    ScenarioTemplateDb::ParameterType getType() const override;
    /// The target found when the scenario was loaded; null if none.
    ScenarioTemplateDb::ScenarioParameter* getTargetParameter() const override;
    bool isInteger() const override;
    bool isReal() const override;
    bool isBoolean() const override;
    bool isLiteral() const override;
    /// Throws Exception* (code 32) unless the type is integer, and (code -1) if
    /// no default has been set yet.
    int getIntegerDefaultValue() const override;
    /// Throws Exception* (code 32) unless the type is real, and (code -1) if no
    /// default has been set yet.
    double getRealDefaultValue() const override;
    /// Throws Exception* (code 32) unless the type is boolean, and (code -1) if
    /// no default has been set yet.
    bool getBooleanDefaultValue() const override;
    /// Throws Exception* (code 32) unless the type is literal, and (code -1) if
    /// no default has been set yet.
    std::string getLiteralDefaultValue() const override;
    /// Replaces the vector's contents with the integer ranges; the pointers die
    /// with the next insertion or removal. Throws Exception* (code 32) unless the
    /// type is integer.
    void getIntegerRanges(std::vector<const Range<int>*>& ranges) const override;
    /// Adds an integer range before `index` (at the front if `index` isn't below
    /// the count) and returns it. Throws Exception* (code 32) unless the type is
    /// integer, and (code -1) if no default has been set yet.
    TavrelRange<int>& insertIntegerRange(size_t index) override;
    /// As getIntegerRanges, for reals.
    void getRealRanges(std::vector<const Range<double>*>& ranges) const override;
    /// As insertIntegerRange, for reals.
    TavrelRange<double>& insertRealRange(size_t index) override;
    /// Replaces the vector's contents with copies of the literals. Throws
    /// Exception* (code 32) unless the type is literal.
    void getLiterals(std::vector<std::string>& literals) const override;
    /// Adds a literal at the end, whatever `index` says, and returns the text to
    /// assign. Throws Exception* (code 32) unless the type is literal, and (code
    /// -1) if no default has been set yet.
    std::string& insertLiteral(size_t index) override;

    /// The section viewed.
    cfg::VariadicParameter* getSection() const { return section; }
    /// Write the section's fields; nothing is checked, and the target isn't looked up again.
    void setName(const std::string& name);
    void setDescription(const std::string& description);
    void setParameterId(const std::string& id);
    void setParameterUnit(const std::string& unit);
    /// Changes the type only; the sub-sections stay as they are until a default is set.
    void setType(ScenarioTemplateDb::ParameterType type);
    /// Each writes the default into the matching typed sub-section, making it if
    /// missing, whatever the type says. Throw Exception* (code -1) if a section of
    /// that name has another class.
    void setIntegerDefaultValue(int value);
    void setRealDefaultValue(double value);
    void setBooleanDefaultValue(bool value);
    void setLiteralDefaultValue(const std::string& value);
    /// Removes one integer or real range and its section. Throws Exception by
    /// value: code 32 for another type, code 4 for an index not below the count.
    void removeRange(size_t index);
    /// Removes every integer and real range section, and the whole literal
    /// sub-section with its default, whatever the type.
    void clearRanges();

private:
    template <typename Concrete> Concrete* typedSection() const;
    template <typename Concrete> Concrete& requireTypedSection() const;
    template <typename Concrete> Concrete& makeTypedSection();

    ScenarioTemplateDb::ParameterType type;
    std::vector<TavrelRange<int>> integerRanges;
    std::vector<TavrelRange<double>> realRanges;
    std::vector<std::string*> literals;
    ScenarioTemplateDb::ScenarioParameter* target;
    cfg::VariadicParameter* section;
};

} // namespace TavrelScenarioTemplateDb

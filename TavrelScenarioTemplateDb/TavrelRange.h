#pragma once

#include <ScenarioTemplateDb/VariadicParameter.h>
#include <TavrelScenarioTemplateDb/Export.h>

namespace cfg {
class Section;
}

namespace TavrelScenarioTemplateDb {

/// The editable view of one range section of a variadic parameter: an integer
/// range for `int`, a real range for `double`. Values are read from and written
/// to the section at each call; minimum and maximum are never checked against
/// each other. Copies view the same section. Failures are Exception by value.
template <typename T>
class TAVREL_DRIVER_API TavrelRange : public ScenarioTemplateDb::VariadicParameter::Range<T> {
public:
    /// Views `section`; throws Exception by value (code -1, "section null") if it is null.
    explicit TavrelRange(cfg::Section* section);
    TavrelRange(const TavrelRange& other) = default;
    TavrelRange& operator=(const TavrelRange& other) = default;

    /// The section's minimum; throws Exception by value (code -1) if the section
    /// isn't a range section of this value type.
    T getMinimum() const override;
    /// The section's maximum; throws as getMinimum.
    T getMaximum() const override;
    virtual ~TavrelRange();

    /// Writes the section's minimum; throws as getMinimum.
    void setMinimum(T value);
    /// Writes the section's maximum; throws as getMinimum.
    void setMaximum(T value);
    /// The section viewed.
    cfg::Section* getSection() const { return section; }

private:
    cfg::Section* section;
};

extern template class TavrelRange<int>;
extern template class TavrelRange<double>;

} // namespace TavrelScenarioTemplateDb

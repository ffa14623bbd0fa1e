#include <TavrelScenarioTemplateDb/TavrelRange.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetCfg/Sections.h>

namespace TavrelScenarioTemplateDb {

namespace {

template <typename T> struct RangeSectionOf;
template <> struct RangeSectionOf<int> { using type = cfg::IntegerRange; };
template <> struct RangeSectionOf<double> { using type = cfg::RealRange; };

// The values aren't cached: each access goes to the section, seen through its
// concrete class.
template <typename T> typename RangeSectionOf<T>::type& rangeSection(cfg::Section* section) {
    using Concrete = typename RangeSectionOf<T>::type;
    Concrete* concrete = dynamic_cast<Concrete*>(section);
    if (!concrete)
        throw ScenarioTemplateDb::Exception(std::string("Range section is not a ") + Concrete::sectionName(),
                                            ScenarioTemplateDb::ExceptionCodeGeneric);
    return *concrete;
}

} // namespace

template <typename T> TavrelRange<T>::TavrelRange(cfg::Section* section) : section(section) {
    if (!section)
        throw ScenarioTemplateDb::Exception("section null", ScenarioTemplateDb::ExceptionCodeGeneric);
}

template <typename T> TavrelRange<T>::~TavrelRange() = default;

template <typename T> T TavrelRange<T>::getMinimum() const {
    return rangeSection<T>(section).minimum;
}

template <typename T> T TavrelRange<T>::getMaximum() const {
    return rangeSection<T>(section).maximum;
}

template <typename T> void TavrelRange<T>::setMinimum(T value) {
    rangeSection<T>(section).minimum = value;
}

template <typename T> void TavrelRange<T>::setMaximum(T value) {
    rangeSection<T>(section).maximum = value;
}

template class TavrelRange<int>;
template class TavrelRange<double>;

} // namespace TavrelScenarioTemplateDb

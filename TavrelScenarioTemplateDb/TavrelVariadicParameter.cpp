#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetCfg/Sections.h>
#include <environment/lmk/Units.h>

#include <limits>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;
using ScenarioTemplateDb::ExceptionCodeInvalidIndex;
using ScenarioTemplateDb::ExceptionCodeParameterType;
using ScenarioTemplateDb::ParameterType;

namespace TavrelScenarioTemplateDb {

namespace {

const char notInteger[] = "Variadic parameter type is not an integer";
const char notReal[] = "Variadic parameter type is not a real";
const char notBoolean[] = "Variadic parameter type is not a boolean";
const char notLiteral[] = "Variadic parameter type is not a literal";

// Positions past the end insert at the front: hosts built on this rely on it.
size_t normalisedPosition(size_t position, size_t count) {
    return position == std::numeric_limits<size_t>::max() || position >= count ? 0 : position;
}

} // namespace

TavrelVariadicParameter::TavrelVariadicParameter(cfg::VariadicParameter* section)
    : type(ScenarioTemplateDb::ParameterTypeInteger), target(nullptr), section(section) {}

TavrelVariadicParameter::TavrelVariadicParameter(ScenarioTemplateDb::ScenarioParameter* target,
                                                 cfg::VariadicParameter* section)
    : type(ScenarioTemplateDb::ParameterTypeInteger), target(target), section(section) {
    if (!section)
        return;
    // Only one typed sub-section is expected; should a file hold several, the
    // first of boolean, integer, real, literal decides.
    if (typedSection<cfg::BooleanParameter>()) {
        type = ScenarioTemplateDb::ParameterTypeBoolean;
    } else if (cfg::IntegerParameter* integer = typedSection<cfg::IntegerParameter>()) {
        type = ScenarioTemplateDb::ParameterTypeInteger;
        std::vector<cfg::Section*> list;
        integer->getSubSections(cfg::IntegerRange::sectionName(), list);
        for (cfg::Section* range : list)
            integerRanges.emplace_back(dynamic_cast<cfg::IntegerRange*>(range));
    } else if (cfg::RealParameter* real = typedSection<cfg::RealParameter>()) {
        type = ScenarioTemplateDb::ParameterTypeReal;
        std::vector<cfg::Section*> list;
        real->getSubSections(cfg::RealRange::sectionName(), list);
        for (cfg::Section* range : list)
            realRanges.emplace_back(dynamic_cast<cfg::RealRange*>(range));
    } else if (cfg::LiteralParameter* literal = typedSection<cfg::LiteralParameter>()) {
        type = ScenarioTemplateDb::ParameterTypeLiteral;
        std::vector<cfg::Section*> list;
        literal->getSubSections(cfg::LiteralRange::sectionName(), list);
        for (cfg::Section* range : list)
            if (cfg::LiteralRange* text = dynamic_cast<cfg::LiteralRange*>(range))
                literals.push_back(&text->value);
    }
}

TavrelVariadicParameter::TavrelVariadicParameter(const TavrelVariadicParameter& other) = default;

TavrelVariadicParameter& TavrelVariadicParameter::operator=(const TavrelVariadicParameter& other) = default;

TavrelVariadicParameter::~TavrelVariadicParameter() = default;

template <typename Concrete> Concrete* TavrelVariadicParameter::typedSection() const {
    // A section of the right name but another class counts as absent.
    return dynamic_cast<Concrete*>(section->getSubSection(Concrete::sectionName()));
}

template <typename Concrete> Concrete& TavrelVariadicParameter::requireTypedSection() const {
    Concrete* typed = typedSection<Concrete>();
    if (!typed)
        throw new Exception("Variadic parameter " + section->name + " has no " + Concrete::sectionName() +
                                " section: set its default value first",
                            ExceptionCodeGeneric);
    return *typed;
}

template <typename Concrete> Concrete& TavrelVariadicParameter::makeTypedSection() {
    Concrete* typed = dynamic_cast<Concrete*>(section->getOrCreateSubsection(Concrete::sectionName()));
    if (!typed)
        throw new Exception("Variadic parameter " + section->name + " holds a " + Concrete::sectionName() +
                                " section of another kind",
                            ExceptionCodeGeneric);
    return *typed;
}

std::string TavrelVariadicParameter::getName() const {
    return section->name;
}

std::string TavrelVariadicParameter::getDescription() const {
    return section->description;
}

std::string TavrelVariadicParameter::getParameterId() const {
    return section->parameterId;
}

std::string TavrelVariadicParameter::getParameterUnit() const {
    return section->parameterUnit;
}

bool TavrelVariadicParameter::hasParameterUnit() const {
    return lmk::toTUnit(section->parameterUnit.c_str()) > lmk::U_DIMENSIONLESS;
}

ParameterType TavrelVariadicParameter::getType() const {
    return type;
}

ScenarioTemplateDb::ScenarioParameter* TavrelVariadicParameter::getTargetParameter() const {
    return target;
}

bool TavrelVariadicParameter::isInteger() const {
    return getType() == ScenarioTemplateDb::ParameterTypeInteger;
}

bool TavrelVariadicParameter::isReal() const {
    return getType() == ScenarioTemplateDb::ParameterTypeReal;
}

bool TavrelVariadicParameter::isBoolean() const {
    return getType() == ScenarioTemplateDb::ParameterTypeBoolean;
}

bool TavrelVariadicParameter::isLiteral() const {
    return getType() == ScenarioTemplateDb::ParameterTypeLiteral;
}

int TavrelVariadicParameter::getIntegerDefaultValue() const {
    if (!isInteger())
        throw new Exception(notInteger, ExceptionCodeParameterType);
    return requireTypedSection<cfg::IntegerParameter>().defaultValue;
}

double TavrelVariadicParameter::getRealDefaultValue() const {
    if (!isReal())
        // Shorter than the other type messages; hosts match on this text.
        throw new Exception("Variadic parameter is not a real", ExceptionCodeParameterType);
    return requireTypedSection<cfg::RealParameter>().defaultValue;
}

bool TavrelVariadicParameter::getBooleanDefaultValue() const {
    if (!isBoolean())
        throw new Exception(notBoolean, ExceptionCodeParameterType);
    return requireTypedSection<cfg::BooleanParameter>().defaultValue;
}

std::string TavrelVariadicParameter::getLiteralDefaultValue() const {
    if (!isLiteral())
        throw new Exception(notLiteral, ExceptionCodeParameterType);
    return requireTypedSection<cfg::LiteralParameter>().defaultValue;
}

void TavrelVariadicParameter::getIntegerRanges(std::vector<const Range<int>*>& ranges) const {
    if (!isInteger())
        throw new Exception(notInteger, ExceptionCodeParameterType);
    ranges.clear();
    for (const TavrelRange<int>& range : integerRanges)
        ranges.push_back(&range);
}

TavrelRange<int>& TavrelVariadicParameter::insertIntegerRange(size_t index) {
    if (!isInteger())
        throw new Exception(notInteger, ExceptionCodeParameterType);
    cfg::Section* created =
        requireTypedSection<cfg::IntegerParameter>().createSubSection(cfg::IntegerRange::sectionName());
    const size_t position = normalisedPosition(index, integerRanges.size());
    return *integerRanges.insert(integerRanges.begin() + position, TavrelRange<int>(created));
}

void TavrelVariadicParameter::getRealRanges(std::vector<const Range<double>*>& ranges) const {
    if (!isReal())
        throw new Exception(notReal, ExceptionCodeParameterType);
    ranges.clear();
    for (const TavrelRange<double>& range : realRanges)
        ranges.push_back(&range);
}

TavrelRange<double>& TavrelVariadicParameter::insertRealRange(size_t index) {
    if (!isReal())
        throw new Exception(notReal, ExceptionCodeParameterType);
    cfg::Section* created =
        requireTypedSection<cfg::RealParameter>().createSubSection(cfg::RealRange::sectionName());
    const size_t position = normalisedPosition(index, realRanges.size());
    return *realRanges.insert(realRanges.begin() + position, TavrelRange<double>(created));
}

void TavrelVariadicParameter::getLiterals(std::vector<std::string>& out) const {
    if (!isLiteral())
        throw new Exception(notLiteral, ExceptionCodeParameterType);
    out.clear();
    for (const std::string* literal : literals)
        out.push_back(*literal);
}

std::string& TavrelVariadicParameter::insertLiteral(size_t) {
    // Unlike the ranges, literals are always appended: the position is ignored.
    if (!isLiteral())
        throw new Exception(notLiteral, ExceptionCodeParameterType);
    cfg::LiteralRange* created = dynamic_cast<cfg::LiteralRange*>(
        requireTypedSection<cfg::LiteralParameter>().createSubSection(cfg::LiteralRange::sectionName()));
    if (!created)
        throw new Exception("section null", ExceptionCodeGeneric);
    literals.push_back(&created->value);
    return created->value;
}

void TavrelVariadicParameter::setName(const std::string& name) {
    section->name = name;
}

void TavrelVariadicParameter::setDescription(const std::string& description) {
    section->description = description;
}

void TavrelVariadicParameter::setParameterId(const std::string& id) {
    section->parameterId = id;
}

void TavrelVariadicParameter::setParameterUnit(const std::string& unit) {
    section->parameterUnit = unit;
}

void TavrelVariadicParameter::setType(ParameterType newType) {
    type = newType;
}

void TavrelVariadicParameter::setIntegerDefaultValue(int value) {
    makeTypedSection<cfg::IntegerParameter>().defaultValue = value;
}

void TavrelVariadicParameter::setRealDefaultValue(double value) {
    makeTypedSection<cfg::RealParameter>().defaultValue = value;
}

void TavrelVariadicParameter::setBooleanDefaultValue(bool value) {
    makeTypedSection<cfg::BooleanParameter>().defaultValue = value;
}

void TavrelVariadicParameter::setLiteralDefaultValue(const std::string& value) {
    makeTypedSection<cfg::LiteralParameter>().defaultValue = value;
}

void TavrelVariadicParameter::removeRange(size_t index) {
    if (isInteger()) {
        if (index >= integerRanges.size())
            throw Exception("Integer range index is out of range", ExceptionCodeInvalidIndex);
        if (cfg::Section* owner = section->getSubSection(cfg::IntegerParameter::sectionName()))
            owner->removeSubSection(integerRanges[index].getSection());
        integerRanges.erase(integerRanges.begin() + index);
    } else if (isReal()) {
        if (index >= realRanges.size())
            throw Exception("Real range index is out of range", ExceptionCodeInvalidIndex);
        if (cfg::Section* owner = section->getSubSection(cfg::RealParameter::sectionName()))
            owner->removeSubSection(realRanges[index].getSection());
        realRanges.erase(realRanges.begin() + index);
    } else {
        throw Exception("Invalid type", ExceptionCodeParameterType);
    }
}

void TavrelVariadicParameter::clearRanges() {
    if (cfg::Section* owner = section->getSubSection(cfg::IntegerParameter::sectionName()))
        for (const TavrelRange<int>& range : integerRanges)
            owner->removeSubSection(range.getSection());
    integerRanges.clear();
    if (cfg::Section* owner = section->getSubSection(cfg::RealParameter::sectionName()))
        for (const TavrelRange<double>& range : realRanges)
            owner->removeSubSection(range.getSection());
    realRanges.clear();
    // Literals go with their whole sub-section, default included: a literal
    // declaration is rebuilt from its default setter.
    section->removeSubSections("LiteralParameter");
    literals.clear();
}

} // namespace TavrelScenarioTemplateDb

#include <TavrelScenarioTemplateDb/TavrelScenarioParameter.h>

#include <environment/SheetCfg/CfgScenario.h>

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <environment/lmk/Units.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ios>
#include <sstream>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;
using ScenarioTemplateDb::ExceptionCodeParameterType;

namespace TavrelScenarioTemplateDb {

TavrelScenarioParameter::TavrelScenarioParameter(const cfg::Section::ParameterIterator* iterator,
                                                 ScenarioTemplateDb::ScenarioNode* parent)
    : iterator(nullptr), parent(parent) {
    if (!iterator)
        throw new Exception("Failed to initialize the scenario parameter", ExceptionCodeGeneric);
    if (!parent)
        throw new Exception("The parameter (" + iterator->getCName() + ") has no parent element",
                            ExceptionCodeGeneric);
    // A private copy: the caller's iterator moves on to the next parameter.
    this->iterator = new cfg::Section::ParameterIterator(*iterator);
}

TavrelScenarioParameter::~TavrelScenarioParameter() {
    delete iterator;
}

size_t TavrelScenarioParameter::getIndex() const {
    return getParentNode()->getParameterIndex(this);
}

ScenarioTemplateDb::ScenarioNode* TavrelScenarioParameter::getParentNode() const {
    return parent;
}

std::string TavrelScenarioParameter::getId() const {
    return iterator->getCName();
}

std::string TavrelScenarioParameter::getName() const {
    return iterator->getCName();
}

std::string TavrelScenarioParameter::getDescription() const {
    return iterator->getVerboseName();
}

std::string TavrelScenarioParameter::getParameterId() const {
    return getParentNode()->getNodeId() + "/" + getName();
}

std::string TavrelScenarioParameter::getParameterUnit() const {
    return lmk::toText(iterator->getUnit());
}

bool TavrelScenarioParameter::hasParameterUnit() const {
    const lmk::t_unit unit = iterator->getUnit();
    return unit != lmk::U_NONE && unit != lmk::U_DIMENSIONLESS;
}

std::string TavrelScenarioParameter::getValueAsString() const {
    if (isInteger()) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%" PRId64, getIntegerValue());
        return buffer;
    }
    if (isReal()) {
        std::ostringstream out;
        out.setf(std::ios::fixed, std::ios::floatfield);
        out << getRealValue();
        return out.str();
    }
    if (isBoolean())
        return getBooleanValue() ? "true" : "false";
    if (isLiteral())
        return getLiteralValue();
    // The text is offset by the type's number rather than followed by it; hosts
    // match on the resulting text, so it is kept as it has always been.
    static const char unknownType[] = "Unable to get parameter value : Unkown parameter type : ";
    const size_t offset = static_cast<size_t>(iterator->getType());
    const size_t length = sizeof unknownType - 1;
    throw Exception(std::string(unknownType + (offset < length ? offset : length)), ExceptionCodeGeneric);
}

bool TavrelScenarioParameter::isInteger() const {
    return iterator->getType() == cfg::ParameterInt;
}

bool TavrelScenarioParameter::isReal() const {
    return iterator->getType() == cfg::ParameterReal;
}

bool TavrelScenarioParameter::isLiteral() const {
    return iterator->getType() == cfg::ParameterString;
}

bool TavrelScenarioParameter::isBoolean() const {
    return iterator->getType() == cfg::ParameterBool;
}

std::string TavrelScenarioParameter::getLiteralValue() const {
    if (!isLiteral())
        throw new Exception("Parameter type is not a string", ExceptionCodeParameterType);
    return iterator->getString();
}

int64_t TavrelScenarioParameter::getIntegerValue() const {
    if (!isInteger())
        throw new Exception("Parameter type is not an integer", ExceptionCodeParameterType);
    // Integers carry units too, so they go through the same conversion as reals
    // and the fraction is cut off.
    const double converted = lmk::convToUnit(iterator->getUnit(), static_cast<double>(iterator->getInt()));
    return static_cast<int64_t>(converted);
}

double TavrelScenarioParameter::getRealValue() const {
    if (!isReal())
        throw new Exception("Parameter type is not a real", ExceptionCodeParameterType);
    return lmk::convToUnit(iterator->getUnit(), iterator->getDouble());
}

bool TavrelScenarioParameter::getBooleanValue() const {
    if (!isBoolean())
        throw new Exception("Parameter type is not a boolean", ExceptionCodeParameterType);
    return iterator->getBool();
}

ScenarioTemplateDb::ParameterType TavrelScenarioParameter::getParameterType() const {
    switch (iterator->getType()) {
    case cfg::ParameterBool:
        return ScenarioTemplateDb::ParameterTypeBoolean;
    case cfg::ParameterInt:
        return ScenarioTemplateDb::ParameterTypeInteger;
    case cfg::ParameterReal:
        return ScenarioTemplateDb::ParameterTypeReal;
    default:
        // Strings, and the types no getter reads, are shown as text.
        return ScenarioTemplateDb::ParameterTypeLiteral;
    }
}

std::string TavrelScenarioParameter::getTypeText() const {
    return cfg::parameterTypeText(iterator->getType());
}

std::string TavrelScenarioParameter::getValueText() const {
    return cfg::parameterValueText(*iterator);
}

} // namespace TavrelScenarioTemplateDb

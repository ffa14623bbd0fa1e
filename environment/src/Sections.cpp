#include <environment/SheetCfg/Sections.h>

#include <string_view>

namespace cfg {

Scenario::Scenario() : Section(sectionName()) {
    declare("name", "Name", ParameterString, lmk::U_NONE, &name);
    declare("description", "Description", ParameterString, lmk::U_NONE, &description);
}

Vehicle::Vehicle() : Section(sectionName()) {
    declare("id", "Identifier", ParameterInt, lmk::U_NONE, &id);
    declare("driverId", "Driver identifier", ParameterInt, lmk::U_NONE, &driverId);
    declare("name", "Name", ParameterString, lmk::U_NONE, &name);
}

Driver::Driver() : Section(sectionName()) {
    declare("id", "Identifier", ParameterInt, lmk::U_NONE, &id);
    declare("name", "Name", ParameterString, lmk::U_NONE, &name);
    declare("label", "Label", ParameterString, lmk::U_NONE, &label);
}

ScenarioScript::ScenarioScript() : Section(sectionName()) {
    declare("name", "Name", ParameterString, lmk::U_NONE, &name);
    declare("scriptType", "Script type", ParameterString, lmk::U_NONE, &scriptType);
}

VariadicParameter::VariadicParameter() : Section(sectionName()) {
    declare("name", "Name", ParameterString, lmk::U_NONE, &name);
    declare("description", "Description", ParameterString, lmk::U_NONE, &description);
    declare("parameterId", "Parameter identifier", ParameterString, lmk::U_NONE, &parameterId);
    declare("parameterUnit", "Parameter unit", ParameterString, lmk::U_NONE, &parameterUnit);
}

BooleanParameter::BooleanParameter() : Section(sectionName()) {
    declare("default", "Default value", ParameterBool, lmk::U_NONE, &defaultValue);
}

IntegerParameter::IntegerParameter() : Section(sectionName()) {
    declare("default", "Default value", ParameterInt, lmk::U_NONE, &defaultValue);
}

RealParameter::RealParameter() : Section(sectionName()) {
    declare("default", "Default value", ParameterReal, lmk::U_NONE, &defaultValue);
}

LiteralParameter::LiteralParameter() : Section(sectionName()) {
    declare("default", "Default value", ParameterString, lmk::U_NONE, &defaultValue);
}

IntegerRange::IntegerRange() : Section(sectionName()) {
    declare("minimum", "Minimum", ParameterInt, lmk::U_NONE, &minimum);
    declare("maximum", "Maximum", ParameterInt, lmk::U_NONE, &maximum);
}

RealRange::RealRange() : Section(sectionName()) {
    declare("minimum", "Minimum", ParameterReal, lmk::U_NONE, &minimum);
    declare("maximum", "Maximum", ParameterReal, lmk::U_NONE, &maximum);
}

LiteralRange::LiteralRange() : Section(sectionName()) {
    declare("value", "Value", ParameterString, lmk::U_NONE, &value);
}

namespace {

template <class T> std::unique_ptr<Section> make() {
    return std::make_unique<T>();
}

struct Registration {
    std::string_view name;
    std::unique_ptr<Section> (*factory)();
};

const Registration registrations[] = {
    {Scenario::sectionName(), &make<Scenario>},
    {Vehicle::sectionName(), &make<Vehicle>},
    {Driver::sectionName(), &make<Driver>},
    {ScenarioScript::sectionName(), &make<ScenarioScript>},
    {VariadicParameter::sectionName(), &make<VariadicParameter>},
    {BooleanParameter::sectionName(), &make<BooleanParameter>},
    {IntegerParameter::sectionName(), &make<IntegerParameter>},
    {RealParameter::sectionName(), &make<RealParameter>},
    {LiteralParameter::sectionName(), &make<LiteralParameter>},
    {IntegerRange::sectionName(), &make<IntegerRange>},
    {RealRange::sectionName(), &make<RealRange>},
    {LiteralRange::sectionName(), &make<LiteralRange>},
};

} // namespace

// The section classes of scenario files are known here, so the factory of the
// base class lives with them.
std::unique_ptr<Section> Section::create(const std::string& name) {
    for (const Registration& registration : registrations)
        if (name == registration.name)
            return registration.factory();
    return std::make_unique<Section>(name);
}

} // namespace cfg

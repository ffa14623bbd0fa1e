#include <environment/SheetCfg/Sections.h>

#include <string_view>

namespace cfg {

namespace {

// The names of the declared parameters, made once and shared by every section
// (never destroyed, so that no section can outlive them).
struct Names {
    const std::string name{"name"}, nameVerbose{"Name"};
    const std::string description{"description"}, descriptionVerbose{"Description"};
    const std::string id{"id"}, idVerbose{"Identifier"};
    const std::string driverId{"driverId"}, driverIdVerbose{"Driver identifier"};
    const std::string label{"label"}, labelVerbose{"Label"};
    const std::string scriptType{"scriptType"}, scriptTypeVerbose{"Script type"};
    const std::string parameterId{"parameterId"}, parameterIdVerbose{"Parameter identifier"};
    const std::string parameterUnit{"parameterUnit"}, parameterUnitVerbose{"Parameter unit"};
    const std::string defaultValue{"default"}, defaultVerbose{"Default value"};
    const std::string minimum{"minimum"}, minimumVerbose{"Minimum"};
    const std::string maximum{"maximum"}, maximumVerbose{"Maximum"};
    const std::string value{"value"}, valueVerbose{"Value"};
};

const Names& names() {
    static const Names* const shared = new Names;
    return *shared;
}

} // namespace

Scenario::Scenario() : Section(sectionName()) {
    const Names& n = names();
    declare(n.name, n.nameVerbose, ParameterString, lmk::U_NONE, &name);
    declare(n.description, n.descriptionVerbose, ParameterString, lmk::U_NONE, &description);
}

Vehicle::Vehicle() : Section(sectionName()) {
    const Names& n = names();
    declare(n.id, n.idVerbose, ParameterInt, lmk::U_NONE, &id);
    declare(n.driverId, n.driverIdVerbose, ParameterInt, lmk::U_NONE, &driverId);
    declare(n.name, n.nameVerbose, ParameterString, lmk::U_NONE, &name);
}

Driver::Driver() : Section(sectionName()) {
    const Names& n = names();
    declare(n.id, n.idVerbose, ParameterInt, lmk::U_NONE, &id);
    declare(n.name, n.nameVerbose, ParameterString, lmk::U_NONE, &name);
    declare(n.label, n.labelVerbose, ParameterString, lmk::U_NONE, &label);
}

ScenarioScript::ScenarioScript() : Section(sectionName()) {
    const Names& n = names();
    declare(n.name, n.nameVerbose, ParameterString, lmk::U_NONE, &name);
    declare(n.scriptType, n.scriptTypeVerbose, ParameterString, lmk::U_NONE, &scriptType);
}

VariadicParameter::VariadicParameter() : Section(sectionName()) {
    const Names& n = names();
    declare(n.name, n.nameVerbose, ParameterString, lmk::U_NONE, &name);
    declare(n.description, n.descriptionVerbose, ParameterString, lmk::U_NONE, &description);
    declare(n.parameterId, n.parameterIdVerbose, ParameterString, lmk::U_NONE, &parameterId);
    declare(n.parameterUnit, n.parameterUnitVerbose, ParameterString, lmk::U_NONE, &parameterUnit);
}

BooleanParameter::BooleanParameter() : Section(sectionName()) {
    declare(names().defaultValue, names().defaultVerbose, ParameterBool, lmk::U_NONE, &defaultValue);
}

IntegerParameter::IntegerParameter() : Section(sectionName()) {
    declare(names().defaultValue, names().defaultVerbose, ParameterInt, lmk::U_NONE, &defaultValue);
}

RealParameter::RealParameter() : Section(sectionName()) {
    declare(names().defaultValue, names().defaultVerbose, ParameterReal, lmk::U_NONE, &defaultValue);
}

LiteralParameter::LiteralParameter() : Section(sectionName()) {
    declare(names().defaultValue, names().defaultVerbose, ParameterString, lmk::U_NONE, &defaultValue);
}

IntegerRange::IntegerRange() : Section(sectionName()) {
    const Names& n = names();
    declare(n.minimum, n.minimumVerbose, ParameterInt, lmk::U_NONE, &minimum);
    declare(n.maximum, n.maximumVerbose, ParameterInt, lmk::U_NONE, &maximum);
}

RealRange::RealRange() : Section(sectionName()) {
    const Names& n = names();
    declare(n.minimum, n.minimumVerbose, ParameterReal, lmk::U_NONE, &minimum);
    declare(n.maximum, n.maximumVerbose, ParameterReal, lmk::U_NONE, &maximum);
}

LiteralRange::LiteralRange() : Section(sectionName()) {
    declare(names().value, names().valueVerbose, ParameterString, lmk::U_NONE, &value);
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

#pragma once

namespace ScenarioTemplateDb {

/// The type of a scenario parameter or of a variadic parameter. The values are fixed.
enum ParameterType {
    ParameterTypeBoolean = 0,
    ParameterTypeLiteral = 1,
    ParameterTypeInteger = 2,
    ParameterTypeReal = 3
};

} // namespace ScenarioTemplateDb

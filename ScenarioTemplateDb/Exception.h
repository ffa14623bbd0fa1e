#pragma once

#include <ScenarioTemplateDb/Export.h>

#include <string>
#include <utility>

namespace ScenarioTemplateDb {

/// Failure categories carried by Exception::code.
constexpr int ExceptionCodeGeneric = -1;
constexpr int ExceptionCodeInvalidIndex = 4;
constexpr int ExceptionCodeDirectoryAccess = 16;
constexpr int ExceptionCodeScenarioRead = 20;
constexpr int ExceptionCodeScenarioLoad = 24;
constexpr int ExceptionCodeParameterType = 32;

/// The one failure type of the template database. Deliberately not derived from
/// std::exception. Thrown by value by the database, the directories and the
/// scenario template, and as a pointer made with new (the catcher deletes it) by
/// node and parameter lookups and typed accessors.
class SCENARIOTEMPLATEDB_INTERFACE Exception {
public:
    /// Builds an exception from its user message and its category code.
    Exception(std::string message, int code) : message(std::move(message)), code(code) {}

    std::string message; ///< complete English text for the user
    int code;            ///< one of the ExceptionCode constants
};

} // namespace ScenarioTemplateDb

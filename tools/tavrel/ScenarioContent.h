#pragma once

#include <ScenarioTemplateDb/ParameterType.h>

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <memory>
#include <string>

namespace ScenarioTemplateDb {
class Scenario;
class ScenarioParameter;
class VariadicParameter;
} // namespace ScenarioTemplateDb

namespace TavrelScenarioTemplateDb {
class TavrelScenario;
}

// What `show`, `get` and `variadic` print of a scenario's content: the node
// tree with its parameters and the variadic declarations.
namespace tavrel {

/// Opens the scenario file at `file` (any path on disk) as a template of
/// `configuration`; an empty configuration means the installation's current
/// one. Touches no file yet.
std::unique_ptr<TavrelScenarioTemplateDb::TavrelScenario> openScenarioFile(const std::string& file,
                                                                           const std::string& configuration);

/// The node tree from the root: each node's id, node id, name, parameters
/// (full id, type, unit, value) and children. A value that can't be shown
/// becomes an "error" member. Throws what the tree's construction throws.
nlohmann::ordered_json describeNodeTree(const ScenarioTemplateDb::Scenario& scenario);
/// "boolean", "literal", "integer" or "real" ("unknown" for another value).
const char* typeName(ScenarioTemplateDb::ParameterType type);
/// One parameter: full id, type, unit and value ("error" when the value can't
/// be read; a type the interface doesn't read by its file's word, "exposed": false).
nlohmann::ordered_json describeParameter(const ScenarioTemplateDb::ScenarioParameter& parameter);
/// One variadic declaration: name, description, type, target id and whether it
/// was found, unit, default, ranges or literals.
nlohmann::ordered_json describeVariadic(const ScenarioTemplateDb::VariadicParameter& parameter);
/// Every variadic declaration (loads the file).
nlohmann::ordered_json describeVariadics(const ScenarioTemplateDb::Scenario& scenario);

/// What `show --json` prints: name, description, file, the node tree ("root")
/// and the variadic declarations ("variadicParameters"). Throws what loading
/// the file throws.
nlohmann::ordered_json describeScenario(const ScenarioTemplateDb::Scenario& scenario);

/// Prints a description of describeNodeTree as an indented tree.
void printNodeTree(const nlohmann::ordered_json& tree, std::ostream& out);
/// Prints one line per declaration of describeVariadics.
void printVariadics(const nlohmann::ordered_json& variadics, std::ostream& out);

} // namespace tavrel

#pragma once

// What the parts of the tavrel module share: the guard around every call, the
// conversion of the tool's JSON, and the objects that Python holds.

#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include "ScenarioContent.h"
#include <environment/lmkUtils/AssertAbort.h>

#include <nlohmann/json.hpp>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

namespace py = pybind11;

namespace ScenarioTemplateDb {
class ScenarioNode;
class ScenarioParameter;
class VariadicParameter;
} // namespace ScenarioTemplateDb

namespace tavrel {
struct CheckReport;
}

namespace tavrel_python {

/// What a model assertion throws while a call of the module runs; it reaches
/// Python as tavrel.Error.
struct AssertionRaised {
    std::string source;
    int line;
};

/// Wraps every call into the library. A model assertion, which would end the
/// interpreter, throws AssertionRaised instead; and the model's log stream,
/// which a load points at its own local stream, is put back as it was, so
/// that nothing writes to a stream that is gone.
class CallScope {
public:
    CallScope();
    ~CallScope();
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    AssertAbortHandler formerHandler_;
    std::ostream* formerLog_;
};

/// Given to each binding: the call runs inside a CallScope.
using Guard = py::call_guard<CallScope>;

/// A getter (or any function) that runs inside a CallScope, for properties.
template <typename F> py::cpp_function guarded(F&& function) {
    return py::cpp_function(std::forward<F>(function), Guard());
}

/// The tool's JSON as Python objects: dicts (in the JSON's order), lists, str,
/// int, float, bool, None.
py::object toPython(const nlohmann::ordered_json& json);

/// The installation file to use: the given one, else $TAVREL_CONFIG, else the
/// sample installation installed beside the module, else the sample of the
/// source tree.
std::string resolveInstallation(const std::optional<std::string>& given);

/// An installation opened by tavrel.Database, with its filters. The library
/// keeps one installation in force per process; each use of a database, of a
/// directory or of a template makes its own the one in force again, so that
/// several can be used side by side.
struct Installation {
    std::string file;          ///< as in force, variables expanded
    std::string version;       ///< "*" or the one version seen
    std::string configuration; ///< "*" or the one configuration seen
    std::string current;       ///< the configuration of open() without one

    /// Makes the installation the one in force (its current configuration
    /// unchanged when it already is).
    void makeInForce() const;
    /// A driver with the database's filters.
    TavrelScenarioTemplateDb::TavrelDatabaseDriver driver() const;
    /// A driver filtered on one configuration (which it makes current).
    TavrelScenarioTemplateDb::TavrelDatabaseDriver driverFor(const std::string& configuration) const;
    /// The configuration given, else the database's filter, else `current`.
    std::string chosen(const std::optional<std::string>& configuration) const;
};

/// A template as Python holds it. Nodes, parameters and variadic declarations
/// live inside the template: their Python objects hold this state, so the
/// template lives as long as any of them.
struct TemplateState {
    std::shared_ptr<TavrelScenarioTemplateDb::TavrelScenario> scenario;
    std::shared_ptr<const Installation> installation;
    std::string configuration;
    /// Set when a variadic declaration is removed: the library's node tree
    /// still holds a node for it, which reads a section that is gone, so the
    /// tree may not be read again.
    bool treeOutOfDate = false;

    /// The template, with its installation in force (opening the file reads
    /// the configuration's root model through it).
    TavrelScenarioTemplateDb::TavrelScenario& use() const;
    /// The same, for what reads the node tree: Error once it is out of date.
    TavrelScenarioTemplateDb::TavrelScenario& useTree() const;
};

using TemplatePtr = std::shared_ptr<TemplateState>;

/// One node of a template's tree.
struct NodeRef {
    TemplatePtr owner;
    ScenarioTemplateDb::ScenarioNode* node;

    /// The node, while its template's tree is up to date.
    ScenarioTemplateDb::ScenarioNode& get() const;
};

/// One parameter of a node.
struct ParameterRef {
    TemplatePtr owner;
    ScenarioTemplateDb::ScenarioParameter* parameter;

    /// The parameter, while its template's tree is up to date.
    ScenarioTemplateDb::ScenarioParameter& get() const;
};

/// One variadic declaration. A declaration removed from its template is gone:
/// the object then answers tavrel.Error instead of reading freed memory.
struct VariadicRef {
    TemplatePtr owner;
    ScenarioTemplateDb::VariadicParameter* variadic;

    /// The declaration, after checking that the template still has it.
    ScenarioTemplateDb::VariadicParameter& get() const;
    /// Its position in the template's list.
    size_t index() const;
};

/// The findings of a check as the tool's JSON lines (a list of dicts); the
/// loaders' warnings as RuntimeWarning; a script that doesn't load as Error.
py::object checkResult(const tavrel::CheckReport& report);

using tavrel::typeName;

void bindDatabase(py::module_& module);
void bindTemplate(py::module_& module);
void bindScripts(py::module_& module);
void bindVariants(py::module_& module);

} // namespace tavrel_python

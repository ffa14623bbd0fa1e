// tavrel.Template, Node, Parameter and Variadic: one scenario template, its node
// tree with typed parameters, and its variadic declarations, read and edited as
// the tool's show, get and variadic commands do.
#include "Binding.h"

#include "ScenarioContent.h"
#include "VariadicEdit.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <ScenarioTemplateDb/VariadicParameter.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioParameter.h>
#include <environment/Commons/System.h>
#include <environment/SheetCfg/CfgScenario.h>

#include <pybind11/stl.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;
using ScenarioTemplateDb::VariadicParameter;
using TavrelScenarioTemplateDb::TavrelScenario;

namespace tavrel_python {

TavrelScenario& TemplateState::use() const {
    if (installation)
        installation->makeInForce();
    return *scenario;
}

TavrelScenario& TemplateState::useTree() const {
    if (treeOutOfDate)
        throw Exception("The node tree of " + scenario->getPath() +
                            " is out of date since a variadic declaration was removed: save() and open the "
                            "template again to read its nodes",
                        ScenarioTemplateDb::ExceptionCodeGeneric);
    return use();
}

ScenarioNode& NodeRef::get() const {
    owner->useTree();
    return *node;
}

ScenarioParameter& ParameterRef::get() const {
    owner->useTree();
    return *parameter;
}

VariadicParameter& VariadicRef::get() const {
    // A declaration lives until the template removes it; only one the
    // template still lists may be read.
    std::vector<VariadicParameter*> current;
    owner->scenario->getVariadicParameters(current);
    for (VariadicParameter* candidate : current)
        if (candidate == variadic)
            return *variadic;
    throw Exception("The variadic parameter was removed from its template",
                    ScenarioTemplateDb::ExceptionCodeInvalidIndex);
}

size_t VariadicRef::index() const {
    std::vector<VariadicParameter*> current;
    owner->scenario->getVariadicParameters(current);
    for (size_t index = 0; index < current.size(); ++index)
        if (current[index] == variadic)
            return index;
    throw Exception("The variadic parameter was removed from its template",
                    ScenarioTemplateDb::ExceptionCodeInvalidIndex);
}

namespace {

const char* parameterType(const ScenarioParameter& parameter) {
    if (parameter.isBoolean())
        return "boolean";
    if (parameter.isInteger())
        return "integer";
    if (parameter.isReal())
        return "real";
    if (parameter.isLiteral())
        return "literal";
    return "unknown";
}

// The value as Python's own type; a type the interface can't read fails as
// `tavrel get` does.
py::object parameterValue(const ScenarioParameter& parameter) {
    if (parameter.isBoolean())
        return py::bool_(parameter.getBooleanValue());
    if (parameter.isInteger())
        return py::int_(parameter.getIntegerValue());
    if (parameter.isReal())
        return py::float_(parameter.getRealValue());
    if (parameter.isLiteral())
        return py::str(parameter.getLiteralValue());
    return py::str(parameter.getValueAsString());
}

std::vector<NodeRef> children(const NodeRef& self) {
    std::vector<NodeRef> out;
    // A script node has no children and refuses to list them.
    if (self.get().getChildNumber() == 0)
        return out;
    std::vector<ScenarioNode*> nodes;
    self.get().getChildren(nodes);
    for (ScenarioNode* node : nodes)
        out.push_back(NodeRef{self.owner, node});
    return out;
}

void collectNodes(const NodeRef& node, std::vector<NodeRef>& out) {
    out.push_back(node);
    for (const NodeRef& child : children(node))
        collectNodes(child, out);
}

std::vector<ParameterRef> parameters(const NodeRef& self) {
    std::vector<ScenarioParameter*> list;
    self.get().getParameters(list);
    std::vector<ParameterRef> out;
    for (ScenarioParameter* parameter : list)
        out.push_back(ParameterRef{self.owner, parameter});
    return out;
}

std::vector<VariadicRef> variadics(const TemplatePtr& self) {
    TavrelScenario& scenario = self->use();
    scenario.getVariadicParameterNumber(); // the list is read with the file
    std::vector<VariadicParameter*> list;
    scenario.getVariadicParameters(list);
    std::vector<VariadicRef> out;
    for (VariadicParameter* variadic : list)
        out.push_back(VariadicRef{self, variadic});
    return out;
}

// A value for `variadic add`, which reads text as its command line does.
std::string declarationText(const py::handle& value) {
    if (py::isinstance<py::bool_>(value))
        return value.cast<bool>() ? "true" : "false";
    if (py::isinstance<py::int_>(value) || py::isinstance<py::str>(value))
        return py::str(value);
    if (py::isinstance<py::float_>(value))
        return py::repr(value); // the shortest text that reads back the same
    throw py::type_error("expected a bool, an int, a float or a str, not " +
                         std::string(py::str(py::type::of(value).attr("__name__"))));
}

std::string rangeText(const py::handle& range) {
    if (py::isinstance<py::str>(range))
        return py::str(range);
    if (!py::isinstance<py::sequence>(range) || py::len(range) != 2)
        throw py::type_error("a range is a pair (minimum, maximum) or a text \"MIN:MAX\"");
    const py::sequence pair = py::reinterpret_borrow<py::sequence>(range);
    return declarationText(pair[0]) + ":" + declarationText(pair[1]);
}

py::object variadicDefault(const VariadicParameter& variadic) {
    if (variadic.isInteger())
        return py::int_(variadic.getIntegerDefaultValue());
    if (variadic.isReal())
        return py::float_(variadic.getRealDefaultValue());
    if (variadic.isBoolean())
        return py::bool_(variadic.getBooleanDefaultValue());
    return py::str(variadic.getLiteralDefaultValue());
}

py::list variadicRanges(const VariadicParameter& variadic) {
    py::list out;
    if (variadic.isInteger()) {
        std::vector<const VariadicParameter::Range<int>*> ranges;
        variadic.getIntegerRanges(ranges);
        for (const auto* range : ranges)
            out.append(py::make_tuple(range->getMinimum(), range->getMaximum()));
    } else if (variadic.isReal()) {
        std::vector<const VariadicParameter::Range<double>*> ranges;
        variadic.getRealRanges(ranges);
        for (const auto* range : ranges)
            out.append(py::make_tuple(range->getMinimum(), range->getMaximum()));
    }
    return out;
}

// Saving reports nothing: the file is read back to tell.
void saveChecked(TavrelScenario& scenario) {
    const std::string expectedName = scenario.getName();
    scenario.save();
    std::string file;
    Commons::System::ExpandLocalEnvironmentVariables(scenario.getFilePath(), file,
                                                     Commons::System::DaemonVariableMatchingPattern, {});
    cfg::CfgScenario written;
    if (!written.load(file.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true) ||
        written.getRootSection()->name != expectedName)
        throw Exception("the scenario could not be saved to " + scenario.getFilePath(),
                        ScenarioTemplateDb::ExceptionCodeGeneric);
}

} // namespace

void bindTemplate(py::module_& module) {
    py::class_<TemplateState, TemplatePtr>(module, "Template",
                                           "One scenario template. Its file is read at the first use.")
        .def_property_readonly(
            "path", [](const TemplateState& self) { return self.scenario->getPath(); },
            "The path relative to its scenario directory.")
        .def_property_readonly(
            "file_path", [](const TemplateState& self) { return self.scenario->getFilePath(); },
            "The scenario file.")
        .def_readonly("configuration", &TemplateState::configuration,
                      "The configuration whose root model its scripts read.")
        .def_property(
            "name", guarded([](const TemplateState& self) { return self.use().getName(); }),
            guarded([](const TemplateState& self, const std::string& name) { self.use().setName(name); }),
            "The scenario's name; save() stores a change.")
        .def_property("description",
                      guarded([](const TemplateState& self) { return self.use().getDescription(); }),
                      guarded([](const TemplateState& self, const std::string& text) {
                          self.use().setDescription(text);
                      }),
                      "The scenario's description; save() stores a change.")
        .def_property_readonly("root", guarded([](const TemplatePtr& self) {
                                   return NodeRef{self, self->useTree().getRootScenarioNode()};
                               }),
                               "The root of the node tree.")
        .def(
            "nodes",
            [](const TemplatePtr& self) {
                std::vector<NodeRef> out;
                collectNodes(NodeRef{self, self->useTree().getRootScenarioNode()}, out);
                return out;
            },
            Guard(), "Every node of the tree, depth first from the root.")
        .def(
            "get",
            [](const TemplatePtr& self, const std::string& id) {
                ScenarioParameter* parameter = self->useTree().getParameterFromId(id);
                if (parameter == nullptr)
                    throw Exception("Invalid parameter id: " + id, ScenarioTemplateDb::ExceptionCodeGeneric);
                return ParameterRef{self, parameter};
            },
            Guard(), py::arg("full_id"),
            "The parameter with this full id, such as /sce/Scenario/Environment/speedLimit.")
        .def(
            "describe",
            [](const TemplateState& self) { return toPython(tavrel::describeScenario(self.useTree())); },
            Guard(), "What `tavrel show --json` prints: name, description, file, root, variadicParameters.")
        .def(
            "fetch",
            [](const TemplateState& self) {
                std::vector<unsigned char> bytes;
                self.use().fetch(bytes);
                return py::bytes(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            },
            Guard(), "The file's bytes.")
        .def_property_readonly("variadics", guarded(&variadics),
                               "The variadic declarations, in the file's order.")
        .def(
            "describe_variadics",
            [](const TemplateState& self) { return toPython(tavrel::describeVariadics(self.use())); },
            Guard(), "What `tavrel variadic PATH list --json` prints.")
        .def(
            "add_variadic",
            [](const TemplatePtr& self, const std::string& name, const std::string& target,
               const std::string& type, const py::object& defaultValue, const py::iterable& ranges,
               const std::vector<std::string>& literals, const std::string& description,
               const std::string& unit) {
                tavrel::VariadicDeclaration declaration;
                declaration.name = name;
                declaration.description = description;
                declaration.target = target;
                declaration.unit = unit;
                declaration.type = type;
                declaration.defaultValue = declarationText(defaultValue);
                for (const py::handle range : ranges)
                    declaration.ranges.push_back(rangeText(range));
                declaration.literals = literals;
                TavrelScenario& scenario = self->useTree();
                tavrel::addVariadic(scenario, declaration);
                return variadics(self).back();
            },
            Guard(), py::arg("name"), py::arg("target"), py::arg("type"), py::arg("default"),
            py::arg("ranges") = py::tuple(), py::arg("literals") = std::vector<std::string>(),
            py::arg("description") = "", py::arg("unit") = "",
            "Declares a new variadic parameter, as `tavrel variadic add` does: `type` is integer, real, "
            "boolean "
            "or literal; `ranges` pairs (minimum, maximum) for integers and reals, read back in this order; "
            "`literals` the permitted texts. Everything is checked before anything changes. save() stores "
            "it.")
        .def(
            "remove_variadic",
            [](TemplateState& self, size_t index) {
                tavrel::removeVariadic(self.use(), index);
                self.treeOutOfDate = true;
            },
            Guard(), py::arg("index"),
            "Removes one declaration (Error code 4 beyond the end). save() stores it.")
        .def(
            "clear_variadics",
            [](TemplateState& self) {
                const bool removes = self.use().getVariadicParameterNumber() != 0;
                tavrel::clearVariadics(self.use());
                self.treeOutOfDate = self.treeOutOfDate || removes;
            },
            Guard(), "Removes every declaration and empties the description. save() stores it.")
        .def(
            "save",
            [](const TemplateState& self, const std::optional<std::string>& path) {
                TavrelScenario& scenario = self.use();
                if (path)
                    scenario.setPath(*path);
                saveChecked(scenario);
                return scenario.getFilePath();
            },
            Guard(), py::arg("path") = py::none(),
            "Writes the file, in place or as `path` in the same scenario directory, reads it back to tell "
            "that it was written, and returns the file written.")
        .def("__repr__", [](const TemplateState& self) {
            return "<tavrel.Template " + self.scenario->getPath() + " (" + self.configuration + ")>";
        });

    py::class_<NodeRef>(module, "Node", "One node of a template's tree.")
        .def_property_readonly("id", guarded([](const NodeRef& self) { return self.get().getId(); }),
                               "The id among its siblings.")
        .def_property_readonly("node_id", guarded([](const NodeRef& self) { return self.get().getNodeId(); }),
                               "The full id, /sce/... .")
        .def_property_readonly("name", guarded([](const NodeRef& self) { return self.get().getName(); }))
        .def_property_readonly("description",
                               guarded([](const NodeRef& self) { return self.get().getDescription(); }))
        .def_property_readonly("index", guarded([](const NodeRef& self) { return self.get().getIndex(); }))
        .def_property_readonly("parent", guarded([](const NodeRef& self) -> std::optional<NodeRef> {
                                   ScenarioNode* parent = self.get().getParent();
                                   if (parent == nullptr)
                                       return std::nullopt;
                                   return NodeRef{self.owner, parent};
                               }))
        .def_property_readonly("children", guarded(&children))
        .def_property_readonly("parameters", guarded(&parameters))
        .def(
            "child",
            [](const NodeRef& self, const std::string& id) {
                return NodeRef{self.owner, self.get().getChild(id)};
            },
            Guard(), py::arg("id"), "The child with this id; Error if there is none.")
        .def(
            "parameter",
            [](const NodeRef& self, const std::string& id) {
                return ParameterRef{self.owner, self.get().getParameter(id)};
            },
            Guard(), py::arg("id"), "The parameter with this id; Error if there is none.")
        .def("__eq__", [](const NodeRef& self, const NodeRef& other) { return self.node == other.node; })
        .def("__hash__", [](const NodeRef& self) { return std::hash<const void*>()(self.node); })
        .def(
            "__repr__",
            [](const NodeRef& self) {
                if (self.owner->treeOutOfDate)
                    return std::string("<tavrel.Node (out of date)>");
                return "<tavrel.Node " + self.get().getNodeId() + ">";
            },
            Guard());

    py::class_<ParameterRef>(module, "Parameter", "One typed parameter of a node.")
        .def_property_readonly("id", guarded([](const ParameterRef& self) { return self.get().getId(); }))
        .def_property_readonly("name", guarded([](const ParameterRef& self) { return self.get().getName(); }))
        .def_property_readonly("description",
                               guarded([](const ParameterRef& self) { return self.get().getDescription(); }))
        .def_property_readonly("full_id",
                               guarded([](const ParameterRef& self) { return self.get().getParameterId(); }),
                               "The full id that Template.get takes.")
        .def_property_readonly(
            "type", guarded([](const ParameterRef& self) { return std::string(parameterType(self.get())); }),
            "boolean, integer, real or literal; unknown for a type the interface doesn't read.")
        .def_property_readonly(
            "unit", guarded([](const ParameterRef& self) { return self.get().getParameterUnit(); }))
        .def_property_readonly(
            "has_unit", guarded([](const ParameterRef& self) { return self.get().hasParameterUnit(); }))
        .def_property_readonly("value",
                               guarded([](const ParameterRef& self) { return parameterValue(self.get()); }),
                               "The value as bool, int, float or str, in the parameter's unit.")
        .def_property_readonly(
            "text", guarded([](const ParameterRef& self) { return self.get().getValueAsString(); }),
            "The value as the interface writes it (reals with six decimals).")
        .def_property_readonly(
            "file_type", guarded([](const ParameterRef& self) -> std::optional<std::string> {
                const auto* section =
                    dynamic_cast<const TavrelScenarioTemplateDb::TavrelScenarioParameter*>(&self.get());
                if (section == nullptr)
                    return std::nullopt;
                return section->getTypeText();
            }),
            "The type as the file writes it (float, vector, choice, ...); None for a script's variable.")
        .def_property_readonly(
            "file_value", guarded([](const ParameterRef& self) -> std::optional<std::string> {
                const auto* section =
                    dynamic_cast<const TavrelScenarioTemplateDb::TavrelScenarioParameter*>(&self.get());
                if (section == nullptr)
                    return std::nullopt;
                return section->getValueText();
            }),
            "The value as the file writes it, whatever its type; None for a script's variable.")
        .def_property_readonly("node", guarded([](const ParameterRef& self) {
                                   return NodeRef{self.owner, self.get().getParentNode()};
                               }))
        .def("__eq__", [](const ParameterRef& self,
                          const ParameterRef& other) { return self.parameter == other.parameter; })
        .def("__hash__", [](const ParameterRef& self) { return std::hash<const void*>()(self.parameter); })
        .def(
            "__repr__",
            [](const ParameterRef& self) {
                if (self.owner->treeOutOfDate)
                    return std::string("<tavrel.Parameter (out of date)>");
                return "<tavrel.Parameter " + self.get().getParameterId() + ">";
            },
            Guard());

    py::class_<VariadicRef>(module, "Variadic", "One variadic declaration of a template.")
        .def_property_readonly("index", guarded([](const VariadicRef& self) { return self.index(); }),
                               "The position in the template's list.")
        .def_property_readonly("name", guarded([](const VariadicRef& self) { return self.get().getName(); }))
        .def_property_readonly("description",
                               guarded([](const VariadicRef& self) { return self.get().getDescription(); }))
        .def_property_readonly("target",
                               guarded([](const VariadicRef& self) { return self.get().getParameterId(); }),
                               "The full id of the parameter it varies.")
        .def_property_readonly(
            "target_parameter", guarded([](const VariadicRef& self) -> std::optional<ParameterRef> {
                ScenarioParameter* target = self.get().getTargetParameter();
                if (target == nullptr)
                    return std::nullopt;
                return ParameterRef{self.owner, target};
            }),
            "The parameter it varies, as found when the file was read; None if there was none.")
        .def_property_readonly("target_found", guarded([](const VariadicRef& self) {
                                   return self.get().getTargetParameter() != nullptr;
                               }))
        .def_property_readonly("type", guarded([](const VariadicRef& self) {
                                   return std::string(typeName(self.get().getType()));
                               }),
                               "boolean, integer, real or literal.")
        .def_property_readonly("unit",
                               guarded([](const VariadicRef& self) { return self.get().getParameterUnit(); }))
        .def_property_readonly("has_unit",
                               guarded([](const VariadicRef& self) { return self.get().hasParameterUnit(); }))
        .def_property_readonly("default",
                               guarded([](const VariadicRef& self) { return variadicDefault(self.get()); }))
        .def_property_readonly("ranges",
                               guarded([](const VariadicRef& self) { return variadicRanges(self.get()); }),
                               "(minimum, maximum) pairs of an integer or real declaration; empty otherwise.")
        .def_property_readonly("literals", guarded([](const VariadicRef& self) {
                                   std::vector<std::string> literals;
                                   if (self.get().isLiteral())
                                       self.get().getLiterals(literals);
                                   return literals;
                               }))
        .def(
            "describe",
            [](const VariadicRef& self) { return toPython(tavrel::describeVariadic(self.get())); }, Guard(),
            "The declaration as `tavrel variadic PATH list --json` prints it.")
        .def(
            "__repr__",
            [](const VariadicRef& self) {
                try {
                    const VariadicParameter& variadic = self.get();
                    return "<tavrel.Variadic " + variadic.getName() + " -> " + variadic.getParameterId() +
                           ">";
                } catch (const Exception&) {
                    return std::string("<tavrel.Variadic (removed)>");
                }
            },
            Guard());
}

} // namespace tavrel_python

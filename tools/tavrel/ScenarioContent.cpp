#include "ScenarioContent.h"

#include "Common.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <ScenarioTemplateDb/VariadicParameter.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioParameter.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <exception>
#include <filesystem>
#include <ostream>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;
using ScenarioTemplateDb::VariadicParameter;
using json = nlohmann::ordered_json;

namespace tavrel {

namespace {

const char* typeName(const ScenarioParameter& parameter) {
    if (parameter.isInteger())
        return "integer";
    if (parameter.isReal())
        return "real";
    if (parameter.isBoolean())
        return "boolean";
    if (parameter.isLiteral())
        return "literal";
    return "unknown";
}


} // namespace

const char* typeName(ScenarioTemplateDb::ParameterType type) {
    switch (type) {
    case ScenarioTemplateDb::ParameterTypeBoolean:
        return "boolean";
    case ScenarioTemplateDb::ParameterTypeLiteral:
        return "literal";
    case ScenarioTemplateDb::ParameterTypeInteger:
        return "integer";
    case ScenarioTemplateDb::ParameterTypeReal:
        return "real";
    }
    return "unknown";
}

json describeParameter(const ScenarioParameter& parameter) {
    json entry{{"id", parameter.getParameterId()},
               {"type", typeName(parameter)},
               {"unit", parameter.getParameterUnit()}};
    captureError(entry, [&] { entry["value"] = parameter.getValueAsString(); });
    // The interface can't read floats, vectors and choices; the file's own
    // words tell a reader what they hold. `get` still answers the
    // interface's error for them.
    const auto* section = dynamic_cast<const TavrelScenarioTemplateDb::TavrelScenarioParameter*>(&parameter);
    if (entry.contains("error") && section != nullptr) {
        entry.erase("error");
        entry["type"] = section->getTypeText();
        entry["value"] = section->getValueText();
        entry["exposed"] = false;
    }
    return entry;
}

namespace {

json describeNode(const ScenarioNode& node) {
    json out{{"id", node.getId()}, {"nodeId", node.getNodeId()}};
    captureError(out, [&] { out["name"] = node.getName(); });
    json parameters = json::array();
    std::vector<ScenarioParameter*> list;
    node.getParameters(list);
    for (const ScenarioParameter* parameter : list)
        parameters.push_back(describeParameter(*parameter));
    out["parameters"] = std::move(parameters);
    json children = json::array();
    // A script node has no children and refuses to list them.
    std::vector<ScenarioNode*> nodes;
    if (node.getChildNumber() != 0)
        node.getChildren(nodes);
    for (const ScenarioNode* child : nodes)
        children.push_back(describeNode(*child));
    out["children"] = std::move(children);
    return out;
}

std::string quoted(const json& text) {
    return json(text).dump();
}

void printError(const json& node, std::ostream& out) {
    out << " error: " << node["error"]["message"].get<std::string>() << " (code "
        << node["error"]["code"].get<int>() << ")";
}

void printNode(const json& node, const std::string& indent, std::ostream& out) {
    out << indent << "node " << node["id"].get<std::string>();
    if (node.contains("name"))
        out << " " << quoted(node["name"]);
    if (node.contains("error"))
        printError(node, out);
    out << "\n";
    for (const json& parameter : node["parameters"]) {
        out << indent << "  parameter " << parameter["id"].get<std::string>() << " "
            << parameter["type"].get<std::string>() << " unit=" << quoted(parameter["unit"]);
        if (parameter.contains("value"))
            out << " value=" << quoted(parameter["value"]);
        if (parameter.contains("exposed"))
            out << " (not exposed through the interface)";
        if (parameter.contains("error"))
            printError(parameter, out);
        out << "\n";
    }
    for (const json& child : node["children"])
        printNode(child, indent + "  ", out);
}

} // namespace

std::unique_ptr<TavrelScenarioTemplateDb::TavrelScenario> openScenarioFile(const std::string& file,
                                                                           const std::string& configuration) {
    // The template joins a directory and a relative path; any file on disk is
    // the pair of its folder and its name.
    const std::filesystem::path absolute = std::filesystem::absolute(file).lexically_normal();
    const std::string chosen =
        configuration.empty() ? lmkUtils::EnvConfig::getCurrentConfiguration() : configuration;
    return std::make_unique<TavrelScenarioTemplateDb::TavrelScenario>(
        chosen, absolute.filename().generic_string(), absolute.parent_path().generic_string());
}

json describeNodeTree(const ScenarioTemplateDb::Scenario& scenario) {
    return describeNode(*scenario.getRootScenarioNode());
}

json describeVariadic(const VariadicParameter& parameter) {
    json out{{"name", parameter.getName()},
             {"description", parameter.getDescription()},
             {"type", typeName(parameter.getType())},
             {"target", parameter.getParameterId()},
             {"targetFound", parameter.getTargetParameter() != nullptr},
             {"unit", parameter.getParameterUnit()}};
    captureError(out, [&] {
        if (parameter.isInteger()) {
            out["default"] = parameter.getIntegerDefaultValue();
            std::vector<const VariadicParameter::Range<int>*> ranges;
            parameter.getIntegerRanges(ranges);
            out["ranges"] = json::array();
            for (const auto* range : ranges)
                out["ranges"].push_back(
                    json{{"minimum", range->getMinimum()}, {"maximum", range->getMaximum()}});
        } else if (parameter.isReal()) {
            out["default"] = parameter.getRealDefaultValue();
            std::vector<const VariadicParameter::Range<double>*> ranges;
            parameter.getRealRanges(ranges);
            out["ranges"] = json::array();
            for (const auto* range : ranges)
                out["ranges"].push_back(
                    json{{"minimum", range->getMinimum()}, {"maximum", range->getMaximum()}});
        } else if (parameter.isBoolean()) {
            out["default"] = parameter.getBooleanDefaultValue();
        } else if (parameter.isLiteral()) {
            std::vector<std::string> literals;
            parameter.getLiterals(literals);
            out["literals"] = literals;
            out["default"] = parameter.getLiteralDefaultValue();
        }
    });
    return out;
}

json describeVariadics(const ScenarioTemplateDb::Scenario& scenario) {
    json out = json::array();
    const size_t count = scenario.getVariadicParameterNumber();
    for (size_t index = 0; index < count; ++index)
        out.push_back(describeVariadic(*scenario.getVariadicParameter(index)));
    return out;
}

json describeScenario(const ScenarioTemplateDb::Scenario& scenario) {
    json out{{"name", scenario.getName()},
             {"description", scenario.getDescription()},
             {"file", scenario.getFilePath()}};
    out["root"] = describeNodeTree(scenario);
    out["variadicParameters"] = describeVariadics(scenario);
    return out;
}

void printNodeTree(const json& tree, std::ostream& out) {
    printNode(tree, "", out);
}

void printVariadics(const json& variadics, std::ostream& out) {
    out << "variadic parameters: " << variadics.size() << "\n";
    size_t index = 0;
    for (const json& variadic : variadics) {
        out << "  " << index++ << " " << quoted(variadic["name"]) << " "
            << variadic["type"].get<std::string>() << " target=" << variadic["target"].get<std::string>()
            << (variadic["targetFound"].get<bool>() ? " (found)" : " (not found)");
        if (!variadic["unit"].get<std::string>().empty())
            out << " unit=" << quoted(variadic["unit"]);
        if (variadic.contains("default"))
            out << " default=" << variadic["default"].dump();
        if (variadic.contains("ranges")) {
            out << " ranges=";
            if (variadic["ranges"].empty())
                out << "[]";
            const char* separator = "";
            for (const json& range : variadic["ranges"]) {
                out << separator << "[" << range["minimum"].dump() << ":" << range["maximum"].dump() << "]";
                separator = ",";
            }
        }
        if (variadic.contains("literals"))
            out << " literals=" << variadic["literals"].dump();
        if (variadic.contains("error"))
            printError(variadic, out);
        out << "\n";
    }
}

} // namespace tavrel

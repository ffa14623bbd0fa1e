#include <TavrelScenarioTemplateDb/ScriptNode.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetCfg/Sections.h>
#include <environment/lmk/Units.h>
#include <scenario/ScenarioModel.h>

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <sstream>
#include <stdexcept>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;
using ScenarioTemplateDb::ExceptionCodeParameterType;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;

namespace TavrelScenarioTemplateDb {

std::unique_ptr<ScenarioItem> ScriptNode::Parse(const cfg::ScenarioScript& script,
                                                std::vector<ScenarioItem*>& variables) {
    // The terminating NUL counts: the reader stops on it.
    ScenarioTextStream stream(script.text.c_str(), script.text.size() + 1);
    std::stringstream log;
    // The reader leaves the global log pointing at `log`, which dies with this
    // function, however it ends: nothing may write there afterwards.
    struct ForgetLog {
        ~ForgetLog() { scenarioLog = nullptr; }
    } forgetLog;
    ItemLoadContext context;
    std::unique_ptr<ScenarioItem> root;
    try {
        root.reset(LoadScenarioText(stream, nullptr, &context, &log, false));
    } catch (const std::exception& e) {
        throw Exception("Unable to parse script " + script.name + " :\n" + e.what() + "\n" + log.str(),
                        ExceptionCodeGeneric);
    }
    if (!root)
        throw Exception("Unable to parse script " + script.name + " :\n" + log.str(), ExceptionCodeGeneric);
    std::vector<ScenarioItem*> all;
    root->CollectItemsOfKind(all, ITEM_VARIABLE, true, true);
    for (ScenarioItem* item : all) {
        // A variable that an included file brought along isn't this script's.
        const ScenarioItem* unit = FindOwningUnit(item);
        if (unit == nullptr || unit->kind != ITEM_INCLUDE)
            variables.push_back(item);
    }
    return root;
}

ScriptNode::ScriptNode(cfg::ScenarioScript* script, ScenarioNode* parent) : parent(parent), script(script) {
    std::vector<ScenarioItem*> variables;
    const std::unique_ptr<ScenarioItem> root = Parse(*script, variables);
    for (ScenarioItem* item : variables) {
        int64_t id = 0;
        try {
            id = std::stoll(item->name, nullptr, 10);
        } catch (const std::invalid_argument&) {
            throw Exception("Unable to convert variable id : " + item->name + " in script " + script->name,
                            ExceptionCodeGeneric);
        }
        const Variable* variable = dynamic_cast<const Variable*>(item);
        parameters.emplace_back(new ScriptVariableParameter(id, item->label, variable ? variable->value : "",
                                                            variable ? variable->interactiveType : "VOID",
                                                            this));
    }
}

ScriptNode::~ScriptNode() = default;

std::string ScriptNode::getId() const {
    return "ScenarioScript[scriptName=\"" + script->name + "\"]";
}

std::string ScriptNode::getName() const {
    return std::string("ScenarioScript") + " - " + script->name;
}

std::string ScriptNode::getDescription() const {
    return std::string();
}

ScenarioNode* ScriptNode::getParent() const {
    return parent;
}

size_t ScriptNode::getIndex() const {
    return getParent()->getChildIndex(this);
}

size_t ScriptNode::getChildNumber() const {
    return 0;
}

namespace {

[[noreturn]] void noChildren(const cfg::ScenarioScript* script) {
    throw new Exception("Scenario script <" + script->name + "> never has children node!",
                        ExceptionCodeGeneric);
}

} // namespace

ScenarioNode* ScriptNode::getChild(const std::string&) const {
    noChildren(script);
}

ScenarioNode* ScriptNode::getChild(size_t) const {
    noChildren(script);
}

void ScriptNode::getChildren(std::vector<ScenarioNode*>&) const {
    noChildren(script);
}

size_t ScriptNode::getChildIndex(const ScenarioNode*) const {
    throw new Exception("Script nodes cannot have children nodes.", ExceptionCodeGeneric);
}

size_t ScriptNode::getParameterNumber() const {
    return parameters.size();
}

ScenarioParameter* ScriptNode::getParameter(const std::string& id) const {
    for (const auto& parameter : parameters)
        if (parameter->getId() == id)
            return parameter.get();
    throw new Exception("No child parameter with id=" + id + " in scenario node : " + getName(),
                        ExceptionCodeGeneric);
}

ScenarioParameter* ScriptNode::getParameter(size_t index) const {
    if (index >= parameters.size())
        throw new Exception("Out of bound child index of the scenario parameter : " + script->name,
                            ExceptionCodeGeneric);
    return parameters[index].get();
}

void ScriptNode::getParameters(std::vector<ScenarioParameter*>& out) const {
    out.clear();
    out.reserve(parameters.size());
    for (const auto& parameter : parameters)
        out.push_back(parameter.get());
}

size_t ScriptNode::getParameterIndex(const ScenarioParameter* parameter) const {
    for (size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].get() == parameter)
            return i;
    throw new Exception("The child node " + (parameter ? parameter->getName() : std::string()) +
                            " was not found in parent script node " + script->name,
                        ExceptionCodeGeneric);
}

std::string ScriptNode::getNodeId() const {
    return parent ? parent->getNodeId() + "/" + getId() : getId();
}

ScriptVariableParameter::ScriptVariableParameter(int64_t id, const std::string& name,
                                                 const std::string& value, const std::string& type,
                                                 ScenarioNode* parent)
    : id(id), name(name), value(value), type(type), parent(parent) {}

ScriptVariableParameter::~ScriptVariableParameter() = default;

size_t ScriptVariableParameter::getIndex() const {
    return getParentNode()->getParameterIndex(this);
}

ScenarioNode* ScriptVariableParameter::getParentNode() const {
    return parent;
}

std::string ScriptVariableParameter::getId() const {
    // Unsigned, so that only digits follow "name=", as ids are split.
    char number[32];
    std::snprintf(number, sizeof(number), "%" PRIu64, static_cast<uint64_t>(id));
    return std::string("Variable[name=") + number + "]/value";
}

std::string ScriptVariableParameter::getName() const {
    return name;
}

std::string ScriptVariableParameter::getDescription() const {
    return std::string();
}

std::string ScriptVariableParameter::getParameterId() const {
    return parent ? parent->getNodeId() + "/" + getId() : getId();
}

std::string ScriptVariableParameter::getParameterUnit() const {
    return lmk::toText(static_cast<lmk::t_unit>(1));
}

bool ScriptVariableParameter::hasParameterUnit() const {
    return false;
}

std::string ScriptVariableParameter::getValueAsString() const {
    return value;
}

bool ScriptVariableParameter::isInteger() const {
    return type == "INTEGER";
}

bool ScriptVariableParameter::isReal() const {
    return type == "FLOAT" || type == "VOID";
}

bool ScriptVariableParameter::isLiteral() const {
    return type == "STRING";
}

bool ScriptVariableParameter::isBoolean() const {
    return type == "BOOL";
}

std::string ScriptVariableParameter::getLiteralValue() const {
    if (!isLiteral())
        throw new Exception("Parameter type is not a string", ExceptionCodeParameterType);
    return value;
}

int64_t ScriptVariableParameter::getIntegerValue() const {
    try {
        return std::stoll(value, nullptr, 10);
    } catch (const std::invalid_argument&) {
        throw new Exception("Parameter type is not an integer", ExceptionCodeParameterType);
    }
}

double ScriptVariableParameter::getRealValue() const {
    try {
        return std::stod(value);
    } catch (const std::invalid_argument&) {
        throw new Exception("Parameter type is not a real", ExceptionCodeParameterType);
    }
}

bool ScriptVariableParameter::getBooleanValue() const {
    if (!isBoolean())
        throw new Exception("Parameter type is not a boolean", ExceptionCodeParameterType);
    return value != "0";
}

} // namespace TavrelScenarioTemplateDb

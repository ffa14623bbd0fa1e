// What a template shows of its file: the node tree, parameter ids and the
// variadic parameters.
#include <TavrelScenarioTemplateDb/TavrelScenario.h>

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>
#include <environment/SheetCfg/CfgScenario.h>

#include <regex>

namespace TavrelScenarioTemplateDb {

namespace {

// The form of a vehicle or driver step, "Vehicle[id/@ScenarioTreeValue=3]".
// It documents the format; splitId cuts such steps by their brackets instead.
const std::regex treeValueStepExpression(R"(^(\w+)\[id\/@ScenarioTreeValue=(\d+)\])", std::regex::ECMAScript);

} // namespace

ScenarioTemplateDb::ScenarioNode* TavrelScenario::getRootScenarioNode() const {
    if (rootScenarioNode)
        return rootScenarioNode.get();
    // Load first: the load looks the targets of the variadic parameters up, and
    // that lookup builds the tree. Deciding afterwards keeps that one tree, so
    // the targets stay valid.
    if (!cfgScenario)
        loadScenario();
    if (!rootScenarioNode)
        rootScenarioNode.reset(new TavrelScenarioNode(cfgScenario->getRootSection(), nullptr));
    return rootScenarioNode.get();
}

ScenarioTemplateDb::ScenarioParameter* TavrelScenario::getParameterFromId(std::string id) const {
    if (id.empty())
        return nullptr;
    std::queue<std::string> steps;
    splitId(id, steps);
    if (steps.empty() || steps.front() != "sce")
        return nullptr;
    steps.pop();
    if (steps.empty() || steps.front() != "Scenario")
        return nullptr;
    steps.pop();

    ScenarioTemplateDb::ScenarioNode* node = getRootScenarioNode();
    while (!steps.empty()) {
        const std::string step = steps.front();
        steps.pop();
        if (steps.empty())
            return node->getParameter(step);
        node = node->getChild(step);
    }
    // The id ends at a node: there is no parameter step.
    return nullptr;
}

void TavrelScenario::splitId(const std::string& id, std::queue<std::string>& pieces) {
    // A script variable's step holds a "/" of its own and is only recognised as
    // the whole remainder of the id.
    static const std::regex scriptVariableStepExpression(R"(^Variable\[name=\d+\]\/value$)",
                                                         std::regex::ECMAScript);
    const std::string::size_type none = std::string::npos;
    std::string rest = id;
    while (!rest.empty()) {
        if (std::regex_match(rest, scriptVariableStepExpression)) {
            pieces.push(rest);
            return;
        }
        const std::string::size_type lb = rest.find('[');
        const std::string::size_type rb = rest.find(']');
        const std::string::size_type sl = rest.find('/');
        std::string step;
        std::string::size_type next;
        if (sl >= lb) {
            // A bracketed step runs to its "]"; the separator behind it is skipped.
            if (rb == none) {
                pieces.push(rest);
                return;
            }
            step = rest.substr(0, rb + 1);
            next = rb + 2;
        } else {
            step = rest.substr(0, sl);
            next = sl + 1;
        }
        if (next >= rest.size())
            rest.clear();
        else
            rest.erase(0, next);
        if (!step.empty())
            pieces.push(step);
    }
}

size_t TavrelScenario::getVariadicParameterNumber() const {
    if (!cfgScenario)
        loadScenario();
    return variadicParameters.size();
}

ScenarioTemplateDb::VariadicParameter* TavrelScenario::getVariadicParameter(size_t index) const {
    if (index >= variadicParameters.size())
        throw ScenarioTemplateDb::Exception("Invalid variadic parameter index",
                                            ScenarioTemplateDb::ExceptionCodeInvalidIndex);
    return variadicParameters[index].get();
}

void TavrelScenario::getVariadicParameters(
    std::vector<ScenarioTemplateDb::VariadicParameter*>& parameters) const {
    parameters.clear();
    for (const auto& parameter : variadicParameters)
        parameters.push_back(parameter.get());
}

void TavrelScenario::getTavrelVariadicParameters(std::vector<TavrelVariadicParameter*>& parameters) const {
    parameters.clear();
    for (const auto& parameter : variadicParameters)
        parameters.push_back(parameter.get());
}

TavrelVariadicParameter* TavrelScenario::addNewVariadicParameter() {
    if (!cfgScenario)
        loadScenario();
    cfg::Scenario* root = cfgScenario->getRootSection();
    cfg::VariadicParameter* section =
        dynamic_cast<cfg::VariadicParameter*>(root->createSubSection(cfg::VariadicParameter::sectionName()));
    if (!section)
        throw ScenarioTemplateDb::Exception("Unable to create a variadic parameter section",
                                            ScenarioTemplateDb::ExceptionCodeGeneric);
    variadicParameters.emplace_back(new TavrelVariadicParameter(section));
    return variadicParameters.back().get();
}

void TavrelScenario::removeVariadicParameter(size_t index) {
    if (index >= getVariadicParameterNumber())
        return;
    cfg::VariadicParameter* section = variadicParameters[index]->getSection();
    variadicParameters.erase(variadicParameters.begin() + index);
    forgetNodesOf({section});
    cfgScenario->getRootSection()->removeSubSection(section);
}

void TavrelScenario::forgetNodesOf(const std::vector<cfg::Section*>& sections) const {
    // The node tree, once built, views the root's sub-sections: the nodes of
    // removed sections go first, so that no node reads a destroyed section.
    auto* root = dynamic_cast<TavrelScenarioNode*>(rootScenarioNode.get());
    if (root == nullptr)
        return;
    for (const cfg::Section* section : sections)
        root->forgetSubSection(section);
}

void TavrelScenario::clear() {
    if (!cfgScenario)
        return;
    cfg::Scenario* root = cfgScenario->getRootSection();
    root->description.clear();
    variadicParameters.clear();
    std::vector<cfg::Section*> sections;
    root->getSubSections(cfg::VariadicParameter::sectionName(), sections);
    forgetNodesOf(sections);
    root->removeSubSections(cfg::VariadicParameter::sectionName());
}

void TavrelScenario::readVariadicSections() const {
    if (!cfgScenario)
        loadScenario();
    std::vector<cfg::Section*> sections;
    cfgScenario->getRootSection()->getSubSections(cfg::VariadicParameter::sectionName(), sections);
    for (cfg::Section* section : sections) {
        cfg::VariadicParameter* variadic = dynamic_cast<cfg::VariadicParameter*>(section);
        if (!variadic)
            continue;
        ScenarioTemplateDb::ScenarioParameter* target = getParameterFromId(variadic->parameterId);
        variadicParameters.emplace_back(new TavrelVariadicParameter(target, variadic));
    }
}

} // namespace TavrelScenarioTemplateDb

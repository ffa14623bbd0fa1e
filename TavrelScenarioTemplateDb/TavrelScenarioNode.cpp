#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/DriverNode.h>
#include <TavrelScenarioTemplateDb/ScriptNode.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioParameter.h>
#include <TavrelScenarioTemplateDb/VehicleNode.h>
#include <environment/SheetCfg/Sections.h>

#include <cstring>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;

namespace TavrelScenarioTemplateDb {

namespace {

// Sections that get a node of their own kind, or none at all: a
// "ScenarioTemplate" section stays hidden from hosts, whatever it holds.
bool isPlainSection(const char* name) {
    return std::strcmp(name, "Vehicle") != 0 && std::strcmp(name, "Driver") != 0 &&
           std::strcmp(name, "ScenarioScript") != 0 && std::strcmp(name, "ScenarioTemplate") != 0;
}

} // namespace

TavrelScenarioNode::TavrelScenarioNode(cfg::Section* section, ScenarioNode* parent)
    : section(section), parent(parent) {
    if (!section)
        throw new Exception("Failed to initialize the scenario element", ExceptionCodeGeneric);

    // Children always come grouped by kind, whatever their order in the file.
    const size_t count = section->getSubSectionCount();
    for (size_t i = 0; i < count; ++i) {
        cfg::Section* sub = section->getSubSection(i);
        if (sub && isPlainSection(sub->getName())) {
            TavrelScenarioNode* child = new TavrelScenarioNode(sub, this);
            addChild(child, child);
        }
    }

    std::vector<cfg::Section*> list;
    section->getSubSections(cfg::Vehicle::sectionName(), list);
    for (cfg::Section* sub : list) {
        VehicleNode* child = new VehicleNode(dynamic_cast<cfg::Vehicle*>(sub), this);
        addChild(child, child);
    }

    section->getSubSections(cfg::Driver::sectionName(), list);
    for (cfg::Section* sub : list) {
        DriverNode* child = new DriverNode(dynamic_cast<cfg::Driver*>(sub), this);
        addChild(child, child);
    }

    // Scripts of another language than the model's, and empty ones, have no node.
    section->getSubSections(cfg::ScenarioScript::sectionName(), list);
    for (cfg::Section* sub : list) {
        cfg::ScenarioScript* script = dynamic_cast<cfg::ScenarioScript*>(sub);
        if (script == nullptr || !ScriptNode::IsShown(*script))
            continue;
        addChild(new ScriptNode(script, this), nullptr);
    }

    const cfg::Section::ParameterIterator end = section->endParameter();
    for (cfg::Section::ParameterIterator it = section->beginParameter(); it != end; ++it)
        parameters.emplace_back(new TavrelScenarioParameter(&it, this));
}

TavrelScenarioNode::~TavrelScenarioNode() {
    // Parameters first, then the sub-tree, each in order.
    for (auto& parameter : parameters)
        parameter.reset();
    for (auto& child : children)
        child.reset();
}

void TavrelScenarioNode::addChild(ScenarioNode* child, const TavrelScenarioNode* view) {
    std::unique_ptr<ScenarioNode> owned(child);
    childViews.push_back(view);
    try {
        children.push_back(std::move(owned));
    } catch (...) {
        childViews.pop_back();
        throw;
    }
}

bool TavrelScenarioNode::hasId(const std::string& id) const {
    return id == section->getName();
}

std::string TavrelScenarioNode::getId() const {
    return section->getName();
}

std::string TavrelScenarioNode::getName() const {
    return section->getName();
}

std::string TavrelScenarioNode::getDescription() const {
    return std::string();
}

ScenarioNode* TavrelScenarioNode::getParent() const {
    return parent;
}

size_t TavrelScenarioNode::getIndex() const {
    return parent ? parent->getChildIndex(this) : 0;
}

size_t TavrelScenarioNode::getChildNumber() const {
    return children.size();
}

ScenarioNode* TavrelScenarioNode::getChild(const std::string& id) const {
    // Linear in the siblings; a vehicle scenario may have thousands of them, so
    // our own nodes match without composing their ids.
    for (size_t i = 0; i < children.size(); ++i)
        if (childViews[i] ? childViews[i]->hasId(id) : children[i]->getId() == id)
            return children[i].get();
    throw new Exception("No child element with id=" + id + " in scenario element : " + getName(),
                        ExceptionCodeGeneric);
}

ScenarioNode* TavrelScenarioNode::getChild(size_t index) const {
    if (index >= children.size())
        throw new Exception(std::string("Out of bound child index of the scenario element : ") +
                                section->getName(),
                            ExceptionCodeGeneric);
    return children[index].get();
}

void TavrelScenarioNode::getChildren(std::vector<ScenarioNode*>& out) const {
    out.clear();
    out.reserve(children.size());
    for (const auto& child : children)
        out.push_back(child.get());
}

size_t TavrelScenarioNode::getChildIndex(const ScenarioNode* child) const {
    for (size_t i = 0; i < children.size(); ++i)
        if (children[i].get() == child)
            return i;
    throw new Exception("The child element " + (child ? child->getName() : std::string()) +
                            " was not found in parent scenario element " + section->getName(),
                        ExceptionCodeGeneric);
}

size_t TavrelScenarioNode::getParameterNumber() const {
    // Counted on the section, so that it tells the section's present state.
    size_t count = 0;
    const cfg::Section::ParameterIterator end = section->endParameter();
    for (cfg::Section::ParameterIterator it = section->beginParameter(); it != end; ++it)
        ++count;
    return count;
}

ScenarioParameter* TavrelScenarioNode::getParameter(const std::string& id) const {
    for (const auto& parameter : parameters)
        if (parameter->getId() == id)
            return parameter.get();
    throw new Exception("No child parameter with id=" + id + " in scenario element : " + getName(),
                        ExceptionCodeGeneric);
}

ScenarioParameter* TavrelScenarioNode::getParameter(size_t index) const {
    if (index >= parameters.size())
        throw new Exception(std::string("Out of bound child index of the scenario parameter : ") +
                                section->getName(),
                            ExceptionCodeGeneric);
    return parameters[index].get();
}

void TavrelScenarioNode::getParameters(std::vector<ScenarioParameter*>& out) const {
    out.clear();
    out.reserve(parameters.size());
    for (const auto& parameter : parameters)
        out.push_back(parameter.get());
}

size_t TavrelScenarioNode::getParameterIndex(const ScenarioParameter* parameter) const {
    for (size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].get() == parameter)
            return i;
    throw new Exception("The child parameter " + (parameter ? parameter->getName() : std::string()) +
                            " was not found in parent element " + section->getName(),
                        ExceptionCodeGeneric);
}

std::string TavrelScenarioNode::getNodeId() const {
    return parent ? parent->getNodeId() + "/" + getId() : "/sce/" + getId();
}

void TavrelScenarioNode::forgetSubSection(const cfg::Section* subSection) {
    for (size_t i = 0; i < children.size(); ++i)
        if (childViews[i] != nullptr && childViews[i]->section == subSection) {
            children.erase(children.begin() + static_cast<std::ptrdiff_t>(i));
            childViews.erase(childViews.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
}

} // namespace TavrelScenarioTemplateDb

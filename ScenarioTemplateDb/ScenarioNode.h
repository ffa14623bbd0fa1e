#pragma once

#include <ScenarioTemplateDb/Export.h>

#include <cstddef>
#include <string>
#include <vector>

namespace ScenarioTemplateDb {

class ScenarioParameter;

/// One element of a scenario. Owns its child nodes and its parameters. Failed
/// lookups throw Exception* (made with new; the catcher deletes it).
class SCENARIOTEMPLATEDB_INTERFACE ScenarioNode {
public:
    virtual ~ScenarioNode() = default;
    /// Id of the node among its siblings.
    virtual std::string getId() const = 0;
    /// Text shown for the node.
    virtual std::string getName() const = 0;
    virtual std::string getDescription() const = 0;
    /// Null for the root.
    virtual ScenarioNode* getParent() const = 0;
    /// Position among the parent's children; 0 for the root.
    virtual size_t getIndex() const = 0;
    virtual size_t getChildNumber() const = 0;
    /// Child with this id; throws if there is none.
    virtual ScenarioNode* getChild(const std::string& id) const = 0;
    /// Child at this position; throws beyond the end.
    virtual ScenarioNode* getChild(size_t index) const = 0;
    /// Replaces the vector's contents with the children.
    virtual void getChildren(std::vector<ScenarioNode*>& children) const = 0;
    /// Position of a child; throws if it is not a child.
    virtual size_t getChildIndex(const ScenarioNode* child) const = 0;
    virtual size_t getParameterNumber() const = 0;
    /// Parameter with this id; throws if there is none.
    virtual ScenarioParameter* getParameter(const std::string& id) const = 0;
    /// Parameter at this position; throws beyond the end.
    virtual ScenarioParameter* getParameter(size_t index) const = 0;
    /// Replaces the vector's contents with the parameters.
    virtual void getParameters(std::vector<ScenarioParameter*>& parameters) const = 0;
    /// Position of a parameter; throws if it is not a parameter of this node.
    virtual size_t getParameterIndex(const ScenarioParameter* parameter) const = 0;
    /// Full id: "/sce/" + getId() for the root, else parent's id + "/" + getId().
    virtual std::string getNodeId() const = 0;
};

} // namespace ScenarioTemplateDb

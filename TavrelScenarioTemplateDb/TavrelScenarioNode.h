#pragma once

#include <ScenarioTemplateDb/ScenarioNode.h>
#include <environment/SheetSection/Section.h>

#include <memory>
#include <string>
#include <vector>

namespace TavrelScenarioTemplateDb {

/// The read-only view of one section of a scenario file and, built eagerly in
/// the constructor, of the whole sub-tree below it. Names, ids and values are
/// read live from the sections; sections added later get no node. Failures are
/// Exception* (the catcher deletes it).
class TavrelScenarioNode : public ScenarioTemplateDb::ScenarioNode {
public:
    /// Builds the node, its child nodes (plain sub-sections, then vehicles,
    /// drivers, scripts) and its parameters. Throws Exception* (code -1) if
    /// `section` is null; `parent` is null for the root only.
    TavrelScenarioNode(cfg::Section* section, ScenarioTemplateDb::ScenarioNode* parent);
    /// Destroys the parameters, then the child nodes; touches no section.
    ~TavrelScenarioNode() override;
    TavrelScenarioNode(const TavrelScenarioNode&) = delete;
    TavrelScenarioNode& operator=(const TavrelScenarioNode&) = delete;

    /// The section's name.
    std::string getId() const override;
    /// The section's name.
    std::string getName() const override;
    /// Always empty.
    std::string getDescription() const override;
    /// Null for the root.
    ScenarioTemplateDb::ScenarioNode* getParent() const override;
    /// Position among the parent's children; 0 for the root.
    size_t getIndex() const override;
    /// Number of child nodes.
    size_t getChildNumber() const override;
    /// The first child whose getId() is `id`; throws Exception* if there is none.
    ScenarioTemplateDb::ScenarioNode* getChild(const std::string& id) const override;
    /// The child at `index`; throws Exception* beyond the end.
    ScenarioTemplateDb::ScenarioNode* getChild(size_t index) const override;
    /// Replaces the vector's contents with the children, in order.
    void getChildren(std::vector<ScenarioTemplateDb::ScenarioNode*>& children) const override;
    /// Position of `child`; throws Exception* if it isn't a child of this node.
    size_t getChildIndex(const ScenarioTemplateDb::ScenarioNode* child) const override;
    /// Number of parameters the section holds now (counted at each call).
    size_t getParameterNumber() const override;
    /// The first parameter whose getId() is `id`; throws Exception* if there is none.
    ScenarioTemplateDb::ScenarioParameter* getParameter(const std::string& id) const override;
    /// The parameter at `index`; throws Exception* beyond the end.
    ScenarioTemplateDb::ScenarioParameter* getParameter(size_t index) const override;
    /// Replaces the vector's contents with the parameters, in order.
    void getParameters(std::vector<ScenarioTemplateDb::ScenarioParameter*>& parameters) const override;
    /// Position of `parameter`; throws Exception* if it isn't a parameter of this node.
    size_t getParameterIndex(const ScenarioTemplateDb::ScenarioParameter* parameter) const override;
    /// "/sce/" + getId() for the root, else the parent's node id, "/" and getId().
    std::string getNodeId() const override;

    /// Whether getId() would equal `id`, without composing the id.
    virtual bool hasId(const std::string& id) const;
    /// Drops the child node that views `subSection`, with all below it, before
    /// the section goes: a node never outlives the section it reads. Nothing
    /// when no child views it.
    void forgetSubSection(const cfg::Section* subSection);

private:
    /// Appends a child node; `view` is the same node when it is one of ours, so
    /// that lookups can match ids without composing them.
    void addChild(ScenarioTemplateDb::ScenarioNode* child, const TavrelScenarioNode* view);

    cfg::Section* section;
    ScenarioTemplateDb::ScenarioNode* parent;
    std::vector<std::unique_ptr<ScenarioTemplateDb::ScenarioNode>> children;
    std::vector<const TavrelScenarioNode*> childViews; // parallel to children; null for other kinds
    std::vector<std::unique_ptr<ScenarioTemplateDb::ScenarioParameter>> parameters;
};

} // namespace TavrelScenarioTemplateDb

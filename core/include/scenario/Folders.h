#pragma once

#include <scenario/ScenarioItem.h>

/// A labelled list of items that it owns, in text order.
class Folders : public ScenarioItem {
public:
    Folders();
    /// Destroys every child.
    ~Folders() override;

    /// Appends the children, all for filter 0, else those of that kind.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets the children without destroying them.
    void DetachChildren() override;
    /// Inserts the child before or after `reference` (first or last when not found)
    /// and becomes its parent; a null child ends the process.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Takes out the child and destroys it when this is its parent; nothing if absent.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts newChild wherever oldChild stands and becomes its parent.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Exchanges two children when both are found.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// The flags, then "LABEL" while the label is empty.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// The flags, then "LABEL" always.
    void SaveAttributes(std::ostream& out) override;

    std::vector<ScenarioItem*> children;
};

#pragma once

#include <scenario/ScenarioItem.h>

/// A labelled list of items that it owns, in text order.
class Folders : public ScenarioItem {
public:
    Folders();
    /// Destroys every child.
    ~Folders() override;

    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    void DetachChildren() override;
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    void RemoveChild(ScenarioItem* child) override;
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;
    /// The flags, then "LABEL" while the label is empty.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// The flags, then "LABEL" always.
    void SaveAttributes(std::ostream& out) override;

    std::vector<ScenarioItem*> children;
};

#pragma once

#include <scenario/ScenarioItem.h>

#include <string>

/// The companion of a scenario kept in a parameters file beside it (the
/// scenario's path with its last two characters replaced by "par"): for now its
/// description. It has no children.
class GeneralParameters : public ScenarioItem {
public:
    GeneralParameters();
    ~GeneralParameters() override;

    /// Nothing: no children.
    void DetachChildren() override;
    /// Nothing: no children.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// Nothing: no children.
    void RemoveChild(ScenarioItem* child) override;
    /// Nothing: no children.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Nothing: no children.
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override;

    using ScenarioItem::Save;
    /// Writes the parameters file (at `path` when it isn't empty, else where it
    /// was read); false, with the old file intact, when it can't be written.
    virtual bool Save(const std::string& path);
    /// Reads the description from the parameters file, if there is one.
    virtual void Load();
    /// Starts over at `time`.
    virtual void Init(double time);
    /// Nothing.
    virtual void Step();

    /// The parameters file of the scenario `file` (empty: none), read when `load`.
    void SetPath(const std::string& file, bool load);

    double startTime = 0.0;
    std::string description;
};

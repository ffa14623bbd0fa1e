#pragma once

#include <scenario/ScenarioItem.h>

/// The settings of a script, kept as text.
class Config : public ScenarioItem {
public:
    Config();
    /// Releases the store but not the children in it.
    ~Config() override;

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
    /// The flags, then each setting while its field is empty (false for the flags).
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// The flags, then the delays, the undos and the five names, always.
    void SaveAttributes(std::ostream& out) override;
    /// Fills the defaults of the delays and the undos; true.
    bool OnLoadEnd() override;

    std::vector<ScenarioItem*> children;
    std::string updateDelay;
    std::string waitMsgDelay;
    std::string requestDelay;
    std::string numOfUndos;
    std::string student;
    std::string training;
    std::string evaluation;
    std::string session;
    std::string history;
    bool evaluationActive = false;
    bool generalParametersActive = false;
};

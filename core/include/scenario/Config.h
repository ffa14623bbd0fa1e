#pragma once

#include <scenario/ScenarioItem.h>

/// The settings of a script, kept as text.
class Config : public ScenarioItem {
public:
    Config();
    /// Releases the store but not the children in it.
    ~Config() override;

    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    void DetachChildren() override;
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    void RemoveChild(ScenarioItem* child) override;
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
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

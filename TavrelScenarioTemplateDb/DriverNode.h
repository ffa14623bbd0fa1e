#pragma once

#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>

namespace cfg {
class Driver;
}

namespace TavrelScenarioTemplateDb {

/// The node of a driver section: identified by the driver's id, shown with its
/// label and the name of the vehicle it drives. Its sub-tree is built as for any
/// section.
class DriverNode : public TavrelScenarioNode {
public:
    /// Throws Exception* (code -1) if `driver` is null.
    DriverNode(cfg::Driver* driver, ScenarioTemplateDb::ScenarioNode* parent);

    /// "Driver[id/@ScenarioTreeValue=ID]", the step that parameter ids use.
    std::string getId() const override;
    /// "Driver[LABEL] - NAME", NAME being the name of the last vehicle beside the
    /// driver that it drives, else the driver's own name. Throws Exception by
    /// value (code -1) if the driver's section has no parent.
    std::string getName() const override;
    /// Whether `id` is exactly the text getId() gives.
    bool hasId(const std::string& id) const override;

private:
    cfg::Driver* driver;
};

} // namespace TavrelScenarioTemplateDb

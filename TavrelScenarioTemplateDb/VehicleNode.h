#pragma once

#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>

namespace cfg {
class Vehicle;
}

namespace TavrelScenarioTemplateDb {

/// The node of a vehicle section: identified by the vehicle's id, shown with
/// its id and name. Its sub-tree is built as for any section.
class VehicleNode : public TavrelScenarioNode {
public:
    /// Throws Exception* (code -1) if `vehicle` is null.
    VehicleNode(cfg::Vehicle* vehicle, ScenarioTemplateDb::ScenarioNode* parent);

    /// "Vehicle[id/@ScenarioTreeValue=ID]", the step that parameter ids use.
    std::string getId() const override;
    /// "Vehicle[ID] - NAME".
    std::string getName() const override;
    /// Whether `id` is exactly the text getId() gives.
    bool hasId(const std::string& id) const override;

private:
    cfg::Vehicle* vehicle;
};

} // namespace TavrelScenarioTemplateDb

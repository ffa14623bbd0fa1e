#include <TavrelScenarioTemplateDb/VehicleNode.h>

#include <TavrelScenarioTemplateDb/TreeValueId.h>
#include <environment/SheetCfg/Sections.h>

namespace TavrelScenarioTemplateDb {

bool VehicleNode::hasId(const std::string& id) const {
    return matchesTreeValueId(id, "Vehicle", vehicle->id);
}

VehicleNode::VehicleNode(cfg::Vehicle* vehicle, ScenarioTemplateDb::ScenarioNode* parent)
    : TavrelScenarioNode(vehicle, parent), vehicle(vehicle) {}

std::string VehicleNode::getId() const {
    return "Vehicle[id/@ScenarioTreeValue=" + std::to_string(vehicle->id) + "]";
}

std::string VehicleNode::getName() const {
    return "Vehicle[" + std::to_string(vehicle->id) + "] - " + vehicle->name;
}

} // namespace TavrelScenarioTemplateDb

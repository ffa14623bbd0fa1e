#include <TavrelScenarioTemplateDb/DriverNode.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/TreeValueId.h>
#include <environment/SheetCfg/Sections.h>

#include <vector>

namespace TavrelScenarioTemplateDb {

bool DriverNode::hasId(const std::string& id) const {
    return matchesTreeValueId(id, "Driver", driver->id);
}

DriverNode::DriverNode(cfg::Driver* driver, ScenarioTemplateDb::ScenarioNode* parent)
    : TavrelScenarioNode(driver, parent), driver(driver) {}

std::string DriverNode::getId() const {
    return "Driver[id/@ScenarioTreeValue=" + std::to_string(driver->id) + "]";
}

std::string DriverNode::getName() const {
    cfg::Section* owner = driver->getParentSection();
    if (!owner)
        throw ScenarioTemplateDb::Exception("Unable to get vehicle for driver " + driver->name +
                                                " : no parent section",
                                            ScenarioTemplateDb::ExceptionCodeGeneric);
    // Every vehicle driven by this driver is looked at; the last one names it.
    std::string shown = driver->name;
    std::vector<cfg::Section*> vehicles;
    owner->getSubSections(cfg::Vehicle::sectionName(), vehicles);
    for (cfg::Section* section : vehicles) {
        const cfg::Vehicle* vehicle = dynamic_cast<const cfg::Vehicle*>(section);
        if (vehicle && vehicle->driverId == driver->id)
            shown = vehicle->name;
    }
    return "Driver[" + driver->label + "] - " + shown;
}

} // namespace TavrelScenarioTemplateDb

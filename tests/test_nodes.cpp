// The node tree over a hand-built section tree: order of children, ids, names,
// lookups and every failure with its text, code and form.
#include <TavrelScenarioTemplateDb/DriverNode.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>
#include <TavrelScenarioTemplateDb/VehicleNode.h>

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <environment/SheetCfg/Sections.h>

#include "ExceptionCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace TavrelScenarioTemplateDb;
using ScenarioTemplateDb::Exception;
using namespace testing_support;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;

namespace {

// Scenario with sub-sections in file order: vehicle 3, Road, driver 7,
// ScenarioTemplate, Weather, vehicle 4, script.
class NodeTree : public ::testing::Test {
protected:
    void SetUp() override {
        root.reset(new cfg::Scenario());
        vehicle3 = add<cfg::Vehicle>(root.get());
        vehicle3->id = 3;
        vehicle3->name = "car";
        vehicle3->driverId = 7;
        road = root->createSubSection("Road");
        road->addParameter("width", cfg::ParameterReal, lmk::U_M);
        driver = add<cfg::Driver>(root.get());
        driver->id = 7;
        driver->name = "bob";
        driver->label = "B";
        cfg::Section* hidden = root->createSubSection("ScenarioTemplate");
        hidden->createSubSection("Inner")->addParameter("x", cfg::ParameterInt, lmk::U_NONE);
        root->createSubSection("Weather");
        vehicle4 = add<cfg::Vehicle>(root.get());
        vehicle4->id = 4;
        vehicle4->name = "truck";
        vehicle4->driverId = 8;
        add<cfg::ScenarioScript>(root.get());
        tree.reset(new TavrelScenarioNode(root.get(), nullptr));
    }

    std::unique_ptr<cfg::Scenario> root;
    cfg::Vehicle* vehicle3 = nullptr;
    cfg::Vehicle* vehicle4 = nullptr;
    cfg::Driver* driver = nullptr;
    cfg::Section* road = nullptr;
    std::unique_ptr<TavrelScenarioNode> tree;
};

} // namespace

TEST_F(NodeTree, ChildrenComeGroupedPlainVehiclesDriversAndHideTemplates) {
    std::vector<ScenarioNode*> children;
    tree->getChildren(children);
    ASSERT_EQ(children.size(), 5u);
    EXPECT_EQ(tree->getChildNumber(), 5u);
    EXPECT_EQ(children[0]->getId(), "Road");
    EXPECT_EQ(children[1]->getId(), "Weather");
    EXPECT_EQ(children[2]->getId(), "Vehicle[id/@ScenarioTreeValue=3]");
    EXPECT_EQ(children[3]->getId(), "Vehicle[id/@ScenarioTreeValue=4]");
    EXPECT_EQ(children[4]->getId(), "Driver[id/@ScenarioTreeValue=7]");
    for (size_t i = 0; i < children.size(); ++i) {
        EXPECT_EQ(tree->getChild(i), children[i]);
        EXPECT_EQ(children[i]->getIndex(), i);
        EXPECT_EQ(tree->getChildIndex(children[i]), i);
        EXPECT_EQ(children[i]->getParent(), tree.get());
        EXPECT_EQ(children[i]->getDescription(), "");
    }
    EXPECT_NE(dynamic_cast<VehicleNode*>(children[2]), nullptr);
    EXPECT_NE(dynamic_cast<DriverNode*>(children[4]), nullptr);

    // The vector handed in is emptied first.
    std::vector<ScenarioNode*> again{tree.get()};
    tree->getChildren(again);
    EXPECT_EQ(again, children);
}

TEST_F(NodeTree, IdsNamesAndNodeIds) {
    EXPECT_EQ(tree->getId(), "Scenario");
    EXPECT_EQ(tree->getName(), "Scenario");
    EXPECT_EQ(tree->getNodeId(), "/sce/Scenario");
    EXPECT_EQ(tree->getIndex(), 0u);
    EXPECT_EQ(tree->getParent(), nullptr);

    ScenarioNode* vehicle = tree->getChild("Vehicle[id/@ScenarioTreeValue=3]");
    EXPECT_EQ(vehicle->getName(), "Vehicle[3] - car");
    EXPECT_EQ(vehicle->getNodeId(), "/sce/Scenario/Vehicle[id/@ScenarioTreeValue=3]");
    EXPECT_EQ(tree->getChild("Road")->getNodeId(), "/sce/Scenario/Road");

    // The driver's name shows its label and the vehicle it drives; the id shows its id.
    ScenarioNode* driverNode = tree->getChild("Driver[id/@ScenarioTreeValue=7]");
    EXPECT_EQ(driverNode->getName(), "Driver[B] - car");

    // Everything is read live from the sections.
    vehicle3->id = 30;
    vehicle3->name = "van";
    EXPECT_EQ(vehicle->getId(), "Vehicle[id/@ScenarioTreeValue=30]");
    EXPECT_EQ(driverNode->getName(), "Driver[B] - van");
}

TEST_F(NodeTree, DriverNameTakesTheLastVehicleThatDrivesItElseItsOwnName) {
    ScenarioNode* driverNode = tree->getChild("Driver[id/@ScenarioTreeValue=7]");
    vehicle4->driverId = 7;
    EXPECT_EQ(driverNode->getName(), "Driver[B] - truck");
    vehicle3->driverId = 0;
    vehicle4->driverId = 0;
    EXPECT_EQ(driverNode->getName(), "Driver[B] - bob");
}

TEST_F(NodeTree, LookupFailuresArePointersWithTheirTexts) {
    ScenarioNode* leaf = tree->getChild("Weather");
    EXPECT_EQ(leaf->getChildNumber(), 0u);
    EXPECT_EQ(leaf->getParameterNumber(), 0u);
    ScenarioNode* roadNode = tree->getChild("Road");
    ScenarioParameter* width = roadNode->getParameter("width");
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { leaf->getChild(size_t(0)); }, "Out of bound child index of the scenario element : Weather"},
        // Children are found by id, never by the name shown; templates stay hidden.
        {[&] { tree->getChild("Vehicle[3] - car"); },
         "No child element with id=Vehicle[3] - car in scenario element : Scenario"},
        {[&] { tree->getChild("ScenarioTemplate"); },
         "No child element with id=ScenarioTemplate in scenario element : Scenario"},
        {[&] { leaf->getChildIndex(roadNode); },
         "The child element Road was not found in parent scenario element Weather"},
        {[&] { leaf->getParameter(size_t(0)); },
         "Out of bound child index of the scenario parameter : Weather"},
        {[&] { leaf->getParameter("width"); },
         "No child parameter with id=width in scenario element : Weather"},
        {[&] { leaf->getParameterIndex(width); },
         "The child parameter width was not found in parent element Weather"},
        // A vehicle names its failures by its display name.
        {[&] { tree->getChild(size_t(2))->getChild("x"); },
         "No child element with id=x in scenario element : Vehicle[3] - car"},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(throwsPointer(c.first, c.second, -1));
}

TEST_F(NodeTree, ParametersFollowTheSectionAndCountLive) {
    ScenarioNode* roadNode = tree->getChild("Road");
    ASSERT_EQ(roadNode->getParameterNumber(), 1u);
    ScenarioParameter* width = roadNode->getParameter(size_t(0));
    EXPECT_EQ(roadNode->getParameter("width"), width);
    EXPECT_EQ(roadNode->getParameterIndex(width), 0u);
    EXPECT_EQ(width->getParentNode(), roadNode);
    EXPECT_EQ(width->getParameterId(), "/sce/Scenario/Road/width");

    // A parameter added later is counted but gets no view.
    road->addParameter("lanes", cfg::ParameterInt, lmk::U_NONE);
    EXPECT_EQ(roadNode->getParameterNumber(), 2u);
    std::vector<ScenarioParameter*> parameters{nullptr, nullptr, nullptr};
    roadNode->getParameters(parameters);
    EXPECT_EQ(parameters, std::vector<ScenarioParameter*>{width});
    EXPECT_EQ(catchPointer([&] { roadNode->getParameter(size_t(1)); }).code, -1);

    // Every parameter of a vehicle leads back to it through the vehicle's id.
    ScenarioNode* vehicle = tree->getChild("Vehicle[id/@ScenarioTreeValue=4]");
    std::vector<ScenarioParameter*> vehicleParameters;
    vehicle->getParameters(vehicleParameters);
    for (size_t i = 0; i < vehicleParameters.size(); ++i) {
        EXPECT_EQ(vehicleParameters[i]->getIndex(), i);
        EXPECT_EQ(vehicleParameters[i]->getParameterId(),
                  "/sce/Scenario/Vehicle[id/@ScenarioTreeValue=4]/" + vehicleParameters[i]->getName());
    }
}

TEST(NodeConstruction, NullSectionsFailAsPointersAndAnOrphanDriverByValue) {
    const std::string message = "Failed to initialize the scenario element";
    EXPECT_TRUE(throwsPointer([] { TavrelScenarioNode node(nullptr, nullptr); }, message, -1));
    EXPECT_TRUE(throwsPointer([] { VehicleNode node(nullptr, nullptr); }, message, -1));
    EXPECT_TRUE(throwsPointer([] { DriverNode node(nullptr, nullptr); }, message, -1));

    cfg::Driver driver;
    driver.name = "alone";
    DriverNode node(&driver, nullptr);
    EXPECT_EQ(node.getId(), "Driver[id/@ScenarioTreeValue=0]");
    const std::string orphan = "Unable to get vehicle for driver alone : no parent section";
    EXPECT_TRUE(throwsValue([&] { node.getName(); }, orphan, -1));
    // The failure message of a lookup asks for the name, so this failure wins.
    EXPECT_TRUE(throwsValue([&] { node.getChild("x"); }, orphan, -1));
}

TEST_F(NodeTree, ChildrenAreFoundByTheirExactIdOnly) {
    vehicle4->id = -5;
    EXPECT_EQ(tree->getChild("Vehicle[id/@ScenarioTreeValue=-5]"), tree->getChild(size_t(3)));
    EXPECT_EQ(tree->getChild("Driver[id/@ScenarioTreeValue=7]"), tree->getChild(size_t(4)));
    for (const char* nearMiss :
         {"Vehicle[id/@ScenarioTreeValue=03]", "Vehicle[id/@ScenarioTreeValue=3] ",
          "Vehicle[id/@ScenarioTreeValue=3", "Driver[id/@ScenarioTreeValue=3]",
          "vehicle[id/@ScenarioTreeValue=3]", "Vehicle[id/@ScenarioTreeValue=]",
          "Vehicle[id/@ScenarioTreeValue=+3]", "Vehicle[id/@ScenarioTreeValue=7]", "Road/"})
        EXPECT_EQ(catchPointer([&] { tree->getChild(nearMiss); }).code, -1) << nearMiss;
}

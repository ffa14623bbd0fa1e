// The driver: its URI and scenarios by path.
#include "ExceptionCapture.h"
#include "TempInstallation.h"

#include <ScenarioTemplateDb/DatabaseDirectory.h>
#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>

#include <gtest/gtest.h>

#include <memory>

using ScenarioTemplateDb::Exception;
using namespace testing_support;
using TavrelScenarioTemplateDb::TavrelDatabaseDriver;
using TavrelScenarioTemplateDb::TavrelScenario;

namespace {

class DriverTest : public ::testing::Test {
protected:
    void SetUp() override {
        t.addConfiguration("Main", "1.2", {"one", "two"});
        t.addConfiguration("Other Name", "1.2", {"two"});
        t.addScenario("two", "city/street.sce");
        file = t.writeInstallationFile();
    }
    TempInstallation t;
    std::string file;
};

std::string notFound(const std::string& path, const std::string& configuration) {
    return "Could not find scenario : \"" + path + "\" in the data path of the configuration : \"" +
           configuration + "\". Please ensure that your configuration is correct.";
}

} // namespace

TEST_F(DriverTest, UriShowsTheFileAndTheFiltersOtherThanStar) {
    const std::string base = "tavrel://${TAVREL_HOME}/tavrel.cfg";
    const struct {
        std::string version, configuration, query;
    } cases[] = {
        {"*", "*", ""},
        {"1.2", "*", "?version=1.2"},
        {"*", "Other Name", "?config=Other Name"},
        {"1.2", "Main", "?version=1.2&config=Main"},
        {"", "*", "?version="},
        {"**", "*", "?version=**"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(TavrelDatabaseDriver(file, c.version, c.configuration).getURI(), base + c.query);
}

TEST_F(DriverTest, UriFollowsTheInstallationInForceAndCopiesShareIt) {
    TavrelDatabaseDriver driver(file, "1.2", "*");
    TavrelDatabaseDriver copy(driver);
    EXPECT_EQ(copy.getURI(), driver.getURI());
    TempInstallation other;
    other.addConfiguration("X", "1", {"p"});
    const std::string otherFile = other.write("elsewhere/install.cfg", "[configuration X]\npath = x\n");
    TavrelDatabaseDriver second(otherFile, "*", "*");
    EXPECT_EQ(driver.getURI(), "tavrel://${TAVREL_HOME}/install.cfg?version=1.2");
    copy = second;
    EXPECT_EQ(copy.getURI(), "tavrel://${TAVREL_HOME}/install.cfg");
}

TEST_F(DriverTest, ScenariosByPathComeFromTheFilteredConfiguration) {
    TavrelDatabaseDriver driver(file, "*", "Main");
    std::unique_ptr<TavrelScenario> scenario(driver.createTavrelScenario("Label", "city/street.sce"));
    EXPECT_EQ(scenario->getPath(), "city/street.sce");
    // The directory as the database found it: concrete, not in generic form.
    EXPECT_EQ(scenario->getFilePath(), t.path("projects/two/data/scenario/city/street.sce"));
    EXPECT_EQ(driver.getScenario("city/street.sce")->getPath(), "city/street.sce");

    for (std::string path : {"city\\street.sce", "street.sce", "/city/street.sce"}) {
        EXPECT_TRUE(throwsValue([&] { driver.getScenario(path); }, notFound(path, "Main"), 24));
    }
    EXPECT_EQ(catchValue([&] { driver.createTavrelScenario("Label", "x.sce"); }).message,
              notFound("x.sce", "Label"));
}

TEST_F(DriverTest, WithoutConfigurationFilterNoScenarioIsFoundByPath) {
    TavrelDatabaseDriver driver(file, "*", "*");
    EXPECT_TRUE(
        throwsValue([&] { driver.getScenario("city/street.sce"); }, notFound("city/street.sce", "*"), 24));
    // The tree still lists it.
    auto directory = driver.getRootDirectory()->getDirectory(0)->getDirectory(0)->getDirectory(1);
    EXPECT_EQ(directory->getScenario(0)->getPath(), "city/street.sce");
}

// Every scenario of the sample installation, in every configuration that lists
// it, opens through the driver with the configuration's root model, up to its
// node tree with the scripts' nodes; the two broken on purpose fail with their
// own messages.
TEST(SampleInstallation, EveryScenarioOpensWithItsModel) {
    TavrelDatabaseDriver driver(TAVREL_SAMPLE_INSTALLATION, "*", "*");
    size_t opened = 0;
    size_t scripts = 0;
    std::vector<std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory>> versions, configurations, directories;
    driver.getRootDirectory()->getDirectories(versions);
    for (const auto& version : versions) {
        version->getDirectories(configurations);
        for (const auto& configuration : configurations) {
            configuration->getDirectories(directories);
            for (const auto& directory : directories) {
                std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>> scenarios;
                directory->getScenarios(scenarios);
                for (const auto& scenario : scenarios) {
                    ScenarioTemplateDb::ScenarioNode* root = nullptr;
                    const Caught open = capture([&] { root = scenario->getRootScenarioNode(); });
                    const std::string path = scenario->getPath();
                    if (path == "tractors.sce") {
                        EXPECT_EQ(open.exception.code, 24);
                    } else if (path == "fog/broken_script.sce") {
                        EXPECT_EQ(open.form, "value");
                        EXPECT_EQ(open.exception.message, "Unable to parse script cut :\n");
                    } else {
                        ASSERT_EQ(open.form, "nothing") << path << ": " << open.exception.message;
                        ++opened;
                        for (size_t i = 0; i < root->getChildNumber(); ++i)
                            scripts += root->getChild(i)->getId().rfind("ScenarioScript[", 0) == 0;
                    }
                }
            }
        }
    }
    EXPECT_GT(opened, 20u);
    EXPECT_GT(scripts, 20u);
}

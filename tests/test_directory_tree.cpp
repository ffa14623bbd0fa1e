// The directory tree: what each of the four levels answers and how it fails.
#include "ExceptionCapture.h"
#include "TempInstallation.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/Scenario.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationRootDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationScenarioDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>
#include <TavrelScenarioTemplateDb/TavrelVersionDirectory.h>

#include <gtest/gtest.h>

#include <functional>

using namespace TavrelScenarioTemplateDb;
using ScenarioTemplateDb::DatabaseDirectory;
using ScenarioTemplateDb::Exception;
using namespace testing_support;
using ScenarioTemplateDb::Scenario;
using Directories = std::vector<std::shared_ptr<DatabaseDirectory>>;
using Scenarios = std::vector<std::shared_ptr<Scenario>>;

namespace {

std::vector<std::string> names(const Directories& directories) {
    std::vector<std::string> result;
    for (const auto& d : directories)
        result.push_back(d->getName());
    return result;
}

// Version "2.0" with Main (roots one, two) and Side (root two); version "3.0"
// with Broken, whose root is missing.
class DirectoryTreeTest : public ::testing::Test {
protected:
    void SetUp() override {
        t.addConfiguration("Main", "2.0", {"one", "two"});
        t.addConfiguration("Side", "2.0", {"two"});
        t.addConfiguration("Broken", "3.0", {"gone"}, false);
        t.addScenario("one", "a.sce");
        t.addScenario("one", "nested/b.sce");
        t.addScenario("two", "c.sce");
        file = t.writeInstallationFile();
    }
    std::shared_ptr<DatabaseDirectory> root(const std::string& version = "*",
                                            const std::string& configuration = "*") {
        return TavrelDatabaseDriver(file, version, configuration).getRootDirectory();
    }

    TempInstallation t;
    std::string file;
};

} // namespace

// The levels above scenario directories list their sub-directories in index
// order and hold no scenario.
TEST_F(DirectoryTreeTest, UpperLevelsListDirectoriesAndHoldNoScenario) {
    auto top = root();
    auto version = top->getDirectory(0);
    auto configuration = version->getDirectory(0);
    const struct {
        std::shared_ptr<DatabaseDirectory> directory;
        std::string message;
    } levels[] = {
        {top, "No scenario template can be found in the Tavrel installation root directory!"},
        {version, "No scenario template can be found in the Tavrel virtual version directory!"},
        {configuration, "No scenario template can be found in the Tavrel configuration directory!"},
    };
    for (const auto& level : levels) {
        EXPECT_EQ(level.directory->getScenarioNumber(), 0u);
        Scenarios scenarios{nullptr};
        level.directory->getScenarios(scenarios);
        EXPECT_TRUE(scenarios.empty());
        EXPECT_TRUE(throwsValue([&] { level.directory->getScenario(0); }, level.message, 4));
    }
    EXPECT_TRUE(
        throwsValue([&] { TavrelConfigurationRootDirectory(nullptr).createScenario(); },
                    "Unable to create a scenario template into the Tavrel installation root directory!", -1));

    EXPECT_EQ(top->getName(), "${TAVREL_HOME}/tavrel.cfg");
    Directories directories{nullptr, nullptr, nullptr, nullptr};
    top->getDirectories(directories);
    EXPECT_EQ(names(directories), (std::vector<std::string>{"2.0", "3.0"}));
    ASSERT_EQ(top->getDirectoryNumber(), 2u);
    EXPECT_EQ(top->getDirectory(1)->getName(), "3.0");

    version->getDirectories(directories);
    EXPECT_EQ(names(directories), (std::vector<std::string>{"Main", "Side"}));
    EXPECT_EQ(version->getDirectory(1)->getName(), "Side");
    EXPECT_EQ(version->getDirectoryNumber(), 2u);

    configuration->getDirectories(directories);
    ASSERT_EQ(directories.size(), 2u);
    EXPECT_EQ(configuration->getDirectoryNumber(), 2u);
    // Scenario directories are named after their data-path root.
    EXPECT_EQ(names(directories), (std::vector<std::string>{t.path("projects/one"), t.path("projects/two")}));
    EXPECT_EQ(configuration->getDirectory(1)->getName(), t.path("projects/two"));

    EXPECT_TRUE(
        throwsValue([&] { top->getDirectory(2); },
                    "Invalid version index : 2\nCurrent Tavrel installation ${TAVREL_HOME}/tavrel.cfg "
                    "only contain 2 different versions.",
                    4));
    EXPECT_TRUE(throwsValue([&] { version->getDirectory(2); },
                            "Invalid configuration index : 2\nCurrent version 2.0 only contain 2 different "
                            "configurations.",
                            4));
    EXPECT_TRUE(throwsValue([&] { configuration->getDirectory(2); },
                            "Invalid scenario directory index 2 in configuration Main", -1));
}

TEST_F(DirectoryTreeTest, ScenarioDirectoryListsNewUnloadedScenarios) {
    auto directory = root("*", "Main")->getDirectory(0)->getDirectory(0)->getDirectory(0);
    EXPECT_EQ(directory->getDirectoryNumber(), 0u);
    Directories directories{nullptr};
    directory->getDirectories(directories);
    EXPECT_TRUE(directories.empty());
    EXPECT_TRUE(throwsValue([&] { directory->getDirectory(0); },
                            "No directory into the given configuration scenario folder ", 4));

    ASSERT_EQ(directory->getScenarioNumber(), 2u);
    Scenarios scenarios{nullptr, nullptr, nullptr};
    directory->getScenarios(scenarios);
    ASSERT_EQ(scenarios.size(), 2u);
    EXPECT_EQ(scenarios[0]->getPath(), "a.sce");
    EXPECT_EQ(scenarios[1]->getPath(), "nested/b.sce");
    EXPECT_EQ(scenarios[1]->getFilePath(), "${TAVREL_HOME}/projects/one/data/scenario/nested/b.sce");
    auto again = directory->getScenario(1);
    EXPECT_NE(again, scenarios[1]);
    EXPECT_EQ(again->getPath(), "nested/b.sce");

    EXPECT_TRUE(throwsValue([&] { directory->getScenario(2); },
                            "Invalid scenario template index 2 in configuration Main directory 2", -1));
}

TEST_F(DirectoryTreeTest, FiltersNarrowButNeverRemoveALevel) {
    auto top = root("2.0", "Side");
    ASSERT_EQ(top->getDirectoryNumber(), 1u);
    auto version = top->getDirectory(0);
    EXPECT_EQ(version->getName(), "2.0");
    ASSERT_EQ(version->getDirectoryNumber(), 1u);
    EXPECT_EQ(version->getDirectory(0)->getName(), "Side");

    EXPECT_EQ(root("9.9")->getDirectoryNumber(), 0u);
    EXPECT_EQ(TavrelVersionDirectory(std::make_shared<TavrelScenarioTemplateDatabase>(file, "*", "*"), "9.9")
                  .getDirectoryNumber(),
              0u);
}

TEST_F(DirectoryTreeTest, InaccessibleDataFolderFailsItsConfigurationOnly) {
    auto version = root()->getDirectory(1);
    ASSERT_EQ(version->getDirectoryNumber(), 1u);
    auto configuration = version->getDirectory(0);
    const std::string message = "Data Path [" + t.path("projects/gone/data/scenario") + "] is inaccessible!";
    Directories directories;
    for (const auto& call : std::vector<std::function<void()>>{
             [&] { configuration->getDirectoryNumber(); }, [&] { configuration->getDirectory(0); },
             [&] { configuration->getDirectories(directories); }}) {
        EXPECT_TRUE(throwsValue(call, message, 16));
    }
    auto database = std::make_shared<TavrelScenarioTemplateDatabase>(file, "*", "*");
    TavrelConfigurationScenarioDirectory directory(database, "Broken", 0);
    Scenarios scenarios{nullptr};
    EXPECT_EQ(catchValue([&] { directory.getScenarioNumber(); }).code, 16);
    EXPECT_EQ(catchValue([&] { directory.getScenarios(scenarios); }).code, 16);
    EXPECT_EQ(scenarios.size(), 1u); // left as it was
    EXPECT_EQ(catchValue([&] { directory.getScenario(0); }).code, 16);
}

TEST_F(DirectoryTreeTest, DirectoriesOutliveTheDriverAndCopiesShareTheDatabase) {
    std::shared_ptr<DatabaseDirectory> configuration;
    {
        TavrelDatabaseDriver driver(file, "*", "*");
        configuration = driver.getRootDirectory()->getDirectory(0)->getDirectory(0);
    }
    EXPECT_EQ(configuration->getDirectoryNumber(), 2u);

    auto database = std::make_shared<TavrelScenarioTemplateDatabase>(file, "*", "Main");
    TavrelConfigurationScenarioDirectory first(database, "Main", 0);
    TavrelConfigurationScenarioDirectory second(database, "Main", 1);
    second = first;
    EXPECT_EQ(second.getScenarioNumber(), 2u);
    EXPECT_EQ(database.use_count(), 3);
}

TEST(ScenarioDirectoryPath, JoinsWithExactlyOneSlash) {
    EXPECT_EQ(
        TavrelConfigurationScenarioDirectory::getFilePathFromDataBasePath("a/b.sce", "${X}/data/scenario"),
        "${X}/data/scenario/a/b.sce");
    EXPECT_EQ(TavrelConfigurationScenarioDirectory::getFilePathFromDataBasePath("/b.sce", "dir/"),
              "dir///b.sce");
}

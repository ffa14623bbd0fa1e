// The installation database: versions, configurations, scenario directories and
// scenario files, with every failure checked for message, code and form.
#include "ExceptionCapture.h"
#include "TempInstallation.h"

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <unistd.h>
#include <utility>

using ScenarioTemplateDb::Exception;
using namespace testing_support;
using TavrelScenarioTemplateDb::ScenarioPath;
using TavrelScenarioTemplateDb::TavrelScenarioTemplateDatabase;

namespace {

// Versions "1.0" (A, B), "10" (C), "9" (E, whose second root is missing), and D
// without a version.
class DatabaseTest : public ::testing::Test {
protected:
    void SetUp() override {
        t.addConfiguration("A", "1.0", {"one", "two"});
        t.addConfiguration("B", "1.0", {"two"});
        t.addConfiguration("C", "10", {"three"});
        t.addConfiguration("D", "", {"one"});
        t.addConfiguration("E", "9", {"one", "missing"}, false);
        file = t.writeInstallationFile();
    }
    TavrelScenarioTemplateDatabase open(const std::string& version = "*",
                                        const std::string& configuration = "*") {
        return TavrelScenarioTemplateDatabase(file, version, configuration);
    }
    std::vector<std::string> relativePaths(const TavrelScenarioTemplateDatabase& db, const std::string& c,
                                           size_t index) {
        std::vector<ScenarioPath> paths;
        db.getScenarioPaths(c, index, paths);
        std::vector<std::string> relative;
        for (const ScenarioPath& p : paths)
            relative.push_back(p.second);
        return relative;
    }

    TempInstallation t;
    std::string file;
};

std::string versionIndexMessage(int index, int count) {
    return "Invalid version index : " + std::to_string(index) +
           "\nCurrent Tavrel installation ${TAVREL_HOME}/tavrel.cfg only contain " + std::to_string(count) +
           " different versions.";
}

} // namespace

TEST_F(DatabaseTest, ConstructorChecksTheFileOnlyWhenItChanges) {
    EXPECT_TRUE(throwsValue(
        [&] {
            open();
            TavrelScenarioTemplateDatabase(t.path("nope.cfg"), "*", "*");
        },
        "Tavrel configuration file [" + t.path("nope.cfg") + "] doesn't exists!", -1));
    EXPECT_EQ(lmkUtils::EnvConfig::ourConfigCfgFile, file);

    // Expanded before the test and in the message; the emptiness test is on the argument.
    ::setenv("TAVREL_TEST_ROOT", t.root().c_str(), 1);
    EXPECT_TRUE(throwsValue([] { TavrelScenarioTemplateDatabase("${TAVREL_TEST_ROOT}/other.cfg", "*", "*"); },
                            "Tavrel configuration file [" + t.path("other.cfg") + "] doesn't exists!", -1));
    TavrelScenarioTemplateDatabase byVariable("${TAVREL_TEST_ROOT}/tavrel.cfg", "*", "*");
    EXPECT_EQ(byVariable.getConfigurationFilePath(), "${TAVREL_HOME}/tavrel.cfg");

    // An empty path or the path in force is taken without looking at the disk.
    ::unlink(file.c_str());
    TavrelScenarioTemplateDatabase same(file, "*", "*");
    TavrelScenarioTemplateDatabase empty("", "*", "A");
    EXPECT_EQ(empty.getVersionNumber(), 1u);
    EXPECT_EQ(lmkUtils::EnvConfig::ourConfigCfgFile, file);
}

TEST_F(DatabaseTest, ConfigurationErrorsBecomeGenericExceptions) {
    TempInstallation broken;
    const std::string brokenFile = broken.write("tavrel.cfg", "[configuration X]\n");
    EXPECT_TRUE(throwsValue([&] { TavrelScenarioTemplateDatabase(brokenFile, "*", "*"); },
                            brokenFile + ":1: configuration 'X' has no path", -1));

    // The file in force changed on disk and no longer parses.
    open();
    t.write("tavrel.cfg", "[configuration A]\npath = config/0\n[oops]\n");
    EXPECT_TRUE(throwsValue([] { TavrelScenarioTemplateDatabase("", "*", "*"); },
                            file + ":3: unknown section [oops]", -1));
}

TEST_F(DatabaseTest, VersionsAreUniqueInTextOrderWithoutUnreadableOnes) {
    auto db = open();
    std::set<std::string> versions{"stale"};
    db.getVersions(versions);
    EXPECT_EQ(versions, (std::set<std::string>{"1.0", "10", "9"}));
    EXPECT_EQ(db.getVersionNumber(), 3u);
    EXPECT_EQ(db.getVersion(0), "1.0");
    EXPECT_EQ(db.getVersion(1), "10");
    EXPECT_EQ(db.getVersion(2), "9");

    EXPECT_TRUE(throwsValue([&] { db.getVersion(3); }, versionIndexMessage(3, 3), 4));

    EXPECT_TRUE(throwsValue([&] { db.getConfigurationVersion("D"); },
                            "Unable to get version for configuration D (" + t.path("config/3") + ")", -1));
    EXPECT_EQ(catchValue([&] { db.getConfigurationVersion("Z"); }).message,
              "Unable to get version for configuration Z ()");
    EXPECT_EQ(db.getConfigurationVersion("C"), "10");
}

TEST_F(DatabaseTest, FiltersNarrowListingsByWholeText) {
    EXPECT_EQ(open("10").getVersionNumber(), 1u);
    EXPECT_EQ(open("*", "B").getVersion(0), "1.0");
    EXPECT_EQ(open("1", "*").getVersionNumber(), 0u);
    EXPECT_EQ(open("", "*").getVersionNumber(), 0u);
    EXPECT_EQ(open("*", "D").getVersionNumber(), 0u);

    EXPECT_TRUE(throwsValue([&] { open("7.7").getVersion(0); }, versionIndexMessage(0, 0), 4));

    std::vector<std::string> configurations{"stale"};
    open().getConfigurationsForVersion("1.0", configurations);
    EXPECT_EQ(configurations, (std::vector<std::string>{"A", "B"}));
    open("*", "B").getConfigurationsForVersion("1.0", configurations);
    EXPECT_EQ(configurations, std::vector<std::string>{"B"});
    open("10").getConfigurationsForVersion("1.0", configurations);
    EXPECT_TRUE(configurations.empty());

    auto db = open();
    EXPECT_EQ(db.getConfigurationNumber("1.0"), 2u);
    EXPECT_EQ(db.getConfiguration("1.0", 1), "B");
    EXPECT_TRUE(throwsValue([&] { db.getConfiguration("1.0", 2); },
                            "Invalid configuration index : 2\nCurrent version 1.0 only contain 2 different "
                            "configurations.",
                            4));
}

TEST_F(DatabaseTest, ScenarioDirectoriesFollowTheDataPath) {
    auto db = open("*", "A");
    const std::vector<std::string> expected{t.path("projects/one/data/scenario"),
                                            t.path("projects/two/data/scenario")};
    EXPECT_EQ(db.getScenarioDirectories(), expected);
    EXPECT_EQ(lmkUtils::EnvConfig::getCurrentConfiguration(), "A");
    EXPECT_EQ(db.getScenarioDirectoryNumber("A"), 2u);
    EXPECT_EQ(db.getScenarioDirectory("A", 1), expected[1]);
    EXPECT_TRUE(open().getScenarioDirectories().empty());

    EXPECT_TRUE(throwsValue([&] { db.getScenarioDirectory("A", 2); },
                            "Invalid scenario directory index 2 in configuration A", -1));
}

TEST_F(DatabaseTest, MissingDataFolderMakesTheConfigurationUnusable) {
    const std::string missing = t.path("projects/missing/data/scenario");
    EXPECT_TRUE(throwsValue([&] { open("*", "E"); }, "Data Path [" + missing + "] is inaccessible!", 16));

    auto db = open();
    std::vector<std::string> directories;
    EXPECT_EQ(catchValue([&] { db.getConfigurationScenarioDirectories("E", directories); }).code, 16);
    EXPECT_EQ(directories, std::vector<std::string>{t.path("projects/one/data/scenario")});
    EXPECT_EQ(catchValue([&] { db.getScenarioDirectoryNumber("E"); }).code, 16);
    EXPECT_EQ(catchValue([&] { db.getScenariosNumber("E", 0); }).code, 16);

    // Each inaccessible root once, in brackets; "data/scenario" a file counts too.
    std::filesystem::remove_all(t.path("projects/two/data/scenario"));
    t.write("projects/two/data/scenario", "not a folder");
    EXPECT_TRUE(throwsValue([&] { db.getScenarioDirectoryNumber("A"); },
                            "Data Path [" + t.path("projects/two/data/scenario") + "] is inaccessible!", 16));
    t.write(
        "config/1/configuration.ini",
        "[configuration]\nversion = 1.0\ndatapath = ../../projects/x;../../projects/y;../../projects/x\n");
    const Exception e = catchValue([&] { db.getScenarioDirectoryNumber("B"); });
    const std::string x = "[" + t.path("projects/x/data/scenario") + "] ";
    const std::string y = "[" + t.path("projects/y/data/scenario") + "] ";
    EXPECT_TRUE(e.message == "Data Path " + x + y + "is inaccessible!" ||
                e.message == "Data Path " + y + x + "is inaccessible!")
        << e.message;
}

TEST_F(DatabaseTest, ScenarioFilesAreFilteredAndRelative) {
    for (const char* file : {"top.sce", "sub/inner.sce", "sub/deeper/deep.sce", "CAPS.SCE", "a.sce.bak",
                             "old.sce/hidden.txt", "zz.sce"})
        t.addScenario("one", file);
    auto db = open("*", "A");

    std::vector<ScenarioPath> paths;
    db.getScenarioPaths("A", 0, paths);
    ASSERT_EQ(paths.size(), 4u);
    for (const ScenarioPath& p : paths)
        EXPECT_EQ(p.first, "${TAVREL_HOME}/projects/one/data/scenario");
    std::vector<std::string> relative = relativePaths(db, "A", 0);
    // A folder's files come before its subfolders' files.
    std::vector<std::string> topLevel(relative.begin(), relative.begin() + 2);
    std::sort(topLevel.begin(), topLevel.end());
    EXPECT_EQ(topLevel, (std::vector<std::string>{"top.sce", "zz.sce"}));
    EXPECT_EQ(relative[2], "sub/inner.sce");
    EXPECT_EQ(relative[3], "sub/deeper/deep.sce");

    EXPECT_EQ(db.getScenariosNumber("A", 0), 4u);
    EXPECT_EQ(db.getScenarioPath("A", 0, 2).second, "sub/inner.sce");
    EXPECT_EQ(db.getScenarioIndex("A", 0, "sub/deeper/deep.sce"), 3);
    EXPECT_EQ(db.getScenarioIndex("A", 0, relative[0]), 0);
    // An absent path answers the last position; an empty directory -1.
    EXPECT_EQ(db.getScenarioIndex("A", 0, "absent.sce"), 3);
    EXPECT_EQ(db.getScenarioIndex("A", 1, "absent.sce"), -1);
    EXPECT_EQ(db.getScenariosNumber("A", 1), 0u);

    EXPECT_TRUE(throwsValue([&] { db.getScenarioPath("A", 1, 5); },
                            "Invalid scenario template index 5 in configuration A directory 5", -1));
    EXPECT_EQ(catchValue([&] { db.getScenarioPaths("A", 9, paths); }).message,
              "Invalid scenario directory index 9 in configuration A");
}

TEST_F(DatabaseTest, DirectoryOfAPathSearchesTheFilteredConfiguration) {
    t.addScenario("two", "x/found.sce");
    t.addScenario("one", "first.sce");
    auto db = open("*", "A");
    EXPECT_EQ(db.getScenarioDirectory("x/found.sce"), t.path("projects/two/data/scenario"));
    EXPECT_EQ(&db.getScenarioDirectory("x/found.sce"), &db.getScenarioDirectories()[1]);
    EXPECT_EQ(db.getScenarioDirectory("first.sce"), t.path("projects/one/data/scenario"));
    EXPECT_EQ(db.getScenarioDirectory("x\\found.sce"), "");
    EXPECT_EQ(db.getScenarioDirectory("absent.sce"), "");
    EXPECT_EQ(open().getScenarioDirectory("first.sce"), "");
}

TEST_F(DatabaseTest, UnreadableTreeFailsTheListingWithDirectoryAccess) {
    t.addScenario("one", "a.sce");
    const std::string dangling = t.path("projects/one/data/scenario/sub");
    t.makeFolder("projects/one/data/scenario/sub");
    const std::string link = dangling + "/broken";
    ASSERT_EQ(::symlink("nowhere", link.c_str()), 0);
    auto db = open("*", "A");

    std::vector<ScenarioPath> paths;
    EXPECT_TRUE(throwsValue([&] { db.getScenarioPaths("A", 0, paths); },
                            "Cannot list scenarios : File not found: " + link, 16));
    // What was found before the failure stays.
    EXPECT_EQ(paths.size(), 1u);
}

// A link back up to a folder above it is not followed; a link to a folder
// elsewhere lists that folder's scenarios again under the link's path. Both the
// listing and the search for one path end and agree.
TEST_F(DatabaseTest, LinksBackUpAreSkippedAndLinksAcrossAreListed) {
    for (const char* file : {"top.sce", "a/x.sce", "a/b/y.sce"})
        t.addScenario("one", file);
    const std::string scenario = t.path("projects/one/data/scenario");
    t.makeFolder("projects/one/data/scenario/s");
    for (const auto& link : {std::make_pair("..", "/a/up"), std::make_pair("..", "/a/b/back"),
                             std::make_pair(".", "/a/b/self"), std::make_pair("../a", "/s/toA")})
        ASSERT_EQ(::symlink(link.first, (scenario + link.second).c_str()), 0) << link.second;
    auto db = open("*", "A");

    std::vector<std::string> relative = relativePaths(db, "A", 0);
    std::sort(relative.begin(), relative.end());
    EXPECT_EQ(relative,
              (std::vector<std::string>{"a/b/y.sce", "a/x.sce", "s/toA/b/y.sce", "s/toA/x.sce", "top.sce"}));

    EXPECT_EQ(db.getScenarioDirectory("s/toA/b/y.sce"), scenario);
    EXPECT_EQ(db.getScenarioDirectory("a/up/top.sce"), "");
    EXPECT_EQ(db.getScenarioIndex("A", 0, "a/up/a/x.sce"), 4);
}

TEST_F(DatabaseTest, CopiesKeepTheFiltersAndDirectories) {
    auto db = open("1.0", "A");
    TavrelScenarioTemplateDatabase copy(db);
    EXPECT_EQ(copy.getVersionFilter(), "1.0");
    EXPECT_EQ(copy.getConfigurationFilter(), "A");
    EXPECT_EQ(copy.getScenarioDirectories(), db.getScenarioDirectories());
    copy = open();
    EXPECT_EQ(copy.getConfigurationFilter(), "*");
    EXPECT_TRUE(copy.getScenarioDirectories().empty());
}

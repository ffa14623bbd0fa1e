#include "ExceptionCapture.h"
#include "TempInstallation.h"

#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/ScenarioModel.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <malloc.h>
#include <set>
#include <string>

namespace fs = std::filesystem;
using namespace testing_support;
using TavrelScenarioTemplateDb::TavrelScenario;

namespace {

class Probe : public TavrelScenario {
public:
    using TavrelScenario::getCfgScenarioSection;
    using TavrelScenario::TavrelScenario;
};

const char* const crossing = "<?xml version=\"1.0\"?>\n"
                             "<Scenario name=\"Crossing\" description=\"A signalled crossing\">\n"
                             "  <Vehicle id=\"1\" driverId=\"2\" name=\"ego\" />\n"
                             "</Scenario>\n";

// A temporary folder holding city/crossing.sce.
class TavrelScenarioTest : public ::testing::Test {
protected:
    void SetUp() override {
        t.useForModels({"Default"});
        t.write("city/crossing.sce", crossing);
    }
    std::string dir() const { return t.root(); }
    // The message of a failed load of the file at `relative`, ending in the reader's error.
    std::string loadFailure(const std::string& relative, const std::string& error) const {
        const std::string file = t.path(relative);
        return "Unable to load scenario " + file + " :\n" + file + error;
    }
    TempInstallation t;
};

TEST_F(TavrelScenarioTest, PathsNeedNoFileAndAMissingFileFailsOnFirstUse) {
    TavrelScenario scenario("Default", "city/missing.sce", dir());
    EXPECT_EQ(scenario.getPath(), "city/missing.sce");
    EXPECT_EQ(scenario.getFilePath(), dir() + "/city/missing.sce");
    scenario.setPath("other/place.sce"); // taken without a check
    EXPECT_EQ(scenario.getPath(), "other/place.sce");
    EXPECT_EQ(scenario.getFilePath(), dir() + "/other/place.sce");

    EXPECT_TRUE(throwsValue([&] { scenario.getName(); },
                            loadFailure("other/place.sce", ":1:1: cannot read the file"), 24));
    // One attempt per object: what follows works on the empty tree left behind.
    EXPECT_EQ(scenario.getName(), "");
    EXPECT_EQ(scenario.getDescription(), "");
}

TEST_F(TavrelScenarioTest, ASyntaxErrorIsReportedWithItsPosition) {
    t.write("city/broken.sce", "<Scenario name=\"x\">\n  <Vehicle>\n</Scenario>\n");
    TavrelScenario scenario("Default", "city/broken.sce", dir());
    EXPECT_TRUE(throwsValue([&] { scenario.getDescription(); },
                            loadFailure("city/broken.sce", ":3:3: Start-end tags mismatch"), 24));
    std::vector<unsigned char> bytes;
    scenario.fetch(bytes); // the raw bytes stay readable
    EXPECT_EQ(bytes.size(), 44u);
    // Saving the failed template never replaces the file with an empty tree.
    scenario.setName("renamed");
    scenario.save();
    EXPECT_EQ(t.read("city/broken.sce"), "<Scenario name=\"x\">\n  <Vehicle>\n</Scenario>\n");
}

TEST_F(TavrelScenarioTest, LoadsOnceAndReadsTheRootSection) {
    Probe scenario("Default", "city/crossing.sce", dir());
    EXPECT_EQ(scenario.getName(), "Crossing");
    EXPECT_EQ(scenario.getDescription(), "A signalled crossing");
    cfg::CfgScenario* file = scenario.getCfgScenarioSection();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->getRootSection()->getSubSectionCount(), 1u);

    // Loaded once: a change on disk doesn't reach this object, only a new one.
    t.write("city/crossing.sce", "<Scenario name=\"Changed\"/>");
    EXPECT_EQ(scenario.getName(), "Crossing");
    EXPECT_EQ(scenario.getCfgScenarioSection(), file);
    EXPECT_EQ(TavrelScenario("Default", "city/crossing.sce", dir()).getName(), "Changed");
}

TEST_F(TavrelScenarioTest, TheDirectoryMayHoldVariables) {
    ::setenv("TAVREL_TEST_SCENARIO_DIR", dir().c_str(), 1);
    TavrelScenario scenario("Default", "city/crossing.sce", "${TAVREL_TEST_SCENARIO_DIR}");
    EXPECT_EQ(scenario.getFilePath(), "${TAVREL_TEST_SCENARIO_DIR}/city/crossing.sce");
    EXPECT_EQ(scenario.getName(), "Crossing");
    std::vector<unsigned char> bytes;
    scenario.fetch(bytes);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), crossing);
    scenario.setDescription("expanded on save too");
    scenario.save();
    EXPECT_NE(t.read("city/crossing.sce").find("expanded on save too"), std::string::npos);
    ::unsetenv("TAVREL_TEST_SCENARIO_DIR");
}

TEST_F(TavrelScenarioTest, FetchFailures) {
    // A file that can't be read fails as the load it also is, code 24.
    TavrelScenario missing("Default", "city/none.sce", dir());
    std::vector<unsigned char> bytes;
    EXPECT_EQ(catchValue([&] { missing.fetch(bytes); }).code, 24);
    // Then, the load having been tried, fetch fails in its own words.
    EXPECT_TRUE(throwsValue([&] { missing.fetch(bytes); }, "Unable to load scenario ", 20));

    TavrelScenario gone("Default", "city/crossing.sce", dir());
    EXPECT_EQ(gone.getName(), "Crossing");
    fs::remove(t.path("city/crossing.sce"));
    EXPECT_TRUE(throwsValue([&] { gone.fetch(bytes); }, "Unable to load scenario Crossing", 20));
}

TEST_F(TavrelScenarioTest, SaveWritesWhereThePathPoints) {
    TavrelScenario scenario("Default", "city/crossing.sce", dir());
    scenario.setName("Crossing at night");
    scenario.setDescription("Dark, with \"quotes\" & <brackets>");
    scenario.setPath("city/crossing_night.sce");
    scenario.save();
    EXPECT_EQ(t.read("city/crossing.sce"), crossing); // the original stays

    TavrelScenario copy("Default", "city/crossing_night.sce", dir());
    EXPECT_EQ(copy.getName(), "Crossing at night");
    EXPECT_EQ(copy.getDescription(), "Dark, with \"quotes\" & <brackets>");

    // A save that can't be done reports nothing and leaves the file alone.
    scenario.setPath("no/such/folder.sce");
    scenario.save();
    scenario.setPath("city");
    scenario.save();
    EXPECT_TRUE(fs::is_directory(t.path("city")));

    // The first operation may be the save: it loads the file first.
    TavrelScenario untouched("Default", "city/crossing.sce", dir());
    untouched.save();
    EXPECT_EQ(TavrelScenario("Default", "city/crossing.sce", dir()).getName(), "Crossing");
    TavrelScenario missing("Default", "city/none.sce", dir());
    EXPECT_EQ(catchValue([&] { missing.save(); }).code, 24);
    EXPECT_FALSE(fs::exists(t.path("city/none.sce")));
}

TEST_F(TavrelScenarioTest, AnOpenedFileStaysWithItsOwner) {
    cfg::CfgScenario file;
    file.getRootSection()->name = "In memory";
    {
        Probe scenario(&file);
        EXPECT_EQ(scenario.getPath(), "");
        EXPECT_EQ(scenario.getName(), "In memory");
        EXPECT_EQ(scenario.getCfgScenarioSection(), &file);
        scenario.setDescription("set through the template");
    }
    // The template didn't delete what it was handed.
    EXPECT_EQ(file.getRootSection()->description, "set through the template");
}

} // namespace

// ---- The root model read with a template ----

namespace {

const char* const kModelPath = "data/tools/nuro/nuro.mdl";

// A configuration "Default" over two data paths, "first" and "second", and a
// scenario in a folder of its own.
class RootModelTest : public ::testing::Test {
protected:
    void SetUp() override {
        t.addConfiguration("Default", "1.0", {"first", "second"}, false);
        lmkUtils::EnvConfig::setTavrelConfigFilePath(t.writeInstallationFile());
        t.write("s/a.sce", "<Scenario name=\"a\" description=\"\"/>");
    }
    void TearDown() override { TavrelScenarioTemplateDb::setRootModelReuse(false); }
    std::string model(const std::string& root, const std::string& label) const {
        return t.write("projects/" + root + "/" + kModelPath,
                       "TYPEOF FOLDER (NURO)\r\n{\r\n\tLABEL=\"" + label + "\"\r\n}\r\n");
    }
    // The label of the model in force after opening the scenario.
    std::string openedModel() const {
        TavrelScenario scenario("Default", "a.sce", t.path("s"));
        scenario.getName();
        return scenarioRootModel != nullptr ? scenarioRootModel->label : "(none)";
    }
    TempInstallation t;
};

} // namespace

TEST_F(RootModelTest, TheFirstDataPathHoldingTheModelWinsAndAFailedModelFailsTheOpen) {
    // Without any model, even a file without variadic sections doesn't open.
    EXPECT_EQ(catchValue([&] { openedModel(); }).message,
              std::string("Unable to find scenario root model file '") + kModelPath +
                  "' for configuration Default : check your Tavrel installation!");
    model("second", "second");
    EXPECT_EQ(openedModel(), "second");
    model("first", "first");
    EXPECT_EQ(openedModel(), "first");

    // A file that doesn't read, or whose top item is no folder.
    for (const char* text : {"TYPEOF FOLDER (NURO)\r\n{\r\n\tLABEL=\"x\"\r\n", "TYPEOF TASK (0)\r\n{\r\n}\r\n"}) {
        const std::string file = t.write("projects/first/" + std::string(kModelPath), text);
        const Exception e = catchValue([&] { openedModel(); });
        EXPECT_EQ(e.message, "Unable to get initialize scenario root model " + file) << text;
        EXPECT_EQ(e.code, -1);
    }
    // The data path is read again when configuration.ini changes.
    t.write("config/0/configuration.ini", "[configuration]\nversion = 1.0\ndatapath = ../../projects/second\n");
    EXPECT_EQ(openedModel(), "second");
}

TEST_F(RootModelTest, ReuseKeepsOneTreeWhileTheFileIsUnchanged) {
    const std::string file = model("first", "one");
    openedModel();
    const ScenarioItem* first = scenarioRootModel;
    openedModel();
    EXPECT_NE(scenarioRootModel, first) << "each open reads the model by default";

    TavrelScenarioTemplateDb::setRootModelReuse(true);
    openedModel();
    const ScenarioItem* kept = scenarioRootModel;
    openedModel();
    EXPECT_EQ(scenarioRootModel, kept);
    // Another size (or time) is another file.
    model("first", "changed");
    EXPECT_EQ(openedModel(), "changed");
    EXPECT_NE(scenarioRootModel, kept);
}

// A thousand templates opened in one process: by default each keeps the model
// tree it read (items of its scripts may point into it); with the reuse setting
// they share one. The memory kept is reported as a test property.
TEST_F(RootModelTest, AThousandOpensKeepAThousandModelsOrOne) {
    const std::string sample = readFile(std::string(TAVREL_SOURCE_DIR) +
                                        "/examples/installation/projects/common/data/tools/nuro/nuro.mdl");
    ASSERT_FALSE(sample.empty());
    t.write("projects/first/" + std::string(kModelPath), sample);
    const auto kept = [&](bool reuse, std::set<const ScenarioItem*>& trees) {
        TavrelScenarioTemplateDb::setRootModelReuse(reuse);
        const size_t before = mallinfo2().uordblks;
        for (int i = 0; i < 1000; ++i) {
            TavrelScenario scenario("Default", "a.sce", t.path("s"));
            scenario.getRootScenarioNode();
            trees.insert(scenarioRootModel);
        }
        return mallinfo2().uordblks - before;
    };
    std::set<const ScenarioItem*> each;
    const size_t byDefault = kept(false, each);
    std::set<const ScenarioItem*> shared;
    const size_t reused = kept(true, shared);
    RecordProperty("kept_bytes_by_default", std::to_string(byDefault));
    RecordProperty("kept_bytes_with_reuse", std::to_string(reused));
    std::cout << "1000 opens keep " << byDefault << " bytes by default, " << reused << " with reuse\n";
    EXPECT_EQ(each.size(), 1000u);
    EXPECT_EQ(shared.size(), 1u);
    // The sanitizers' allocator doesn't report to mallinfo2: nothing to compare.
    if (byDefault != 0) {
        EXPECT_LT(reused * 100, byDefault);
    }
}

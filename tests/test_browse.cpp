// tavrel browse and tavrel uri, run as a user runs them.
#include "TempInstallation.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <set>

namespace {

ToolRun tavrel(const std::string& arguments) {
    return runTool(TAVREL_TOOL, arguments);
}

// The standard output alone: warnings go to the error stream.
ToolRun tavrelOut(const std::string& arguments) {
    return runTool(TAVREL_TOOL, arguments, false);
}

// The scenarios of the first directory of the first configuration in a JSON listing.
nlohmann::json firstScenarios(const std::string& output) {
    return nlohmann::json::parse(output)["versions"][0]["configurations"][0]["directories"][0]["scenarios"];
}

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

} // namespace

TEST(Browse, SampleInstallationAsJson) {
    ToolRun run = tavrelOut("browse --json");
    ASSERT_EQ(run.status, 0) << run.output;
    auto tree = nlohmann::json::parse(run.output);
    EXPECT_EQ(tree["installation"], "${TAVREL_HOME}/tavrel.cfg");
    EXPECT_EQ(tree["uri"], "tavrel://${TAVREL_HOME}/tavrel.cfg");
    ASSERT_EQ(tree["versions"].size(), 2u);
    EXPECT_EQ(tree["versions"][0]["version"], "2.4.1");
    EXPECT_EQ(tree["versions"][1]["version"], "3.0");
    std::vector<std::string> configurations;
    for (const auto& version : tree["versions"])
        for (const auto& configuration : version["configurations"])
            configurations.push_back(configuration["name"].get<std::string>());
    // The configuration without a readable version is not shown.
    EXPECT_EQ(configurations, (std::vector<std::string>{"Default", "Night Driving", "Training"}));

    const auto& common = tree["versions"][0]["configurations"][0]["directories"][0];
    EXPECT_EQ(common["index"], 0);
    EXPECT_EQ(common["path"], TAVREL_SOURCE_DIR "/examples/installation/projects/common");
    std::set<std::string> paths;
    for (const auto& scenario : common["scenarios"])
        paths.insert(scenario["path"].get<std::string>());
    EXPECT_EQ(paths, (std::set<std::string>{"highway.sce", "city/crossing.sce", "city/roundabout.sce",
                                            "city/night/tunnel.sce", "emergency/braking.sce"}));
}

TEST(Browse, FiltersAndUri) {
    const std::string installation = "--installation " + quoted(TAVREL_SAMPLE_INSTALLATION);
    ToolRun run = tavrel("browse " + installation + " --version 3.0 --configuration Training");
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output.find("installation ${TAVREL_HOME}/tavrel.cfg\n"
                              "uri tavrel://${TAVREL_HOME}/tavrel.cfg?version=3.0&config=Training\n"
                              "version 3.0\n  configuration Training\n    directory 0: "),
              0u)
        << run.output;
    EXPECT_EQ(run.output.find("2.4.1"), std::string::npos);

    run = tavrel("uri " + installation + " --configuration 'Night Driving'");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "tavrel://${TAVREL_HOME}/tavrel.cfg?config=Night Driving\n");
}

TEST(Browse, MissingDataFolderIsAnErrorLineAndTheWalkGoesOn) {
    TempInstallation t;
    t.addConfiguration("Broken", "1.0", {"gone"}, false);
    t.addConfiguration("Fine", "1.0", {"here"});
    t.addScenario("here", "x.sce");
    const std::string file = t.writeInstallationFile();
    ToolRun run = tavrel("browse --installation " + quoted(file));
    ASSERT_EQ(run.status, 0) << run.output;
    const std::string expected = "version 1.0\n"
                                 "  configuration Broken\n"
                                 "    error: Data Path [" +
                                 t.path("projects/gone/data/scenario") +
                                 "] is inaccessible! (code 16)\n"
                                 "  configuration Fine\n"
                                 "    directory 0: " +
                                 t.path("projects/here") +
                                 "\n"
                                 "      x.sce\n";
    EXPECT_NE(run.output.find(expected), std::string::npos) << run.output;
}

TEST(Browse, FailuresGoToStderrWithStatusOne) {
    ToolRun run = tavrel("browse --installation /nonexistent/tavrel.cfg");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output,
              "error: Tavrel configuration file [/nonexistent/tavrel.cfg] doesn't exists! (code -1)\n");

    TempInstallation t;
    t.addConfiguration("Broken", "1.0", {"gone"}, false);
    run = tavrel("uri --installation " + quoted(t.writeInstallationFile()) + " --configuration Broken");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "error: Data Path [" + t.path("projects/gone/data/scenario") +
                              "] is inaccessible! (code 16)\n");
}

TEST(Browse, NamesLoadEachScenario) {
    TempInstallation t;
    t.addConfiguration("Main", "1.0", {"p"});
    t.addScenario("p", "good.sce");
    const std::string file = t.writeInstallationFile();
    ToolRun run = tavrel("browse --json --names --installation " + quoted(file));
    ASSERT_EQ(run.status, 0) << run.output;
    auto scenarios = firstScenarios(run.output);
    ASSERT_EQ(scenarios.size(), 1u);
    EXPECT_EQ(scenarios[0]["name"], "good.sce");

    // A file that can't be loaded shows its error and the walk goes on.
    t.write("projects/p/data/scenario/bad.sce", "not a scenario");
    run = tavrel("browse --json --names --installation " + quoted(file));
    ASSERT_EQ(run.status, 0) << run.output;
    scenarios = firstScenarios(run.output);
    ASSERT_EQ(scenarios.size(), 2u);
    for (const auto& scenario : scenarios) {
        if (scenario["path"] == "bad.sce")
            EXPECT_EQ(scenario["error"]["code"], 24) << scenario.dump();
        else
            EXPECT_EQ(scenario["name"], "good.sce");
    }
}

// What the library leaves out silently, browse warns of on the error stream;
// doctor lists every problem of an installation with the file it concerns.
TEST(Browse, WarnsOfSilentGapsAndDoctorNamesThem) {
    ToolRun run = tavrel("browse");
    EXPECT_EQ(run.output.rfind("warning: configuration Legacy has no readable version and is not listed (see "
                               "tavrel doctor)\n",
                               0),
              0u)
        << run.output;

    const std::string sample = TAVREL_SOURCE_DIR "/examples/installation/";
    run = tavrel("doctor --scenarios");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output,
              sample + "config/Legacy/configuration.ini: configuration Legacy: no readable version (the "
                       "configuration is left out of every listing)\n" +
                  sample + "projects/rural/data/scenario/tractors.sce: Unable to load scenario " + sample +
                  "projects/rural/data/scenario/tractors.sce : " + sample +
                  "projects/rural/data/scenario/tractors.sce:5:5: Start-end tags mismatch (code 24)\n" + sample +
                  "projects/rural/data/scenario/fog/broken_script.sce: Unable to parse script cut : (code -1)\n"
                  "3 problem(s) in " + sample + "tavrel.cfg\n");

    // An installation with every kind of problem, and one without any.
    TempInstallation broken;
    broken.addConfiguration("Good", "1.0", {"good"});
    broken.addConfiguration("Bare", "1.0", {"bare", "gone"}, false);
    broken.makeFolder("projects/bare/data/scenario");
    broken.write("projects/bare/data/tools/nuro/nuro.mdl", "TYPEOF FOLDER (NURO)\r\n{\r\n}\r\n");
    const std::string config = broken.writeInstallationFile();
    run = tavrel("doctor --json --installation '" + config + "'");
    EXPECT_EQ(run.status, 1);
    for (const std::string& line : std::vector<std::string>{
             "{\"file\":\"" + broken.path("config/1/configuration.ini") + "\",\"problem\":\"configuration Bare: "
          "data path " + broken.path("projects/gone") + " doesn't exist\"}\n",
          "the root model has no folder PARAMETER_LIST", "the root model has no folder ENUMTAB_LIST",
          "\"problems\":6}}\n"})
        EXPECT_NE(run.output.find(line), std::string::npos) << line << "\n" << run.output;
    EXPECT_EQ(tavrel("doctor --installation '" + broken.path("none.cfg") + "'").output,
              broken.path("none.cfg") + ": no installation file\n1 problem(s) in " + broken.path("none.cfg") + "\n");
}

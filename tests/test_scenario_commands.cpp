// tavrel show, fetch and set, run as a user runs them.
#include "TempInstallation.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <unistd.h>

namespace {

ToolRun tavrel(const std::string& arguments, bool errors = true) {
    return runTool(TAVREL_TOOL, arguments, errors);
}

const std::string sample = TAVREL_SOURCE_DIR "/examples/installation/projects/";

TEST(ScenarioCommands, ShowInTheCurrentOrAGivenConfiguration) {
    ToolRun run = tavrel("show intersections/left_turn.sce");
    EXPECT_EQ(run.status, 0);
    // The summary comes first; the node tree and the variadic parameters follow.
    const std::string summary = "name: Left turn\ndescription: Unprotected left turn\nfile: " + sample +
                                "urban/data/scenario/intersections/left_turn.sce\nnode Scenario ";
    EXPECT_EQ(run.output.substr(0, summary.size()), summary);

    // Only Training's data path holds the rural project.
    EXPECT_EQ(tavrel("show fog/deer.sce").status, 1);
    run = tavrel("show fog/deer.sce --configuration Training");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output.substr(0, 11), "name: Deer\n");
}

TEST(ScenarioCommands, ShowReportsALoadFailureAlone) {
    const std::string file = sample + "rural/data/scenario/tractors.sce";
    ToolRun run = tavrel("show tractors.sce --configuration Training");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "error: Unable to load scenario " + file + " :\n" + file +
                              ":5:5: Start-end tags mismatch (code 24)\n");
}

// Scripts show as nodes of their variables: a script's own variables only (not
// those of the file it includes), no node for a script of another language; a
// script that doesn't read fails the tree with the reader's words.
TEST(ScenarioCommands, ScriptsShowTheirVariables) {
    const std::string script = "parameter /sce/Scenario/ScenarioScript[scriptName=\"lights\"]/";
    ToolRun run = tavrel("show city/roundabout.sce");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(
        run.output.find("\n  node ScenarioScript[scriptName=\"lights\"] \"ScenarioScript - lights\"\n    " +
                        script + "Variable[name=5]/value real unit=\"-\" value=\"30\"\nvariadic"),
        std::string::npos)
        << run.output;
    run = tavrel(
        "get city/roundabout.sce '/sce/Scenario/ScenarioScript[scriptName=\"main\"]/Variable[name=4]/value'");
    EXPECT_EQ(run.output, "Keep right\n");
    EXPECT_EQ(tavrel("show highway.sce").output.find("telemetry"), std::string::npos);

    run = tavrel("show fog/broken_script.sce --configuration Training");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("\nerror: Unable to parse script cut :\n"), std::string::npos) << run.output;
}

// Floats, vectors and choices, which the interface can't read, show their
// file's words; `get` keeps the interface's answer.
TEST(ScenarioCommands, ShowGivesTheFileTextOfTypesTheInterfaceHides) {
    const std::string run = tavrel("show highway.sce").output;
    for (const char* line :
         {"parameter /sce/Scenario/Environment/friction float unit=\"\" value=\"0.8\" (not exposed through "
          "the "
          "interface)\n",
          "parameter /sce/Scenario/Environment/windVelocity vector unit=\"m/s\" value=\"2.5 -1 0\" (not "
          "exposed",
          "parameter /sce/Scenario/Environment/surface choice unit=\"\" value=\"asphalt\" (not exposed"})
        EXPECT_NE(run.find(line), std::string::npos) << line << run;
    const nlohmann::json tree = nlohmann::json::parse(tavrel("show highway.sce --json", false).output);
    const nlohmann::json& environment = tree["root"]["children"][0];
    EXPECT_EQ(environment["id"], "Environment");
    const nlohmann::json expected = {{"id", "/sce/Scenario/Environment/surface"},
                                     {"type", "choice"},
                                     {"unit", ""},
                                     {"value", "asphalt"},
                                     {"exposed", false}};
    EXPECT_NE(std::find(environment["parameters"].begin(), environment["parameters"].end(), expected),
              environment["parameters"].end())
        << environment.dump();
    const ToolRun get = tavrel("get highway.sce /sce/Scenario/Environment/surface");
    EXPECT_EQ(get.status, 1);
    EXPECT_EQ(get.output, "error: e to get parameter value : Unkown parameter type :  (code -1)\n");
}

// script check with a scenario path: every script of the scenario that a
// template reads, against the configuration's model, at the rows of the file.
TEST(ScenarioCommands, ScriptCheckReadsEveryScriptOfAScenario) {
    ToolRun run = tavrel("script check city/roundabout.sce");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "all 9 item(s) valid\n");

    TempInstallation installation;
    installation.addConfiguration("Main", "1.0", {"main"});
    const std::string config = installation.writeInstallationFile("Main");
    const std::string file = installation.write(
        "projects/main/data/scenario/s.sce",
        "<Scenario name=\"s\" description=\"\">\n"
        "  <ScenarioScript name=\"other\" scriptType=\"python\"><![CDATA[not read]]></ScenarioScript>\n"
        "  <ScenarioScript name=\"main\"><![CDATA[\n"
        "TYPEOF SCENARIO (S)\n{\n\tTYPEOF INCLUDE (MISSING)\n\t{\n\t\tISA_INDEX=\"1\"\n"
        "\t\tFILE=\"missing.inc\"\n\t}\n}\n]]></ScenarioScript>\n</Scenario>\n");
    run = tavrel("script check s.sce --installation '" + config + "'", false);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, file + ":6: S/MISSING: include file missing.inc not found under data/script/include\n"
                                 "1 invalid item(s) in 2 item(s)\n");

    run = tavrel("script check fog/broken_script.sce --configuration Training");
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.output.find("broken_script.sce:12: error: script cut doesn't read\n"), std::string::npos)
        << run.output;
    EXPECT_EQ(tavrel("script check none.sce").status, 2);
}

// The search for a scenario walks the whole first data path, link back up
// included, before it finds the scenario in the second.
TEST(ScenarioCommands, ShowFindsScenariosPastALinkBackUp) {
    TempInstallation installation;
    installation.addConfiguration("Main", "1.0", {"looped", "main"});
    const std::string config = installation.writeInstallationFile("Main");
    installation.addScenario("looped", "a/x.sce");
    const std::string file = installation.addScenario("main", "shown.sce");
    const std::string link = installation.path("projects/looped/data/scenario/a/up");
    ASSERT_EQ(::symlink("..", link.c_str()), 0);

    const ToolRun run = tavrel("show shown.sce --installation '" + config + "'");
    EXPECT_EQ(run.status, 0) << run.output;
    const std::string summary = "name: shown.sce\ndescription: \nfile: " + file + "\nnode Scenario ";
    EXPECT_EQ(run.output.substr(0, summary.size()), summary);
}

TEST(ScenarioCommands, FetchWritesTheRawBytes) {
    ToolRun run = tavrel("fetch highway.sce", false);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, readFile(sample + "common/data/scenario/highway.sce"));
    EXPECT_NE(run.output.find("\r\n\tTYPEOF VARIABLE"), std::string::npos);
}

TEST(ScenarioCommands, SetChangesAndSaves) {
    TempInstallation installation;
    installation.addConfiguration("Main", "1.0", {"main"});
    const std::string config = installation.writeInstallationFile("Main");
    const std::string original =
        "<Scenario name=\"Old\" description=\"Kept\">\n  <Vehicle id=\"1\" />\n</Scenario>\n";
    const std::string folder = installation.path("projects/main/data/scenario/");
    installation.write("projects/main/data/scenario/a.sce", original);
    const std::string options = " --installation '" + config + "'";

    ToolRun run = tavrel("set a.sce --name 'New name' --save-as b.sce" + options);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output, "saved " + folder + "b.sce\n");
    EXPECT_EQ(readFile(folder + "a.sce"), original);
    run = tavrel("show b.sce" + options);
    const std::string summary =
        "name: New name\ndescription: Kept\nfile: " + folder + "b.sce\nnode Scenario ";
    EXPECT_EQ(run.output.substr(0, summary.size()), summary);

    run = tavrel("set a.sce --description 'In place'" + options);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(readFile(folder + "a.sce").find("description=\"In place\""), std::string::npos);

    run = tavrel("set a.sce --name X --save-as missing/c.sce" + options);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output,
              "error: the scenario could not be saved to " + folder + "missing/c.sce (code -1)\n");
}

} // namespace

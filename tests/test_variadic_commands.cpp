// tavrel show, get and variadic, run as a user runs them on a copy of a sample
// scenario inside a temporary installation.
#include "TempInstallation.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace {

class VariadicCommands : public ::testing::Test {
protected:
    void SetUp() override {
        installation.addConfiguration("Default", "1.0", {"main"});
        file = installation.write("projects/main/data/scenario/city/crossing.sce",
                                  readFile(TAVREL_SOURCE_DIR
                                           "/examples/installation/projects/common/data/scenario/"
                                           "city/crossing.sce"));
        installationFile = installation.writeInstallationFile("Default");
    }

    // Runs the tool on the scenario with `arguments` (quoted for the shell), stderr into the output.
    ToolRun tavrel(const std::string& command, const std::string& arguments = std::string()) {
        // The group takes the file before its action: "variadic PATH list".
        const bool group = command.rfind("variadic ", 0) == 0;
        const std::string verb =
            group ? "variadic city/crossing.sce " + command.substr(9) : command + " city/crossing.sce";
        return runTool(TAVREL_TOOL, verb + " " + arguments + " --installation '" + installationFile + "'");
    }

    TempInstallation installation;
    std::string file;
    std::string installationFile;
};

} // namespace

TEST_F(VariadicCommands, ShowGivesTheTreeAndTheDeclarations) {
    ToolRun run = tavrel("show", "--json");
    ASSERT_EQ(run.status, 0) << run.output;
    const auto shown = nlohmann::json::parse(run.output);
    EXPECT_EQ(shown["root"]["nodeId"], "/sce/Scenario");
    const auto& environment = shown["root"]["children"][0];
    EXPECT_EQ(environment["id"], "Environment");
    EXPECT_EQ(environment["parameters"][0], (nlohmann::json{{"id", "/sce/Scenario/Environment/speedLimit"},
                                                            {"type", "real"},
                                                            {"unit", "km/h"},
                                                            {"value", "50.000000"}}));
    ASSERT_EQ(shown["variadicParameters"].size(), 2u);
    EXPECT_EQ(shown["variadicParameters"][0]["targetFound"], true);

    run = tavrel("show");
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_NE(
        run.output.find("\n  node Environment \"Environment\"\n    parameter "
                        "/sce/Scenario/Environment/speedLimit real unit=\"km/h\" value=\"50.000000\"\n"),
        std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("variadic parameters: 2\n  0 \"Speed limit\" real "
                              "target=/sce/Scenario/Environment/speedLimit (found)"),
              std::string::npos)
        << run.output;
}

TEST_F(VariadicCommands, GetPrintsOneValueOrTheLookupsError) {
    ToolRun run = tavrel("get", "/sce/Scenario/Environment/laneCount");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "2\n");
    run = tavrel("get", "/sce/Scenario");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "error: Invalid parameter id: /sce/Scenario (code -1)\n");
    run = tavrel("get", "/sce/Scenario/Weather/x");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output,
              "error: No child element with id=Weather in scenario element : Scenario (code -1)\n");
}

TEST_F(VariadicCommands, EditsAreSavedAndBadInputChangesNothing) {
    const std::string before = readFile(file);
    for (const char* bad :
         {"--name x --target /sce/Scenario/Environment/laneCount --type integer --default 2.5",
          "--name x --target /sce/Scenario/Environment/laneCount --type integer --default 2 "
          "--range 4",
          "--name x --target /sce/Scenario/Environment/nope --type integer --default 2",
          "--name x --target /sce/Scenario/Environment/rain --type boolean --default true "
          "--literal a"}) {
        ToolRun run = tavrel("variadic add", bad);
        EXPECT_EQ(run.status, 1) << bad;
        EXPECT_EQ(run.output.rfind("error: ", 0), 0u) << run.output;
    }
    EXPECT_EQ(tavrel("variadic remove", "2").output, "error: Invalid variadic parameter index (code 4)\n");
    EXPECT_EQ(readFile(file), before);

    ToolRun run =
        tavrel("variadic add", "--name Lanes --target /sce/Scenario/Environment/laneCount --type integer "
                               "--default 2 --range 1:2 --range -4:-3");
    ASSERT_EQ(run.status, 0) << run.output;
    run = tavrel("variadic add", "--name Road --target /sce/Scenario/Environment/roadLabel --type literal "
                                 "--default a --literal a --literal 'b c'");
    ASSERT_EQ(run.status, 0) << run.output;
    ASSERT_EQ(tavrel("variadic remove", "0").status, 0);

    run = tavrel("variadic list", "--json");
    ASSERT_EQ(run.status, 0) << run.output;
    const auto listed = nlohmann::json::parse(run.output);
    ASSERT_EQ(listed.size(), 3u);
    EXPECT_EQ(listed[0]["name"], "Rain");
    EXPECT_EQ(listed[1]["default"], 2);
    EXPECT_EQ(listed[1]["ranges"],
              nlohmann::json::parse(R"([{"minimum":1,"maximum":2},{"minimum":-4,"maximum":-3}])"));
    EXPECT_EQ(listed[2]["literals"], nlohmann::json::parse(R"(["a","b c"])"));
    EXPECT_EQ(listed[2]["targetFound"], true);

    ASSERT_EQ(tavrel("variadic clear", "").status, 0);
    EXPECT_EQ(tavrel("variadic list", "").output, "variadic parameters: 0\n");
}

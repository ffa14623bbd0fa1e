// tavrel script parse, run as a user runs it.
#include "ModelTestSupport.h"

#include <array>
#include <cstdio>
#include <sys/wait.h>

using namespace modeltest;

namespace {

struct ToolRun {
    int status;
    std::string output;
};

// Runs the tool with `arguments` (quoted for the shell already); stderr joins stdout.
ToolRun Tavrel(const std::string& arguments) {
    const std::string command = "'" TAVREL_TOOL "' " + arguments + " 2>&1";
    ToolRun run{-1, std::string()};
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr)
        return run;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        run.output.append(buffer.data(), n);
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

const std::string kSampleModel =
    std::string(TAVREL_SOURCE_DIR) + "/examples/installation/projects/common/data/tools/nuro/nuro.mdl";

using ScriptParse = TempFolder;

} // namespace

TEST_F(ScriptParse, SampleRootModelPrintsItsTreeHasItsListsAndSavesToTheSameBytes) {
    const std::string out = folder + "/copy.mdl";
    ToolRun run = Tavrel("script parse '" + kSampleModel + "' --save '" + out + "'");
    EXPECT_EQ(run.status, 0) << run.output;
    const std::string head = "FOLDER (NURO) \"Tavrel scenario model\"\n"
                             "  FOLDER (PARAMETER_LIST) \"Parameters\"\n"
                             "  FOLDER (FUNCTION_LIST) \"Functions\"\n";
    EXPECT_EQ(run.output.substr(0, head.size()), head);
    EXPECT_NE(
        run.output.find("\n    ENUMTAB (LIGHT_STATE) \"Traffic light state\"\n      ENUM (0) \"red\"\n"),
        std::string::npos);
    // The file is written as the writer writes, tabs and CR LF.
    const std::string text = ReadAll(kSampleModel);
    EXPECT_EQ(text.substr(0, 24), "\r\nTYPEOF FOLDER (NURO)\r\n");
    EXPECT_EQ(ReadAll(out), text);

    // It holds the lists that definitions are linked through, and some of the
    // tables and variables they use.
    for (const char* list :
         {"PARAMETER_LIST", "FUNCTION_LIST", "ACTION_LIST", "CONDITION_LIST", "ENUMTAB_LIST"})
        EXPECT_NE(run.output.find(std::string(" FOLDER (") + list + ") "), std::string::npos) << list;
    for (const std::string kind : {" ENUMTAB (", " VARIABLE ("}) {
        size_t count = 0;
        for (size_t at = run.output.find(kind); at != std::string::npos; at = run.output.find(kind, at + 1))
            ++count;
        EXPECT_GE(count, 2u) << kind;
    }
}

TEST_F(ScriptParse, FailuresPrintTheirMessageAndWriteNothing) {
    const std::string bad = WriteFile("bad.mdl", "TYPEOF FOLDER (a)\r\n{\r\n  LABEL=\"x\"\r\n}\r\n");
    const std::string number =
        WriteFile("number.mdl", "TYPEOF VARIABLE (1)\r\n{\r\n\tINTERACTIVE_MIN_VALUE=\"x\"\r\n}\r\n");
    const std::string out = WriteFile("kept.mdl", "kept");
    const std::string badNumber =
        "error: bad lexical cast: source type value could not be interpreted as target (code -1)\n";
    // The root model is read first: one that fails stops the run before the script.
    const std::vector<std::pair<std::string, std::string>> runs = {
        {"'" + bad + "' --root-model '" + kSampleModel + "' --save '" + out + "'",
         bad + " - row 3:\n  LABEL=\"x\"\n"},
        {"'" + folder + "/none.mdl'", "Unable to open file " + folder + "/none.mdl\n"},
        {"'" + number + "'", badNumber},
        {"'" + bad + "' --root-model '" + number + "'", badNumber}};
    for (const auto& [arguments, message] : runs) {
        ToolRun run = Tavrel("script parse " + arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_EQ(run.output, message) << arguments;
    }
    EXPECT_EQ(ReadAll(out), "kept");
}

TEST_F(ScriptParse, NamelessItemsSurviveTheRoundTrip) {
    const std::string in = WriteFile("config.mdl", "TYPEOF FOLDER (f)\r\n{\r\n\tTYPEOF CONFIG\r\n\t{\r\n"
                                                   "\t\tSTUDENT=\"s\"\r\n\t}\r\n}\r\n");
    const std::string out = folder + "/out.mdl";
    ToolRun first = Tavrel("script parse '" + in + "' --save '" + out + "'");
    ASSERT_EQ(first.status, 0) << first.output;
    EXPECT_EQ(first.output, "FOLDER (f) \"\"\n  CONFIG () \"\"\n");
    ToolRun second = Tavrel("script parse '" + out + "'");
    EXPECT_EQ(second.status, 0) << second.output;
    EXPECT_EQ(second.output, first.output);
}

// tavrel script check, run as a user runs it: one script breaks each validity
// rule once, and exactly those items are listed, at their rows, with their
// reasons.
#include "ModelTestSupport.h"

#include <cstdio>
#include <vector>

using namespace modeltest;

namespace {

struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

std::string Block(const std::string& header, const std::string& body) {
    return "TYPEOF " + header + "\n{\n" + body + "}\n";
}

std::string Number(const std::string& kind, const std::string& value, const std::string& more = "") {
    return Block("PARAMETER (NUMBER)", "KIND=\"" + kind + "\"\nVALUE=\"" + value + "\"\n" + more);
}

std::string Act(const std::string& parameter) {
    return Block("ACTION (ACT)", parameter);
}

// A root model with the definitions that the cases below call for.
const std::string kModel = Block(
    "FOLDER (M)",
    Block("FOLDER (ENUMTAB_LIST)",
          Block("ENUMTAB (GEAR)", Block("ENUM (1)", "LABEL=\"first\"\nTYPE=\"INTEGER\"\nVALUE=\"1\"\n"))) +
        Block("FOLDER (PARAMETER_LIST)",
              Block("PARAMETER (NUMBER)",
                    "TYPE=\"FLOAT\"\nKINDLIST=\"USER VARIABLE FUNCTION\"\nMINVALUE=\"0\"\n"
                    "MAXVALUE=\"10\"\n") +
                  Block("PARAMETER (WORD)", "TYPE=\"STRING\"\nKINDLIST=\"USER\"\n") +
                  Block("PARAMETER (PICTURE)",
                        "TYPE=\"STRING\"\nFILEDIR=\"images\"\nKINDLIST=\"FILE IMAGE\"\n") +
                  Block("PARAMETER (STATE)", "TYPE=\"INTEGER\"\nKINDLIST=\"TASK\"\n") +
                  Block("PARAMETER (LEVEL)", "TYPE=\"INTEGER\"\nENUMTAB=\"GEAR\"\nKINDLIST=\"ENUM\"\n")) +
        Block("FOLDER (FUNCTION_LIST)",
              Block("FUNCTION (NAME_OF)", "CODE=\"1\"\n" + Block("RETURN (WORD)", "KIND=\"USER\"\n")) +
                  Block("FUNCTION (SPEED_OF)", "CODE=\"2\"\n") +
                  Block("FUNCTION (EVALUATION_SCORE)", "CODE=\"3\"\n")) +
        Block("FOLDER (CONDITION_LIST)", Block("CONDITION (TEST)", "CODE=\"1\"\n" + Number("USER", "0")) +
                                             Block("CONDITION (AND)", "CODE=\"2\"\n")) +
        Block("FOLDER (ACTION_LIST)",
              Block("ACTION (ACT)", "CODE=\"1\"\n" + Number("USER", "0")) +
                  Block("ACTION (SHOW)", "CODE=\"2\"\n" + Block("PARAMETER (PICTURE)", "KIND=\"IMAGE\"\n")) +
                  Block("ACTION (GO)", "CODE=\"3\"\n" + Block("PARAMETER (STATE)", "KIND=\"TASK\"\n")) +
                  Block("ACTION (SET)", "CODE=\"4\"\n" + Block("PARAMETER (LEVEL)", "KIND=\"ENUM\"\n"))));

const std::string kTest = Block("CONDITION (TEST)", Number("USER", "1"));

// One broken rule a case: `text` holds one RULE, its faulty item's header
// marked by a leading '@'; `path` goes on from the rule's name.
struct Case {
    std::string text;
    std::string path;
    std::string reason;
};

const std::vector<Case> kCases = {
    // VALUE before KIND: the reader checks a number's form only under a KIND
    // it already knows.
    {kTest + Act("@" + Block("PARAMETER (NUMBER)", "VALUE=\"abc\"\nKIND=\"USER\"\n")), "ACT/NUMBER",
     "VALUE \"abc\" is no FLOAT"},
    {kTest + Act("@" + Number("USER", "11")), "ACT/NUMBER", "VALUE \"11\" above MAXVALUE 10"},
    {kTest + Act("@" + Number("USER", "-1")), "ACT/NUMBER", "VALUE \"-1\" below MINVALUE 0"},
    {kTest + Act("@" + Number("VARIABLE", "12")), "ACT/NUMBER", "variable 12 not found in s.sc"},
    {kTest + Act("@" + Number("VARIABLE", "1")), "ACT/NUMBER", "variable 1 is STRING, not FLOAT"},
    {kTest + Act("@" + Number("VARIABLE", "0", "OWNER_FILE=\"other.sc\"\n")), "ACT/NUMBER",
     "OWNER_FILE other.sc is no file of the scenario"},
    {kTest + Act("@" + Block("PARAMETER (NUMBER)", "KIND=\"FUNCTION\"\n")), "ACT/NUMBER", "no call"},
    {kTest + Act("@" + Block("PARAMETER (NUMBER)", "KIND=\"FUNCTION\"\n" + Block("FUNCTION (NAME_OF)", ""))),
     "ACT/NUMBER", "call NAME_OF returns STRING, not FLOAT"},
    {kTest +
         Act(Block("PARAMETER (NUMBER)", "KIND=\"FUNCTION\"\n@" + Block("FUNCTION (EVALUATION_SCORE)", ""))),
     "ACT/NUMBER/EVALUATION_SCORE", "EVALUATION call outside criteria"},
    {kTest +
         Block("ACTION (SHOW)", "@" + Block("PARAMETER (PICTURE)", "KIND=\"FILE\"\nVALUE=\"none.png\"\n")),
     "SHOW/PICTURE", "file \"none.png\" not found under data/images"},
    {kTest + Block("ACTION (SHOW)", "@" + Block("PARAMETER (PICTURE)", "KIND=\"FILE\"\nVALUE=\"\"\n")),
     "SHOW/PICTURE", "no file named"},
    {kTest + Block("ACTION (SHOW)", "@" + Block("PARAMETER (PICTURE)", "KIND=\"IMAGE\"\nVALUE=\"logo\"\n")),
     "SHOW/PICTURE", "IMAGE logo not in the scenario"},
    {kTest + Block("ACTION (GO)", "@" + Block("PARAMETER (STATE)", "KIND=\"TASK\"\nVALUE=\"7\"\n")),
     "GO/STATE", "TASK 7 not found"},
    {"@" + Block("CONDITION (AND)", "") + Act(Number("USER", "1")), "AND", "AND without sub-conditions"},
    {kTest + "@" + kTest, "TEST", "condition after the first item of its rule"},
    {"@" + Act(Number("USER", "1")), "ACT", "action in a rule without condition or variable"},
};

// Valid items around the faults: they must stay out of the list, and so must
// the rules, tasks and scenario that are invalid only through a fault below.
const std::string kValidRule =
    Block("CONDITION (AND)", kTest) + Act(Number("VARIABLE", "0")) +
    Block("ACTION (SET)", Block("PARAMETER (LEVEL)", "KIND=\"ENUM\"\nVALUE=\"1\"\n")) +
    Act(Block("PARAMETER (NUMBER)", "KIND=\"FUNCTION\"\n" + Block("FUNCTION (SPEED_OF)", "")));

// Strips the '@' marks from `text`, noting the row of each mark.
std::string Unmark(const std::string& text, std::vector<size_t>& rows) {
    std::string plain;
    size_t row = 1;
    for (char c : text) {
        if (c == '@') {
            rows.push_back(row);
            continue;
        }
        row += c == '\n' ? 1 : 0;
        plain.push_back(c);
    }
    return plain;
}

size_t CountItems(const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find("TYPEOF "); at != std::string::npos; at = text.find("TYPEOF ", at + 1))
        ++count;
    return count;
}

const std::string kVariables = Block("VARIABLE (0)", "LABEL=\"speed\"\nTYPE=\"FLOAT\"\nVALUE=\"0\"\n") +
                               Block("VARIABLE (1)", "LABEL=\"name\"\nTYPE=\"STRING\"\nVALUE=\"x\"\n");

std::string Scenario(const std::string& content) {
    return Block("SCENARIO (S)", "FILE=\"s.sc\"\n" + kVariables + content);
}

class ScriptCheck : public TempFolder {
protected:
    void SetUp() override {
        TempFolder::SetUp();
        model = WriteFile("m.mdl", kModel);
    }

    // Runs `script check` with `arguments` (quoted for the shell already); the
    // standard output and error apart.
    ToolRun Check(const std::string& arguments) {
        const std::string err = folder + "/stderr.txt";
        const std::string command = "'" TAVREL_TOOL "' script check " + arguments + " 2>'" + err + "'";
        const CommandRun run = RunCommand(command);
        return ToolRun{run.status, run.output, ReadAll(err)};
    }
    ToolRun CheckAgainstModel(const std::string& script, const std::string& more = "") {
        return Check("'" + script + "' --root-model '" + model + "' " + more);
    }

    std::string model;
};

} // namespace

TEST_F(ScriptCheck, ListsEachBrokenRuleAtItsRowWithItsReason) {
    // An include read from beside the script; being no file of the
    // installation's include folder, it is invalid itself, and its rule breaks
    // a rule at a row of its own file.
    std::vector<size_t> besideRows;
    const std::string beside = WriteFile(
        "beside.inc",
        Unmark(Block("INCLUDE (B)", Block("RULE (9)", "@" + Act(Number("USER", "1")))), besideRows));
    std::string rules;
    for (size_t i = 0; i < kCases.size(); ++i)
        rules += Block("RULE (" + std::to_string(i + 1) + ")", kCases[i].text);
    rules += Block("RULE (99)", kValidRule);
    std::vector<size_t> rows;
    const std::string script = WriteFile(
        "s.sc", Unmark(Scenario("@" + Block("INCLUDE (MISSING)", "ISA_INDEX=\"1\"\nFILE=\"missing.inc\"\n") +
                                "@" + Block("INCLUDE (BESIDE)", "ISA_INDEX=\"1\"\nFILE=\"beside.inc\"\n") +
                                Block("TASK (0)", rules)),
                       rows));
    ASSERT_EQ(rows.size(), kCases.size() + 2);

    auto line = [](const std::string& file, size_t row, const std::string& path, const std::string& reason) {
        return file + ":" + std::to_string(row) + ": " + path + ": " + reason + "\n";
    };
    std::string expected =
        line(script, rows[0], "S/MISSING", "include file missing.inc not found under data/script/include") +
        line(script, rows[1], "S/BESIDE", "include file beside.inc not found under data/script/include");
    for (size_t i = 0; i < kCases.size(); ++i)
        expected += line(script, rows[i + 2], "S/0/" + std::to_string(i + 1) + "/" + kCases[i].path,
                         kCases[i].reason);
    expected +=
        line(beside, besideRows[0], "S/BESIDE/9/ACT", "action in a rule without condition or variable");
    // Every item counts, the include's copy of its content too, not its top item.
    const size_t items = CountItems(ReadAll(script)) + CountItems(ReadAll(beside)) - 1;
    expected +=
        std::to_string(kCases.size() + 3) + " invalid item(s) in " + std::to_string(items) + " item(s)\n";

    ToolRun run = CheckAgainstModel(script);
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(run.out, expected);
    // The reader's warning stays on the error stream; its notes are left out.
    EXPECT_EQ(run.err, "missing.inc not loaded\n");
}

TEST_F(ScriptCheck, ValidScriptAndJsonLines) {
    const std::string valid =
        WriteFile("valid.sc", Scenario(Block("TASK (0)", Block("RULE (1)", kValidRule))));
    const std::string items = std::to_string(CountItems(ReadAll(valid)));
    ToolRun run = CheckAgainstModel(valid);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "all " + items + " item(s) valid\n");
    run = CheckAgainstModel(valid, "--json");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"summary\":{\"items\":" + items + ",\"invalid\":0}}\n");

    std::vector<size_t> rows;
    const std::string faulty =
        WriteFile("faulty.sc", Unmark(Scenario(Block("TASK (0)", Block("RULE (1)", kCases[0].text))), rows));
    run = CheckAgainstModel(faulty, "--json");
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(run.out, "{\"file\":\"" + faulty + "\",\"row\":" + std::to_string(rows[0]) +
                           ",\"path\":\"S/0/1/ACT/NUMBER\",\"kind\":\"PARAMETER\",\"reason\":"
                           "\"VALUE \\\"abc\\\" is no FLOAT\"}\n"
                           "{\"summary\":{\"items\":" +
                           std::to_string(CountItems(ReadAll(faulty))) + ",\"invalid\":1}}\n");
}

TEST_F(ScriptCheck, WhatDoesNotLoadEndsWithStatusTwo) {
    const std::string valid = WriteFile("valid.sc", Scenario(""));
    // An enumeration value outside its table is refused by the reader.
    std::vector<size_t> rows;
    const std::string entry = Block("PARAMETER (LEVEL)", "KIND=\"ENUM\"\n@VALUE=\"9\"\n");
    const std::string badEntry = WriteFile(
        "entry.sc",
        Unmark(Scenario(Block("TASK (0)", Block("RULE (1)", kTest + Block("ACTION (SET)", entry)))), rows));
    const std::string task = WriteFile("task.mdl", Block("TASK (T)", ""));
    const std::string number = WriteFile("number.sc", Block("VARIABLE (1)", "INTERACTIVE_MIN_VALUE=\"x\"\n"));
    const std::string none = folder + "/none.sc";
    struct Failure {
        std::string arguments;
        std::string out;
        std::string err;
    };
    const std::vector<Failure> failures = {
        {"'" + valid + "' --root-model '" + none + "'", "Unable to open file " + none + "\n",
         "error: unable to load " + none + "\n"},
        {"'" + valid + "' --root-model '" + task + "'", "", "error: " + task + " is no root model\n"},
        {"'" + none + "' --root-model '" + model + "'", "Unable to open file " + none + "\n",
         "error: unable to load " + none + "\n"},
        {"'" + badEntry + "' --root-model '" + model + "'", "",
         badEntry + " - row " + std::to_string(rows[0]) + ":\nVALUE=\"9\"\nerror: unable to load " +
             badEntry + "\n"},
        {"'" + number + "' --root-model '" + model + "'", "",
         "error: " + number + ": bad lexical cast: source type value could not be interpreted as target\n"}};
    for (const Failure& failure : failures) {
        ToolRun run = Check(failure.arguments);
        EXPECT_EQ(run.status, 2) << failure.arguments;
        EXPECT_EQ(run.out, failure.out) << failure.arguments;
        EXPECT_EQ(run.err, failure.err) << failure.arguments;
    }
}

// The record behind the rows, on text in memory as a host reads it: rows of
// nested items, the file named by the caller, and no place for an item that is
// gone (another may be made at its address).
TEST_F(ScriptCheck, RowRecordNotesWhileItLivesAndForgetsWhatIsDestroyed) {
    const std::string text =
        "TYPEOF FOLDER (A)\n{\n\tTYPEOF FOLDER (B)\n\t{\n\t}\n\n\tTYPEOF FOLDER (C)\n\t{\n\t}\n}\n";
    ItemRowRecord rows;
    ItemPtr unnamed = Parse(text);
    ItemPtr named;
    {
        const ItemRowRecord::File file("text.scr");
        named = Parse(text);
    }
    ItemRowRecord::Place place;
    ASSERT_TRUE(rows.Find(unnamed.get(), place));
    EXPECT_EQ(place.file, "");
    EXPECT_EQ(place.row, 1u);
    std::vector<ScenarioItem*> children;
    named->GetChildren(children);
    ASSERT_EQ(children.size(), 2u);
    ASSERT_TRUE(rows.Find(children[1], place));
    EXPECT_EQ(place.file, "text.scr");
    EXPECT_EQ(place.row, 7u);
    named->RemoveChild(children[1]);
    EXPECT_FALSE(rows.Find(children[1], place));
}

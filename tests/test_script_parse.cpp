// tavrel script parse, run as a user runs it.
#include "ModelTestSupport.h"

#include <cstdio>

using namespace modeltest;

namespace {

struct ToolRun {
    int status;
    std::string output;
};

// Runs the tool with `arguments` (quoted for the shell already); stderr joins stdout.
ToolRun Tavrel(const std::string& arguments) {
    const CommandRun run = RunCommand("'" TAVREL_TOOL "' " + arguments + " 2>&1");
    return ToolRun{run.status, run.output};
}

const std::string kSampleFolder =
    std::string(TAVREL_SOURCE_DIR) + "/examples/installation/projects/common/data/tools/nuro";
const std::string kSampleModel = kSampleFolder + "/nuro.mdl";
const std::string kSampleScript = kSampleFolder + "/sample.scr";
const std::string kExercise = kSampleFolder + "/exercise.scr";

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

using ScriptParse = TempFolder;

} // namespace

TEST_F(ScriptParse, SampleRootModelPrintsItsTreeHasItsListsAndSavesToTheSameBytes) {
    const std::string out = folder + "/copy.mdl";
    ToolRun run = Tavrel("script parse '" + kSampleModel + "' --save '" + out + "'");
    EXPECT_EQ(run.status, 0) << run.output;
    // No message before the tree; the enumeration tables come first, as the
    // parameter definitions that name them need them already read.
    const std::string head =
        "FOLDER (NURO) \"Tavrel scenario model\"\n"
        "  FOLDER (ENUMTAB_LIST) \"Enumerations\"\n"
        "    ENUMTAB (LIGHT_STATE) \"Traffic light state\"  | LIGHT_STATE    (Traffic light state)\n"
        "      ENUM (0) \"red\"  | 0    (red)\n";
    EXPECT_EQ(run.output.substr(0, head.size()), head);
    EXPECT_TRUE(Contains(run.output, "\n    PARAMETER (SPEED) \"Speed\"  | SPEED    (Speed)\n"))
        << run.output;
    EXPECT_TRUE(Contains(run.output,
                         "\n    FUNCTION (MAX) \"Greater value\"  | MAX    (Greater value)    (7)\n"
                         "      PARAMETER (FIRST_OPERAND) \"\"  | 0\n"));
    // The file is written as the writer writes, tabs and CR LF.
    const std::string text = ReadAll(kSampleModel);
    EXPECT_EQ(text.substr(0, 24), "\r\nTYPEOF FOLDER (NURO)\r\n");
    EXPECT_EQ(ReadAll(out), text);

    // It holds the lists that definitions are linked through, and some of the
    // definitions, tables and variables.
    for (const char* list :
         {"PARAMETER_LIST", "FUNCTION_LIST", "ACTION_LIST", "CONDITION_LIST", "ENUMTAB_LIST"})
        EXPECT_TRUE(Contains(run.output, std::string(" FOLDER (") + list + ") ")) << list;
    for (const std::string kind :
         {" ENUMTAB (", " VARIABLE (", " PARAMETER (", " FUNCTION (", " ACTION (", " CONDITION ("}) {
        size_t count = 0;
        for (size_t at = run.output.find(kind); at != std::string::npos; at = run.output.find(kind, at + 1))
            ++count;
        EXPECT_GE(count, 2u) << kind;
    }
}

TEST_F(ScriptParse, SampleScriptShowsNestedCallsAndSavesToTheSameBytes) {
    const std::string out = folder + "/copy.scr";
    ToolRun run = Tavrel("script parse '" + kSampleScript + "' --root-model '" + kSampleModel + "' --save '" +
                         out + "'");
    EXPECT_EQ(run.status, 0) << run.output;
    const std::string head = "FOLDER (SAMPLE) \"Sample calls\"\n"
                             "  FUNCTION (PLUS) \"\"  | 2 x 3 + Absolute value  (-4)\n"
                             "    PARAMETER (FIRST_OPERAND) \"\"  | 2 x 3\n"
                             "      FUNCTION (MULTIPLY) \"\"  | 2 x 3\n"
                             "        PARAMETER (FIRST_OPERAND) \"\"  | 2\n";
    EXPECT_EQ(run.output.substr(0, head.size()), head);
    // An enumeration value shows its entry's label, a vehicle unknown without a
    // scenario two quotes.
    EXPECT_TRUE(Contains(run.output, "\n  FUNCTION (IS_IN_GEAR) \"\"  | Vehicle in gear  (\"\",  drive)\n"));
    EXPECT_EQ(ReadAll(out), ReadAll(kSampleScript));
}

// The exercise is a task whose states hold rules: each condition shows its
// test and modifier, each action its branch, and only calls are evaluated.
TEST_F(ScriptParse, ExerciseTaskShowsItsRulesAndSavesToTheSameBytes) {
    const std::string out = folder + "/copy.scr";
    ToolRun run = Tavrel("script parse '" + kExercise + "' --root-model '" + kSampleModel + "' --save '" + out +
                         "' --evaluate");
    EXPECT_EQ(run.status, 0) << run.output;
    const std::string head = "TASK (EXERCISE) \"Traffic light exercise\"\n"
                             "  VARIABLE (0) \"speed\"  | speed=0\n";
    EXPECT_EQ(run.output.substr(0, head.size()), head);
    for (const char* line :
         {"\n      CONDITION (IS_LIGHT_GREEN) \"\"  | IF    Traffic light is green  (3)    BECOMES TRUE\n",
          "\n      CONDITION (AND) \"\"  | IF    [  Traffic light is green  (3)    IS FALSE  ]  AND  "
          "[  speed  >  0.5  ]    BECOMES TRUE\n"
          "        CONDITION (IS_LIGHT_GREEN) \"\"  | Traffic light is green  (3)    IS FALSE\n",
          "\n    RULE (3) \"Above the speed limit for two seconds\"\n"
          "      CONDITION (SUPERIOR) \"\"  | IF    speed  >  speed_limit    HAS BEEN TRUE FOR  2.000000  "
          "second(s)\n",
          "\n      ACTION (GOTO_STATE) \"\"  | THEN  Go to state  (2)\n",
          "\n      ELSE_ACTION (SHOW_MESSAGE) \"\"  | ELSE  Show message  (Drive off up to the speed limit)\n",
          "\n      CONDITION (OR) \"\"  | IF    [  Vehicle is stopped  (\"\")  ]  OR  [  Simulation time  ()  "
          ">=  300  ]\n",
          "\n            FUNCTION (GET_TIME) \"\"  | Simulation time  ()  = 0\n",
          "\n      ACTION (END_TASK) \"\"  | THEN  End the task  ()\n"})
        EXPECT_TRUE(Contains(run.output, line)) << line << run.output;
    EXPECT_EQ(ReadAll(out), ReadAll(kExercise));
}

TEST_F(ScriptParse, EvaluateShowsResultsAndNamesTheCodeWithoutRuntimeEntry) {
    ToolRun sample =
        Tavrel("script parse '" + kSampleScript + "' --root-model '" + kSampleModel + "' --evaluate");
    EXPECT_EQ(sample.status, 0) << sample.output;
    for (const char* line :
         {"\n  FUNCTION (GET_TIME) \"\"  | Simulation time  ()  = 0\n", // CODE 0
          "\n  FUNCTION (IS_WEATHER) \"\"  | Weather is  (fog)  = 0\n", // CODE -1
          "\n      FUNCTION (ABS) \"\"  | Absolute value  (-4)  = no run-time entry for CODE 6\n",
          "\n  FUNCTION (PLUS) \"\"  | 2 x 3 + Absolute value  (-4)  = no run-time entry for CODE 1\n"})
        EXPECT_TRUE(Contains(sample.output, line)) << line << sample.output;
    // The tool reports the fault itself; the library's assertion line stays out.
    EXPECT_FALSE(Contains(sample.output, "internal assertion")) << sample.output;

    // A call that has an entry fails through the nested call that has none.
    const std::string model = WriteFile(
        "m.mdl", "TYPEOF FOLDER (M)\n{\n"
                 "\tTYPEOF FOLDER (PARAMETER_LIST)\n\t{\n"
                 "\t\tTYPEOF PARAMETER (X)\n\t\t{\n"
                 "\t\t\tTYPE=\"FLOAT\"\n\t\t\tKINDLIST=\"USER FUNCTION\"\n\t\t}\n\t}\n"
                 "\tTYPEOF FOLDER (FUNCTION_LIST)\n\t{\n"
                 "\t\tTYPEOF FUNCTION (OUTER)\n\t\t{\n"
                 "\t\t\tLABEL=\"outer\"\n\t\t\tCODE=\"0\"\n\t\t\tWIZARD=\"MAPTOOL\"\n"
                 "\t\t\tTYPEOF PARAMETER (X)\n\t\t\t{\n\t\t\t\tKIND=\"USER\"\n\t\t\t}\n\t\t}\n"
                 "\t\tTYPEOF FUNCTION (INNER)\n\t\t{\n"
                 "\t\t\tLABEL=\"inner\"\n\t\t\tCODE=\"9\"\n\t\t\tWIZARD=\"MAPTOOL\"\n\t\t}\n\t}\n}\n");
    const std::string script =
        WriteFile("s.scr", "TYPEOF FOLDER (S)\n{\n"
                           "\tTYPEOF FUNCTION (OUTER)\n\t{\n"
                           "\t\tTYPEOF PARAMETER (X)\n\t\t{\n\t\t\tKIND=\"FUNCTION\"\n"
                           "\t\t\tTYPEOF FUNCTION (INNER)\n\t\t\t{\n\t\t\t}\n\t\t}\n\t}\n}\n");
    ToolRun nested = Tavrel("script parse '" + script + "' --root-model '" + model + "' --evaluate");
    EXPECT_EQ(nested.status, 0) << nested.output;
    EXPECT_EQ(nested.output, "FOLDER (S) \"\"\n"
                             "  FUNCTION (OUTER) \"\"  | outer  (inner  ())  = no run-time entry for CODE 9\n"
                             "    PARAMETER (X) \"\"  | inner  ()\n"
                             "      FUNCTION (INNER) \"\"  | inner  ()  = no run-time entry for CODE 9\n");
}

// The sample model carries what the upgrades of calls written for older models
// need; the upgraded calls save in the new layout, which then stays as it is.
TEST_F(ScriptParse, OlderCallsAreUpgradedAgainstTheSampleModel) {
    const std::string older = std::string(TAVREL_SOURCE_DIR) + "/tests/data/model/older_calls.scr";
    const std::string out = folder + "/upgraded.scr";
    const std::string again = folder + "/again.scr";
    ToolRun first =
        Tavrel("script parse '" + older + "' --root-model '" + kSampleModel + "' --save '" + out + "'");
    ASSERT_EQ(first.status, 0) << first.output;
    for (const char* line :
         {"  FUNCTION (GET_EXPORTED_CHANNEL) \"\"  | Exported channel value  (7)\n    PARAMETER "
          "(CHANNEL_ID) ",
          "  FUNCTION (IS_VHL_AT_POSITION) \"\"  | Vehicle at position  (\"\",  10,  20,  5)\n",
          "  FUNCTION (INIT_ANIMATION) \"\"  | Start animation  (wave,  wave.anm?,  1,  database object,  "
          "0)\n",
          "  FUNCTION (INIT_ANIMATION) \"\"  | Start animation  (door,  door.anm?,  0,  vehicle,  3)\n",
          "  FUNCTION (SNAPSHOT) \"\"  | Take snapshot  (rear,  \"\")\n",
          "    PARAMETER (DISPLAY_TIME) \"\"  | 5\n", "    PARAMETER (MARKER_KEYWORDS) \"\"  | \"\"\n"})
        EXPECT_TRUE(Contains(first.output, line)) << line << first.output;
    ToolRun second =
        Tavrel("script parse '" + out + "' --root-model '" + kSampleModel + "' --save '" + again + "'");
    EXPECT_EQ(second.status, 0) << second.output;
    EXPECT_EQ(second.output, first.output);
    EXPECT_EQ(ReadAll(again), ReadAll(out));
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

namespace {

const std::string kCrossing = std::string(TAVREL_SOURCE_DIR) + "/examples/scripts/crossing.sc";
const std::string kCrossingTrace = std::string(TAVREL_SOURCE_DIR) + "/examples/scripts/crossing.csv";

const std::string kDescription =
    "Crossing at a traffic light: wait for green, cross, stop. Red-light runs are counted.";

std::string RunCrossing(const std::string& extra = "") {
    return "script run '" + kCrossing + "' --root-model '" + kSampleModel + "' " + extra;
}

} // namespace

// The example walks through its three states on its trace: a move against the
// red light is caught by state 0 and by the evaluation, the green light moves
// to state 1, two seconds of driving to state 2, the stop ends the scenario
// before the trace does.
TEST_F(ScriptParse, RunDrivesTheExampleThroughItsStatesAndStopsWhenItEnds) {
    ToolRun run = Tavrel(RunCrossing("--signals '" + kCrossingTrace + "'"));
    EXPECT_EQ(run.status, 0) << run.output;
    for (const std::string& line : std::initializer_list<std::string>{
             "0.000  CROSSING/WATCH  message \"Vehicle stopped\"\n",
          "\n2.000  CROSSING/0  message \"Wait for the green light\"\n2.000  CROSSING/0/2  event 0 (holds)  "
          "state 0\n",
          "\n2.000  CROSSING/CROSSING_EVALUATION/1  message \"Red light crossed\"\n",
          // Rows on whole seconds are seen at the step that lands on them.
          "\n6.000  CROSSING/0/1  event 0 (holds)  state 0\n6.100  CROSSING/1  event 2 (starts)  state 1\n",
          "\n9.000  CROSSING/1/3  event 0 (holds)  state 1\n9.100  CROSSING/2  event 2 (starts)  state 2\n",
          "\n12.000  CROSSING/2/4  event 0 (holds)  state 2\n",
          // The include is read from the file beside the script; its rule is
          // heard too.
          "\n12.000  CROSSING/WATCH/10  event 0 (holds)  state 2\n",
          // The description comes from the parameters file beside the script.
          "\nsummary: 122 steps, last at 12.100\ndescription \"" + kDescription +
              "\"\ntask CROSSING  state -3  steps 118\n",
          "\nvariable CROSSING/0 red_light_runs=1\n", "\nscore 1 = 100\n"})
        EXPECT_TRUE(Contains(run.output, line)) << line << run.output;
    // Nothing is heard at time 0 from the state entered first, nor after the end.
    EXPECT_FALSE(Contains(run.output, "CROSSING/0  event 2")) << run.output;
    EXPECT_FALSE(Contains(run.output, "\n12.200")) << run.output;

    // The same run as JSON lines; --until cuts it short in state 0.
    ToolRun json = Tavrel(RunCrossing("--signals '" + kCrossingTrace + "' --json"));
    EXPECT_EQ(json.status, 0) << json.output;
    EXPECT_TRUE(
        Contains(json.output,
                 "\n{\"time\":6.1,\"path\":\"CROSSING/1\",\"event\":2,\"meaning\":\"starts\",\"state\":1}\n"))
        << json.output;
    EXPECT_TRUE(Contains(json.output,
                         "{\"summary\":{\"steps\":122,\"time\":12.1,\"description\":\"" + kDescription +
                             "\",\"tasks\":[{\"path\":\"CROSSING\","
                         "\"state\":-3,\"steps\":118}"))
        << json.output;
    ToolRun cut = Tavrel(RunCrossing("--signals '" + kCrossingTrace + "' --until 5 --step 0.5"));
    EXPECT_EQ(cut.status, 0) << cut.output;
    EXPECT_TRUE(Contains(cut.output, "\nsummary: 11 steps, last at 5.000\ndescription \"" + kDescription +
                                          "\"\ntask CROSSING  state 0 "))
        << cut.output;

    // The example is kept in the writer's form, the include by its reference;
    // the copy reads back to the same tree.
    const std::string out = folder + "/copy.sc";
    const std::string parse = "script parse '" + kCrossing + "' --root-model '" + kSampleModel + "'";
    ToolRun original = Tavrel(parse + " --save '" + out + "'");
    EXPECT_EQ(original.status, 0);
    EXPECT_EQ(ReadAll(out), ReadAll(kCrossing));
    WriteFile("crossing_watch.inc",
              ReadAll(std::string(TAVREL_SOURCE_DIR) + "/examples/scripts/crossing_watch.inc"));
    ToolRun copy = Tavrel("script parse '" + out + "' --root-model '" + kSampleModel + "'");
    EXPECT_EQ(copy.output, original.output);
    EXPECT_TRUE(Contains(copy.output, "\n    RULE (10) \"The vehicle stops\"\n")) << copy.output;
}

// The host's entries follow the CODEs of the model they run with.
TEST_F(ScriptParse, RunTakesTheCodesFromTheModel) {
    std::string model = ReadAll(kSampleModel);
    const size_t at = model.find("CODE=\"9\"");
    ASSERT_NE(at, std::string::npos);
    model.replace(at, 8, "CODE=\"31\"");
    const std::string renumbered = WriteFile("renumbered.mdl", model);
    ToolRun run = Tavrel("script run '" + kCrossing + "' --root-model '" + renumbered + "' --signals '" +
                         kCrossingTrace + "'");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_TRUE(Contains(run.output, "\n6.000  CROSSING/0/1  event 0 (holds)  state 0\n")) << run.output;
    EXPECT_TRUE(Contains(run.output, "\ntask CROSSING  state -3 ")) << run.output;
}

TEST_F(ScriptParse, RunRefusesWhatItCannotRunBeforeStepping) {
    // A call whose CODE has no entry, however deep, is named with its path.
    const std::string unknown = WriteFile(
        "unknown.scn",
        "TYPEOF SCENARIO (S)\r\n{\r\n\tTYPEOF TASK (0)\r\n\t{\r\n\t\tTYPEOF RULE (1)\r\n\t\t{\r\n"
        "\t\t\tTYPEOF CONDITION (SUPERIOR)\r\n\t\t\t{\r\n"
        "\t\t\t\tTYPEOF PARAMETER (FIRST_OPERAND)\r\n\t\t\t\t{\r\n\t\t\t\t\tKIND=\"FUNCTION\"\r\n"
        "\t\t\t\t\tTYPEOF FUNCTION (DISTANCE_TO_VEHICLE)\r\n\t\t\t\t\t{\r\n"
        "\t\t\t\t\t\tTYPEOF PARAMETER (VHL_NUMBER)\r\n\t\t\t\t\t\t{\r\n\t\t\t\t\t\t\tKIND=\"VEHICLE\"\r\n"
        "\t\t\t\t\t\t\tVALUE=\"0\"\r\n\t\t\t\t\t\t}\r\n\t\t\t\t\t}\r\n\t\t\t\t}\r\n"
        "\t\t\t\tTYPEOF PARAMETER (SECOND_OPERAND)\r\n\t\t\t\t{\r\n\t\t\t\t\tKIND=\"USER\"\r\n"
        "\t\t\t\t\tVALUE=\"10\"\r\n\t\t\t\t}\r\n\t\t\t}\r\n"
        "\t\t\tTYPEOF ACTION (END_TASK)\r\n\t\t\t{\r\n\t\t\t}\r\n\t\t}\r\n\t}\r\n}\r\n");
    ToolRun run = Tavrel("script run '" + unknown + "' --root-model '" + kSampleModel + "' --until 1");
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_TRUE(Contains(run.output, "no run-time entry for FUNCTION DISTANCE_TO_VEHICLE (CODE 12) at "
                                     "S/0/1/SUPERIOR/FIRST_OPERAND/DISTANCE_TO_VEHICLE\n"))
        << run.output;
    EXPECT_FALSE(Contains(run.output, "summary")) << run.output;

    // A top item other than a scenario.
    run = Tavrel("script run '" + kExercise + "' --root-model '" + kSampleModel + "' --until 1");
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(Contains(run.output, "the top item is a TASK, not a SCENARIO")) << run.output;

    // Traces: a signal the script reads is missing; times that don't increase;
    // a cell that is no number.
    const std::vector<std::pair<std::string, std::string>> traces = {
        {"time,light_green\n0,1\n", "missing signal vehicle_stopped (read by IS_VEHICLE_STOPPED)"},
        {"time,light_green,vehicle_stopped\r\n0,0,1\r\n2,0,0\r\n2,1,0\r\n",
         "trace.csv:4: times must increase"},
        {"time,light_green,vehicle_stopped\n0,0,yes\n", "trace.csv:2: \"yes\" is no number"},
        {"light_green,time\n", "trace.csv:1: the header must begin with \"time\""}};
    for (const auto& [trace, message] : traces) {
        run = Tavrel(RunCrossing("--signals '" + WriteFile("trace.csv", trace) + "'"));
        EXPECT_EQ(run.status, 1) << trace;
        EXPECT_TRUE(Contains(run.output, message)) << message << run.output;
        EXPECT_FALSE(Contains(run.output, "summary")) << run.output;
    }
    // Without a trace the run needs an end.
    EXPECT_EQ(Tavrel(RunCrossing()).status, 1);
}

namespace {

std::string Block(const std::string& header, const std::string& body) {
    return "TYPEOF " + header + "\n{\n" + body + "}\n";
}
std::string Value(const std::string& name, const std::string& kind, const std::string& value) {
    return Block("PARAMETER (" + name + ")", "KIND=\"" + kind + "\"\nVALUE=\"" + value + "\"\n");
}
std::string Call(const std::string& parameter, const std::string& function, const std::string& a,
                 const std::string& b = "") {
    return Block("PARAMETER (" + parameter + ")",
                 "KIND=\"FUNCTION\"\n" + Block("FUNCTION (" + function + ")", a + b));
}

} // namespace

// Arithmetic through nested calls, a trace row between two steps, and an
// include with states of its own that the run waits for.
TEST_F(ScriptParse, RunComputesReadsBetweenRowsAndWaitsForEveryLevel) {
    const std::string sum = Call("NEW_VALUE", "PLUS",
                                 Call("FIRST_OPERAND", "MAX",
                                      Call("FIRST_OPERAND", "DIVIDE", Value("FIRST_OPERAND", "USER", "7"),
                                           Value("SECOND_OPERAND", "USER", "0")),
                                      Call("SECOND_OPERAND", "MODULO", Value("FIRST_OPERAND", "USER", "7"),
                                           Value("SECOND_OPERAND", "USER", "4"))),
                                 Call("SECOND_OPERAND", "ABS",
                                      Call("OPERAND", "MINUS", Value("FIRST_OPERAND", "USER", "2"),
                                           Value("SECOND_OPERAND", "USER", "10"))));
    const std::string script = Block(
        "SCENARIO (S)",
        Block("VARIABLE (0)", "LABEL=\"x\"\nTYPE=\"FLOAT\"\nVALUE=\"0\"\n") +
            Block("INCLUDE (I)",
                  "FILE=\"i.inc\"\n" +
                      Block("TASK (0)", Block("RULE (1)", Block("CONDITION (SUPEQUAL)",
                                                                Call("FIRST_OPERAND", "GET_TIME", "") +
                                                                    Value("SECOND_OPERAND", "USER", "1")) +
                                                              Block("ACTION (END_TASK)", "")))) +
            Block("TASK (0)",
                  Block("RULE (2)",
                        Block("CONDITION (IS_LIGHT_GREEN)", Value("TRAFFIC_LIGHT", "TRAFFIC_LIGHT", "1")) +
                            Block("ACTION (SET_VARIABLE)", Value("TARGET_VARIABLE", "VARIABLE", "0") + sum) +
                            Block("ACTION (GOTO_STATE)", Value("STATE_NUMBER", "USER", "1")))) +
            Block("TASK (1)", Block("RULE (3)", Block("ACTION (END_TASK)", ""))));
    const std::string file = WriteFile("s.scn", script);
    const std::string trace = WriteFile("t.csv", "time,light_green\n0,0\n0.25,1\n5,1\n");
    ToolRun run =
        Tavrel("script run '" + file + "' --root-model '" + kSampleModel + "' --signals '" + trace + "'");
    EXPECT_EQ(run.status, 0) << run.output;
    // The row at 0.25 is first seen at 0.3.
    for (const char* line :
         {"\n0.300  S/0/2  event 0 (holds)  state 0\n", "\n0.400  S/1  event 2 (starts)  state 1\n",
          // 3 + 8: max(7 / 0 as 0, 7 mod 4) + |2 - 10|
          "\nvariable S/0 x=11\n",
          // The scenario ended at 0.6, its include at 1.1.
          "\nsummary: 12 steps, last at 1.100\ntask S  state -3  steps ", "\ntask S/I  state -3 "})
        EXPECT_TRUE(Contains(run.output, line)) << line << run.output;
}

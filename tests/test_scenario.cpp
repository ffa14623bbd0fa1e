// A whole scenario: includes from repositories and from the disk, criteria, the
// evaluation with its scores, the general parameters file, and the order in
// which a scenario steps its parts.
#include "ModelTestSupport.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <map>

using namespace modeltest;

namespace {

std::string Block(const std::string& header, const std::string& body) {
    return "TYPEOF " + header + "\n{\n" + body + "}\n";
}

// A rule that always holds and counts into `counter` (action entry 1).
std::string Counting(int counter) {
    return Block("RULE (" + std::to_string(counter) + ")",
                 Block("ACTION (COUNT)", Block("PARAMETER (INDEX)", "KIND=\"USER\"\nVALUE=\"" +
                                                                        std::to_string(counter) + "\"\n")));
}

const std::string kModel = Block(
    "FOLDER (MODEL)",
    Block("FOLDER (PARAMETER_LIST)", Block("PARAMETER (INDEX)", "TYPE=\"INTEGER\"\nKINDLIST=\"USER\"\n")) +
        Block("FOLDER (ACTION_LIST)",
              Block("ACTION (COUNT)",
                    "CODE=\"1\"\n" + Block("PARAMETER (INDEX)", "KIND=\"USER\"\nVALUE=\"0\"\n"))));

// A repository of texts kept in memory.
struct Texts : IncludeRepository {
    bool Contains(const std::string& file) const override { return texts.count(file) != 0; }
    std::string Read(const std::string& file) const override { return texts.at(file); }
    std::map<std::string, std::string> texts;
};

class Scenarios : public TempFolder {
protected:
    void SetUp() override {
        TempFolder::SetUp();
        model = Parse<Folders>(WithCrLf(kModel));
        ASSERT_NE(model, nullptr);
        scenarioRootModel = model.get();
        SetActionEntry(1,
                       [this](const ParameterValue* v) { order += std::to_string(int(v[0].number)) + " "; });
        RegisterIncludeRepository(&repository);
    }
    void TearDown() override {
        UnregisterIncludeRepository(&repository);
        ResetRuntimeTables();
        TempFolder::TearDown();
    }
    template <typename T> std::unique_ptr<T> Load(const std::string& text) {
        return Parse<T>(WithCrLf(text), &log);
    }

    std::unique_ptr<Folders> model;
    Texts repository;
    std::ostringstream log;
    std::string order;
};

} // namespace

TEST_F(Scenarios, IncludesComeFromRepositoriesOrTheDiskOrStayAsQuestionMarks) {
    repository.texts["lights.inc"] = WithCrLf(Block("INCLUDE (L)", "LABEL=\"Lights\"\n" + Counting(7)));
    repository.texts["task.inc"] = WithCrLf(Block("TASK (T)", "LABEL=\"Not an include\"\n"));
    repository.texts["broken.inc"] = WithCrLf("TYPEOF INCLUDE (B)\n{\n  LABEL=\"x\"\n}\n");
    auto scenario = Load<ScenarioLib::Scenario>(
        Block("SCENARIO (S)", Block("INCLUDE (1)", "ISA_INDEX=\"1\"\nFILE=\"lights.inc\"\n") +
                                  Block("INCLUDE (2)", "ISA_INDEX=\"1\"\nFILE=\"task.inc\"\n") +
                                  Block("INCLUDE (3)", "ISA_INDEX=\"1\"\nFILE=\"broken.inc\"\n") +
                                  Block("INCLUDE (4)", "ISA_INDEX=\"1\"\nFILE=\"nowhere.inc\"\n") +
                                  Block("INCLUDE (5)", "FILE=\"inline.inc\"\n" + Counting(8))));
    ASSERT_NE(scenario, nullptr) << log.str();
    ASSERT_EQ(scenario->includes.size(), 5u);
    std::string labels;
    for (const Include* include : scenario->includes)
        labels += include->label + "|";
    EXPECT_EQ(labels, "Lights|?|?|?||");
    // The reference's content is a copy of the file's; it writes only itself
    // (and an index entry no label).
    ASSERT_EQ(scenario->includes[0]->rules.size(), 1u);
    EXPECT_EQ(SaveText(*scenario->includes[0]),
              "\nTYPEOF INCLUDE (1)\n{\n\tISA_INDEX=\"1\"\n\tTASK_KIND=\"0\"\n\tFILE=\"lights.inc\"\n}\n");
    const std::string messages = log.str();
    for (const char* line :
         {"\x01lights.inc loaded from scenario\n", "\x03task.inc not loaded\n",
          "\x04"
          "broken.inc - row 3:\n  LABEL=\"x\"\n",
          "\x01include nowhere.inc not found in repositories\n", "\x03nowhere.inc not loaded\n"})
        EXPECT_NE(messages.find(line), std::string::npos) << line << messages;
    EXPECT_EQ(FindOwningUnit(scenario->includes[0]->rules[0]), scenario->includes[0]);

    // The scenario holds one include per file: a second one is dropped.
    auto twice = Load<ScenarioLib::Scenario>(Block(
        "SCENARIO (S)", Block("INCLUDE (1)", "FILE=\"a.inc\"\n") + Block("INCLUDE (2)", "FILE=\"a.inc\"\n")));
    ASSERT_NE(twice, nullptr);
    EXPECT_EQ(twice->includes.size(), 2u) << "the file is known only after the include joined";
    EXPECT_EQ(twice->FindIncludeByFile("a.inc"), twice->includes[0]);
    Include extra;
    extra.kind = ITEM_INCLUDE;
    extra.fileName = "a.inc";
    twice->AddChild(&extra, nullptr, true);
    EXPECT_EQ(twice->includes.size(), 2u);
    // FILE is taken once.
    EXPECT_EQ(Load<ScenarioItem>(Block("INCLUDE (1)", "FILE=\"a\"\nFILE=\"b\"\n")), nullptr);
}

TEST_F(Scenarios, CriteriaAndTheEvaluationKeepTheirAttributes) {
    auto evaluation = Load<Evaluation>(Block(
        "EVALUATION (E)",
        "LABEL=\"Report\"\nSCORE=\"2 1.5\"\nSCORE=\"2 3.25\"\n" +
            Block("CRITERIA (1)", "CATEGORY=\"Safety\"\nCRITICITY=\"3\"\nTEXT=\"Too fast\"\n") +
            Block("CRITERIA (2)", "IS_DISABLED=\"1\"\nCATEGORY=\"Safety\"\n") + Block("CRITERIA (3)", "")));
    ASSERT_NE(evaluation, nullptr) << log.str();
    EXPECT_EQ(evaluation->scores, (std::map<int32_t, float>{{0, 0.0f}, {1, 0.0f}, {2, 3.25f}}));
    std::vector<ScenarioItem*> criteria;
    evaluation->GetChildren(criteria, ITEM_CRITERIA);
    ASSERT_EQ(criteria.size(), 3u);
    const std::vector<std::string>& categories = CriteriaCategories();
    EXPECT_EQ(std::count(categories.begin(), categories.end(), "Safety"), 1);
    EXPECT_EQ(categories.front(), "");

    const std::string saved = SaveText(*evaluation);
    for (const char* line :
         {"\tSCORE=\"0 0.000000\"\n\tSCORE=\"1 0.000000\"\n\tSCORE=\"2 3.250000\"\n",
          "\t\tCATEGORY=\"Safety\"\n\t\tCRITICITY=\"3\"\n\t\tATTRIBUTE_CRITERIA_TYPE=\"Error\"\n\t\tTEXT="
          "\"Too "
          "fast\"\n\t\tSOUND=\"\"\n",
          "\t\tIS_DISABLED=\"1\"\n",
          "\t\tCATEGORY=\"\"\n\t\tCRITICITY=\"1\"\n\t\tATTRIBUTE_CRITERIA_TYPE=\"Error\"\n"})
        EXPECT_NE(saved.find(line), std::string::npos) << line << saved;
    auto again = Load<Evaluation>(saved);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(SaveText(*again), saved);
    // A score needs its number and its value; a scenario whose evaluation or
    // general parameters are refused is refused whole, and leaks nothing.
    EXPECT_EQ(Load<ScenarioItem>(Block("EVALUATION (E)", "SCORE=\"2\"\n")), nullptr);
    EXPECT_EQ(Load<ScenarioItem>(Block("SCENARIO (S)", Block("EVALUATION (E)", "SCORE=\"2\"\n"))), nullptr);
    EXPECT_EQ(Load<ScenarioItem>(Block("SCENARIO (S)", Block("GENERAL_PARAMETERS", "LABEL=\"x\"\n"))),
              nullptr);
}

TEST_F(Scenarios, AScenarioStepsIncludesTaskThenEvaluationUntilPausedOrStopped) {
    auto scenario = Load<ScenarioLib::Scenario>(
        Block("SCENARIO (S)",
              Block("INCLUDE (1)", "FILE=\"a.inc\"\n" + Counting(1)) + Counting(2) +
                  Block("TASK (0)", Counting(3)) +
                  Block("EVALUATION (E)", Counting(4) + Block("CRITERIA (1)", Counting(5)) +
                                              Block("CRITERIA (2)", "IS_DISABLED=\"1\"\n" + Counting(6)))));
    ASSERT_NE(scenario, nullptr) << log.str();
    ASSERT_NE(scenario->evaluation, nullptr);
    EXPECT_EQ(scenario->stopped, 1);
    scenario->Init("work", 0.0);
    EXPECT_EQ(scenario->stopped, 0);
    scenario->StepScenario(0.1); // the task enters its first state
    EXPECT_EQ(order, "1 4 5 ");
    order.clear();
    scenario->StepScenario(0.2);
    EXPECT_EQ(order, "1 2 3 4 5 ");
    EXPECT_EQ(scenario->currentTask, scenario->evaluation->subTasks[0]);
    EXPECT_EQ(scenario->HighestLevel(), 0);

    // Paused by the task: the evaluation is left out, and the step counts twice.
    SetActionEntry(1, [&](const ParameterValue* v) {
        if (v[0].number == 2)
            scenario->paused = 1;
        order += std::to_string(int(v[0].number)) + " ";
    });
    order.clear();
    const int32_t steps = scenario->stepCount;
    scenario->StepScenario(0.3);
    EXPECT_EQ(order, "1 2 3 ");
    EXPECT_EQ(scenario->stepCount, steps + 2);
    // Stopped by an include: nothing after it runs.
    SetActionEntry(1, [&](const ParameterValue* v) {
        scenario->stopped = 1;
        order += std::to_string(int(v[0].number)) + " ";
    });
    order.clear();
    scenario->StepScenario(0.4);
    EXPECT_EQ(order, "1 ");
}

TEST_F(Scenarios, GeneralParametersLiveBesideTheScenarioAndVehiclesHaveDefaults) {
    auto scenario = Load<ScenarioLib::Scenario>(Block("SCENARIO (S)", ""));
    ASSERT_NE(scenario, nullptr);
    scenario->resolvedPath = folder + "/evening.sc";
    auto* first = static_cast<GeneralParameters*>(CreateItem(ITEM_GENERAL_PARAMETERS, "0", nullptr));
    scenario->AddChild(first, nullptr, true);
    EXPECT_EQ(first->description, "") << "no parameters file yet";
    first->description = "  Clear evening, light rain = 20 % ";
    std::string beside = folder + "/evening.par";
    NormalizePath(beside);
    EXPECT_EQ(first->resolvedPath, beside);
    ASSERT_TRUE(first->Save(folder + "/evening.sc"));
    // The second reads the file beside the scenario and replaces the first.
    auto* second = static_cast<GeneralParameters*>(CreateItem(ITEM_GENERAL_PARAMETERS, "0", nullptr));
    scenario->AddChild(second, nullptr, true);
    EXPECT_EQ(scenario->generalParameters, second);
    EXPECT_EQ(second->description, "  Clear evening, light rain = 20 % ");
    EXPECT_EQ(second->name, "0");
    EXPECT_EQ(ParameterFileOf("scene.sce"), "scene.spar");

    EXPECT_FALSE(scenario->HasVehicle(3));
    const VEHICLE& vehicle = scenario->GetVehicle(3);
    EXPECT_TRUE(scenario->HasVehicle(3));
    EXPECT_EQ(vehicle.visualModel, "Compact_Sedan_Black_Pearl");
    EXPECT_DOUBLE_EQ(vehicle.maxSpeed, 50.0);
    EXPECT_EQ(vehicle.axles.size(), 2u);
    EXPECT_EQ(scenario->ChannelNumber("speed"), -1);
    EXPECT_EQ(scenario->NameAt(0), "");
    std::vector<ScenarioLib::PointRecord> points(1);
    Folders cone;
    cone.name = "cone";
    points[0] = {&cone, 1, 1.5, 2.0, 0.0};
    scenario->pointList = &points;
    EXPECT_EQ(scenario->PointText("cone#12"), "cone 1.5,2,0");
    EXPECT_EQ(scenario->PointText("tree#1"), "tree");
    scenario->pointList = nullptr;
}

// The texts and validity of parameters that name things of the scenario, read
// from the tables a host fills: vehicles and their inputs and outputs, lights,
// signs, drivers, objects, triggers, images and export channels.
TEST(ScenarioTables, ParametersShowAndCheckWhatTheScenarioKnows) {
    struct Slot {
        const char* name;
        const char* kind;
        const char* initial;
    };
    const Slot slots[] = {{"VHL_NUMBER", "VEHICLE", "3"},        {"VHL_NUMBER_PLUS", "VEHICLE", "3"},
                          {"OUTPUT", "VHC_OUTPUT", "0"},        {"INPUT", "VHC_INPUT", "0"},
                          {"LIGHT", "TRAFFIC_LIGHT", "2"},      {"SIGN", "ROADSIGN", "4"},
                          {"WHO", "DRIVER", "bob"},             {"WHAT", "OBJECT", "tree"},
                          {"WHEN", "TRIGGER", "start"},         {"PICTURE", "IMAGE", "logo.png"},
                          {"CHANNEL", "EXPORT_CHANNEL", "5"}};
    const auto parameters = [&](const std::map<std::string, std::string>& values) {
        std::string body;
        for (const Slot& slot : slots) {
            auto given = values.find(slot.name);
            body += Block(std::string("PARAMETER (") + slot.name + ")",
                          std::string("KIND=\"") + slot.kind + "\"\nVALUE=\"" +
                              (given != values.end() ? given->second : slot.initial) + "\"\n");
        }
        return body;
    };
    std::string definitions;
    for (const Slot& slot : slots)
        definitions += Block(std::string("PARAMETER (") + slot.name + ")",
                             std::string("TYPE=\"STRING\"\nKINDLIST=\"") + slot.kind + "\"\n");
    std::unique_ptr<Folders> model =
        Parse<Folders>(WithCrLf(Block("FOLDER (MODEL)", Block("FOLDER (PARAMETER_LIST)", definitions) +
                                                            Block("FOLDER (ACTION_LIST)",
                                                                  Block("ACTION (USE)", "CODE=\"1\"\n" + parameters({}))))));
    ASSERT_NE(model, nullptr);
    scenarioRootModel = model.get();

    // Call i of the rule: the values of case i.
    struct Case {
        const char* slot;
        const char* value;
        const char* text;
        bool valid;
    };
    const Case cases[] = {
        {"VHL_NUMBER", "3", "[3] ego", true},
        {"VHL_NUMBER", "9", "?", false},
        {"VHL_NUMBER", "-1", "environment?", false},
        {"VHL_NUMBER_PLUS", "-1", "environment", true},
        {"OUTPUT", "2", "out2", true},
        {"OUTPUT", "5", "(invalid index)?", false},
        {"INPUT", "-1", "(invalid index)?", false},
        {"LIGHT", "2", "North light", true},
        {"LIGHT", "8", "8", true},
        {"SIGN", "4", "Stop", true},
        {"WHO", "bob", "[7] bob", true},
        {"WHO", "ann", "?", false},
        {"WHAT", "tree#2", "tree 1,2.5,0", true},
        {"WHAT", "rock", "rock", true},
        {"WHEN", "stop", "stop?", false},
        {"PICTURE", "logo.png", "logo.png", true},
        {"CHANNEL", "5", "speed", true},
        {"CHANNEL", "6", "6", true},
    };
    std::string rule;
    for (const Case& c : cases)
        rule += Block("ACTION (USE)", parameters({{c.slot, c.value}}));
    std::ostringstream log;
    std::unique_ptr<ScenarioLib::Scenario> scenario = Parse<ScenarioLib::Scenario>(
        WithCrLf(Block("SCENARIO (S)", Block("TASK (0)", Block("RULE (1)", rule)))), &log);
    ASSERT_NE(scenario, nullptr) << log.str();
    VEHICLE& ego = scenario->GetVehicle(3);
    ego.name = "ego";
    ego.outputs.resize(3);
    ego.outputs[2].name = "out2";
    ego.inputs.resize(1);
    scenario->entityTables[ScenarioLib::Scenario::TRAFFIC_LIGHTS][2] = "North light";
    scenario->entityTables[ScenarioLib::Scenario::ROAD_SIGNS][4] = "Stop";
    scenario->entityTables[ScenarioLib::Scenario::DRIVERS][7] = "bob";
    scenario->entityTables[ScenarioLib::Scenario::TRIGGERS][1] = "start";
    scenario->entityTables[ScenarioLib::Scenario::MEDIA][1] = "logo.png";
    scenario->channelNumbers["speed"] = 5;
    std::unique_ptr<ScenarioItem> tree = Parse(WithCrLf(Block("FOLDER (tree)", "")));
    std::vector<ScenarioLib::PointRecord> points(1);
    points[0] = {tree.get(), 1, 1.0, 2.5, 0.0};
    scenario->pointList = &points;

    scenario->UpdateDisplayTextTree();
    const Rule* theRule = scenario->subTasks.at(0)->rules.at(0);
    ASSERT_EQ(theRule->actions.size(), std::size(cases));
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        const Parameter* parameter = nullptr;
        for (const Parameter* p : theRule->actions[i]->parameters)
            if (p->name == c.slot)
                parameter = p;
        ASSERT_NE(parameter, nullptr) << c.slot;
        EXPECT_EQ(parameter->displayText, c.text) << c.slot << " " << c.value;
        EXPECT_EQ(parameter->IsValid(), c.valid) << c.slot << " " << c.value;
    }
    // Once the vehicle is gone from the table, its outputs are too.
    scenario->vehicles.clear();
    scenario->UpdateDisplayTextTree();
    EXPECT_EQ(theRule->actions[0]->parameters[2]->displayText, "(vehicle not found in scenario)?");
    scenarioRootModel = nullptr;
}

// The example scenario loaded, linked against the sample model, run for 10,000
// steps and destroyed, again and again in one process: memory doesn't grow.
// Its calls get plain entries (conditions follow the clock, so that rules fire
// and fail in turn); TAVREL_LONG_RUNS sets the number of runs (1,000 by
// default).
TEST(LongRun, RunsOfTheExampleLeaveNothingBehind) {
    const std::string examples = std::string(TAVREL_SOURCE_DIR) + "/examples/";
    std::unique_ptr<ScenarioItem> model(LoadScenarioFile(
        (examples + "installation/projects/common/data/tools/nuro/nuro.mdl").c_str(), nullptr, false));
    ASSERT_NE(dynamic_cast<Folders*>(model.get()), nullptr);
    scenarioRootModel = dynamic_cast<Folders*>(model.get());
    Texts includes;
    includes.texts["crossing_watch.inc"] = ReadAll(examples + "scripts/crossing_watch.inc");
    RegisterIncludeRepository(&includes);
    const std::string script = ReadAll(examples + "scripts/crossing.sc");

    double now = 0.0;
    size_t actions = 0;
    const auto install = [&](const char* list, auto set) {
        for (ScenarioItem* item : std::vector<ScenarioItem*>{model->FindItem(ITEM_FOLDER, list, "")}) {
            ASSERT_NE(item, nullptr) << list;
            std::vector<ScenarioItem*> definitions;
            item->GetChildren(definitions);
            for (ScenarioItem* definition : definitions)
                if (const Function* function = dynamic_cast<const Function*>(definition))
                    if (function->codeNumber >= 0)
                        set(function->codeNumber);
        }
    };
    install("FUNCTION_LIST", [&](int code) { SetFunctionEntry(code, [&](const ParameterValue*) { return float(now); }); });
    install("CONDITION_LIST", [&](int code) {
        SetConditionEntry(code, [&](const ParameterValue*) { return static_cast<long>(now) % 3 == 0; });
    });
    install("ACTION_LIST", [&](int code) { SetActionEntry(code, [&](const ParameterValue*) { ++actions; }); });

    const char* const runsText = std::getenv("TAVREL_LONG_RUNS");
    const int runs = runsText != nullptr ? std::atoi(runsText) : 1000;
    size_t settled = 0;
    std::ostringstream log;
    for (int run = 0; run < runs; ++run) {
        std::unique_ptr<ScenarioLib::Scenario> scenario = Parse<ScenarioLib::Scenario>(script, &log);
        ASSERT_NE(scenario, nullptr) << log.str();
        scenarioLog = &log;
        scenario->Init("", 0.0);
        for (int step = 0; step < 10000; ++step) {
            now = step * 0.1;
            scenario->StepScenario(now);
        }
        scenario.reset();
        scenarioLog = nullptr;
        log.str(std::string());
        // The first hundred runs or so grow the pools and caches that the
        // model keeps (they stop growing there); the second half of the runs
        // gives back all it takes.
        if (run == runs / 2)
            settled = mallinfo2().uordblks;
    }
    const size_t end = mallinfo2().uordblks;
    RecordProperty("bytes_after_runs", std::to_string(end));
    RecordProperty("bytes_at_half", std::to_string(settled));
    EXPECT_GT(actions, 0u);
    // The sanitizers' allocator doesn't report to mallinfo2; their leak check
    // at exit covers this test there.
    if (settled != 0) {
        EXPECT_LE(end, settled + 16 * 1024) << "grew from " << settled << " to " << end;
    }
    UnregisterIncludeRepository(&includes);
    ResetRuntimeTables();
    scenarioRootModel = nullptr;
}

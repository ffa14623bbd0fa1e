// Conditions, rules and tasks run over time: real script text read against a
// model, host entries that read the test's own signals, steps at given times,
// and an observer that records every event in order.
#include "ModelTestSupport.h"

#include <map>

using namespace modeltest;

namespace {

std::string Block(const std::string& header, const std::string& body) {
    return "TYPEOF " + header + "\n{\n" + body + "}\n";
}

std::string Argument(const std::string& name, const std::string& kind, const std::string& value) {
    return Block("PARAMETER (" + name + ")", "KIND=\"" + kind + "\"\nVALUE=\"" + value + "\"\n");
}

// A condition on signal `signal`, read through the table's entry 2.
std::string Signal(int signal, const std::string& attributes = "") {
    return Block("CONDITION (SIGNAL)", attributes + Argument("INDEX", "USER", std::to_string(signal)));
}

// An action that counts into counter `counter` (entry 1), and one that asks the
// task owning the state for state `state` (entry 2).
std::string Count(int counter, const char* kind = "ACTION") {
    return Block(std::string(kind) + " (COUNT)", Argument("INDEX", "USER", std::to_string(counter)));
}
std::string Goto(int state, const char* kind = "ACTION") {
    return Block(std::string(kind) + " (GOTO)", Argument("STATE", "USER", std::to_string(state)));
}

const std::string kModel = Block(
    "FOLDER (MODEL)",
    Block("FOLDER (PARAMETER_LIST)",
          Block("PARAMETER (INDEX)", "TYPE=\"INTEGER\"\nKINDLIST=\"USER\"\n") +
              Block("PARAMETER (STATE)", "TYPE=\"INTEGER\"\nKINDLIST=\"USER\"\n") +
              Block("PARAMETER (A)", "TYPE=\"FLOAT\"\nKINDLIST=\"USER VARIABLE\"\n")) +
        Block("FOLDER (CONDITION_LIST)",
              Block("CONDITION (SIGNAL)", "LABEL=\"Signal\"\nCODE=\"2\"\n" + Argument("INDEX", "USER", "0")) +
                  Block("CONDITION (SUPERIOR)", "LABEL=\"Greater\"\nCODE=\"1\"\n" +
                                                    Argument("A", "USER", "0") + Argument("A", "USER", "0")) +
                  Block("CONDITION (AND)", "LABEL=\"And\"\nCODE=\"3\"\n") +
                  Block("CONDITION (OR)", "LABEL=\"Or\"\nCODE=\"3\"\n") +
                  Block("CONDITION (NEVER)", "LABEL=\"Never\"\n")) +
        Block("FOLDER (ACTION_LIST)",
              Block("ACTION (COUNT)", "LABEL=\"Count\"\nCODE=\"1\"\n" + Argument("INDEX", "USER", "0")) +
                  Block("ACTION (GOTO)", "LABEL=\"Go to\"\nCODE=\"2\"\n" + Argument("STATE", "USER", "0"))));

// Records each event as "name:event".
struct Recorder : ScenarioItemObserver {
    void OnItemEvent(ScenarioItemObservable* source, uint32_t event) override {
        events += static_cast<ScenarioItem*>(source)->name + ":" + std::to_string(event) + " ";
    }
    std::string events;
};

class Tasks : public ModelTest {
protected:
    void SetUp() override {
        model = Parse<Folders>(WithCrLf(kModel));
        ASSERT_NE(model, nullptr);
        scenarioRootModel = model.get();
        SetConditionEntry(1, [](const ParameterValue* v) { return v[0].number > v[1].number; });
        SetConditionEntry(2,
                          [this](const ParameterValue* v) { return signals[static_cast<int>(v[0].number)]; });
        SetActionEntry(1, [this](const ParameterValue* v) { ++counters[static_cast<int>(v[0].number)]; });
        SetActionEntry(2, [this](const ParameterValue* v) {
            // The task that runs the action is a state; its owner changes state.
            Task* owner = dynamic_cast<Task*>(running->currentTask->parent);
            owner->nextState = static_cast<int32_t>(v[0].number);
            owner->transitionPending = 1;
        });
    }
    void TearDown() override {
        ResetRuntimeTables();
        ModelTest::TearDown();
    }

    // Reads `text` with the recorder as every rule's observer.
    template <typename T> std::unique_ptr<T> Load(const std::string& text) {
        const std::string crlf = WithCrLf(text);
        ScenarioTextStream stream(crlf.c_str(), crlf.size() + 1);
        ItemLoadContext context;
        context.second = &recorder;
        std::unique_ptr<ScenarioItem> item(LoadScenarioText(stream, nullptr, &context, &log, false));
        return std::unique_ptr<T>(dynamic_cast<T*>(item.release()));
    }

    std::unique_ptr<Folders> model;
    std::map<int, bool> signals;
    std::map<int, int> counters;
    ScenarioLib::Scenario* running = nullptr;
    Recorder recorder;
    std::ostringstream log;
};

} // namespace

TEST_F(Tasks, EachModifierOverARiseAndAFall) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        // modifier attributes, what Evaluate answers at t = 0..6 for the signal 0 1 1 1 0 0 0
        {"", "0111000"},
        {"MODIFIER=\"IS_FALSE\"\n", "1000111"},
        {"MODIFIER=\"BECOMES_TRUE\"\n", "0100000"},
        // The first evaluation counts as a change.
        {"MODIFIER=\"BECOMES_FALSE\"\n", "1000100"},
        {"MODIFIER=\"HAS_BEEN_TRUE\"\n", "0111111"},
        {"MODIFIER=\"HAS_BEEN_FALSE\"\n", "1111111"},
        {"MODIFIER=\"HAS_BEEN_TRUE_FOR\"\nDURATION=\"1.5\"\n", "0001000"},
        {"MODIFIER=\"HAS_BEEN_FALSE_FOR\"\nDURATION=\"1.5\"\n", "0000001"},
        // Without a duration, as soon as it holds.
        {"MODIFIER=\"HAS_BEEN_TRUE_FOR\"\n", "0111000"},
    };
    const bool signal[] = {false, true, true, true, false, false, false};
    for (const auto& [attributes, expected] : cases) {
        auto conditions = Load<Folders>(Block("FOLDER (C)", Signal(0, attributes)));
        ASSERT_NE(conditions, nullptr) << attributes;
        Condition* condition = dynamic_cast<Condition*>(conditions->children[0]);
        condition->Init(0.0);
        std::string answers;
        for (int t = 0; t < 7; ++t) {
            signals[0] = signal[t];
            answers += condition->Evaluate(t) ? "1" : "0";
        }
        EXPECT_EQ(answers, expected) << attributes;
        // Init forgets the past: the next evaluation is a change again.
        condition->Init(10.0);
        EXPECT_EQ(condition->state, 2);
        EXPECT_EQ(condition->hasBeenTrue, 0);
    }
}

TEST_F(Tasks, AndOrEvaluateEveryBranchAndCodesWithoutEntryAreFaults) {
    auto conditions = Load<Folders>(
        Block("FOLDER (C)", Block("CONDITION (AND)", Signal(0) + Signal(1, "MODIFIER=\"HAS_BEEN_TRUE\"\n")) +
                                Block("CONDITION (OR)", Signal(0) + Signal(1)) + Block("CONDITION (OR)", "") +
                                Block("CONDITION (NEVER)", "")));
    ASSERT_NE(conditions, nullptr) << log.str();
    auto at = [&](size_t i) { return dynamic_cast<Condition*>(conditions->children[i]); };
    for (size_t i = 0; i < 4; ++i)
        at(i)->Init(0.0);
    signals = {{0, false}, {1, true}};
    EXPECT_FALSE(at(0)->Evaluate(1.0));
    // The second branch ran though the first was false: its memory moved.
    EXPECT_EQ(at(0)->subConditions[1]->hasBeenTrue, 1);
    EXPECT_TRUE(at(1)->Evaluate(1.0));
    signals[0] = true;
    EXPECT_TRUE(at(0)->Evaluate(2.0));
    // An "OR" without branches is a plain call: its CODE's entry answers.
    SetConditionEntry(3, [](const ParameterValue*) { return true; });
    EXPECT_TRUE(at(2)->Evaluate(2.0));
    ResetRuntimeTables();
    EXPECT_EQ(AssertionAt([&] { at(2)->Evaluate(3.0); }), "Condition:920");
    // A condition without CODE has no implementation: a fault of the model.
    EXPECT_EQ(AssertionAt([&] { at(3)->Evaluate(3.0); }), "Condition:920");
    // A modifier that isn't one is logged and never holds.
    at(1)->modifier = "SOMETIMES";
    SetConditionEntry(2, [](const ParameterValue*) { return true; });
    EXPECT_FALSE(at(1)->Evaluate(4.0));
    EXPECT_NE(log.str().find("\x03Unknown modifier SOMETIMES\n"), std::string::npos);
}

TEST_F(Tasks, RulesRunTheirBranchAtEveryStepAndCountChanges) {
    auto task = Load<Task>(Block(
        "TASK (T)", Block("RULE (1)", "LABEL=\"watch\"\n" + Signal(0) + Count(1) + Count(2, "ELSE_ACTION")) +
                        Block("RULE (2)", Count(3))));
    ASSERT_NE(task, nullptr) << log.str();
    Rule* watch = task->rules[0];
    Rule* always = task->rules[1];
    EXPECT_EQ(watch->GetObservableId(), 1u);
    task->Init("work", 1.0);
    const bool signal[] = {false, true, true, false, true};
    for (int t = 0; t < 5; ++t) {
        signals[0] = signal[t];
        task->Step(2.0 + t, nullptr, true);
    }
    EXPECT_EQ(counters, (std::map<int, int>{{1, 3}, {2, 2}, {3, 5}}));
    EXPECT_EQ(recorder.events, "1:1 2:0 1:0 1:1 1:0 ");
    EXPECT_EQ(watch->activationCount, 2);
    // The first step, false, adds the time since the start; then true from 3 to 5.
    EXPECT_EQ(watch->activeTime, (2.0 - 1.0) + (5.0 - 3.0));
    EXPECT_EQ(always->activationCount, 1);
    EXPECT_EQ(task->stepCount, 5);
    EXPECT_EQ(task->currentTime, 6.0);

    // A disabled rule does nothing at all.
    watch->disabled = 1;
    counters.clear();
    task->Step(7.0, nullptr, false);
    EXPECT_EQ(counters, (std::map<int, int>{{3, 1}}));
    EXPECT_EQ(task->stepCount, 5);
    EXPECT_NE(log.str().find("\x02Init task []\n\x02Init rule [1]\n\x02Init rule [2]\n"), std::string::npos);
}

TEST_F(Tasks, AScenarioWalksItsStatesThroughActionsThatSetTheNextState) {
    auto scenario = Load<ScenarioLib::Scenario>(
        Block("SCENARIO (S)",
              "LABEL=\"exercise\"\n" + Block("VARIABLE (1)", "TYPE=\"FLOAT\"\nVALUE=\"0\"\n") +
                  Block("TASK (0)", Block("RULE (10)", Signal(0, "MODIFIER=\"BECOMES_TRUE\"\n") + Goto(1))) +
                  Block("TASK (1)",
                        Block("RULE (11)", Block("CONDITION (SUPERIOR)", "MODIFIER=\"HAS_BEEN_TRUE_FOR\"\n"
                                                                         "DURATION=\"2\"\n" +
                                                                             Argument("A", "VARIABLE", "1") +
                                                                             Argument("A", "USER", "50")) +
                                               Goto(2) + Count(1, "ELSE_ACTION"))) +
                  Block("TASK (2)", Block("RULE (12)", Goto(-3) + Count(2)))));
    ASSERT_NE(scenario, nullptr) << log.str();
    running = scenario.get();
    Variable* speed = scenario->variables[0];
    for (Task* state : scenario->subTasks)
        state->AddObserver(&recorder);
    speed->value = "99";
    scenario->Init("work", 0.0);
    EXPECT_EQ(speed->value, "0") << "the variable starts from its loaded value";
    EXPECT_EQ(scenario->stopped, 0);

    // time, signal 0, speed, and the state after the step
    struct Step {
        double time;
        bool signal;
        const char* speed;
        int32_t state;
    };
    const std::vector<Step> steps = {
        {0.0, false, "0", 0},   // enters state 0 (no event at time 0)
        {1.0, false, "0", 0},   // waits for the light
        {2.0, true, "0", 0},    // the light turns: state 1 asked for
        {3.0, true, "0", 1},    // enters state 1, runs nothing
        {4.0, true, "60", 1},   // fast, not yet for 2 s
        {5.0, true, "60", 1},   // 1 s
        {6.0, true, "60", 1},   // 2 s: state 2 asked for
        {7.0, true, "60", 2},   // enters state 2
        {8.0, true, "60", 2},   // asks for the end
        {9.0, true, "60", -3},  // ends
        {10.0, true, "60", -3}, // does nothing any more
    };
    for (const Step& step : steps) {
        signals[0] = step.signal;
        speed->value = step.speed;
        scenario->StepScenario(step.time);
        EXPECT_EQ(scenario->currentState, step.state) << step.time;
    }
    EXPECT_EQ(recorder.events, "10:1 10:0 1:2 11:1 11:0 2:2 12:0 ");
    // The else branch ran while state 1 waited: at 4 and 5.
    EXPECT_EQ(counters, (std::map<int, int>{{1, 2}, {2, 1}}));
    EXPECT_EQ(scenario->currentTask, scenario.get());
    // Entering a state is no counted step.
    EXPECT_EQ(scenario->stepCount, 6);
}

TEST_F(Tasks, AttributesDisplayLinesAndValidity) {
    auto scenario = Load<ScenarioLib::Scenario>(Block(
        "SCENARIO (S)",
        Block("RULE (1)", "LABEL=\"on\"\nIS_DISABLED=\"0\"\nEVALUATION=\"WARNING\"\n" +
                              Block("CONDITION (AND)", Signal(0) + Signal(1, "MODIFIER=\"IS_FALSE\"\n")) +
                              Count(1) + Count(2, "ELSE_ACTION")) +
            Block("RULE (2)", "LABEL=\"off\"\nIS_DISABLED=\"1\"\n" +
                                  Block("CONDITION (SUPERIOR)",
                                        "MODIFIER=\"HAS_BEEN_TRUE_FOR\"\nDURATION=\"2\"\n" +
                                            Argument("A", "USER", "1.5") + Argument("A", "USER", "2")) +
                                  Signal(3)) +
            Block("RULE (3)", Count(3) + Goto(1)) + Block("TASK (4)", "TASK_KIND=\"7\"\n")));
    ASSERT_NE(scenario, nullptr) << log.str();
    scenario->UpdateDisplayTextTree();
    std::string lines;
    for (Rule* rule : scenario->rules) {
        lines += rule->displayText + (rule->IsValid() ? "" : " [invalid]") + "\n";
        std::vector<ScenarioItem*> children;
        rule->GetChildren(children);
        for (ScenarioItem* child : children)
            lines += "  " + child->displayText + (child->IsValid() ? "" : " [invalid]") + "\n";
    }
    EXPECT_EQ(lines, "on\n"
                     "  IF    [  Signal  (0)  ]  AND  [  Signal  (1)    IS FALSE  ]\n"
                     "  THEN  Count  (1)\n"
                     "  ELSE  Count  (2)\n"
                     "//    off [invalid]\n"
                     "  IF    1.5  >  2    HAS BEEN TRUE FOR  2.000000  second(s)\n"
                     "  IF    Signal  (3) [invalid]\n" // only the first condition counts
                     " [invalid]\n"
                     "  THEN  Count  (3) [invalid]\n" // nothing is tested before acting
                     "  THEN  Go to  (1) [invalid]\n");
    EXPECT_EQ(scenario->subTasks[0]->taskKind, 7);

    // Written back: IS_DISABLED only when set, EVALUATION unless NORMAL, a
    // modifier unless IS_TRUE, DURATION for the timed ones, TASK_KIND always.
    const std::string saved = SaveText(*scenario);
    for (const char* line : {"\t\tLABEL=\"on\"\n\t\tEVALUATION=\"WARNING\"\n\n", "\t\tIS_DISABLED=\"1\"\n",
                             "\t\t\tMODIFIER=\"HAS_BEEN_TRUE_FOR\"\n\t\t\tDURATION=\"2.000000\"\n",
                             "\t\tLABEL=\"\"\n\t\tTASK_KIND=\"7\"\n"})
        EXPECT_NE(saved.find(line), std::string::npos) << line << saved;
    EXPECT_EQ(saved.find("IS_DISABLED=\"0\""), std::string::npos);
    EXPECT_EQ(saved.find("MODIFIER=\"IS_TRUE\""), std::string::npos);
    auto again = Load<ScenarioLib::Scenario>(saved);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(SaveText(*again), saved);

    // Refused: an unknown evaluation word or modifier, a task kind with a tail
    // (logged), a variable in a rule, a parameter in an "AND".
    for (const std::string& refused :
         {Block("RULE (1)", "EVALUATION=\"FATAL\"\n"), Block("RULE (1)", Signal(0, "MODIFIER=\"ALWAYS\"\n")),
          Block("RULE (1)", Block("VARIABLE (1)", "")),
          Block("RULE (1)", Block("CONDITION (AND)", Argument("INDEX", "USER", "1"))),
          Block("TASK (1)", "TASK_KIND=\"7x\"\n")}) {
        log.str("");
        EXPECT_EQ(Load<ScenarioItem>(Block("SCENARIO (S)", refused)), nullptr) << refused;
    }
    EXPECT_EQ(log.str(), "\x04Task::LoadUserAttribute : bad lexical cast: source type value could not be "
                         "interpreted as target\n");
}

TEST_F(Tasks, AddedTasksTakeFreeVariableNamesAndBranchesSwitch) {
    auto scenario = Load<ScenarioLib::Scenario>(
        Block("SCENARIO (S)", Block("VARIABLE (0)", "LABEL=\"x\"\nTYPE=\"FLOAT\"\n")));
    auto added = Load<Task>(Block(
        "TASK (1)", Block("VARIABLE (0)", "LABEL=\"x\"\nTYPE=\"FLOAT\"\n") +
                        Block("RULE (1)", Block("CONDITION (SUPERIOR)",
                                                Argument("A", "VARIABLE", "0") + Argument("A", "USER", "1")) +
                                              Count(1) + Count(2) + Count(3, "ELSE_ACTION"))));
    ASSERT_NE(scenario, nullptr);
    ASSERT_NE(added, nullptr);
    Task* task = added.release();
    scenario->AddChild(task, nullptr, true);
    EXPECT_EQ(task->variables[0]->name, "1");
    EXPECT_EQ(task->variables[0]->label, "_x");
    Condition* test = task->rules[0]->conditions[0];
    EXPECT_EQ(test->parameters[0]->value, "1") << "the parameter follows its variable";

    Rule* rule = task->rules[0];
    Action* moved = rule->actions[0];
    rule->SwitchBranch(moved, 5);
    EXPECT_EQ(moved->kind, ITEM_ELSE_ACTION);
    ASSERT_EQ(rule->elseActions.size(), 2u);
    EXPECT_EQ(rule->elseActions[1], moved);
    rule->SwitchBranch(moved, 0);
    EXPECT_EQ(rule->actions.front(), moved);
    EXPECT_EQ(moved->kind, ITEM_ACTION);
}

// Speed of stepping a task's rules.
//
// task.step_1000_rules: one Step of a task of 1,000 rules, each comparing two
// numbers through the condition table and, when the comparison holds (every
// other rule), running one action through the action table; against a plain
// loop that calls the same two table entries with arrays of twelve values
// filled by hand, as the model fills them.
// task.step_scaling: one Step of a task of 10,000 rules against 100 Steps of a
// task of 100 rules, so that both sides step 10,000 rules and the ratio is that
// of the time per rule.
//
// Every benchmark also shows its time per rule as the counter "time_per_rule".

#include "BenchText.h"

#include <scenario/ScenarioModel.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <malloc.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using benchtext::Read;
using benchtext::Writer;

// The model: three number parameters, the comparison SUPERIOR (CODE 1 of the
// condition table) and the action COUNT (CODE 1 of the action table).
std::string ModelText() {
    Writer out;
    out.Open("FOLDER", "NURO");
    out.Attribute("LABEL", "Benchmark model");
    out.Open("FOLDER", "PARAMETER_LIST");
    out.Attribute("LABEL", "Parameters");
    for (const char* name : {"FIRST_OPERAND", "SECOND_OPERAND", "AMOUNT"}) {
        out.Open("PARAMETER", name);
        out.Attribute("LABEL", name);
        out.Attribute("TYPE", "FLOAT");
        out.Attribute("KINDLIST", "USER VARIABLE");
        out.Close();
    }
    out.Close();
    out.Open("FOLDER", "CONDITION_LIST");
    out.Attribute("LABEL", "Conditions");
    out.Open("CONDITION", "SUPERIOR");
    out.Attribute("LABEL", "Greater than");
    out.Attribute("CODE", "1");
    out.Attribute("WIZARD", "MAPTOOL");
    out.UserValue("FIRST_OPERAND", "0");
    out.UserValue("SECOND_OPERAND", "0");
    out.Close();
    out.Close();
    out.Open("FOLDER", "ACTION_LIST");
    out.Attribute("LABEL", "Actions");
    out.Open("ACTION", "COUNT");
    out.Attribute("LABEL", "Count");
    out.Attribute("CODE", "1");
    out.UserValue("AMOUNT", "0");
    out.Close();
    out.Close();
    out.Close();
    return out.text;
}

// What rule i compares and counts, as text and as the numbers the text reads
// as: the first operand is the greater in every other rule.
struct Operands {
    std::string firstText;
    std::string secondText;
    std::string amountText;
    float first;
    float second;
    float amount;
};

Operands OperandsOf(int rule) {
    const int base = (rule * 7) % 90;
    Operands o;
    o.firstText = std::to_string(base + (rule % 2 == 0 ? 1 : 0)) + ".5";
    o.secondText = std::to_string(base + (rule % 2 == 0 ? 0 : 1)) + ".25";
    o.amountText = std::to_string(rule % 3 + 1);
    o.first = static_cast<float>(std::atof(o.firstText.c_str()));
    o.second = static_cast<float>(std::atof(o.secondText.c_str()));
    o.amount = static_cast<float>(std::atof(o.amountText.c_str()));
    return o;
}

// A task of `count` rules "IF first > second THEN COUNT amount".
std::string TaskText(int count) {
    Writer out;
    out.Open("TASK", "BENCHMARK");
    out.Attribute("LABEL", "Benchmark task");
    out.Attribute("TASK_KIND", "0");
    for (int i = 0; i < count; ++i) {
        const Operands o = OperandsOf(i);
        out.Open("RULE", std::to_string(i));
        out.Attribute("LABEL", "Rule " + std::to_string(i));
        out.Open("CONDITION", "SUPERIOR");
        out.UserValue("FIRST_OPERAND", o.firstText);
        out.UserValue("SECOND_OPERAND", o.secondText);
        out.Close();
        out.Open("ACTION", "COUNT");
        out.UserValue("AMOUNT", o.amountText);
        out.Close();
        out.Close();
    }
    out.Close();
    return out.text;
}

// What the action entry adds up; read back to check that the rules ran.
double counted = 0.0;

// The entries of CODE 1, set once for the whole program, as a host sets its
// tables before it runs scenarios.
void SetEntries() {
    SetConditionEntry(1, [](const ParameterValue* values) { return values[0].number > values[1].number; });
    SetActionEntry(1, [](const ParameterValue* values) { counted += values[0].number; });
}

// A loaded task, started, with what each of its rules compares for the loop of
// the reference. Tasks are kept for the life of the program, as a running
// scenario is.
struct Case {
    Task* task;
    std::vector<Operands> operands;
    double countedPerStep;
};

const Case& CaseOf(int count) {
    static Folders* model = nullptr;
    static std::map<int, Case> made;
    auto found = made.find(count);
    if (found != made.end())
        return found->second;
    if (model == nullptr) {
        scenarioRootModel = nullptr;
        model = dynamic_cast<Folders*>(Read(ModelText()));
        if (model == nullptr)
            std::abort();
    }
    scenarioRootModel = model;
    Case c;
    c.task = dynamic_cast<Task*>(Read(TaskText(count)));
    if (c.task == nullptr || c.task->rules.size() != static_cast<size_t>(count))
        std::abort();
    c.task->Init("", 0.0);
    c.countedPerStep = 0.0;
    for (int i = 0; i < count; ++i) {
        c.operands.push_back(OperandsOf(i));
        if (c.operands.back().first > c.operands.back().second)
            c.countedPerStep += c.operands.back().amount;
    }
    return made.emplace(count, std::move(c)).first->second;
}

// The step of the reference: each rule's two arrays filled by hand, as the model
// fills them (tag 1, the number, the text of VALUE), and the entries called.
void StepByHand(const std::vector<Operands>& operands, const ConditionEntry& condition,
                const ActionEntry& action) {
    for (const Operands& o : operands) {
        ParameterValue tested[kRuntimeValueCount];
        tested[0].tag = 1;
        tested[0].number = o.first;
        tested[0].text = o.firstText;
        tested[1].tag = 1;
        tested[1].number = o.second;
        tested[1].text = o.secondText;
        if (condition(tested)) {
            ParameterValue done[kRuntimeValueCount];
            done[0].tag = 1;
            done[0].number = o.amount;
            done[0].text = o.amountText;
            action(done);
        }
    }
}

// Runs `step` for half a second, untimed, so that the caches and the processor
// settle; a first step that doesn't count what it should stops the benchmark.
template <typename Step> bool WarmUp(Step step, double countedPerStep, benchmark::State& state) {
    counted = 0.0;
    step();
    if (counted != countedPerStep) {
        state.SkipWithError("the rules did not count what they should");
        return false;
    }
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500))
        step();
    return true;
}

// Times `step`, which steps `rules` rules in all, and shows the time per rule.
template <typename Step>
void TimeSteps(benchmark::State& state, int rules, double countedPerStep, Step step) {
    if (!WarmUp(step, countedPerStep, state))
        return;
    for (auto _ : state)
        step();
    benchmark::DoNotOptimize(counted);
    state.counters["time_per_rule"] =
        benchmark::Counter(static_cast<double>(rules),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The time of the steps goes on from step to step, as a host's clock does.
double now = 0.0;

void StepTask(Task* task) {
    now += 0.02;
    task->Step(now, nullptr, true);
}

void BM_Step1000Rules_Measured(benchmark::State& state) {
    const Case& c = CaseOf(1000);
    TimeSteps(state, 1000, c.countedPerStep, [&]() { StepTask(c.task); });
}
BENCHMARK(BM_Step1000Rules_Measured)->Name("task.step_1000_rules/measured")->Unit(benchmark::kMicrosecond);

void BM_Step1000Rules_Reference(benchmark::State& state) {
    const Case& c = CaseOf(1000);
    const ConditionEntry& condition = *FindConditionEntry(1);
    const ActionEntry& action = *FindActionEntry(1);
    TimeSteps(state, 1000, c.countedPerStep, [&]() { StepByHand(c.operands, condition, action); });
    state.SetLabel("the table entries called with hand-filled arrays");
}
BENCHMARK(BM_Step1000Rules_Reference)->Name("task.step_1000_rules/reference")->Unit(benchmark::kMicrosecond);

void BM_StepScaling_Measured(benchmark::State& state) {
    const Case& c = CaseOf(10000);
    TimeSteps(state, 10000, c.countedPerStep, [&]() { StepTask(c.task); });
}
BENCHMARK(BM_StepScaling_Measured)->Name("task.step_scaling/measured")->Unit(benchmark::kMicrosecond);

// A hundred steps of a hundredth of the rules: the same number of rules stepped
// as one step of the large task, so that the ratio compares the time per rule.
void BM_StepScaling_Reference(benchmark::State& state) {
    const Case& c = CaseOf(100);
    TimeSteps(state, 10000, 100 * c.countedPerStep, [&]() {
        for (int i = 0; i < 100; ++i)
            StepTask(c.task);
    });
    state.SetLabel("100 steps of a task of 100 rules");
}
BENCHMARK(BM_StepScaling_Reference)->Name("task.step_scaling/reference")->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    // As in the other benchmark programs: freed memory stays in the heap and large
    // blocks (the texts) come from it too, so that the page faults of loading are
    // over before any timing starts.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    benchmark::Initialize(&argc, argv);
    SetEntries();
    // The model and the tasks are loaded and started before any benchmark runs.
    CaseOf(100);
    CaseOf(1000);
    CaseOf(10000);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

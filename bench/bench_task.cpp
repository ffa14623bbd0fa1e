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

#include "BenchRules.h"
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

using benchrules::counted;
using benchrules::Operands;
using benchrules::OperandsOf;
using benchrules::WriteRule;
using benchtext::Read;
using benchtext::Writer;

// A task of `count` rules "IF first > second THEN COUNT amount".
std::string TaskText(int count) {
    Writer out;
    out.Open("TASK", "BENCHMARK");
    out.Attribute("LABEL", "Benchmark task");
    out.Attribute("TASK_KIND", "0");
    for (int i = 0; i < count; ++i) {
        WriteRule(out, i);
    }
    out.Close();
    return out.text;
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
        model = dynamic_cast<Folders*>(Read(benchrules::ModelText()));
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

// The time of the steps goes on from step to step, as a host's clock does.
double now = 0.0;

void StepTask(Task* task) {
    now += 0.02;
    task->Step(now, nullptr, true);
}

void BM_Step1000Rules_Measured(benchmark::State& state) {
    const Case& c = CaseOf(1000);
    benchrules::TimeSteps(state, 1000, c.countedPerStep, [&]() { StepTask(c.task); });
}
BENCHMARK(BM_Step1000Rules_Measured)->Name("task.step_1000_rules/measured")->Unit(benchmark::kMicrosecond);

void BM_Step1000Rules_Reference(benchmark::State& state) {
    const Case& c = CaseOf(1000);
    const ConditionEntry& condition = *FindConditionEntry(1);
    const ActionEntry& action = *FindActionEntry(1);
    benchrules::TimeSteps(state, 1000, c.countedPerStep,
                          [&]() { benchrules::StepByHand(c.operands, condition, action); });
    state.SetLabel("the table entries called with hand-filled arrays");
}
BENCHMARK(BM_Step1000Rules_Reference)->Name("task.step_1000_rules/reference")->Unit(benchmark::kMicrosecond);

void BM_StepScaling_Measured(benchmark::State& state) {
    const Case& c = CaseOf(10000);
    benchrules::TimeSteps(state, 10000, c.countedPerStep, [&]() { StepTask(c.task); });
}
BENCHMARK(BM_StepScaling_Measured)->Name("task.step_scaling/measured")->Unit(benchmark::kMicrosecond);

// A hundred steps of a hundredth of the rules: the same number of rules stepped
// as one step of the large task, so that the ratio compares the time per rule.
void BM_StepScaling_Reference(benchmark::State& state) {
    const Case& c = CaseOf(100);
    benchrules::TimeSteps(state, 10000, 100 * c.countedPerStep, [&]() {
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
    benchrules::SetEntries();
    // The model and the tasks are loaded and started before any benchmark runs.
    CaseOf(100);
    CaseOf(1000);
    CaseOf(10000);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

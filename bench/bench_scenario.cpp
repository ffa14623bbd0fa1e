// Speed of loading and stepping a scenario made of include files.
//
// scenario.load: LoadScenarioFile of a scenario of 20 include references, each
// read from its own file under "data/script/include" of a temporary
// installation and holding a task of 50 rules; against LoadScenarioFile of one
// file with the same 1,000 rules inline, in 20 tasks of the scenario itself.
// The tree is freed untimed.
// scenario.step: one StepScenario of the scenario of includes once its states
// are entered, against the loop of bench_task: the condition and action entries
// called with arrays filled by hand for the same 1,000 rules.
//
// Every row also shows its time per rule as the counter "time_per_rule".

#include "BenchRules.h"
#include "BenchText.h"

#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/ScenarioModel.h>

#include <Poco/File.h>
#include <Poco/Path.h>
#include <Poco/TemporaryFile.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using benchtext::WriteFile;

using benchrules::counted;
using benchrules::Operands;
using benchrules::OperandsOf;
using benchrules::WriteRule;
using benchtext::Read;
using benchtext::Writer;

const int kIncludes = 20;
const int kRulesPerInclude = 50;
const int kRules = kIncludes * kRulesPerInclude;

// Task `state` of rules first to first + count - 1, each "IF first > second
// THEN COUNT amount". Its name is the number of the state it stands for.
void WriteTask(Writer& out, int state, int first, int count) {
    out.Open("TASK", std::to_string(state));
    out.Attribute("LABEL", "Task " + std::to_string(state));
    out.Attribute("TASK_KIND", "0");
    for (int i = first; i < first + count; ++i) {
        WriteRule(out, i);
    }
    out.Close();
}

std::string IncludeFileName(int include) {
    return "rules" + std::to_string(include) + ".inc";
}

// The file of include n: the include, holding the task of its 50 rules.
std::string IncludeFileText(int include) {
    Writer out;
    out.Open("INCLUDE", std::to_string(include));
    out.Attribute("LABEL", "Include " + std::to_string(include));
    out.Attribute("TASK_KIND", "0");
    WriteTask(out, 1, include * kRulesPerInclude, kRulesPerInclude);
    out.Close();
    return out.text;
}

// The scenario of references: only ISA_INDEX and FILE, the rules come from the
// include files. ISA_INDEX goes first, since the include reads its file as soon
// as FILE is read.
std::string ScenarioOfIncludesText() {
    Writer out;
    out.Open("SCENARIO", "INCLUDES");
    out.Attribute("LABEL", "Scenario of includes");
    for (int n = 0; n < kIncludes; ++n) {
        out.Open("INCLUDE", std::to_string(n + 1));
        out.Attribute("ISA_INDEX", "1");
        out.Attribute("FILE", IncludeFileName(n));
        out.Close();
    }
    out.Close();
    return out.text;
}

// The same rules in one file, in tasks of the scenario itself.
std::string InlineScenarioText() {
    Writer out;
    out.Open("SCENARIO", "INLINE");
    out.Attribute("LABEL", "Inline scenario");
    for (int n = 0; n < kIncludes; ++n)
        WriteTask(out, n + 1, n * kRulesPerInclude, kRulesPerInclude);
    out.Close();
    return out.text;
}

// A temporary installation of one configuration whose data path is the
// installation's own folder, with the include files and both scenarios; made
// current for the process and removed when the program ends.
struct Installation {
    Installation() {
        root = Poco::TemporaryFile::tempName();
        WriteFile(root + "/tavrel.cfg", "[configuration Bench]\npath = config\n");
        WriteFile(root + "/config/configuration.ini", "[configuration]\nversion = 1.0\ndatapath = ..\n");
        for (int n = 0; n < kIncludes; ++n)
            WriteFile(root + "/data/script/include/" + IncludeFileName(n), IncludeFileText(n));
        ofIncludes = root + "/data/scenario/includes.sce";
        inlined = root + "/data/scenario/inline.sce";
        WriteFile(ofIncludes, ScenarioOfIncludesText());
        WriteFile(inlined, InlineScenarioText());
        lmkUtils::EnvConfig::setTavrelConfigFilePath(root + "/tavrel.cfg");
    }
    ~Installation() {
        try {
            Poco::File(root).remove(true);
        } catch (...) {
        }
    }
    std::string root;
    std::string ofIncludes;
    std::string inlined;
};

const Installation& TheInstallation() {
    static Installation installation;
    return installation;
}

// The model every load links against, kept for the life of the program.
Folders* TheModel() {
    static Folders* model = nullptr;
    if (model == nullptr) {
        scenarioRootModel = nullptr;
        model = dynamic_cast<Folders*>(Read(benchrules::ModelText()));
        if (model == nullptr)
            std::abort();
    }
    return model;
}

using ScenarioPtr = std::unique_ptr<ScenarioLib::Scenario>;

ScenarioPtr LoadScenario(const std::string& path) {
    scenarioRootModel = TheModel();
    std::unique_ptr<ScenarioItem> item(LoadScenarioFile(path.c_str(), nullptr, false));
    auto* scenario = dynamic_cast<ScenarioLib::Scenario*>(item.get());
    if (scenario != nullptr)
        item.release();
    return ScenarioPtr(scenario);
}

// Whether a loaded scenario holds all the rules: in its includes, or in its own
// tasks.
bool HoldsAllRules(const ScenarioLib::Scenario* scenario) {
    if (scenario == nullptr)
        return false;
    size_t rules = 0;
    for (const Include* include : scenario->includes)
        for (const Task* task : include->subTasks)
            rules += task->rules.size();
    for (const Task* task : scenario->subTasks)
        rules += task->rules.size();
    return rules == static_cast<size_t>(kRules);
}

// Runs `load` for half a second, untimed; a load that fails stops the benchmark.
template <typename Load> bool WarmUpLoads(Load load, benchmark::State& state) {
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500))
        if (!load()) {
            state.SkipWithError("the scenario does not load with all its rules");
            return false;
        }
    return true;
}

void TimeLoads(benchmark::State& state, const std::string& path) {
    if (!WarmUpLoads([&]() { return HoldsAllRules(LoadScenario(path).get()); }, state))
        return;
    for (auto _ : state) {
        ScenarioPtr scenario = LoadScenario(path);
        state.PauseTiming();
        scenario.reset();
        state.ResumeTiming();
    }
    // Every row of a program carries the same counters, or the CSV report that
    // scripts/bench reads stops: here the time per rule loaded.
    state.counters["time_per_rule"] =
        benchmark::Counter(static_cast<double>(kRules),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_ScenarioLoad_Measured(benchmark::State& state) {
    TimeLoads(state, TheInstallation().ofIncludes);
}
BENCHMARK(BM_ScenarioLoad_Measured)->Name("scenario.load/measured")->Unit(benchmark::kMicrosecond);

void BM_ScenarioLoad_Reference(benchmark::State& state) {
    TimeLoads(state, TheInstallation().inlined);
    state.SetLabel("the same rules inline in one file");
}
BENCHMARK(BM_ScenarioLoad_Reference)->Name("scenario.load/reference")->Unit(benchmark::kMicrosecond);

// The time of the steps goes on from step to step, as a host's clock does.
double now = 0.0;

// The scenario of includes, started and with its states entered, and what its
// rules compare for the loop of the reference. It runs for the life of the
// program, as a host's scenario does.
struct Running {
    ScenarioPtr scenario;
    std::vector<Operands> operands;
    double countedPerStep = 0.0;
};

const Running& TheRunning() {
    static Running running;
    if (running.scenario)
        return running;
    running.scenario = LoadScenario(TheInstallation().ofIncludes);
    if (!HoldsAllRules(running.scenario.get()))
        std::abort();
    running.scenario->Init("", now);
    // The first step enters the first state of every include and runs no rule.
    now += 0.02;
    running.scenario->StepScenario(now);
    for (int i = 0; i < kRules; ++i) {
        running.operands.push_back(OperandsOf(i));
        if (running.operands.back().first > running.operands.back().second)
            running.countedPerStep += running.operands.back().amount;
    }
    return running;
}

void BM_ScenarioStep_Measured(benchmark::State& state) {
    const Running& running = TheRunning();
    benchrules::TimeSteps(state, kRules, running.countedPerStep, [&]() {
        now += 0.02;
        running.scenario->StepScenario(now);
    });
}
BENCHMARK(BM_ScenarioStep_Measured)->Name("scenario.step/measured")->Unit(benchmark::kMicrosecond);

void BM_ScenarioStep_Reference(benchmark::State& state) {
    const Running& running = TheRunning();
    const ConditionEntry& condition = *FindConditionEntry(1);
    const ActionEntry& action = *FindActionEntry(1);
    benchrules::TimeSteps(state, kRules, running.countedPerStep,
                          [&]() { benchrules::StepByHand(running.operands, condition, action); });
    state.SetLabel("the table entries called with hand-filled arrays");
}
BENCHMARK(BM_ScenarioStep_Reference)->Name("scenario.step/reference")->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    // As in the other benchmark programs: freed trees stay in the heap and large
    // blocks (the file buffers) come from it too, so that the rows compare
    // reading, not page faults.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    benchmark::Initialize(&argc, argv);
    benchrules::SetEntries();
    // The installation, its files, the model and the running scenario are made
    // before any benchmark runs.
    TheInstallation();
    TheModel();
    TheRunning();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

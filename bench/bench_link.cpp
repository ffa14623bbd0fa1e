// Speed of linking a script to the root model, and of evaluating a call.
//
// link.script_vs_model: a script of N calls (four parameters each) read against
// a model of N call definitions, against the same text read with every call
// taken as its own definition, so that nothing is searched in a model (the
// difference is the cost of the links).
// link.scaling: the linked read at 10,000 against ten at 1,000 (script and model
// both scaled by ten).
// function.evaluate: Evaluate of a call of four parameters against a direct call
// of the same table entry with an array of twelve values filled by hand.

#include "BenchText.h"

#include <scenario/ScenarioModel.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <malloc.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using benchtext::Read;
using benchtext::Writer;

const char* const kParameterNames[] = {"SPEED", "DISTANCE", "LIMIT", "FACTOR"};

void WriteArguments(Writer& out, int call) {
    for (int p = 0; p < 4; ++p)
        out.UserValue(kParameterNames[p], std::to_string((call * 7 + p) % 90) + ".5");
}

// A model of `count` call definitions F0, F1, ... with four parameters each.
std::string ModelText(int count) {
    Writer out;
    out.Open("FOLDER", "NURO");
    out.Attribute("LABEL", "Benchmark model");
    out.Open("FOLDER", "PARAMETER_LIST");
    out.Attribute("LABEL", "Parameters");
    for (const char* name : kParameterNames) {
        out.Open("PARAMETER", name);
        out.Attribute("LABEL", name);
        out.Attribute("TYPE", "FLOAT");
        out.Attribute("KINDLIST", "USER VARIABLE FUNCTION");
        out.Close();
    }
    out.Close();
    out.Open("FOLDER", "FUNCTION_LIST");
    out.Attribute("LABEL", "Functions");
    for (int i = 0; i < count; ++i) {
        out.Open("FUNCTION", "F" + std::to_string(i));
        out.Attribute("LABEL", "Function " + std::to_string(i));
        out.Attribute("CODE", "1");
        out.Attribute("WIZARD", "MAPTOOL");
        out.Attribute("SEE_ALSO", "");
        WriteArguments(out, i);
        out.Close();
    }
    out.Close();
    out.Close();
    return out.text;
}

// A script of `count` calls, call i naming definition F(i * 7919 mod count), in
// a folder named `folder`: "SCRIPT" for instances of the model's calls,
// "FUNCTION_LIST" for calls that are their own definitions.
std::string ScriptText(int count, const char* folder) {
    Writer out;
    out.Open("FOLDER", folder);
    out.Attribute("LABEL", "Benchmark script");
    for (int i = 0; i < count; ++i) {
        out.Open("FUNCTION", "F" + std::to_string((static_cast<long>(i) * 7919) % count));
        WriteArguments(out, i);
        out.Close();
    }
    out.Close();
    return out.text;
}

// The loaded models and the texts, made once per size. Models are kept for the
// life of the program, as the root model of an installation is.
struct Case {
    Folders* model;
    Folders* definitionsOnly;
    std::string linked;
    std::string unlinked;
};

const Case& CaseOf(int count) {
    static std::map<int, Case> made;
    auto found = made.find(count);
    if (found != made.end())
        return found->second;
    Case c;
    scenarioRootModel = nullptr;
    c.model = static_cast<Folders*>(Read(ModelText(count)));
    c.definitionsOnly = static_cast<Folders*>(Read(ModelText(0)));
    c.linked = ScriptText(count, "SCRIPT");
    c.unlinked = ScriptText(count, "FUNCTION_LIST");
    if (c.model == nullptr || c.definitionsOnly == nullptr)
        std::abort();
    return made.emplace(count, c).first->second;
}

// Runs `read` for half a second, untimed; a read that fails stops the benchmark.
template <typename Read> void WarmUp(Read read, benchmark::State& state) {
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500))
        if (!read()) {
            state.SkipWithError("the script does not load");
            return;
        }
}

// One timed read of `text` against `model`; the tree is freed untimed.
void TimeReads(benchmark::State& state, Folders* model, const std::string& text) {
    scenarioRootModel = model;
    // Half a second of untimed reads first: the heap grows to its size, the
    // model's index is made, and the processor settles, before timing starts.
    WarmUp([&]() { return std::unique_ptr<ScenarioItem>(Read(text)) != nullptr; }, state);
    for (auto _ : state) {
        std::unique_ptr<ScenarioItem> script(Read(text));
        state.PauseTiming();
        script.reset();
        state.ResumeTiming();
    }
    scenarioRootModel = nullptr;
}

void BM_LinkScriptVsModel_Measured(benchmark::State& state) {
    const Case& c = CaseOf(10000);
    TimeReads(state, c.model, c.linked);
}
BENCHMARK(BM_LinkScriptVsModel_Measured)
    ->Name("link.script_vs_model/measured")
    ->Unit(benchmark::kMillisecond);

// The two linked reads run one after the other, before any reference: each
// side of a row then starts from a heap that the other kind of read didn't shape.
void BM_LinkScaling_Measured(benchmark::State& state) {
    const Case& c = CaseOf(10000);
    TimeReads(state, c.model, c.linked);
}
BENCHMARK(BM_LinkScaling_Measured)->Name("link.scaling/measured")->Unit(benchmark::kMillisecond);

void BM_LinkScriptVsModel_Reference(benchmark::State& state) {
    const Case& c = CaseOf(10000);
    TimeReads(state, c.definitionsOnly, c.unlinked);
    state.SetLabel("the same script read unlinked");
}
BENCHMARK(BM_LinkScriptVsModel_Reference)
    ->Name("link.script_vs_model/reference")
    ->Unit(benchmark::kMillisecond);

// Ten reads at a tenth of the size, each against a model of its own, and the
// scripts kept alive until the last read, as the one large script is: both sides
// then hold the same amount of live memory, and the ratio shows how linking grows
// with the size of script and model (at most 1.2: 12 times the time for 10 times
// the size) rather than how much of them the processor caches hold.
// The ten models of the scaling reference, made before any benchmark runs.
std::vector<Folders*>& SmallModels() {
    static std::vector<Folders*> models;
    while (models.size() < 10) {
        scenarioRootModel = nullptr;
        models.push_back(static_cast<Folders*>(Read(ModelText(1000))));
    }
    return models;
}

void BM_LinkScaling_Reference(benchmark::State& state) {
    const std::vector<Folders*>& models = SmallModels();
    const Case& small = CaseOf(1000);
    auto readAll = [&]() {
        std::vector<std::unique_ptr<ScenarioItem>> scripts;
        for (Folders* model : models) {
            scenarioRootModel = model;
            scripts.emplace_back(Read(small.linked));
        }
        return scripts;
    };
    WarmUp([&]() { return readAll().back() != nullptr; }, state);
    for (auto _ : state) {
        auto scripts = readAll();
        state.PauseTiming();
        scripts.clear();
        state.ResumeTiming();
    }
    scenarioRootModel = nullptr;
    state.SetLabel("ten reads at a tenth of the size");
}
BENCHMARK(BM_LinkScaling_Reference)->Name("link.scaling/reference")->Unit(benchmark::kMillisecond);
// The evaluations are timed in batches, so that a row reads in milliseconds.
const int kEvaluations = 100000;

float Sum(const ParameterValue* values) {
    return values[0].number + values[1].number + values[2].number + values[3].number;
}

void BM_FunctionEvaluate_Measured(benchmark::State& state) {
    const Case& c = CaseOf(1000);
    scenarioRootModel = c.model;
    std::unique_ptr<ScenarioItem> script(Read(c.linked));
    scenarioRootModel = nullptr;
    Function* call = script ? AsFunction(script->GetFirstChild()) : nullptr;
    if (call == nullptr) {
        state.SkipWithError("the script does not load");
        return;
    }
    SetFunctionEntry(1, Sum);
    for (auto _ : state)
        for (int i = 0; i < kEvaluations; ++i)
            benchmark::DoNotOptimize(call->Evaluate());
    ResetRuntimeTables();
}
BENCHMARK(BM_FunctionEvaluate_Measured)->Name("function.evaluate/measured")->Unit(benchmark::kMillisecond);

void BM_FunctionEvaluate_Reference(benchmark::State& state) {
    SetFunctionEntry(1, Sum);
    const FunctionEntry* entry = FindFunctionEntry(1);
    const char* texts[] = {"12.5", "33.5", "54.5", "75.5"};
    for (auto _ : state) {
        for (int i = 0; i < kEvaluations; ++i) {
            ParameterValue values[kRuntimeValueCount];
            for (int p = 0; p < 4; ++p) {
                values[p].tag = 1;
                values[p].number = 12.5f + 21.0f * static_cast<float>(p);
                values[p].text = texts[p];
            }
            benchmark::DoNotOptimize((*entry)(values));
        }
    }
    ResetRuntimeTables();
    state.SetLabel("the entry called with a hand-filled array");
}
BENCHMARK(BM_FunctionEvaluate_Reference)->Name("function.evaluate/reference")->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    // Freed trees stay in the heap instead of going back to the system, so that
    // each timed read finds the memory that the untimed one before it grew, at
    // every size alike: the rows compare reading and linking, not page faults.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    benchmark::Initialize(&argc, argv);
    // The models and texts are made before any benchmark runs, so that none of
    // them starts on a heap that the making left behind.
    CaseOf(1000);
    CaseOf(10000);
    SmallModels();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

// The node tree of a large scenario: building it, and finding a parameter of
// its last vehicle by full id, each against loading the same file; the lookup
// also against a plain loop over the root's children comparing their ids.
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>

#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <environment/SheetCfg/CfgScenario.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

using TavrelScenarioTemplateDb::TavrelScenario;
using TavrelScenarioTemplateDb::TavrelScenarioNode;

namespace {

constexpr int vehicleCount = 20000;

// A folder with "large.sce": 20,000 vehicles, each with a few parameters and a
// position section, made once per run and removed at exit.
struct LargeScenario {
    LargeScenario() {
        char pattern[] = "/tmp/tavrel-bench-XXXXXX";
        if (!mkdtemp(pattern))
            throw std::runtime_error("cannot make a temporary folder");
        folder = pattern;
        cfg::CfgScenario file;
        cfg::Scenario* root = file.getRootSection();
        root->name = "large";
        for (int id = 1; id <= vehicleCount; ++id) {
            auto* vehicle = dynamic_cast<cfg::Vehicle*>(root->createSubSection(cfg::Vehicle::sectionName()));
            vehicle->id = id;
            vehicle->driverId = id;
            vehicle->name = "vehicle" + std::to_string(id);
            vehicle->addParameter("speed", cfg::ParameterReal, lmk::U_KM_H).getDouble() = id % 40;
            vehicle->addParameter("lane", cfg::ParameterInt, lmk::U_NONE).getInt() = id % 3;
            cfg::Section* position = vehicle->createSubSection("Position");
            position->addParameter("x", cfg::ParameterReal, lmk::U_M).getDouble() = id;
            position->addParameter("y", cfg::ParameterReal, lmk::U_M).getDouble() = -id;
        }
        if (!file.save((folder + "/large.sce").c_str(), Commons::Encoding::Utf8, false))
            throw std::runtime_error("cannot write the scenario: " + file.errorMessage);
    }
    ~LargeScenario() { std::filesystem::remove_all(folder); }

    std::unique_ptr<TavrelScenario> open() const {
        return std::make_unique<TavrelScenario>("", "large.sce", folder);
    }

    std::string folder;
};

const LargeScenario& large() {
    static const LargeScenario scenario;
    return scenario;
}

const std::string lastVehicleId = "Vehicle[id/@ScenarioTreeValue=" + std::to_string(vehicleCount) + "]";
const std::string lastSpeedId = "/sce/Scenario/" + lastVehicleId + "/speed";

// The reference of the first two rows: one load of the file through a template.
void LoadThroughTemplate(benchmark::State& state) {
    for (auto _ : state) {
        auto scenario = large().open();
        benchmark::DoNotOptimize(scenario->getVariadicParameterNumber());
    }
    state.SetLabel("load of the same file through a template");
}

// The tree over sections loaded once; only the tree is built at each pass.
void BuildNodeTree(benchmark::State& state) {
    cfg::CfgScenario file;
    if (!file.load((large().folder + "/large.sce").c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false,
                   true, true))
        state.SkipWithError(file.errorMessage.c_str());
    for (auto _ : state) {
        TavrelScenarioNode tree(file.getRootSection(), nullptr);
        benchmark::DoNotOptimize(tree.getChildNumber());
    }
    state.SetLabel("node tree of 20000 vehicles");
}

void LookupLastVehicleParameter(benchmark::State& state) {
    auto scenario = large().open();
    scenario->getRootScenarioNode();
    for (auto _ : state)
        benchmark::DoNotOptimize(scenario->getParameterFromId(lastSpeedId));
    state.SetLabel("getParameterFromId of the last vehicle");
}

// What the lookup is held against: a plain loop over the root's children
// comparing their ids.
void PlainLoopOverChildren(benchmark::State& state) {
    auto scenario = large().open();
    std::vector<ScenarioTemplateDb::ScenarioNode*> children;
    scenario->getRootScenarioNode()->getChildren(children);
    for (auto _ : state) {
        for (ScenarioTemplateDb::ScenarioNode* child : children)
            if (child->getId() == lastVehicleId) {
                benchmark::DoNotOptimize(child);
                break;
            }
    }
    state.SetLabel("plain loop over the root's children comparing getId");
}

} // namespace

// Each row pairs a measured benchmark with its reference, timed in the same run.
BENCHMARK(BuildNodeTree)->Name("nodes.buildTree/measured")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadThroughTemplate)
    ->Name("nodes.buildTree/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LookupLastVehicleParameter)
    ->Name("nodes.lookupLastVehicle/measured")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LoadThroughTemplate)
    ->Name("nodes.lookupLastVehicle/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LookupLastVehicleParameter)
    ->Name("nodes.lookupAgainstPlainLoop/measured")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(PlainLoopOverChildren)
    ->Name("nodes.lookupAgainstPlainLoop/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();

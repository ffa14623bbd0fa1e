// The node tree of a large scenario: building it, and finding a parameter of
// its last vehicle by full id. Each is reported as a ratio to loading the same
// file, measured in the same run; the lookup also as a ratio to a plain loop
// over the root's children comparing their ids.
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>

#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <environment/SheetCfg/CfgScenario.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

using TavrelScenarioTemplateDb::TavrelScenario;
using TavrelScenarioTemplateDb::TavrelScenarioNode;
using Clock = std::chrono::steady_clock;

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

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

// The reference: one load of the file through a template, best of three.
double loadSeconds() {
    static const double best = [] {
        double result = 1e9;
        for (int i = 0; i < 3; ++i) {
            auto scenario = large().open();
            const Clock::time_point start = Clock::now();
            scenario->getVariadicParameterNumber();
            result = std::min(result, seconds(Clock::now() - start));
        }
        return result;
    }();
    return best;
}

void BM_LoadFile(benchmark::State& state) {
    for (auto _ : state) {
        auto scenario = large().open();
        benchmark::DoNotOptimize(scenario->getVariadicParameterNumber());
    }
}

void BM_BuildNodeTree(benchmark::State& state) {
    // The sections are loaded once; only the tree over them is built each time.
    cfg::CfgScenario file;
    if (!file.load((large().folder + "/large.sce").c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false,
                   true, true))
        state.SkipWithError(file.errorMessage.c_str());
    Clock::duration spent{};
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        TavrelScenarioNode tree(file.getRootSection(), nullptr);
        benchmark::DoNotOptimize(tree.getChildNumber());
        spent += Clock::now() - start;
    }
    state.counters["ratio_to_load"] = seconds(spent) / state.iterations() / loadSeconds();
}

void BM_LookupLastVehicleParameter(benchmark::State& state) {
    auto scenario = large().open();
    scenario->getRootScenarioNode();
    Clock::duration spent{};
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        benchmark::DoNotOptimize(scenario->getParameterFromId(lastSpeedId));
        spent += Clock::now() - start;
    }
    const double lookup = seconds(spent) / state.iterations();

    // The plain loop that the lookup is held against: the root's children, by id.
    ScenarioTemplateDb::ScenarioNode* rootNode = scenario->getRootScenarioNode();
    std::vector<ScenarioTemplateDb::ScenarioNode*> children;
    rootNode->getChildren(children);
    const int rounds = 20;
    const Clock::time_point start = Clock::now();
    for (int round = 0; round < rounds; ++round)
        for (ScenarioTemplateDb::ScenarioNode* child : children)
            if (child->getId() == lastVehicleId) {
                benchmark::DoNotOptimize(child);
                break;
            }
    const double plainLoop = seconds(Clock::now() - start) / rounds;

    state.counters["ratio_to_load"] = lookup / loadSeconds();
    state.counters["ratio_to_plain_loop"] = lookup / plainLoop;
}

} // namespace

BENCHMARK(BM_LoadFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildNodeTree)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LookupLastVehicleParameter)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();

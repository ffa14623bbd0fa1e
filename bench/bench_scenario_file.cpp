// Speed of the scenario file: CfgScenario::load of a generated 10 MB scenario
// against a bare XML parse of the same file, and opening a template and reading
// its name against that load. scripts/bench prints the ratio of each row.
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/SheetCfg/CfgScenario.h>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

fs::path folder;
std::string scenarioFile;

// About 10 MB: 20,000 vehicles with 5 parameters each.
void writeScenario(const std::string& path) {
    std::ofstream out(path, std::ios::binary);
    out << "<?xml version=\"1.0\"?>\n<Scenario name=\"Large\" description=\"Generated for speed\">\n";
    for (int i = 0; i < 20000; ++i) {
        out << "  <Vehicle id=\"" << i << "\" driverId=\"" << i % 50 << "\" name=\"vehicle number " << i
            << "\">\n"
            << "    <Parameter name=\"initialSpeed\" type=\"real\" unit=\"km/h\" verbose=\"Initial speed of "
               "the "
               "vehicle\">"
            << 13.5 + i * 0.001 << "</Parameter>\n"
            << "    <Parameter name=\"heading\" type=\"real\" unit=\"deg\" verbose=\"Heading at start\">"
            << 0.25 + i * 1e-5 << "</Parameter>\n"
            << "    <Parameter name=\"lane\" type=\"int\" verbose=\"Start lane on the road\">" << i % 3
            << "</Parameter>\n"
            << "    <Parameter name=\"visible\" type=\"bool\" verbose=\"Shown to the "
               "driver\">true</Parameter>\n"
            << "    <Parameter name=\"model\" type=\"string\" verbose=\"Visual "
               "model\">Compact_Sedan_Black_Pearl_"
            << i % 7 << "</Parameter>\n"
            << "  </Vehicle>\n";
    }
    out << "</Scenario>\n";
}

// Both sides allocate and free tens of megabytes per iteration. Whichever ran
// before, the first iterations of a benchmark pay for the C library's heap
// settling to its pattern (pages returned to the system and faulted in
// again), so every benchmark runs a few untimed ones first.
constexpr int warmUpIterations = 2;

bool bareParse() {
    pugi::xml_document document;
    pugi::xml_parse_result result = document.load_file(scenarioFile.c_str());
    benchmark::DoNotOptimize(document.first_child());
    return static_cast<bool>(result);
}

void BareParse(benchmark::State& state) {
    for (int i = 0; i < warmUpIterations; ++i)
        bareParse();
    for (auto _ : state)
        if (!bareParse())
            state.SkipWithError("parse failed");
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(scenarioFile)));
    state.SetLabel("pugixml parse of the same 10 MB file");
}

// Empty when the load succeeds, else the error.
std::string cfgScenarioLoad() {
    cfg::CfgScenario scenario;
    const bool loaded =
        scenario.load(scenarioFile.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true);
    benchmark::DoNotOptimize(scenario.getRootSection());
    return loaded ? std::string() : scenario.errorMessage;
}

void CfgScenarioLoad(benchmark::State& state) {
    for (int i = 0; i < warmUpIterations; ++i)
        cfgScenarioLoad();
    for (auto _ : state) {
        const std::string error = cfgScenarioLoad();
        if (!error.empty())
            state.SkipWithError(error.c_str());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(scenarioFile)));
    state.SetLabel("CfgScenario::load of the same file");
}

void TemplateName(benchmark::State& state) {
    for (auto _ : state) {
        TavrelScenarioTemplateDb::TavrelScenario scenario("Default", "large.sce", folder.string());
        benchmark::DoNotOptimize(scenario.getName());
    }
    state.SetLabel("new template and getName");
}

} // namespace

// Each row pairs a measured benchmark with its reference, timed in the same run.
// Target of the first row: at most 3 (a third of the bare parse speed).
BENCHMARK(CfgScenarioLoad)->Name("scenario_file.load/measured")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BareParse)->Name("scenario_file.load/reference")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TemplateName)
    ->Name("scenario_file.templateName/measured")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(CfgScenarioLoad)
    ->Name("scenario_file.templateName/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    std::string pattern = (fs::temp_directory_path() / "bench-scenario-XXXXXX").string();
    if (!::mkdtemp(&pattern[0]))
        return 1;
    folder = pattern;
    scenarioFile = (folder / "large.sce").string();
    writeScenario(scenarioFile);

    // One of each first: the C library's allocator adapts its thresholds to
    // the first large buffers it frees, and whichever benchmark ran first would
    // otherwise pay for that alone.
    {
        cfg::CfgScenario scenario;
        scenario.load(scenarioFile.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true);
        pugi::xml_document document;
        document.load_file(scenarioFile.c_str());
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    fs::remove_all(folder);
    return 0;
}

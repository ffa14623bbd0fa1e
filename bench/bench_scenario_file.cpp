// Speed of the scenario file: CfgScenario::load of a large generated scenario
// against a bare XML parse of the same file, and opening a template and reading
// its name against that load. Each ratio is measured within one run.
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/SheetCfg/CfgScenario.h>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
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

void BareParse(benchmark::State& state) {
    for (auto _ : state) {
        pugi::xml_document document;
        pugi::xml_parse_result result = document.load_file(scenarioFile.c_str());
        if (!result)
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(document.first_child());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(scenarioFile)));
}
BENCHMARK(BareParse)->Unit(benchmark::kMillisecond);

void CfgScenarioLoad(benchmark::State& state) {
    for (auto _ : state) {
        cfg::CfgScenario scenario;
        if (!scenario.load(scenarioFile.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true,
                           true))
            state.SkipWithError(scenario.errorMessage.c_str());
        benchmark::DoNotOptimize(scenario.getRootSection());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(scenarioFile)));
}
BENCHMARK(CfgScenarioLoad)->Unit(benchmark::kMillisecond);

void TemplateName(benchmark::State& state) {
    for (auto _ : state) {
        TavrelScenarioTemplateDb::TavrelScenario scenario("Default", "large.sce", folder.string());
        benchmark::DoNotOptimize(scenario.getName());
    }
}
BENCHMARK(TemplateName)->Unit(benchmark::kMillisecond);

// Keeps the CPU time of each benchmark, to print the ratios after the run.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (!run.error_occurred && run.iterations > 0)
                seconds[run.benchmark_name()] = run.GetAdjustedCPUTime(); // the machine may be shared
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> seconds;
};

void printRatio(const RatioReporter& reporter, const char* measured, const char* reference,
                const char* target) {
    auto m = reporter.seconds.find(measured);
    auto r = reporter.seconds.find(reference);
    if (m == reporter.seconds.end() || r == reporter.seconds.end() || r->second <= 0)
        return;
    std::printf("%s / %s = %.2f (%s)\n", measured, reference, m->second / r->second, target);
}

} // namespace

int main(int argc, char** argv) {
    std::string pattern = (fs::temp_directory_path() / "bench-scenario-XXXXXX").string();
    if (!::mkdtemp(&pattern[0]))
        return 1;
    folder = pattern;
    scenarioFile = (folder / "large.sce").string();
    writeScenario(scenarioFile);
    std::printf("scenario file: %.1f MB\n", fs::file_size(scenarioFile) / 1e6);

    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printRatio(reporter, "CfgScenarioLoad", "BareParse", "target: at most 3");
    printRatio(reporter, "TemplateName", "CfgScenarioLoad", "opening a template costs its load");
    benchmark::Shutdown();
    fs::remove_all(folder);
    return 0;
}

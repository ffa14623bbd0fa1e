// Speed of writing variants of a template.
//
// variants.grid_1000: 1,000 variants of the sample template city/crossing.sce
// (a random draw, as `tavrel variants --random 1000` makes them: staging folder,
// one atomic file each, the manifest, the moves), against 1,000
// cfg::CfgScenario::save calls of the same file's tree into a folder of the same
// kind. Target: at most 1.5.

#include "BenchText.h"

#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/Variants.h>
#include <environment/Commons/Encoding.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <Poco/File.h>
#include <Poco/TemporaryFile.h>

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

constexpr int kVariants = 1000;

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The sample's crossing and root model in an installation of one configuration.
struct Installation {
    Installation() {
        root = Poco::TemporaryFile::tempName();
        const std::string sample = std::string(TAVREL_SOURCE_DIR) + "/examples/installation/projects/common/data";
        benchtext::WriteFile(root + "/tavrel.cfg", "[configuration Sample]\npath = sample\n");
        benchtext::WriteFile(root + "/sample/configuration.ini", "[configuration]\nversion = 1.0\ndatapath = .\n");
        benchtext::WriteFile(root + "/sample/data/tools/nuro/nuro.mdl", ReadFile(sample + "/tools/nuro/nuro.mdl"));
        benchtext::WriteFile(root + "/sample/data/scenario/crossing.sce",
                             ReadFile(sample + "/scenario/city/crossing.sce"));
        lmkUtils::EnvConfig::setTavrelConfigFilePath(root + "/tavrel.cfg");
    }
    ~Installation() {
        try {
            Poco::File(root).remove(true);
        } catch (...) {
        }
    }
    std::string Scenarios() const { return root + "/sample/data/scenario"; }
    std::string root;
};

const Installation& TheInstallation() {
    static Installation installation;
    return installation;
}

void BM_Grid1000_Measured(benchmark::State& state) {
    TavrelScenarioTemplateDb::TavrelScenario scenario("Sample", "crossing.sce", TheInstallation().Scenarios());
    TavrelScenarioTemplateDb::VariantPlan plan;
    plan.sampling = TavrelScenarioTemplateDb::VariantPlan::Random;
    plan.count = kVariants;
    plan.seed = 1;
    const std::string out = TheInstallation().root + "/variants";
    for (auto _ : state) {
        if (TavrelScenarioTemplateDb::GenerateVariants(scenario, plan, out).size() != kVariants) {
            state.SkipWithError("not every variant was written");
            break;
        }
    }
    state.SetLabel("1000 variants written with their manifest");
}
BENCHMARK(BM_Grid1000_Measured)->Name("variants.grid_1000/measured")->Unit(benchmark::kMillisecond);

void BM_Grid1000_Reference(benchmark::State& state) {
    const std::string file = TheInstallation().Scenarios() + "/crossing.sce";
    cfg::CfgScenario scenario;
    if (!scenario.load(file.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true)) {
        state.SkipWithError("the scenario file doesn't load");
        return;
    }
    const std::string out = TheInstallation().root + "/saves";
    Poco::File(out).createDirectories();
    for (auto _ : state)
        for (int i = 0; i < kVariants; ++i)
            if (!scenario.save((out + "/crossing_" + std::to_string(i) + ".sce").c_str(), Commons::Encoding::Utf8,
                               false)) {
                state.SkipWithError("a save failed");
                return;
            }
    state.SetLabel("1000 CfgScenario::save of the template's tree");
}
BENCHMARK(BM_Grid1000_Reference)->Name("variants.grid_1000/reference")->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    TheInstallation();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

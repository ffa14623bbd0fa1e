// Speed of opening a template: a new TavrelScenario over a scenario of 20
// vehicles and 2 scripts, up to its node tree (getRootScenarioNode), which reads
// the configuration's root model first and parses both scripts. Against
// cfg::CfgScenario::load of the same file, the part that every open pays
// anyway.
//
// template.open_sample: with the sample installation's root model.
// template.open_large: with a generated root model of 10,000 definitions.
// template.open_large_reuse: the same with the opt-in reuse of an unchanged
// model (setRootModelReuse), whose target is 1.5.
//
// Every open keeps its model tree by default; the benchmark frees it, untimed,
// so that memory stays flat over the iterations.

#include "BenchText.h"

#include <TavrelScenarioTemplateDb/TavrelScenario.h>

#include <ScenarioTemplateDb/ScenarioNode.h>
#include <environment/Commons/Encoding.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/ScenarioModel.h>

#include <Poco/File.h>
#include <Poco/Path.h>
#include <Poco/TemporaryFile.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>

namespace {

using benchtext::WriteFile;

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A root model of `count` parameter definitions.
std::string LargeModel(int count) {
    std::string text = "TYPEOF FOLDER (NURO)\r\n{\r\n\tLABEL=\"Large model\"\r\n\r\n"
                       "\tTYPEOF FOLDER (PARAMETER_LIST)\r\n\t{\r\n\t\tLABEL=\"Parameters\"\r\n";
    for (int i = 0; i < count; ++i)
        text += "\r\n\t\tTYPEOF PARAMETER (P" + std::to_string(i) + ")\r\n\t\t{\r\n\t\t\tLABEL=\"Parameter " +
                std::to_string(i) +
                "\"\r\n\t\t\tTYPE=\"FLOAT\"\r\n\t\t\tKINDLIST=\"USER VARIABLE\"\r\n\t\t}\r\n";
    return text + "\t}\r\n}\r\n";
}

std::string Script(const std::string& name) {
    std::string text = "\r\nTYPEOF SCENARIO (" + name + ")\r\n{\r\n";
    const char* types[] = {"FLOAT", "INTEGER", "BOOL", "STRING"};
    for (int i = 0; i < 8; ++i)
        text += "\r\n\tTYPEOF VARIABLE (" + std::to_string(i + 1) + ")\r\n\t{\r\n\t\tLABEL=\"v" +
                std::to_string(i) + "\"\r\n\t\tTYPE=\"FLOAT\"\r\n\t\tINTERACTIVE_TYPE=\"" + types[i % 4] +
                "\"\r\n\t\tVALUE=\"" + std::to_string(i) + "\"\r\n\t}\r\n";
    return text + "}\r\n";
}

std::string ScenarioFile() {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Scenario name=\"bench\" description=\"\">\n";
    for (int i = 1; i <= 20; ++i)
        text += "  <Vehicle id=\"" + std::to_string(i) + "\" driverId=\"1\" name=\"v" + std::to_string(i) +
                "\">\n    <Parameter name=\"initialSpeed\" type=\"real\" unit=\"km/h\">10</Parameter>\n"
                "    <Parameter name=\"lane\" type=\"int\">1</Parameter>\n  </Vehicle>\n";
    for (const char* name : {"main", "events"})
        text += std::string("  <ScenarioScript name=\"") + name + "\" scriptType=\"nuro\"><![CDATA[" +
                Script(name) + "]]></ScenarioScript>\n";
    return text + "</Scenario>\n";
}

// Configurations "Sample" and "Large" over data paths of their own, each with
// the scenario and its model; made current for the process.
struct Installation {
    Installation() {
        root = Poco::TemporaryFile::tempName();
        WriteFile(root + "/tavrel.cfg",
                  "[configuration Sample]\npath = sample\n\n[configuration Large]\npath = large\n");
        const std::string sampleModel =
            ReadFile(std::string(TAVREL_SOURCE_DIR) +
                     "/examples/installation/projects/common/data/tools/nuro/nuro.mdl");
        if (sampleModel.empty())
            std::abort();
        for (const auto& [name, model] : {std::pair<std::string, std::string>{"sample", sampleModel},
                                          std::pair<std::string, std::string>{"large", LargeModel(10000)}}) {
            WriteFile(root + "/" + name + "/configuration.ini",
                      "[configuration]\nversion = 1.0\ndatapath = .\n");
            WriteFile(root + "/" + name + "/data/tools/nuro/nuro.mdl", model);
            WriteFile(root + "/" + name + "/data/scenario/bench.sce", ScenarioFile());
        }
        lmkUtils::EnvConfig::setTavrelConfigFilePath(root + "/tavrel.cfg");
    }
    ~Installation() {
        try {
            Poco::File(root).remove(true);
        } catch (...) {
        }
    }
    std::string Folder(const std::string& configuration) const {
        return root + "/" + (configuration == "Sample" ? "sample" : "large") + "/data/scenario";
    }
    std::string root;
};

const Installation& TheInstallation() {
    static Installation installation;
    return installation;
}

void OpenTemplates(benchmark::State& state, const std::string& configuration, bool reuse) {
    const std::string folder = TheInstallation().Folder(configuration);
    TavrelScenarioTemplateDb::setRootModelReuse(reuse);
    for (auto _ : state) {
        {
            TavrelScenarioTemplateDb::TavrelScenario scenario(configuration, "bench.sce", folder);
            if (scenario.getRootScenarioNode()->getChildNumber() != 22) {
                state.SkipWithError("the tree lacks vehicles or scripts");
                break;
            }
        }
        if (!reuse) {
            // Nothing points into the model once the template is gone.
            state.PauseTiming();
            delete scenarioRootModel;
            scenarioRootModel = nullptr;
            state.ResumeTiming();
        }
    }
    TavrelScenarioTemplateDb::setRootModelReuse(false);
}

void LoadFiles(benchmark::State& state, const std::string& configuration) {
    const std::string file = TheInstallation().Folder(configuration) + "/bench.sce";
    for (auto _ : state) {
        cfg::CfgScenario scenario;
        if (!scenario.load(file.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true)) {
            state.SkipWithError("the scenario file doesn't load");
            break;
        }
    }
    state.SetLabel("CfgScenario::load of the file");
}

void BM_OpenSample_Measured(benchmark::State& state) {
    OpenTemplates(state, "Sample", false);
}
BENCHMARK(BM_OpenSample_Measured)->Name("template.open_sample/measured")->Unit(benchmark::kMicrosecond);
void BM_OpenSample_Reference(benchmark::State& state) {
    LoadFiles(state, "Sample");
}
BENCHMARK(BM_OpenSample_Reference)->Name("template.open_sample/reference")->Unit(benchmark::kMicrosecond);

void BM_OpenLarge_Measured(benchmark::State& state) {
    OpenTemplates(state, "Large", false);
}
BENCHMARK(BM_OpenLarge_Measured)->Name("template.open_large/measured")->Unit(benchmark::kMicrosecond);
void BM_OpenLarge_Reference(benchmark::State& state) {
    LoadFiles(state, "Large");
}
BENCHMARK(BM_OpenLarge_Reference)->Name("template.open_large/reference")->Unit(benchmark::kMicrosecond);

void BM_OpenLargeReuse_Measured(benchmark::State& state) {
    OpenTemplates(state, "Large", true);
}
BENCHMARK(BM_OpenLargeReuse_Measured)
    ->Name("template.open_large_reuse/measured")
    ->Unit(benchmark::kMicrosecond);
void BM_OpenLargeReuse_Reference(benchmark::State& state) {
    LoadFiles(state, "Large");
}
BENCHMARK(BM_OpenLargeReuse_Reference)
    ->Name("template.open_large_reuse/reference")
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    benchmark::Initialize(&argc, argv);
    TheInstallation();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

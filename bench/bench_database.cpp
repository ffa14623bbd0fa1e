// Listing the scenarios of a large scenario directory, against find(1) on the
// same tree.
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>

#include <Poco/File.h>
#include <Poco/TemporaryFile.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>

using TavrelScenarioTemplateDb::ScenarioPath;
using TavrelScenarioTemplateDb::TavrelScenarioTemplateDatabase;

namespace {

// An installation with one configuration whose one scenario directory holds
// 10,000 scenario files and 10,000 other files in 1,000 folders (10 groups of a
// folder and 99 subfolders).
class LargeInstallation {
public:
    LargeInstallation() : root(Poco::TemporaryFile::tempName()) {
        scenarios = root + "/projects/big/data/scenario";
        for (int group = 0; group < 10; ++group) {
            const std::string groupFolder = scenarios + "/group" + std::to_string(group);
            fill(groupFolder);
            for (int sub = 0; sub < 99; ++sub)
                fill(groupFolder + "/folder" + std::to_string(sub));
        }
        write(root + "/config/configuration.ini",
              "[configuration]\nversion = 1.0\ndatapath = ../projects/big\n");
        write(root + "/tavrel.cfg", "[configuration Big]\npath = config\n");
    }
    ~LargeInstallation() {
        try {
            Poco::File(root).remove(true);
        } catch (...) {
        }
    }
    std::string installationFile() const { return root + "/tavrel.cfg"; }
    const std::string& scenarioFolder() const { return scenarios; }

private:
    static void write(const std::string& path, const std::string& content) {
        Poco::File(path.substr(0, path.find_last_of('/'))).createDirectories();
        std::ofstream out(path);
        out << content;
        if (!out)
            throw std::runtime_error("cannot write " + path);
    }
    static void fill(const std::string& folder) {
        for (int i = 0; i < 10; ++i) {
            write(folder + "/scenario" + std::to_string(i) + ".sce", "<Scenario/>\n");
            write(folder + "/notes" + std::to_string(i) + ".txt", "x\n");
        }
    }

    std::string root;
    std::string scenarios;
};

LargeInstallation& installation() {
    static LargeInstallation instance;
    return instance;
}

void getScenarioPathsMeasured(benchmark::State& state) {
    TavrelScenarioTemplateDatabase database(installation().installationFile(), "*", "Big");
    std::vector<ScenarioPath> paths;
    for (auto _ : state) {
        database.getScenarioPaths("Big", 0, paths);
        benchmark::DoNotOptimize(paths.data());
    }
    if (paths.size() != 10000)
        state.SkipWithError("wrong number of scenarios");
    state.SetLabel("getScenarioPaths: 10000 .sce in 1000 folders");
}

void getScenarioPathsReference(benchmark::State& state) {
    const std::string command = "find '" + installation().scenarioFolder() + "' -name '*.sce' -type f";
    size_t lines = 0;
    for (auto _ : state) {
        FILE* pipe = ::popen(command.c_str(), "r");
        char buffer[65536];
        size_t n;
        lines = 0;
        while ((n = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0)
            for (size_t i = 0; i < n; ++i)
                lines += buffer[i] == '\n';
        ::pclose(pipe);
    }
    if (lines != 10000)
        state.SkipWithError("find found a different number of files");
    state.SetLabel("find ROOT -name '*.sce' -type f");
}

} // namespace

BENCHMARK(getScenarioPathsMeasured)
    ->Name("database.getScenarioPaths/measured")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(getScenarioPathsReference)
    ->Name("database.getScenarioPaths/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();

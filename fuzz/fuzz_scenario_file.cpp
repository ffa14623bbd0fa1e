// Fuzz target of the scenario file reader: any bytes must load or fail with a
// message, never crash; and whatever loads must save and load again to the
// same file.
#include <environment/SheetCfg/CfgScenario.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const fs::path& workFolder() {
    static const fs::path folder = [] {
        // Saving syncs to disk; a memory file system keeps the runs fast.
        const fs::path base = fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        std::string pattern = (base / "fuzz-scenario-XXXXXX").string();
        if (!::mkdtemp(&pattern[0]))
            std::abort();
        return fs::path(pattern);
    }();
    return folder;
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool load(cfg::CfgScenario& scenario, const std::string& path) {
    return scenario.load(path.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input = (workFolder() / "input.sce").string();
    const std::string first = (workFolder() / "first.sce").string();
    const std::string second = (workFolder() / "second.sce").string();
    {
        std::ofstream out(input, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    cfg::CfgScenario scenario;
    if (!load(scenario, input)) {
        if (scenario.errorMessage.compare(0, input.size() + 1, input + ":") != 0)
            std::abort(); // every failure names the file
        return 0;
    }
    // A tree that loaded must write and read back to the very same bytes.
    if (!scenario.save(first.c_str(), Commons::Encoding::Utf8, false))
        return 0; // e.g. a string with a NUL the writer can't represent
    cfg::CfgScenario again;
    if (!load(again, first) || !again.save(second.c_str(), Commons::Encoding::Utf8, false) ||
        readAll(first) != readAll(second)) {
        std::cerr << "round trip differs: " << again.errorMessage << "\n";
        std::abort();
    }
    return 0;
}

#ifdef TAVREL_FUZZ_REPLAY
// Without libFuzzer: runs each file given, or each file of each folder given.
int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<fs::path> files;
        if (fs::is_directory(argv[i])) {
            for (const auto& entry : fs::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
        } else
            files.push_back(argv[i]);
        for (const fs::path& file : files) {
            const std::string bytes = readAll(file.string());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++count;
        }
    }
    fs::remove_all(workFolder());
    std::cout << "replayed " << count << " input(s)\n";
    return 0;
}
#endif

// Fuzz target of the scenario file reader: any bytes must load or fail with a
// message, never crash; and whatever loads must save and load again to the
// same file.
#include "FuzzReplay.h"
#include "FuzzSupport.h"

#include <environment/SheetCfg/CfgScenario.h>

namespace {

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool load(cfg::CfgScenario& scenario, const std::string& path) {
    return scenario.load(path.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const fuzz_support::WorkFolder work("fuzz-scenario");
    const std::string input = work.file("input.sce"), first = work.file("first.sce"),
                      second = work.file("second.sce");
    std::ofstream(input, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
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

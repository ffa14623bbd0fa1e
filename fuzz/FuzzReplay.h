#pragma once

// Without libFuzzer a fuzzer gets this main instead: it runs each file given,
// or each file under each folder given, so that a crashing input found
// elsewhere can be replayed with any compiler. It fails when there was nothing
// to run, so that a seed corpus that went missing is noticed.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#ifdef TAVREL_FUZZ_REPLAY
int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    size_t count = 0;
    auto run = [&count](const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++count;
    };
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            for (const auto& entry : fs::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    run(entry.path());
        } else if (fs::exists(argv[i])) {
            run(argv[i]);
        } else {
            // A mistyped path must not pass for a clean replay.
            std::cerr << argv[i] << ": no such file or folder" << std::endl;
            return 1;
        }
    }
    std::cout << "replayed " << count << " input(s)" << std::endl;
    return count > 0 ? 0 : 1;
}
#endif

#pragma once

// What the fuzzers that work on files share: a folder for the files of their
// runs, the cutting of one input into several files, and a pause of the leak
// check for the inputs whose leaks are the library's design.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <unistd.h>

// The leak checker's switches, present when the program runs under the address
// or leak sanitizer and null otherwise.
extern "C" {
__attribute__((weak)) void __lsan_disable();
__attribute__((weak)) void __lsan_enable();
}

namespace fuzz_support {

/// A fresh folder for the files of the runs, removed when the process ends.
/// Files are written at every run; a memory file system keeps the runs fast.
struct WorkFolder {
    explicit WorkFolder(const char* prefix) {
        namespace fs = std::filesystem;
        const fs::path base = fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        std::string pattern = (base / (std::string(prefix) + "-XXXXXX")).string();
        if (!::mkdtemp(&pattern[0]))
            std::abort();
        // Paths the library builds are compared with these: no link may stand in them.
        path = fs::canonical(pattern);
    }
    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    /// The path of `relative` in the folder.
    std::string file(const std::string& relative) const { return (path / relative).string(); }
    std::filesystem::path path;
};

/// Replaces the file at `path` by `bytes`, creating its folders.
inline void writeFile(const std::string& path, std::string_view bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// The input cut at each `separator`: what stands before the first one, then
/// what follows each. The last of `maxParts` parts keeps any further separator.
inline std::vector<std::string_view> split(const uint8_t* data, size_t size, std::string_view separator,
                                           size_t maxParts) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    std::vector<std::string_view> parts;
    for (size_t at; parts.size() + 1 < maxParts && (at = rest.find(separator)) != std::string_view::npos;) {
        parts.push_back(rest.substr(0, at));
        rest.remove_prefix(at + separator.size());
    }
    parts.push_back(rest);
    return parts;
}

/// While it lives, and only when `paused`, what is allocated is left out of the
/// leak check.
class LeakCheckPause {
public:
    explicit LeakCheckPause(bool paused) : paused(paused && __lsan_disable != nullptr) {
        if (this->paused)
            __lsan_disable();
    }
    ~LeakCheckPause() {
        if (paused)
            __lsan_enable();
    }
    LeakCheckPause(const LeakCheckPause&) = delete;
    LeakCheckPause& operator=(const LeakCheckPause&) = delete;

private:
    bool paused;
};

/// Whether a text in the scenario text format may hold a CONFIG block, which by
/// design doesn't destroy its children.
inline bool mayHoldConfig(std::string_view text) {
    return text.find("TYPEOF CONFIG") != std::string_view::npos;
}

} // namespace fuzz_support

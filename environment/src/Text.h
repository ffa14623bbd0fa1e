#pragma once

// Small text helpers shared by the readers of the installation's files.
#include <algorithm>
#include <string>

namespace environment_detail {

/// The text without leading and trailing blanks, tabs and line ends.
inline std::string trim(const std::string& text) {
    const char* blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return std::string();
    const size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

/// The path with every '\' turned into '/': every file access accepts both.
inline std::string toSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

} // namespace environment_detail

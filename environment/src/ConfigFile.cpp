// Commons::ConfigFile: a small file of "key = value" lines. Written by hand rather
// than through Poco's property files, whose backslash escapes would mangle the
// Windows-style paths that these files hold.
#include <environment/Commons/ConfigFile.h>

#include <environment/Commons/FileUtils.h>

#include "Text.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <vector>

namespace Commons {

namespace {

using environment_detail::toSlashes;
using environment_detail::trim;

bool isComment(const std::string& trimmed) {
    return trimmed.empty() || trimmed[0] == '#' || trimmed[0] == ';' || trimmed[0] == '!';
}

// Splits an entry line; false for comments, blanks and lines without '='.
bool splitEntry(const std::string& line, std::string& key, std::string& value) {
    std::string trimmed = trim(line);
    if (isComment(trimmed))
        return false;
    size_t equal = trimmed.find('=');
    if (equal == std::string::npos)
        return false;
    key = trim(trimmed.substr(0, equal));
    value = trim(trimmed.substr(equal + 1));
    return !key.empty();
}

bool readLines(const std::string& path, std::vector<std::string>& lines) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return true;
}

// Writes beside the file and renames over it, so that a failed write never
// leaves a truncated file behind.
bool writeLines(const std::string& path, const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return FileUtils::ReplaceFile(path, text);
}

} // namespace

ConfigFile::ConfigFile(const std::string& path) : path(toSlashes(path)) {}

ConfigFile::~ConfigFile() = default;

std::string ConfigFile::operator[](const std::string& key) const {
    std::vector<std::string> lines;
    if (!readLines(path, lines))
        return std::string();
    std::string name, value;
    for (const std::string& line : lines)
        if (splitEntry(line, name, value) && name == key)
            return value;
    return std::string();
}

bool ConfigFile::create() {
    return writeLines(path, {});
}

bool ConfigFile::modifyEntry(const std::string& key, const std::string& value) {
    std::vector<std::string> lines;
    readLines(path, lines); // an absent file starts empty
    // An entry is one line: line breaks in the value become blanks.
    std::string flat = value;
    std::replace(flat.begin(), flat.end(), '\n', ' ');
    std::replace(flat.begin(), flat.end(), '\r', ' ');
    const std::string entry = trim(key) + " = " + flat;
    bool replaced = false;
    std::string name, old;
    for (std::string& line : lines) {
        if (splitEntry(line, name, old) && name == trim(key)) {
            line = entry;
            replaced = true;
            break;
        }
    }
    if (!replaced)
        lines.push_back(entry);
    return writeLines(path, lines);
}

} // namespace Commons

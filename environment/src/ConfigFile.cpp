// Commons::ConfigFile: a small file of "key = value" lines. Written by hand rather
// than through Poco's property files, whose backslash escapes would mangle the
// Windows-style paths that people write into these files. Here a plain value is
// taken literally; only a value in double quotes has escapes, and the writer
// quotes a value only when its plain form would not read back byte for byte, so
// that ordinary texts and paths stay as a person would write them.
#include <environment/Commons/ConfigFile.h>

#include <environment/Commons/FileUtils.h>

#include "Text.h"

#include <filesystem>
#include <system_error>
#include <vector>

namespace Commons {

namespace {

using environment_detail::toSlashes;
using environment_detail::trim;

// Bytes that can't stand in a plain value: a line break would end the line, and a
// NUL would make the file binary to every text tool.
const std::string lineBreaksAndNul("\n\r\0", 3);

bool isComment(const std::string& trimmed) {
    return trimmed.empty() || trimmed[0] == '#' || trimmed[0] == ';' || trimmed[0] == '!';
}

// The text between the quotes of `text` when it is one well-formed quoted value;
// false when it is anything else, which then reads as plain text.
bool unquote(const std::string& text, std::string& out) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"')
        return false;
    out.clear();
    const size_t closing = text.size() - 1;
    for (size_t i = 1; i < closing; ++i) {
        const char c = text[i];
        if (c == '"')
            return false;
        if (c != '\\') {
            out += c;
            continue;
        }
        if (++i == closing) // the backslash would escape the closing quote
            return false;
        switch (text[i]) {
        case '\\':
            out += '\\';
            break;
        case '"':
            out += '"';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        case '0':
            out += '\0';
            break;
        default:
            return false;
        }
    }
    return true;
}

// The value that the text after '=' stands for.
std::string readValue(const std::string& text) {
    const std::string trimmed = trim(text);
    std::string unquoted;
    return unquote(trimmed, unquoted) ? unquoted : trimmed;
}

// The text to write after '=' so that readValue gives `value` back.
std::string writeValue(const std::string& value) {
    if (value.find_first_of(lineBreaksAndNul) == std::string::npos && readValue(value) == value)
        return value;
    std::string quoted = "\"";
    for (const char c : value) {
        switch (c) {
        case '\\':
            quoted += "\\\\";
            break;
        case '"':
            quoted += "\\\"";
            break;
        case '\n':
            quoted += "\\n";
            break;
        case '\r':
            quoted += "\\r";
            break;
        case '\t':
            quoted += "\\t";
            break;
        case '\0':
            quoted += "\\0";
            break;
        default:
            quoted += c;
        }
    }
    return quoted + '"';
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
    value = readValue(trimmed.substr(equal + 1));
    return !key.empty();
}

// A key that the reader finds again in the line written for it.
bool isWritableKey(const std::string& trimmedKey) {
    return !isComment(trimmedKey) && trimmedKey.find('=') == std::string::npos &&
           trimmedKey.find_first_of(lineBreaksAndNul) == std::string::npos;
}

enum class ReadResult { Read, Absent, Failed };

ReadResult readLines(const std::string& path, std::vector<std::string>& lines) {
    std::error_code code;
    if (!std::filesystem::exists(path, code))
        return code ? ReadResult::Failed : ReadResult::Absent;
    std::vector<unsigned char> bytes;
    if (!FileUtils::LoadFile(path, bytes))
        return ReadResult::Failed;
    const std::string text(bytes.begin(), bytes.end());
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(std::move(line));
        start = end + 1;
    }
    return ReadResult::Read;
}

// Writes beside the file and renames over it, so that a failed write never
// leaves a truncated file behind.
bool writeLines(const std::string& path, const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return FileUtils::ReplaceFile(path, text);
}

// Sets the entry `key` in `lines`: replaces its first line, or adds one at the
// end. False for a key that the reader would not find again.
bool setEntry(std::vector<std::string>& lines, const std::string& key, const std::string& value) {
    const std::string name = trim(key);
    if (!isWritableKey(name))
        return false;
    const std::string written = writeValue(value);
    const std::string entry = name + (written.empty() ? " =" : " = " + written);
    std::string found, old;
    for (std::string& line : lines) {
        if (splitEntry(line, found, old) && found == name) {
            line = entry;
            return true;
        }
    }
    lines.push_back(entry);
    return true;
}

} // namespace

ConfigFile::ConfigFile(const std::string& path) : path(toSlashes(path)) {}

ConfigFile::~ConfigFile() = default;

std::string ConfigFile::operator[](const std::string& key) const {
    std::vector<std::string> lines;
    if (readLines(path, lines) != ReadResult::Read)
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

bool ConfigFile::create(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::vector<std::string> lines;
    for (const auto& entry : entries)
        if (!setEntry(lines, entry.first, entry.second))
            return false;
    return writeLines(path, lines);
}

bool ConfigFile::modifyEntry(const std::string& key, const std::string& value) {
    std::vector<std::string> lines;
    // A file that is there but can't be read is not rewritten: its other entries would be lost.
    if (readLines(path, lines) == ReadResult::Failed)
        return false;
    return setEntry(lines, key, value) && writeLines(path, lines);
}

} // namespace Commons

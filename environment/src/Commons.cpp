// Commons::System, Commons::FileUtils and Commons::Encoding: variable expansion,
// file tests and reads, path transcoding.
#include <environment/Commons/Encoding.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>

#include <Poco/UnicodeConverter.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sys/stat.h>

namespace Commons {

namespace {

// Every file access accepts '\' as a separator: the item model writes Windows-style paths.
std::string toSlashes(const std::string& path) {
    std::string out = path;
    std::replace(out.begin(), out.end(), '\\', '/');
    return out;
}

bool statPath(const std::string& path, struct stat& info) {
    return !path.empty() && ::stat(toSlashes(path).c_str(), &info) == 0;
}

const std::regex& compiledPattern(const char* pattern) {
    // The default pattern is used for nearly every path: compile it once.
    static const std::regex daemonPattern(System::DaemonVariableMatchingPattern, std::regex::ECMAScript);
    if (pattern == nullptr || pattern == System::DaemonVariableMatchingPattern ||
        std::string(pattern) == System::DaemonVariableMatchingPattern)
        return daemonPattern;
    static std::string lastText;
    static std::regex lastPattern;
    if (lastText != pattern) {
        lastPattern = std::regex(pattern, std::regex::ECMAScript);
        lastText = pattern;
    }
    return lastPattern;
}

} // namespace

namespace System {

const char* const DaemonVariableMatchingPattern = "\\$\\{([A-Za-z_][A-Za-z0-9_]*)\\}";

bool ExpandLocalEnvironmentVariables(const std::string& in, std::string& out, const char* pattern,
                                     const std::map<std::string, std::string>& variables) {
    if (in.find('$') == std::string::npos) {
        out = in;
        return true;
    }
    const std::regex& expression = compiledPattern(pattern);
    std::string result;
    bool allKnown = true;
    auto last = in.cbegin();
    for (std::sregex_iterator it(in.cbegin(), in.cend(), expression), end; it != end; ++it) {
        const std::smatch& match = *it;
        result.append(last, match[0].first);
        const std::string name = match.size() > 1 ? match[1].str() : match[0].str();
        auto known = variables.find(name);
        if (known != variables.end()) {
            result += known->second;
        } else if (const char* value = std::getenv(name.c_str())) {
            result += value;
        } else {
            result.append(match[0].first, match[0].second);
            allKnown = false;
        }
        last = match[0].second;
    }
    result.append(last, in.cend());
    out = std::move(result);
    return allKnown;
}

} // namespace System

namespace FileUtils {

bool DoesFileExist(const std::string& path) {
    struct stat info;
    return statPath(path, info) && S_ISREG(info.st_mode);
}

bool IsFolder(const char* path) {
    struct stat info;
    return path != nullptr && statPath(path, info) && S_ISDIR(info.st_mode);
}

bool LoadFile(const std::string& path, std::vector<unsigned char>& bytes) {
    bytes.clear();
    struct stat info;
    if (!statPath(path, info) || !S_ISREG(info.st_mode))
        return false;
    std::ifstream stream(toSlashes(path), std::ios::binary);
    if (!stream)
        return false;
    bytes.reserve(static_cast<size_t>(info.st_size));
    bytes.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    if (stream.bad()) {
        bytes.clear();
        return false;
    }
    return true;
}

} // namespace FileUtils

namespace Encoding {

std::wstring Transcode(const std::string& text, Mode mode) {
    std::wstring wide;
    if (mode == Utf8) {
        Poco::UnicodeConverter::convert(text, wide);
    } else {
        // Native: one byte is one character, as the C locale reads it.
        wide.assign(text.begin(), text.end());
        for (wchar_t& c : wide)
            c = static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    return wide;
}

} // namespace Encoding

} // namespace Commons

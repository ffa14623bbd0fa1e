// Commons::System, Commons::FileUtils and Commons::Encoding: variable expansion,
// file tests and reads, path transcoding.
#include <environment/Commons/Encoding.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>

#include <Poco/UnicodeConverter.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

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

namespace {

mode_t creationMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool writeAll(int fd, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool failWith(std::string* error, const std::string& reason) {
    if (error)
        *error = reason;
    return false;
}

} // namespace

bool ReplaceFile(const std::string& path, const std::string& content, std::string* error) {
    std::string target = toSlashes(path);
    struct stat status;
    if (::lstat(target.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
        std::error_code code;
        const std::filesystem::path linked = std::filesystem::canonical(target, code);
        if (code)
            return failWith(error, "cannot follow the link: " + code.message());
        target = linked.string();
    }
    const bool targetExists = ::stat(target.c_str(), &status) == 0;
    if (target.empty() || target.back() == '/' || (targetExists && !S_ISREG(status.st_mode)))
        return failWith(error, "not a file");

    // Readers see either the old file or the whole new one, never a part.
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string file = slash == std::string::npos ? target : target.substr(slash + 1);
    std::string temporary = folder + "." + file + ".XXXXXX";
    const int fd = ::mkstemp(&temporary[0]);
    if (fd < 0)
        return failWith(error, std::string("cannot create a file beside it: ") + std::strerror(errno));
    const mode_t mode = targetExists ? (status.st_mode & 07777) : creationMode();
    bool ok = writeAll(fd, content.data(), content.size()) && ::fchmod(fd, mode) == 0 && ::fsync(fd) == 0;
    int code = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        code = errno;
    }
    if (ok && ::rename(temporary.c_str(), target.c_str()) != 0) {
        ok = false;
        code = errno;
    }
    if (!ok) {
        ::unlink(temporary.c_str());
        return failWith(error, std::string("cannot write: ") + std::strerror(code));
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

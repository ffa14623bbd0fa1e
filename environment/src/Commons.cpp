// Commons::System, Commons::FileUtils and Commons::Encoding: variable expansion,
// file tests, reads and all-or-nothing writes, path transcoding.
#include <environment/Commons/Encoding.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>

#include <Poco/UnicodeConverter.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
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

ReplaceFaultHook& faultHook() {
    static ReplaceFaultHook hook;
    return hook;
}

// What the fault hook asks of this step: 0 to run it, else the errno value to fail
// it with. At Write, `size` may come back lower.
int injectedFault(ReplaceStep step, const std::string& target, const std::string& temporary, size_t& size) {
    if (!faultHook())
        return 0;
    // A copy, so that a hook that replaces itself isn't destroyed while it runs.
    const ReplaceFaultHook hook = faultHook();
    ReplaceFault fault{step, target, temporary, size};
    const int code = hook(fault);
    if (step == ReplaceStep::Write && fault.size < size)
        size = fault.size > 0 ? fault.size : 1;
    return code;
}

// 0, or the errno value of the write that failed.
int writeAll(int fd, const std::string& target, const std::string& temporary, const std::string& content) {
    const char* bytes = content.data();
    size_t left = content.size();
    while (left > 0) {
        size_t size = left;
        if (const int code = injectedFault(ReplaceStep::Write, target, temporary, size))
            return code;
        const ssize_t written = ::write(fd, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        if (written == 0) // no progress and no reason given
            return EIO;
        bytes += written;
        left -= static_cast<size_t>(written);
    }
    return 0;
}

bool failWith(std::string* error, const std::string& reason) {
    if (error)
        *error = reason;
    return false;
}

// The start of the name of a temporary for the file `file`: hidden, so that
// folder walks that look for an extension pass it by, and recognisable, so that
// a stale one can be found again. The file's name is cut so that the whole name
// stays within the length that a folder entry allows.
std::string temporaryPrefix(const std::string& file) {
    const size_t reserved = std::strlen(".") + std::strlen(".saving.") + 10 + std::strlen(".XXXXXX");
    const size_t room = NAME_MAX > reserved ? NAME_MAX - reserved : 1;
    return "." + file.substr(0, room) + ".saving.";
}

bool isDigits(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isAlphanumeric(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)); });
}

// A save killed between writing its temporary and renaming it leaves the temporary
// behind, and nothing else can tell whose it is. The name holds the process id:
// a temporary of a process that is gone is removed here, one of a live process
// may be a save in progress and stays. (A process of another pid namespace on a
// shared folder looks gone; its save then fails and leaves the target whole.)
void removeStaleTemporaries(const std::string& folder, const std::string& prefix) {
    DIR* directory = ::opendir(folder.empty() ? "." : folder.c_str());
    if (directory == nullptr)
        return;
    std::vector<std::string> stale;
    while (const dirent* entry = ::readdir(directory)) {
        const std::string name = entry->d_name;
        if (name.compare(0, prefix.size(), prefix) != 0)
            continue;
        const std::string rest = name.substr(prefix.size()); // PID.XXXXXX
        const size_t dot = rest.find('.');
        if (dot == std::string::npos || rest.size() - dot - 1 != 6 || !isDigits(rest.substr(0, dot)) ||
            !isAlphanumeric(rest.substr(dot + 1)))
            continue;
        const long pid = std::strtol(rest.c_str(), nullptr, 10);
        if (pid <= 0 || pid == static_cast<long>(::getpid()))
            continue;
        if (::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH)
            stale.push_back(folder + name);
    }
    ::closedir(directory);
    for (const std::string& file : stale)
        ::unlink(file.c_str());
}

// Makes the rename itself durable. The target is already replaced when this runs,
// so a failure here changes nothing that the caller could act on.
void syncFolder(const std::string& folder) {
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

// ReplaceFile, with the permissions to give a new file (null: those of the umask).
bool replaceFile(const std::string& path, const std::string& content, std::string* error,
                 const mode_t* newFileMode) {
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

    // Readers see either the old file or the whole new one, never a part: the new
    // one is written and flushed beside it and only then renamed over it.
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string file = slash == std::string::npos ? target : target.substr(slash + 1);
    const std::string prefix = temporaryPrefix(file);
    removeStaleTemporaries(folder, prefix);

    std::string temporary = folder + prefix + std::to_string(::getpid()) + ".XXXXXX";
    size_t unused = 0;
    int code = injectedFault(ReplaceStep::Create, target, std::string(), unused);
    const int fd = code == 0 ? ::mkostemp(&temporary[0], O_CLOEXEC) : -1;
    if (fd < 0)
        return failWith(error, std::string("cannot create a file beside it: ") +
                                   std::strerror(code != 0 ? code : errno));

    const mode_t mode = targetExists ? (status.st_mode & 07777) : newFileMode ? *newFileMode : creationMode();
    code = writeAll(fd, target, temporary, content);
    if (code == 0 && ::fchmod(fd, mode) != 0)
        code = errno;
    if (code == 0)
        code = injectedFault(ReplaceStep::Sync, target, temporary, unused);
    if (code == 0 && ::fsync(fd) != 0)
        code = errno;
    int closeCode = injectedFault(ReplaceStep::Close, target, temporary, unused);
    if (::close(fd) != 0 && closeCode == 0)
        closeCode = errno;
    if (code == 0)
        code = closeCode;
    if (code == 0)
        code = injectedFault(ReplaceStep::Rename, target, temporary, unused);
    if (code == 0 && ::rename(temporary.c_str(), target.c_str()) != 0)
        code = errno;
    if (code != 0) {
        ::unlink(temporary.c_str());
        return failWith(error, std::string("cannot write: ") + std::strerror(code));
    }
    syncFolder(folder);
    return true;
}

} // namespace

bool ReplaceFile(const std::string& path, const std::string& content, std::string* error) {
    return replaceFile(path, content, error, nullptr);
}

bool CopyFile(const std::string& from, const std::string& to, std::string* error) {
    struct stat status;
    std::vector<unsigned char> bytes;
    if (!statPath(from, status) || !LoadFile(from, bytes))
        return failWith(error, "cannot read " + from);
    const mode_t mode = status.st_mode & 07777;
    return replaceFile(to, std::string(bytes.begin(), bytes.end()), error, &mode);
}

ReplaceFaultHook SetReplaceFaultHook(ReplaceFaultHook hook) {
    ReplaceFaultHook previous = std::move(faultHook());
    faultHook() = std::move(hook);
    return previous;
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

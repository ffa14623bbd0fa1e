// lmkUtils::EnvConfig and the free functions of lmkUtils: the process-wide
// installation, read from an installation file and the configuration.ini of each
// configuration folder.
#include <environment/lmkUtils/EnvConfig.h>

#include "Text.h"

#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>

#include <Poco/Environment.h>
#include <Poco/Path.h>
#include <Poco/Util/IniFileConfiguration.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <sys/stat.h>

namespace lmkUtils {

namespace {

const char* const HomeVariable = "TAVREL_HOME";
const char* const ConfigVariable = "TAVREL_CONFIG";
const std::string SectionPrefix = "configuration ";

struct Configuration {
    std::string name;
    std::string path; // as written, may hold variables and be relative
};

// What was read from the installation file in force.
struct Installation {
    std::string file;    // the path as it was given
    std::string folder;  // absolute folder of the file, without a trailing '/'
    std::string content; // the bytes that were parsed, to see a change on disk
    std::vector<Configuration> configurations;
    std::string current;
};

// The process-wide state. `loaded` is false until a file has been read.
struct State {
    bool loaded = false;
    Installation installation;
};

State& state() {
    static State instance;
    return instance;
}

using environment_detail::toSlashes;
using environment_detail::trim;

std::string expand(const std::string& path) {
    std::string out;
    Commons::System::ExpandLocalEnvironmentVariables(path, out,
                                                     Commons::System::DaemonVariableMatchingPattern, {});
    return out;
}

// Collapses "." and ".." and repeated separators without touching the disk;
// a relative path is first joined to `base`.
std::string normalise(const std::string& path, const std::string& base) {
    std::string text = toSlashes(path);
    if (text.empty() || text[0] != '/')
        text = toSlashes(base) + "/" + text;
    std::vector<std::string> parts;
    std::istringstream stream(text);
    std::string part;
    while (std::getline(stream, part, '/')) {
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            if (!parts.empty())
                parts.pop_back();
            continue;
        }
        parts.push_back(part);
    }
    std::string result;
    for (const std::string& p : parts)
        result += "/" + p;
    return result.empty() ? std::string("/") : result;
}

std::string currentFolder() {
    return Poco::Path::current();
}

bool readFile(const std::string& path, std::string& content) {
    std::ifstream in(toSlashes(path), std::ios::binary);
    if (!in)
        return false;
    std::ostringstream buffer;
    buffer << in.rdbuf();
    content = buffer.str();
    return !in.bad();
}

[[noreturn]] void fail(const std::string& file, int line, const std::string& what) {
    throw ConfigurationError(file + ":" + std::to_string(line) + ": " + what);
}

// Parses the text of an installation file; raises ConfigurationError with the
// file and line of the first fault.
Installation parseInstallation(const std::string& file, const std::string& content) {
    Installation result;
    result.file = file;
    result.content = content;
    std::string absolute = normalise(file, currentFolder());
    result.folder = absolute.substr(0, absolute.find_last_of('/'));
    if (result.folder.empty())
        result.folder = "/";

    enum class Section { None, Installation, Configuration } section = Section::None;
    int sectionLine = 0;
    int currentLine = 0;
    bool sawInstallation = false;
    bool sawCurrent = false;
    Configuration* configuration = nullptr;
    std::map<std::string, int> declared;

    auto closeSection = [&]() {
        if (section == Section::Configuration && configuration->path.empty())
            fail(file, sectionLine, "configuration '" + configuration->name + "' has no path");
    };

    std::istringstream stream(content);
    std::string raw;
    int lineNumber = 0;
    while (std::getline(stream, raw)) {
        ++lineNumber;
        const std::string line = trim(raw);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line[0] == '[') {
            if (line.back() != ']')
                fail(file, lineNumber, "missing ']' at the end of the section header");
            closeSection();
            const std::string header = line.substr(1, line.size() - 2);
            sectionLine = lineNumber;
            if (header == "installation") {
                if (sawInstallation)
                    fail(file, lineNumber, "section [installation] declared twice");
                sawInstallation = true;
                section = Section::Installation;
            } else if (header.compare(0, SectionPrefix.size(), SectionPrefix) == 0) {
                const std::string name = header.substr(SectionPrefix.size());
                if (name.empty())
                    fail(file, lineNumber, "configuration without a name");
                auto previous = declared.find(name);
                if (previous != declared.end())
                    fail(file, lineNumber,
                         "configuration '" + name + "' already declared at line " +
                             std::to_string(previous->second));
                declared[name] = lineNumber;
                result.configurations.push_back(Configuration{name, std::string()});
                configuration = &result.configurations.back();
                section = Section::Configuration;
            } else {
                fail(file, lineNumber, "unknown section [" + header + "]");
            }
            continue;
        }
        const size_t equal = line.find('=');
        if (equal == std::string::npos)
            fail(file, lineNumber, "expected '[section]' or 'key = value'");
        const std::string key = trim(line.substr(0, equal));
        const std::string value = trim(line.substr(equal + 1));
        if (key.empty())
            fail(file, lineNumber, "missing key before '='");
        switch (section) {
        case Section::None:
            fail(file, lineNumber, "key '" + key + "' outside a section");
        case Section::Installation:
            if (key != "current")
                fail(file, lineNumber, "unknown key '" + key + "' in [installation]");
            if (sawCurrent)
                fail(file, lineNumber, "key 'current' given twice");
            sawCurrent = true;
            result.current = value;
            currentLine = lineNumber;
            break;
        case Section::Configuration:
            if (key != "path")
                fail(file, lineNumber,
                     "unknown key '" + key + "' in [configuration " + configuration->name + "]");
            if (!configuration->path.empty())
                fail(file, lineNumber, "key 'path' given twice");
            if (value.empty())
                fail(file, lineNumber, "empty path");
            configuration->path = value;
            break;
        }
    }
    closeSection();
    if (sawCurrent && declared.find(result.current) == declared.end())
        fail(file, currentLine, "current configuration '" + result.current + "' is not declared");
    if (!sawCurrent && !result.configurations.empty())
        result.current = result.configurations.front().name;
    return result;
}

// Reads and parses a file; raises ConfigurationError.
Installation readInstallation(const std::string& file) {
    std::string content;
    if (!readFile(file, content))
        throw ConfigurationError(file + ":0: cannot read the installation file");
    return parseInstallation(file, content);
}

void makeInForce(Installation installation) {
    State& s = state();
    // A configuration made current by setConfig stays current across a re-read of
    // the same file, as long as it still exists.
    if (s.loaded && s.installation.file == installation.file) {
        for (const Configuration& c : installation.configurations)
            if (c.name == s.installation.current)
                installation.current = c.name;
    }
    Poco::Environment::set(HomeVariable, installation.folder);
    EnvConfig::ourConfigCfgFile = installation.file;
    s.installation = std::move(installation);
    s.loaded = true;
}

// Reads the file in force the first time it is needed (it may come from
// $TAVREL_CONFIG, or be assigned to ourConfigCfgFile directly). A file that can't
// be read leaves the installation empty.
const Installation* installation() {
    State& s = state();
    if (EnvConfig::ourConfigCfgFile.empty())
        return nullptr;
    if (!s.loaded || s.installation.file != EnvConfig::ourConfigCfgFile) {
        try {
            makeInForce(readInstallation(EnvConfig::ourConfigCfgFile));
        } catch (const ConfigurationError&) {
            return nullptr;
        }
    }
    return &s.installation;
}

const Configuration* findConfiguration(const std::string& name) {
    const Installation* in = installation();
    if (!in)
        return nullptr;
    for (const Configuration& c : in->configurations)
        if (c.name == name)
            return &c;
    return nullptr;
}

std::string configurationFolder(const Configuration& c) {
    return normalise(expand(c.path), installation()->folder);
}

// The configuration.ini of a configuration folder, or null if it can't be read.
Poco::AutoPtr<Poco::Util::IniFileConfiguration> readConfigurationIni(const std::string& folder) {
    const std::string file = toSlashes(folder) + "/configuration.ini";
    if (!Commons::FileUtils::DoesFileExist(file))
        return nullptr;
    try {
        return new Poco::Util::IniFileConfiguration(file);
    } catch (const Poco::Exception&) {
        return nullptr;
    }
}

// The data-path roots of a configuration folder, absolute, in order, read from
// its configuration.ini. Every template that is opened asks for them; the
// answer is kept while the file keeps its size and modification time, so that
// an unchanged file costs one stat instead of a read and a parse.
std::vector<std::string> readDataRoots(const std::string& folder);

std::vector<std::string> dataRoots(const std::string& folder) {
    struct Kept {
        off_t size;
        struct timespec modified;
        std::vector<std::string> roots;
    };
    static std::map<std::string, Kept> kept;
    struct stat status;
    const std::string file = toSlashes(folder) + "/configuration.ini";
    if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        kept.erase(folder);
        return std::vector<std::string>();
    }
    auto found = kept.find(folder);
    if (found != kept.end() && found->second.size == status.st_size &&
        found->second.modified.tv_sec == status.st_mtim.tv_sec &&
        found->second.modified.tv_nsec == status.st_mtim.tv_nsec)
        return found->second.roots;
    std::vector<std::string> roots = readDataRoots(folder);
    kept[folder] = Kept{status.st_size, status.st_mtim, roots};
    return roots;
}

std::vector<std::string> readDataRoots(const std::string& folder) {
    std::vector<std::string> roots;
    auto ini = readConfigurationIni(folder);
    if (!ini)
        return roots;
    const std::string datapath = ini->getString("configuration.datapath", "");
    std::istringstream stream(datapath);
    std::string root;
    while (std::getline(stream, root, ';')) {
        root = trim(root);
        if (!root.empty())
            roots.push_back(normalise(expand(root), folder));
    }
    return roots;
}

bool parseVersion(const std::string& text, EnvConfig::Version& version) {
    uint16_t components[4] = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    std::istringstream stream(text);
    std::string part;
    int count = 0;
    if (text.empty() || text.back() == '.')
        return false;
    while (std::getline(stream, part, '.')) {
        if (count == 4 || part.empty() || part.size() > 5 ||
            part.find_first_not_of("0123456789") != std::string::npos)
            return false;
        unsigned long value = std::stoul(part);
        if (value > 65534)
            return false;
        components[count++] = static_cast<uint16_t>(value);
    }
    if (count == 0)
        return false;
    std::copy(components, components + 4, version.components);
    return true;
}

std::string initialConfigFile() {
    const char* value = std::getenv(ConfigVariable);
    return value ? std::string(value) : std::string();
}

} // namespace

std::string EnvConfig::ourConfigCfgFile = initialConfigFile();

std::string EnvConfig::Version::toString() const {
    std::string text;
    for (uint16_t component : components) {
        if (component == 0xFFFF)
            break;
        if (!text.empty())
            text += '.';
        text += std::to_string(component);
    }
    return text;
}

EnvConfig::EnvConfig() {
    State& s = state();
    if (ourConfigCfgFile.empty())
        return;
    if (!s.loaded || s.installation.file != ourConfigCfgFile) {
        // The file in force hasn't been read yet (it came from the environment).
        std::string content;
        if (readFile(ourConfigCfgFile, content))
            makeInForce(parseInstallation(ourConfigCfgFile, content));
        return;
    }
    // Re-read when the bytes on disk differ from those read. A file that has gone
    // away keeps the installation as it was read.
    std::string content;
    if (readFile(ourConfigCfgFile, content) && content != s.installation.content)
        makeInForce(parseInstallation(ourConfigCfgFile, content));
}

EnvConfig::~EnvConfig() = default;

void EnvConfig::setTavrelConfigFilePath(const std::string& path) {
    makeInForce(readInstallation(path));
}

bool EnvConfig::setConfig(const std::string& name, bool) {
    // The installation file is never rewritten: the choice lasts for the process.
    if (!findConfiguration(name))
        return false;
    state().installation.current = name;
    return true;
}

const std::string& EnvConfig::getCurrentConfiguration() {
    static const std::string none;
    const Installation* in = installation();
    return in ? in->current : none;
}

std::vector<std::string> EnvConfig::getConfigurationsList() {
    std::vector<std::string> names;
    if (const Installation* in = installation())
        for (const Configuration& c : in->configurations)
            names.push_back(c.name);
    return names;
}

std::string EnvConfig::getConfigPath(const std::string& name) {
    const Configuration* c = findConfiguration(name);
    return c ? configurationFolder(*c) : std::string();
}

bool EnvConfig::getConfigVersion(const std::string& path, Version& version) {
    if (path.empty())
        return false;
    auto ini = readConfigurationIni(path);
    if (!ini || !ini->hasProperty("configuration.version"))
        return false;
    return parseVersion(trim(ini->getString("configuration.version")), version);
}

std::vector<std::string> EnvConfig::getSeparatedPathForConfiguration(const std::string& name,
                                                                     const std::string& relative) {
    std::vector<std::string> paths;
    const Configuration* c = findConfiguration(name);
    if (!c)
        return paths;
    const std::string tail = toSlashes(relative);
    for (const std::string& root : dataRoots(configurationFolder(*c)))
        paths.push_back(tail.empty() ? root : root + "/" + tail);
    return paths;
}

std::vector<std::string> EnvConfig::getSeparatedPath(const std::string& relative) {
    return getSeparatedPathForConfiguration(getCurrentConfiguration(), relative);
}

std::string EnvConfig::transformInGenericPath(const std::string& path, bool) {
    std::string home;
    if (const char* value = std::getenv(HomeVariable))
        home = value;
    if (home.empty() || path.compare(0, home.size(), home) != 0)
        return path;
    if (path.size() == home.size())
        return "${TAVREL_HOME}";
    const char next = path[home.size()];
    if (next != '/' && next != '\\')
        return path;
    return "${TAVREL_HOME}" + path.substr(home.size());
}

std::string EnvConfig::findInPath(const std::string& directory, const std::string& file) {
    std::string tail = toSlashes(directory);
    if (!tail.empty() && tail.back() != '/')
        tail += '/';
    tail += toSlashes(file);
    for (const std::string& candidate : getSeparatedPath(tail)) {
        struct stat info;
        if (::stat(candidate.c_str(), &info) == 0)
            return candidate;
    }
    return std::string();
}

std::string EnvConfig::operator[](const std::string& path) const {
    std::string expanded = toSlashes(expand(path));
    if (expanded.empty() || expanded[0] == '/')
        return expanded;
    std::vector<std::string> roots = getSeparatedPath(expanded);
    return roots.empty() ? expanded : roots.front();
}

bool fileExist(const std::string& path, Commons::Encoding::Mode) {
    return Commons::FileUtils::DoesFileExist(expand(path));
}

std::string resolveGenericPath(const std::string& path, Commons::Encoding::Mode) {
    return expand(path);
}

void removePath(std::string& path) {
    size_t separator = path.find_last_of("/\\");
    if (separator == std::string::npos)
        path.clear();
    else
        path.erase(separator);
}

} // namespace lmkUtils

#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <unordered_set>

using ScenarioTemplateDb::Exception;

namespace TavrelScenarioTemplateDb {

namespace {

const std::string Wildcard = "*";

bool hasScenarioExtension(const char* name, size_t length) {
    // Exactly the lower-case extension "sce": "CAPS.SCE" and "a.sce.bak" are no scenarios.
    return length >= 4 && std::memcmp(name + length - 4, ".sce", 4) == 0;
}

// A folder's identity on disk, the same whichever path (and links) led to it.
using FolderId = std::pair<dev_t, ino_t>;

// One folder opened for reading, with its identity taken from the open handle so
// that it names exactly the folder whose entries are read.
class OpenFolder {
public:
    explicit OpenFolder(const std::string& path) : dir(::opendir(path.c_str())) {
        if (dir == nullptr)
            Poco::File::handleLastError(path);
        struct stat info;
        if (::fstat(::dirfd(dir), &info) != 0) {
            const int error = errno;
            ::closedir(dir);
            errno = error;
            Poco::File::handleLastError(path);
        }
        folderId = FolderId(info.st_dev, info.st_ino);
    }
    ~OpenFolder() { ::closedir(dir); }
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    DIR* handle() const { return dir; }
    const FolderId& id() const { return folderId; }

private:
    DIR* dir;
    FolderId folderId;
};

// Reads one open folder: files with the scenario extension go to `visit`
// (relative path from the walk's root), subfolders to `folders`. Entries whose
// type the folder listing doesn't tell (links, some file systems) are looked up
// with stat, so links are followed. Returns false if `visit` asked to stop.
template <class Visit>
bool readFolder(const OpenFolder& folder, const std::string& absolute, const std::string& relative,
                Visit& visit, std::vector<std::string>& folders) {
    DIR* dir = folder.handle();
    while (true) {
        errno = 0;
        struct dirent* entry = ::readdir(dir);
        if (entry == nullptr) {
            if (errno != 0)
                Poco::File::handleLastError(absolute);
            return true;
        }
        const char* name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            continue;
        const size_t length = std::strlen(name);
        bool isFile = entry->d_type == DT_REG;
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN || entry->d_type == DT_LNK) {
            // A link that leads nowhere fails the walk, as testing the entry with
            // Poco::File would.
            const std::string entryPath = absolute + "/" + name;
            struct stat info;
            if (::stat(entryPath.c_str(), &info) != 0)
                Poco::File::handleLastError(entryPath);
            isFile = S_ISREG(info.st_mode);
            isFolder = S_ISDIR(info.st_mode);
        }
        std::string path = relative.empty() ? std::string(name, length) : relative + "/" + name;
        if (isFolder)
            folders.push_back(std::move(path));
        else if (isFile && hasScenarioExtension(name, length) && !visit(path))
            return false;
    }
}

// Walks the tree under `root`, all files of a folder before those of its
// subfolders, and calls visit(relative) for each scenario file until it returns
// false. A folder that can't be read raises the matching Poco exception.
//
// Deliberately a plain readdir walk that trusts the entry types: it costs a few
// system calls per folder instead of one stat per entry, which keeps a listing of
// a large installation close to the speed of `find`.
//
// Links to folders are followed, except into a folder that was entered on the
// way down from the root to the current folder (the root included): such a link
// leads back up, and following it would list the same folders again and again
// until the system refuses the path for too many levels of links. Only those
// ancestors count, not every folder seen so far: a link to a sibling, or to any
// folder outside the current branch, is a second path to real scenarios that
// open by that path, so their files are listed under both paths, once per path.
template <class Visit> void walkScenarioFiles(const std::string& root, Visit visit) {
    // A stack of pending folder lists keeps the order: a folder's own files, then
    // each subfolder in turn with everything below it. Each list remembers the
    // folder it was read from; together these are the ancestors of the folders
    // still to be read at the top of the stack.
    struct Pending {
        std::vector<std::string> folders;
        size_t next;
        FolderId parent;
    };
    std::vector<Pending> pending;
    std::set<FolderId> ancestors;
    {
        const OpenFolder folder(root);
        std::vector<std::string> children;
        if (!readFolder(folder, root, std::string(), visit, children))
            return;
        pending.push_back(Pending{std::move(children), 0, folder.id()});
        ancestors.insert(folder.id());
    }
    while (!pending.empty()) {
        Pending& top = pending.back();
        if (top.next == top.folders.size()) {
            ancestors.erase(top.parent);
            pending.pop_back();
            continue;
        }
        const std::string relative = top.folders[top.next++];
        const std::string absolute = root + "/" + relative;
        const OpenFolder folder(absolute);
        if (ancestors.count(folder.id()) != 0)
            continue;
        std::vector<std::string> children;
        if (!readFolder(folder, absolute, relative, visit, children))
            return;
        if (!children.empty()) {
            pending.push_back(Pending{std::move(children), 0, folder.id()});
            ancestors.insert(folder.id());
        }
    }
}

std::string backslashesToSlashes(const std::string& text) {
    static const std::regex backslash("\\\\", std::regex::ECMAScript);
    return std::regex_replace(text, backslash, "/");
}

} // namespace

TavrelScenarioTemplateDatabase::TavrelScenarioTemplateDatabase(const std::string& configFilePath,
                                                               const std::string& versionFilter,
                                                               const std::string& configurationFilter)
    : versionFilter(versionFilter), configurationFilter(configurationFilter) {
    try {
        // Re-reads the installation in force if it changed on disk.
        lmkUtils::EnvConfig environment;
        std::string expanded;
        Commons::System::ExpandLocalEnvironmentVariables(configFilePath, expanded,
                                                         Commons::System::DaemonVariableMatchingPattern,
                                                         std::map<std::string, std::string>());
        if (!configFilePath.empty() && expanded != lmkUtils::EnvConfig::ourConfigCfgFile) {
            if (!Commons::FileUtils::DoesFileExist(expanded))
                throw Exception("Tavrel configuration file [" + expanded + "] doesn't exists!",
                                ScenarioTemplateDb::ExceptionCodeGeneric);
            lmkUtils::EnvConfig::setTavrelConfigFilePath(expanded);
        }
        if (configurationFilter != Wildcard) {
            lmkUtils::EnvConfig::setConfig(configurationFilter, false);
            getConfigurationScenarioDirectories(configurationFilter, scenarioDirectories);
        }
    } catch (const lmkUtils::ConfigurationError& error) {
        throw Exception(error.what(), ScenarioTemplateDb::ExceptionCodeGeneric);
    }
}

TavrelScenarioTemplateDatabase::~TavrelScenarioTemplateDatabase() = default;

const std::vector<std::string>& TavrelScenarioTemplateDatabase::getScenarioDirectories() const {
    return scenarioDirectories;
}

const std::string& TavrelScenarioTemplateDatabase::getVersionFilter() const {
    return versionFilter;
}

const std::string& TavrelScenarioTemplateDatabase::getConfigurationFilter() const {
    return configurationFilter;
}

size_t TavrelScenarioTemplateDatabase::getVersionNumber() const {
    std::set<std::string> versions;
    getVersions(versions);
    return versions.size();
}

std::string TavrelScenarioTemplateDatabase::getVersion(size_t index) const {
    std::set<std::string> versions;
    getVersions(versions);
    if (index >= versions.size()) {
        std::ostringstream message;
        message << "Invalid version index : " << index << "\nCurrent Tavrel installation "
                << getConfigurationFilePath() << " only contain " << versions.size()
                << " different versions.";
        throw Exception(message.str(), ScenarioTemplateDb::ExceptionCodeInvalidIndex);
    }
    return *std::next(versions.begin(), static_cast<std::ptrdiff_t>(index));
}

std::string TavrelScenarioTemplateDatabase::getConfigurationVersion(const std::string& configuration) const {
    const std::string path = lmkUtils::EnvConfig::getConfigPath(configuration);
    lmkUtils::EnvConfig::Version version;
    std::memset(&version, 0xFF, sizeof(version));
    if (!lmkUtils::EnvConfig::getConfigVersion(path, version))
        throw Exception("Unable to get version for configuration " + configuration + " (" + path + ")",
                        ScenarioTemplateDb::ExceptionCodeGeneric);
    return version.toString();
}

size_t TavrelScenarioTemplateDatabase::getConfigurationNumber(const std::string& version) const {
    std::vector<std::string> configurations;
    getConfigurationsForVersion(version, configurations);
    return configurations.size();
}

std::string TavrelScenarioTemplateDatabase::getConfiguration(const std::string& version, size_t index) const {
    std::vector<std::string> configurations;
    getConfigurationsForVersion(version, configurations);
    if (index >= configurations.size()) {
        std::ostringstream message;
        message << "Invalid configuration index : " << index << "\nCurrent version " << version
                << " only contain " << configurations.size() << " different configurations.";
        throw Exception(message.str(), ScenarioTemplateDb::ExceptionCodeInvalidIndex);
    }
    return configurations[index];
}

size_t TavrelScenarioTemplateDatabase::getScenarioDirectoryNumber(const std::string& configuration) const {
    std::vector<std::string> directories;
    getConfigurationScenarioDirectories(configuration, directories);
    return directories.size();
}

std::string TavrelScenarioTemplateDatabase::getScenarioDirectory(const std::string& configuration,
                                                                 size_t index) const {
    std::vector<std::string> directories;
    getConfigurationScenarioDirectories(configuration, directories);
    if (index >= directories.size())
        throw Exception("Invalid scenario directory index " + std::to_string(index) + " in configuration " +
                            configuration,
                        ScenarioTemplateDb::ExceptionCodeGeneric);
    return directories[index];
}

size_t TavrelScenarioTemplateDatabase::getScenariosNumber(const std::string& configuration,
                                                          size_t directoryIndex) const {
    std::vector<ScenarioPath> paths;
    getScenarioPaths(configuration, directoryIndex, paths);
    return paths.size();
}

ScenarioPath TavrelScenarioTemplateDatabase::getScenarioPath(const std::string& configuration,
                                                             size_t directoryIndex,
                                                             size_t scenarioIndex) const {
    std::vector<ScenarioPath> paths;
    getScenarioPaths(configuration, directoryIndex, paths);
    if (scenarioIndex >= paths.size()) {
        // The scenario index appears twice and the directory index not at all:
        // hosts match this text as it has always been.
        const std::string index = std::to_string(scenarioIndex);
        throw Exception("Invalid scenario template index " + index + " in configuration " + configuration +
                            " directory " + index,
                        ScenarioTemplateDb::ExceptionCodeGeneric);
    }
    return paths[scenarioIndex];
}

int TavrelScenarioTemplateDatabase::getScenarioIndex(const std::string& configuration, size_t directoryIndex,
                                                     const std::string& path) const {
    std::vector<ScenarioPath> paths;
    getScenarioPaths(configuration, directoryIndex, paths);
    // Without a match the counter ends on the last position; callers that need
    // certainty compare the element.
    int index = -1;
    for (const ScenarioPath& candidate : paths) {
        ++index;
        if (candidate.second == path)
            break;
    }
    return index;
}

std::string TavrelScenarioTemplateDatabase::getConfigurationFilePath() const {
    return lmkUtils::EnvConfig::transformInGenericPath(lmkUtils::EnvConfig::ourConfigCfgFile, false);
}

void TavrelScenarioTemplateDatabase::getVersions(std::set<std::string>& versions) const {
    versions.clear();
    for (const std::string& configuration : lmkUtils::EnvConfig::getConfigurationsList()) {
        if (configurationFilter != Wildcard && configurationFilter != configuration)
            continue;
        try {
            const std::string version = getConfigurationVersion(configuration);
            if (versionFilter == Wildcard || versionFilter == version)
                versions.insert(version);
        } catch (...) {
            // A configuration without a readable version stays out of listings.
        }
    }
}

void TavrelScenarioTemplateDatabase::getConfigurationsForVersion(
    const std::string& version, std::vector<std::string>& configurations) const {
    configurations.clear();
    if (versionFilter != Wildcard && versionFilter != version)
        return;
    for (const std::string& configuration : lmkUtils::EnvConfig::getConfigurationsList()) {
        if (configurationFilter != Wildcard && configurationFilter != configuration)
            continue;
        try {
            if (getConfigurationVersion(configuration) == version)
                configurations.push_back(configuration);
        } catch (...) {
            // As in getVersions: no readable version, no listing.
        }
    }
}

void TavrelScenarioTemplateDatabase::getConfigurationScenarioDirectories(
    const std::string& configuration, std::vector<std::string>& directories) const {
    directories = lmkUtils::EnvConfig::getSeparatedPathForConfiguration(configuration, "data/scenario");
    std::unordered_set<std::string> inaccessible;
    auto end = std::remove_if(directories.begin(), directories.end(), [&](const std::string& directory) {
        if (Commons::FileUtils::IsFolder(directory.c_str()))
            return false;
        inaccessible.insert(directory);
        return true;
    });
    directories.erase(end, directories.end());
    if (!inaccessible.empty()) {
        // One missing root makes the whole configuration unusable, so that a host
        // never works on a partial view of its data path.
        std::string message = "Data Path ";
        for (const std::string& directory : inaccessible)
            message += "[" + directory + "] ";
        message += "is inaccessible!";
        throw Exception(message, ScenarioTemplateDb::ExceptionCodeDirectoryAccess);
    }
}

void TavrelScenarioTemplateDatabase::getScenarioPaths(const std::string& configuration, size_t directoryIndex,
                                                      std::vector<ScenarioPath>& paths) const {
    paths.clear();
    const std::string directory = getScenarioDirectory(configuration, directoryIndex);
    const std::string root = backslashesToSlashes(Poco::Path(directory).absolute().toString());
    try {
        const std::string generic = lmkUtils::EnvConfig::transformInGenericPath(root, false);
        walkScenarioFiles(root, [&](const std::string& relative) {
            paths.emplace_back(generic, relative);
            return true;
        });
    } catch (const Poco::Exception& error) {
        throw Exception("Cannot list scenarios : " + error.displayText(),
                        ScenarioTemplateDb::ExceptionCodeDirectoryAccess);
    }
}

const std::string& TavrelScenarioTemplateDatabase::getScenarioDirectory(const std::string& path) const {
    static const std::string notFound;
    for (const std::string& directory : scenarioDirectories) {
        bool found = false;
        walkScenarioFiles(directory, [&](const std::string& relative) {
            found = relative == path;
            return !found;
        });
        if (found)
            return directory;
    }
    return notFound;
}

} // namespace TavrelScenarioTemplateDb

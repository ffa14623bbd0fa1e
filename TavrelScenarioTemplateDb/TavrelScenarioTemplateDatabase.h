#pragma once

#include <TavrelScenarioTemplateDb/Export.h>

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TavrelScenarioTemplateDb {

/// A scenario file: its scenario directory in generic form, and its path relative
/// to that directory with forward slashes.
using ScenarioPath = std::pair<std::string, std::string>;

/// One Tavrel installation seen as a store of scenario templates: versions,
/// configurations of a version, scenario directories of a configuration and the
/// scenario files under each. It keeps only its two filters and, with a
/// configuration filter, that configuration's scenario directories; every other
/// answer is read afresh from the installation and the disk. All failures are
/// ScenarioTemplateDb::Exception thrown by value.
class TAVREL_DRIVER_API TavrelScenarioTemplateDatabase {
public:
    /// Makes `configFilePath` (variables expanded) the process-wide installation
    /// file unless it is empty or already in force, and makes `configurationFilter`
    /// current unless it is "*". Throws code -1 if the file doesn't exist or doesn't
    /// parse, code 16 if a data folder of the filtered configuration is missing.
    TavrelScenarioTemplateDatabase(const std::string& configFilePath, const std::string& versionFilter,
                                   const std::string& configurationFilter);
    TavrelScenarioTemplateDatabase(const TavrelScenarioTemplateDatabase&) = default;
    TavrelScenarioTemplateDatabase& operator=(const TavrelScenarioTemplateDatabase&) = default;
    virtual ~TavrelScenarioTemplateDatabase();

    /// The scenario directories found at construction; empty without a configuration filter.
    const std::vector<std::string>& getScenarioDirectories() const;
    /// "*" or the one version to be seen.
    const std::string& getVersionFilter() const;
    /// "*" or the one configuration to be seen.
    const std::string& getConfigurationFilter() const;

    /// The number of versions that getVersions gives.
    size_t getVersionNumber() const;
    /// The version at `index` in ascending text order; throws code 4 beyond the end.
    std::string getVersion(size_t index) const;
    /// The version text of one configuration, whatever the filters; throws code -1
    /// if it can't be read.
    std::string getConfigurationVersion(const std::string& configuration) const;
    /// The number of configurations of `version` that pass the filters.
    size_t getConfigurationNumber(const std::string& version) const;
    /// The configuration at `index` of getConfigurationsForVersion; throws code 4 beyond the end.
    std::string getConfiguration(const std::string& version, size_t index) const;
    /// The number of scenario directories of a configuration; throws code 16 if one is missing.
    size_t getScenarioDirectoryNumber(const std::string& configuration) const;
    /// The scenario directory at `index`; throws code -1 beyond the end, 16 if one is missing.
    std::string getScenarioDirectory(const std::string& configuration, size_t index) const;
    /// The number of scenario files under one scenario directory (walks the tree).
    size_t getScenariosNumber(const std::string& configuration, size_t directoryIndex) const;
    /// One element of getScenarioPaths; throws code -1 beyond the end.
    ScenarioPath getScenarioPath(const std::string& configuration, size_t directoryIndex,
                                 size_t scenarioIndex) const;
    /// The position of a relative path in getScenarioPaths. For an absent path this
    /// is the last position (size - 1), and -1 only for an empty directory.
    int getScenarioIndex(const std::string& configuration, size_t directoryIndex,
                         const std::string& path) const;
    /// The installation file in force, in generic form.
    std::string getConfigurationFilePath() const;

    /// Fills `versions` (emptied first) with the versions of the configurations that
    /// pass the filters; configurations without a readable version are skipped.
    void getVersions(std::set<std::string>& versions) const;
    /// Fills `configurations` (emptied first) with the configurations of `version`
    /// that pass the filters, in the order of the installation file.
    void getConfigurationsForVersion(const std::string& version,
                                     std::vector<std::string>& configurations) const;
    /// Fills `directories` with "data/scenario" under each data-path root of the
    /// configuration. Throws code 16 naming every root where that isn't a folder;
    /// the vector then keeps those that are.
    void getConfigurationScenarioDirectories(const std::string& configuration,
                                             std::vector<std::string>& directories) const;
    /// Fills `paths` (emptied first) with every file of extension "sce" under one
    /// scenario directory, a folder's files before its subfolders'. Throws code -1
    /// for a bad index, 16 if the tree can't be read (keeping what was found).
    /// A link back up to a folder above is not followed; a link to any other
    /// folder lists its scenarios under the link's path.
    void getScenarioPaths(const std::string& configuration, size_t directoryIndex,
                          std::vector<ScenarioPath>& paths) const;
    /// The directory of getScenarioDirectories that holds the relative `path`
    /// (compared byte for byte), or an empty text. A walk failure passes through.
    const std::string& getScenarioDirectory(const std::string& path) const;

private:
    std::string versionFilter;
    std::string configurationFilter;
    std::vector<std::string> scenarioDirectories;
};

} // namespace TavrelScenarioTemplateDb

#pragma once

#include <ScenarioTemplateDb/DatabaseDirectory.h>
#include <TavrelScenarioTemplateDb/Export.h>

#include <memory>

namespace TavrelScenarioTemplateDb {

class TavrelScenarioTemplateDatabase;

/// One scenario directory ("data/scenario" under one data-path root) of a
/// configuration, known by its position in the data path: the path is looked up
/// afresh at each call. It has no subdirectory; its scenarios are every file of
/// extension "sce" below it. Failures are Exception by value.
class TAVREL_DRIVER_API TavrelConfigurationScenarioDirectory : public ScenarioTemplateDb::DatabaseDirectory {
public:
    /// Shares the database; touches no file.
    TavrelConfigurationScenarioDirectory(std::shared_ptr<TavrelScenarioTemplateDatabase> database,
                                         const std::string& configuration, size_t directoryIndex);
    TavrelConfigurationScenarioDirectory(const TavrelConfigurationScenarioDirectory&) = default;
    TavrelConfigurationScenarioDirectory& operator=(const TavrelConfigurationScenarioDirectory&) = default;
    ~TavrelConfigurationScenarioDirectory() override;

    /// Always 0.
    size_t getDirectoryNumber() const override;
    /// Always throws code 4.
    std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> getDirectory(size_t index) const override;
    /// Empties the vector.
    void getDirectories(
        std::vector<std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory>>& directories) const override;
    /// The number of scenario files (walks the tree); throws code 16 if it can't be read.
    size_t getScenarioNumber() const override;
    /// A new, unloaded scenario for the file at `index`; throws code -1 beyond the end.
    std::shared_ptr<ScenarioTemplateDb::Scenario> getScenario(size_t index) const override;
    /// One new scenario per file, in one walk; on failure the vector is left as it was.
    void getScenarios(std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>>& scenarios) const override;
    /// The data-path root of the current configuration at this directory's index.
    std::string getName() const override;

    /// `directory` + "/" + `path`: the one join of a scenario directory and a
    /// scenario's relative path.
    static std::string getFilePathFromDataBasePath(const std::string& path, const std::string& directory);

private:
    std::shared_ptr<TavrelScenarioTemplateDatabase> database;
    std::string configuration;
    size_t directoryIndex;
};

} // namespace TavrelScenarioTemplateDb

#pragma once

#include <ScenarioTemplateDb/DatabaseDirectory.h>

#include <memory>

namespace TavrelScenarioTemplateDb {

class TavrelScenarioTemplateDatabase;

/// One version: a grouping of the configurations that share it, with no folder
/// of its own on disk. It holds no scenario. Failures are Exception by value.
class TavrelVersionDirectory : public ScenarioTemplateDb::DatabaseDirectory {
public:
    /// Shares the database; `version` is the version text.
    TavrelVersionDirectory(std::shared_ptr<TavrelScenarioTemplateDatabase> database,
                           const std::string& version);
    ~TavrelVersionDirectory() override;

    /// The number of configurations of the version that pass the filters.
    size_t getDirectoryNumber() const override;
    /// The configuration directory at `index`; throws code 4 beyond the end.
    std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> getDirectory(size_t index) const override;
    /// One configuration directory per configuration, in the installation file's order.
    void getDirectories(
        std::vector<std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory>>& directories) const override;
    /// Always 0.
    size_t getScenarioNumber() const override;
    /// Always throws code 4.
    std::shared_ptr<ScenarioTemplateDb::Scenario> getScenario(size_t index) const override;
    /// Empties the vector.
    void getScenarios(std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>>& scenarios) const override;
    /// The version text.
    std::string getName() const override;

private:
    std::shared_ptr<TavrelScenarioTemplateDatabase> database;
    std::string version;
};

} // namespace TavrelScenarioTemplateDb

#pragma once

#include <ScenarioTemplateDb/DatabaseDirectory.h>

#include <memory>

namespace TavrelScenarioTemplateDb {

class TavrelScenarioTemplateDatabase;

/// One configuration: one subdirectory per scenario directory of its data path.
/// It holds no scenario. Failures are Exception by value; a missing data folder
/// fails every listing with code 16.
class TavrelConfigurationDirectory : public ScenarioTemplateDb::DatabaseDirectory {
public:
    /// Shares the database; `configuration` is the configuration's name.
    TavrelConfigurationDirectory(std::shared_ptr<TavrelScenarioTemplateDatabase> database,
                                 const std::string& configuration);
    ~TavrelConfigurationDirectory() override;

    /// The number of scenario directories.
    size_t getDirectoryNumber() const override;
    /// The scenario directory at `index`; throws code -1 beyond the end.
    std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> getDirectory(size_t index) const override;
    /// One scenario directory per data-path root, in order; the n-th has index n.
    void getDirectories(
        std::vector<std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory>>& directories) const override;
    /// Always 0.
    size_t getScenarioNumber() const override;
    /// Always throws code 4.
    std::shared_ptr<ScenarioTemplateDb::Scenario> getScenario(size_t index) const override;
    /// Empties the vector.
    void getScenarios(std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>>& scenarios) const override;
    /// The configuration's name.
    std::string getName() const override;

private:
    std::shared_ptr<TavrelScenarioTemplateDatabase> database;
    std::string configuration;
};

} // namespace TavrelScenarioTemplateDb

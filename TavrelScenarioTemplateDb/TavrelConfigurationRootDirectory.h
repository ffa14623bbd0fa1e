#pragma once

#include <ScenarioTemplateDb/DatabaseDirectory.h>

#include <memory>

namespace TavrelScenarioTemplateDb {

class TavrelScenarioTemplateDatabase;

/// The root of the tree: one subdirectory per version. It holds no scenario.
/// Failures are Exception by value.
class TavrelConfigurationRootDirectory : public ScenarioTemplateDb::DatabaseDirectory {
public:
    /// Shares the database.
    explicit TavrelConfigurationRootDirectory(std::shared_ptr<TavrelScenarioTemplateDatabase> database);
    ~TavrelConfigurationRootDirectory() override;

    /// The number of versions.
    size_t getDirectoryNumber() const override;
    /// The version directory at `index`; throws code 4 beyond the end.
    std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> getDirectory(size_t index) const override;
    /// One version directory per version, in ascending text order.
    void getDirectories(
        std::vector<std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory>>& directories) const override;
    /// Always 0.
    size_t getScenarioNumber() const override;
    /// Always throws code 4.
    std::shared_ptr<ScenarioTemplateDb::Scenario> getScenario(size_t index) const override;
    /// Empties the vector.
    void getScenarios(std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>>& scenarios) const override;
    /// The installation file in generic form.
    std::string getName() const override;
    /// Always throws code -1: scenarios are not created at the root.
    virtual std::shared_ptr<ScenarioTemplateDb::Scenario> createScenario();

private:
    std::shared_ptr<TavrelScenarioTemplateDatabase> database;
};

} // namespace TavrelScenarioTemplateDb

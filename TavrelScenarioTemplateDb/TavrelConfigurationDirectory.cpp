#include <TavrelScenarioTemplateDb/TavrelConfigurationDirectory.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationScenarioDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>

using ScenarioTemplateDb::DatabaseDirectory;
using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::Scenario;

namespace TavrelScenarioTemplateDb {

TavrelConfigurationDirectory::TavrelConfigurationDirectory(
    std::shared_ptr<TavrelScenarioTemplateDatabase> database, const std::string& configuration)
    : database(std::move(database)), configuration(configuration) {}

TavrelConfigurationDirectory::~TavrelConfigurationDirectory() = default;

size_t TavrelConfigurationDirectory::getDirectoryNumber() const {
    return database->getScenarioDirectoryNumber(configuration);
}

std::shared_ptr<DatabaseDirectory> TavrelConfigurationDirectory::getDirectory(size_t index) const {
    if (database->getScenarioDirectory(configuration, index).empty())
        throw Exception("Invalid scenario directory index " + std::to_string(index) + " in configuration " +
                            configuration,
                        ScenarioTemplateDb::ExceptionCodeGeneric);
    // The directory keeps its index, not its path, and looks the path up at each use.
    return std::make_shared<TavrelConfigurationScenarioDirectory>(database, configuration, index);
}

void TavrelConfigurationDirectory::getDirectories(
    std::vector<std::shared_ptr<DatabaseDirectory>>& directories) const {
    directories.clear();
    std::vector<std::string> paths;
    database->getConfigurationScenarioDirectories(configuration, paths);
    for (size_t index = 0; index < paths.size(); ++index)
        directories.push_back(
            std::make_shared<TavrelConfigurationScenarioDirectory>(database, configuration, index));
}

size_t TavrelConfigurationDirectory::getScenarioNumber() const {
    return 0;
}

std::shared_ptr<Scenario> TavrelConfigurationDirectory::getScenario(size_t) const {
    throw Exception("No scenario template can be found in the Tavrel configuration directory!",
                    ScenarioTemplateDb::ExceptionCodeInvalidIndex);
}

void TavrelConfigurationDirectory::getScenarios(std::vector<std::shared_ptr<Scenario>>& scenarios) const {
    scenarios.clear();
}

std::string TavrelConfigurationDirectory::getName() const {
    return configuration;
}

} // namespace TavrelScenarioTemplateDb

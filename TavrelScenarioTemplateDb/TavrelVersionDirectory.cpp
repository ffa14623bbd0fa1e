#include <TavrelScenarioTemplateDb/TavrelVersionDirectory.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>

using ScenarioTemplateDb::DatabaseDirectory;
using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::Scenario;

namespace TavrelScenarioTemplateDb {

TavrelVersionDirectory::TavrelVersionDirectory(std::shared_ptr<TavrelScenarioTemplateDatabase> database,
                                               const std::string& version)
    : database(std::move(database)), version(version) {}

TavrelVersionDirectory::~TavrelVersionDirectory() = default;

size_t TavrelVersionDirectory::getDirectoryNumber() const {
    return database->getConfigurationNumber(version);
}

std::shared_ptr<DatabaseDirectory> TavrelVersionDirectory::getDirectory(size_t index) const {
    return std::make_shared<TavrelConfigurationDirectory>(database,
                                                          database->getConfiguration(version, index));
}

void TavrelVersionDirectory::getDirectories(
    std::vector<std::shared_ptr<DatabaseDirectory>>& directories) const {
    directories.clear();
    std::vector<std::string> configurations;
    database->getConfigurationsForVersion(version, configurations);
    for (const std::string& configuration : configurations)
        directories.push_back(std::make_shared<TavrelConfigurationDirectory>(database, configuration));
}

size_t TavrelVersionDirectory::getScenarioNumber() const {
    return 0;
}

std::shared_ptr<Scenario> TavrelVersionDirectory::getScenario(size_t) const {
    throw Exception("No scenario template can be found in the Tavrel virtual version directory!",
                    ScenarioTemplateDb::ExceptionCodeInvalidIndex);
}

void TavrelVersionDirectory::getScenarios(std::vector<std::shared_ptr<Scenario>>& scenarios) const {
    scenarios.clear();
}

std::string TavrelVersionDirectory::getName() const {
    return version;
}

} // namespace TavrelScenarioTemplateDb

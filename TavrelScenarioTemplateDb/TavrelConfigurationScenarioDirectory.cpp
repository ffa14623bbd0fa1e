#include <TavrelScenarioTemplateDb/TavrelConfigurationScenarioDirectory.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>
#include <environment/lmkUtils/EnvConfig.h>

using ScenarioTemplateDb::DatabaseDirectory;
using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::Scenario;

namespace TavrelScenarioTemplateDb {

TavrelConfigurationScenarioDirectory::TavrelConfigurationScenarioDirectory(
    std::shared_ptr<TavrelScenarioTemplateDatabase> database, const std::string& configuration,
    size_t directoryIndex)
    : database(std::move(database)), configuration(configuration), directoryIndex(directoryIndex) {}

TavrelConfigurationScenarioDirectory::~TavrelConfigurationScenarioDirectory() = default;

size_t TavrelConfigurationScenarioDirectory::getDirectoryNumber() const {
    return 0;
}

std::shared_ptr<DatabaseDirectory> TavrelConfigurationScenarioDirectory::getDirectory(size_t) const {
    throw Exception("No directory into the given configuration scenario folder ",
                    ScenarioTemplateDb::ExceptionCodeInvalidIndex);
}

void TavrelConfigurationScenarioDirectory::getDirectories(
    std::vector<std::shared_ptr<DatabaseDirectory>>& directories) const {
    directories.clear();
}

size_t TavrelConfigurationScenarioDirectory::getScenarioNumber() const {
    return database->getScenariosNumber(configuration, directoryIndex);
}

std::shared_ptr<Scenario> TavrelConfigurationScenarioDirectory::getScenario(size_t index) const {
    const ScenarioPath path = database->getScenarioPath(configuration, directoryIndex, index);
    return std::make_shared<TavrelScenario>(configuration, path.second, path.first);
}

void TavrelConfigurationScenarioDirectory::getScenarios(
    std::vector<std::shared_ptr<Scenario>>& scenarios) const {
    // List first, so that a failure leaves the caller's vector untouched.
    std::vector<ScenarioPath> paths;
    database->getScenarioPaths(configuration, directoryIndex, paths);
    scenarios.clear();
    scenarios.reserve(paths.size());
    for (const ScenarioPath& path : paths)
        scenarios.push_back(std::make_shared<TavrelScenario>(configuration, path.second, path.first));
}

std::string TavrelConfigurationScenarioDirectory::getName() const {
    // The name comes from the current configuration's data path, which is this
    // directory's configuration whenever the database has a configuration filter.
    std::vector<std::string> paths = lmkUtils::EnvConfig::getSeparatedPath("data");
    // Past the end of that data path there is no name to show (rather than a read
    // out of bounds).
    if (directoryIndex >= paths.size())
        return std::string();
    std::string name = lmkUtils::resolveGenericPath(paths[directoryIndex], Commons::Encoding::Mode(1));
    lmkUtils::removePath(name);
    return name;
}

std::string TavrelConfigurationScenarioDirectory::getFilePathFromDataBasePath(const std::string& path,
                                                                              const std::string& directory) {
    return directory + "/" + path;
}

} // namespace TavrelScenarioTemplateDb

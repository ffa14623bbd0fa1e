#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationRootDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>
#include <environment/lmkUtils/EnvConfig.h>

using ScenarioTemplateDb::Exception;

namespace TavrelScenarioTemplateDb {

TavrelDatabaseDriver::TavrelDatabaseDriver(const std::string& configFilePath,
                                           const std::string& versionFilter,
                                           const std::string& configurationFilter)
    : database(std::make_shared<TavrelScenarioTemplateDatabase>(configFilePath, versionFilter,
                                                                configurationFilter)) {}

TavrelDatabaseDriver::~TavrelDatabaseDriver() = default;

std::string TavrelDatabaseDriver::getURI() const {
    // Written for display and identity only; nothing parses it back, so nothing
    // is escaped.
    const std::string& version = database->getVersionFilter();
    const std::string& configuration = database->getConfigurationFilter();
    std::string versionPiece = version != "*" ? "?version=" + version : std::string();
    std::string configurationPiece;
    if (configuration != "*")
        configurationPiece = (versionPiece.empty() ? "?" : "&") + std::string("config=") + configuration;
    return "tavrel://" + database->getConfigurationFilePath() + versionPiece + configurationPiece;
}

std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> TavrelDatabaseDriver::getRootDirectory() const {
    return std::make_shared<TavrelConfigurationRootDirectory>(database);
}

std::shared_ptr<ScenarioTemplateDb::Scenario>
TavrelDatabaseDriver::getScenario(const std::string& path) const {
    return std::shared_ptr<ScenarioTemplateDb::Scenario>(
        createTavrelScenario(database->getConfigurationFilter(), path));
}

TavrelScenario* TavrelDatabaseDriver::createTavrelScenario(const std::string& configuration,
                                                           const std::string& path) const {
    const std::string directory = database->getScenarioDirectory(path);
    if (directory.empty() || !lmkUtils::fileExist(directory + "/" + path, Commons::Encoding::Mode(1)))
        throw Exception("Could not find scenario : \"" + path +
                            "\" in the data path of the configuration : \"" + configuration +
                            "\". Please ensure that your configuration is correct.",
                        ScenarioTemplateDb::ExceptionCodeScenarioLoad);
    return new TavrelScenario(configuration, path, directory);
}

} // namespace TavrelScenarioTemplateDb

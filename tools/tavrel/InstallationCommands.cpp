// tavrel browse, tavrel uri: the installation seen through the driver and its
// directory tree, as a host walks it.
#include "Browse.h"
#include "Commands.h"
#include "Common.h"

#include <ScenarioTemplateDb/DatabaseDirectory.h>
#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/Scenario.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <environment/Commons/FileUtils.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <nlohmann/json.hpp>

#include <exception>
#include <iostream>
#include <memory>

using ScenarioTemplateDb::DatabaseDirectory;
using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::Scenario;
using TavrelScenarioTemplateDb::TavrelDatabaseDriver;
using json = nlohmann::ordered_json;

namespace tavrel {

namespace {

struct InstallationOptions {
    std::string installation;
    std::string version = "*";
    std::string configuration = "*";
    bool json = false;
    bool names = false;
};

void addInstallationOptions(CLI::App& command, InstallationOptions& options) {
    command.add_option("--installation", options.installation,
                       "installation file (default: $TAVREL_CONFIG, else the bundled sample)");
    command.add_option("--version", options.version, "only this version (\"*\" for all)")
        ->capture_default_str();
    command.add_option("--configuration", options.configuration, "only this configuration (\"*\" for all)")
        ->capture_default_str();
}

json walkScenarios(const DatabaseDirectory& directory, bool names) {
    json scenarios = json::array();
    std::vector<std::shared_ptr<Scenario>> found;
    directory.getScenarios(found);
    for (size_t index = 0; index < found.size(); ++index) {
        json entry{{"index", index}, {"path", found[index]->getPath()}};
        if (names)
            captureError(entry, [&] { entry["name"] = found[index]->getName(); });
        scenarios.push_back(std::move(entry));
    }
    return scenarios;
}

json walkConfiguration(const DatabaseDirectory& configuration, const std::string& versionFilter, bool names) {
    json node{{"name", configuration.getName()}, {"directories", json::array()}};
    captureError(node, [&] {
        // A scenario directory is named after a root of the current configuration's
        // data path: a driver filtered on this configuration makes it current.
        TavrelDatabaseDriver focused("", versionFilter, configuration.getName());
        std::vector<std::shared_ptr<DatabaseDirectory>> directories;
        configuration.getDirectories(directories);
        for (size_t index = 0; index < directories.size(); ++index) {
            json entry{{"index", index}, {"path", directories[index]->getName()}};
            captureError(entry, [&] { entry["scenarios"] = walkScenarios(*directories[index], names); });
            node["directories"].push_back(std::move(entry));
        }
    });
    return node;
}

// What the listing leaves out without a word, as the library does: said on
// the error stream, with the command that tells more.
void warnOfSilentGaps(const std::string& installation, const std::string& configurationFilter) {
    if (!Commons::FileUtils::DoesFileExist(installation)) {
        std::cerr << "warning: installation file " << installation
                  << " not found: nothing to list (see tavrel doctor)\n";
        return;
    }
    for (const std::string& name : lmkUtils::EnvConfig::getConfigurationsList()) {
        if (configurationFilter != "*" && configurationFilter != name)
            continue;
        lmkUtils::EnvConfig::Version version{};
        if (!lmkUtils::EnvConfig::getConfigVersion(lmkUtils::EnvConfig::getConfigPath(name), version))
            std::cerr << "warning: configuration " << name
                      << " has no readable version and is not listed (see tavrel doctor)\n";
    }
}

} // namespace

json walkInstallation(const TavrelDatabaseDriver& driver, const std::string& versionFilter, bool names) {
    std::shared_ptr<DatabaseDirectory> root = driver.getRootDirectory();
    json tree{{"installation", root->getName()}, {"uri", driver.getURI()}, {"versions", json::array()}};
    std::vector<std::shared_ptr<DatabaseDirectory>> versions;
    root->getDirectories(versions);
    for (const auto& version : versions) {
        json node{{"version", version->getName()}, {"configurations", json::array()}};
        captureError(node, [&] {
            std::vector<std::shared_ptr<DatabaseDirectory>> configurations;
            version->getDirectories(configurations);
            for (const auto& configuration : configurations)
                node["configurations"].push_back(walkConfiguration(*configuration, versionFilter, names));
        });
        tree["versions"].push_back(std::move(node));
    }
    return tree;
}

namespace {

void printError(const json& node, const std::string& indent) {
    // Messages may span lines (a load failure quotes the parser); keep them
    // inside the tree's indentation.
    std::string message = node["error"]["message"].get<std::string>();
    for (size_t at = message.find('\n'); at != std::string::npos; at = message.find('\n', at + 1))
        message.insert(at + 1, indent + "  ");
    std::cout << indent << "error: " << message << " (code " << node["error"]["code"].get<int>() << ")\n";
}

void printTree(const json& tree) {
    std::cout << "installation " << tree["installation"].get<std::string>() << "\n";
    std::cout << "uri " << tree["uri"].get<std::string>() << "\n";
    if (tree["versions"].empty())
        std::cout << "(no version)\n";
    for (const json& version : tree["versions"]) {
        std::cout << "version " << version["version"].get<std::string>() << "\n";
        for (const json& configuration : version["configurations"]) {
            std::cout << "  configuration " << configuration["name"].get<std::string>() << "\n";
            for (const json& directory : configuration["directories"]) {
                std::cout << "    directory " << directory["index"].get<size_t>() << ": "
                          << directory["path"].get<std::string>() << "\n";
                if (directory.contains("scenarios")) {
                    if (directory["scenarios"].empty())
                        std::cout << "      (no scenario)\n";
                    for (const json& scenario : directory["scenarios"]) {
                        std::cout << "      " << scenario["path"].get<std::string>();
                        if (scenario.contains("name"))
                            std::cout << "  \"" << scenario["name"].get<std::string>() << "\"";
                        std::cout << "\n";
                        if (scenario.contains("error"))
                            printError(scenario, "        ");
                    }
                }
                if (directory.contains("error"))
                    printError(directory, "      ");
            }
            if (configuration.contains("error"))
                printError(configuration, "    ");
        }
        if (version.contains("error"))
            printError(version, "  ");
    }
}

} // namespace

void addInstallationCommands(CLI::App& app) {
    auto browseOptions = std::make_shared<InstallationOptions>();
    CLI::App* browse = app.add_subcommand(
        "browse", "print the installation's versions, configurations, scenario directories "
                  "and scenarios");
    addInstallationOptions(*browse, *browseOptions);
    browse->add_flag("--json", browseOptions->json, "print the tree as JSON");
    browse->add_flag("--names", browseOptions->names, "load each scenario and show its name");
    browse->callback([browseOptions] {
        runReporting([&] {
            const std::string installation = resolveInstallation(browseOptions->installation);
            TavrelDatabaseDriver driver(installation, browseOptions->version, browseOptions->configuration);
            warnOfSilentGaps(installation, browseOptions->configuration);
            json tree = walkInstallation(driver, browseOptions->version, browseOptions->names);
            if (browseOptions->json)
                std::cout << tree.dump(2) << "\n";
            else
                printTree(tree);
        });
    });

    auto uriOptions = std::make_shared<InstallationOptions>();
    CLI::App* uri = app.add_subcommand("uri", "print the URI of the driver for these options");
    addInstallationOptions(*uri, *uriOptions);
    uri->callback([uriOptions] {
        runReporting([&] {
            TavrelDatabaseDriver driver(resolveInstallation(uriOptions->installation), uriOptions->version,
                                        uriOptions->configuration);
            std::cout << driver.getURI() << "\n";
        });
    });
}

} // namespace tavrel

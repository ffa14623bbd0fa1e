// tavrel doctor: an installation checked as its administrator would check it,
// one line per problem with the file it concerns. The library itself stays
// quiet about much of this on purpose (a configuration without a readable
// version is simply not listed); this command says it.
#include "Commands.h"
#include "Common.h"

#include <ScenarioTemplateDb/DatabaseDirectory.h>
#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/Scenario.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/ScenarioModel.h>

#include <Poco/Exception.h>
#include <Poco/File.h>

#include <nlohmann/json.hpp>

#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using lmkUtils::EnvConfig;

struct DoctorOptions {
    std::string installation;
    bool scenarios = false;
    bool json = false;
};

struct Problem {
    std::string file;
    std::string what;
};

// The lists of definitions that every script links against.
const char* const kModelLists[] = {"PARAMETER_LIST", "FUNCTION_LIST", "CONDITION_LIST", "ACTION_LIST",
                                   "ENUMTAB_LIST"};

bool IsFolder(const std::string& path) {
    try {
        return Poco::File(path).isDirectory();
    } catch (const Poco::Exception&) {
        return false;
    }
}

// The root model of a configuration: found in a data path, loads, has its lists.
void CheckModel(const std::string& configuration, std::vector<Problem>& problems) {
    const std::string relative = "data/tools/nuro/nuro.mdl";
    std::string found;
    for (const std::string& candidate : EnvConfig::getSeparatedPathForConfiguration(configuration, relative))
        if (Commons::FileUtils::DoesFileExist(candidate)) {
            found = candidate;
            break;
        }
    if (found.empty()) {
        problems.push_back({EnvConfig::getConfigPath(configuration),
                            "configuration " + configuration + ": no " + relative + " in its data paths"});
        return;
    }
    std::ostringstream log;
    std::unique_ptr<ScenarioItem> model;
    try {
        model.reset(LoadScenarioFile(found.c_str(), &log, false));
    } catch (const std::exception& e) {
        problems.push_back({found, std::string("the root model doesn't read: ") + e.what()});
        return;
    }
    if (!model || dynamic_cast<Folders*>(model.get()) == nullptr) {
        std::string message = log.str();
        for (char& c : message)
            if (c >= '\x01' && c <= '\x04')
                c = ' ';
        problems.push_back({found, "the root model doesn't read as a FOLDER:" + message});
        return;
    }
    for (const char* list : kModelLists)
        if (model->FindItem(ITEM_FOLDER, list, "") == nullptr)
            problems.push_back({found, std::string("the root model has no folder ") + list});
}

// Each configuration's folder, configuration.ini, version, data paths and model.
void CheckConfigurations(std::vector<Problem>& problems) {
    for (const std::string& name : EnvConfig::getConfigurationsList()) {
        const std::string folder = EnvConfig::getConfigPath(name);
        if (!IsFolder(folder)) {
            problems.push_back({folder, "configuration " + name + ": no such folder"});
            continue;
        }
        const std::string ini = folder + "/configuration.ini";
        if (!Commons::FileUtils::DoesFileExist(ini)) {
            problems.push_back({ini, "configuration " + name + ": no configuration.ini"});
            continue;
        }
        EnvConfig::Version version{};
        if (!EnvConfig::getConfigVersion(folder, version))
            problems.push_back(
                {ini, "configuration " + name +
                          ": no readable version (the configuration is left out of every listing)"});
        const std::vector<std::string> roots = EnvConfig::getSeparatedPathForConfiguration(name, "");
        if (roots.empty())
            problems.push_back({ini, "configuration " + name + ": no data path"});
        for (const std::string& root : roots)
            if (!IsFolder(root))
                problems.push_back({ini, "configuration " + name + ": data path " + root + " doesn't exist"});
        CheckModel(name, problems);
    }
}

// A message of several lines (a load failure quotes the parser) as one.
std::string OneLine(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at))
        text.replace(at, 1, " ");
    return text;
}

// A path as the file system knows it, variables expanded.
std::string Concrete(const std::string& path) {
    std::string expanded;
    Commons::System::ExpandLocalEnvironmentVariables(path, expanded,
                                                     Commons::System::DaemonVariableMatchingPattern, {});
    return expanded;
}

// A scenario listed by several configurations fails the same way in each: it
// is told once.
void AddOnce(std::vector<Problem>& problems, const Problem& problem) {
    for (const Problem& known : problems)
        if (known.file == problem.file && known.what == problem.what)
            return;
    problems.push_back(problem);
}

// Every scenario the driver lists opens with its node tree, which parses its
// scripts against the configuration's model.
void CheckScenarios(const std::string& installation, std::vector<Problem>& problems) {
    TavrelScenarioTemplateDb::TavrelDatabaseDriver driver(installation, "*", "*");
    std::vector<std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory>> versions, configurations, directories;
    driver.getRootDirectory()->getDirectories(versions);
    for (const auto& version : versions) {
        version->getDirectories(configurations);
        for (const auto& configuration : configurations) {
            tavrel::runCatching(
                [&] {
                    configuration->getDirectories(directories);
                    for (const auto& directory : directories) {
                        std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>> scenarios;
                        directory->getScenarios(scenarios);
                        for (const auto& scenario : scenarios)
                            tavrel::runCatching([&] { scenario->getRootScenarioNode(); },
                                                [&](const std::string& message, int code) {
                                                    AddOnce(problems, {Concrete(scenario->getFilePath()),
                                                                       OneLine(message) + " (code " +
                                                                           std::to_string(code) + ")"});
                                                });
                    }
                },
                [&](const std::string& message, int code) {
                    problems.push_back(
                        {configuration->getName(), message + " (code " + std::to_string(code) + ")"});
                });
        }
    }
}

void RunDoctor(const DoctorOptions& options) {
    const std::string installation = tavrel::resolveInstallation(options.installation);
    std::vector<Problem> problems;
    if (!Commons::FileUtils::DoesFileExist(installation)) {
        problems.push_back({installation, "no installation file"});
    } else {
        try {
            EnvConfig::setTavrelConfigFilePath(installation);
            CheckConfigurations(problems);
            if (options.scenarios)
                CheckScenarios(installation, problems);
        } catch (const lmkUtils::ConfigurationError& e) {
            // "FILE:LINE: what" already.
            problems.push_back({std::string(), e.what()});
        }
    }
    for (const Problem& problem : problems) {
        if (options.json)
            std::cout << nlohmann::ordered_json{{"file", problem.file}, {"problem", problem.what}}.dump()
                      << '\n';
        else if (problem.file.empty())
            std::cout << problem.what << '\n';
        else
            std::cout << problem.file << ": " << problem.what << '\n';
    }
    const size_t configurations = EnvConfig::getConfigurationsList().size();
    if (options.json)
        std::cout << nlohmann::ordered_json{{"summary",
                                             {{"installation", installation},
                                              {"configurations", configurations},
                                              {"problems", problems.size()}}}}
                         .dump()
                  << '\n';
    else if (problems.empty())
        std::cout << "no problem found in " << installation << " (" << configurations
                  << " configuration(s))\n";
    else
        std::cout << problems.size() << " problem(s) in " << installation << '\n';
    tavrel::exitStatus = problems.empty() ? 0 : 1;
}

} // namespace

void tavrel::addDoctorCommand(CLI::App& app) {
    auto options = std::make_shared<DoctorOptions>();
    CLI::App* doctor =
        app.add_subcommand("doctor", "Check an installation: its file, configurations, data "
                                     "paths, root models and, with --scenarios, every scenario");
    doctor->add_option("--installation", options->installation,
                       "Installation file (default: $TAVREL_CONFIG, else the sample)");
    doctor->add_flag("--scenarios", options->scenarios,
                     "Also open every scenario and parse its scripts against its configuration's model");
    doctor->add_flag("--json", options->json, "One JSON object a line instead of text");
    doctor->callback([options]() { tavrel::runReporting([&] { RunDoctor(*options); }); });
}

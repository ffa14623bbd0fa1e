// show, fetch, set: one scenario of the installation, found by its path
// relative to its scenario directory.
#include "Commands.h"
#include "Common.h"
#include "ScenarioContent.h"

#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavrel {

namespace {

// What every scenario command needs to find its scenario.
struct ScenarioOptions {
    std::string installation;
    std::string configuration;
    std::string path;
    bool json = false;

    void addTo(CLI::App& command) {
        command.add_option("PATH", path, "Scenario path relative to its scenario directory")->required();
        command.add_option("--installation", installation,
                           "Installation file (default: $TAVREL_CONFIG, else the sample)");
        command.add_option(
            "--configuration", configuration,
            "Configuration whose data path holds the scenario (default: the installation's current one)");
    }

    /// A driver filtered on the configuration asked for, or on the installation's current one.
    TavrelScenarioTemplateDb::TavrelDatabaseDriver driver() { return openDriver(installation, configuration); }
};

// The header of `show`; further sections of the listing go after it.
void printSummary(const ScenarioTemplateDb::Scenario& scenario, std::ostream& out) {
    // Everything is read before anything is printed, so a scenario that fails
    // to load shows no partial listing.
    const std::string name = scenario.getName();
    const std::string description = scenario.getDescription();
    out << "name: " << name << "\n";
    out << "description: " << description << "\n";
    out << "file: " << scenario.getFilePath() << "\n";
}

void addShow(CLI::App& app) {
    auto options = std::make_shared<ScenarioOptions>();
    CLI::App* command = app.add_subcommand(
        "show", "Show a scenario's name, description and file, its node tree and its variadic parameters");
    options->addTo(*command);
    command->add_flag("--json", options->json, "print the same as JSON");
    command->callback([options] {
        runReporting([&] {
            auto scenario = options->driver().getScenario(options->path);
            if (options->json) {
                std::cout << describeScenario(*scenario).dump(2) << "\n";
                return;
            }
            printSummary(*scenario, std::cout);
            const nlohmann::ordered_json tree = describeNodeTree(*scenario);
            const nlohmann::ordered_json variadics = describeVariadics(*scenario);
            printNodeTree(tree, std::cout);
            printVariadics(variadics, std::cout);
        });
    });
}

void addFetch(CLI::App& app) {
    auto options = std::make_shared<ScenarioOptions>();
    CLI::App* command = app.add_subcommand("fetch", "Write a scenario file's raw bytes to standard output");
    options->addTo(*command);
    command->callback([options] {
        runReporting([&] {
            auto scenario = options->driver().getScenario(options->path);
            std::vector<unsigned char> bytes;
            scenario->fetch(bytes);
            std::cout.write(reinterpret_cast<const char*>(bytes.data()),
                            static_cast<std::streamsize>(bytes.size()));
            std::cout.flush();
        });
    });
}

struct SetOptions : ScenarioOptions {
    std::string name;
    std::string description;
    std::string saveAs;
};

void addSet(CLI::App& app) {
    auto options = std::make_shared<SetOptions>();
    CLI::App* command = app.add_subcommand("set", "Change a scenario's name or description and save it");
    options->addTo(*command);
    CLI::Option* name = command->add_option("--name", options->name, "New name");
    CLI::Option* description = command->add_option("--description", options->description, "New description");
    command->add_option("--save-as", options->saveAs, "Save as this path, in the same scenario directory");
    command->callback([options, name, description] {
        runReporting([&] {
            auto driver = options->driver();
            auto scenario = driver.getScenario(options->path);
            auto* tavrelScenario = dynamic_cast<TavrelScenarioTemplateDb::TavrelScenario*>(scenario.get());
            if (!tavrelScenario)
                throw std::runtime_error("not a Tavrel scenario: " + options->path);
            if (*name)
                tavrelScenario->setName(options->name);
            if (*description)
                tavrelScenario->setDescription(options->description);
            if (!options->saveAs.empty())
                tavrelScenario->setPath(options->saveAs);
            const std::string expectedName = tavrelScenario->getName();
            tavrelScenario->save();
            // Saving reports nothing: read the file back to tell the user.
            bool saved = false;
            try {
                auto reread = driver.getScenario(tavrelScenario->getPath());
                saved = reread->getFilePath() == tavrelScenario->getFilePath() &&
                        reread->getName() == expectedName;
            } catch (const ScenarioTemplateDb::Exception&) {
            }
            if (!saved)
                throw std::runtime_error("the scenario could not be saved to " +
                                         tavrelScenario->getFilePath());
            std::cout << "saved " << tavrelScenario->getFilePath() << "\n";
        });
    });
}

} // namespace

void addScenarioCommands(CLI::App& app) {
    addShow(app);
    addFetch(app);
    addSet(app);
}

} // namespace tavrel

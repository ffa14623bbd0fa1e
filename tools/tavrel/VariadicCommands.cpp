// tavrel get, tavrel variadic: one parameter by its full id, and the variadic
// declarations of a scenario file, listed and edited through the template.
#include "Commands.h"
#include "Common.h"
#include "ScenarioContent.h"
#include "VariadicEdit.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <boost/lexical_cast.hpp>

#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;
using TavrelScenarioTemplateDb::TavrelDatabaseDriver;
using TavrelScenarioTemplateDb::TavrelScenario;
using TavrelScenarioTemplateDb::TavrelVariadicParameter;

namespace tavrel {

namespace {

struct FileOptions {
    std::string file;
    std::string installation;
    std::string configuration;
    bool json = false;
};

void addFileOptions(CLI::App& command, FileOptions& options) {
    command
        .add_option("PATH", options.file,
                    "scenario path relative to its scenario directory, or a scenario file on disk")
        ->required();
    command.add_option("--installation", options.installation,
                       "installation file (default: $TAVREL_CONFIG, else the sample)");
    command.add_option(
        "--configuration", options.configuration,
        "configuration whose data path holds the scenario (default: the installation's current one)");
}

// A path of the installation is looked up as the driver does; a file on disk
// that isn't one is opened as it stands, with the configuration in force.
std::unique_ptr<TavrelScenario> open(const FileOptions& options) {
    const std::string installation = resolveInstallation(options.installation);
    const bool onDisk = std::filesystem::is_regular_file(options.file);
    if (onDisk && options.installation.empty() && !std::filesystem::exists(installation))
        return openScenarioFile(options.file, options.configuration);
    std::string configuration = options.configuration;
    if (configuration.empty()) {
        // Opening the installation makes it the one in force, whose current
        // configuration is then known.
        TavrelDatabaseDriver whole(installation, "*", "*");
        configuration = lmkUtils::EnvConfig::getCurrentConfiguration();
    }
    TavrelDatabaseDriver driver(installation, "*", configuration);
    try {
        return std::unique_ptr<TavrelScenario>(driver.createTavrelScenario(configuration, options.file));
    } catch (const Exception&) {
        if (!onDisk)
            throw;
    }
    return openScenarioFile(options.file, configuration);
}

template <class T> T parse(const std::string& text, const std::string& what) {
    try {
        return boost::lexical_cast<T>(text);
    } catch (const boost::bad_lexical_cast&) {
        throw Exception("Invalid " + what + ": \"" + text + "\"", ExceptionCodeGeneric);
    }
}

bool parseBoolean(const std::string& text) {
    if (text == "true" || text == "1")
        return true;
    if (text == "false" || text == "0")
        return false;
    throw Exception("Invalid boolean default: \"" + text + "\" (true or false)", ExceptionCodeGeneric);
}

template <class T> std::vector<std::pair<T, T>> parseRanges(const std::vector<std::string>& texts) {
    std::vector<std::pair<T, T>> ranges;
    for (const std::string& text : texts) {
        // The separator is the first ":" after the first character, so that a
        // negative minimum reads as one.
        const size_t colon = text.find(':', 1);
        if (colon == std::string::npos)
            throw Exception("Invalid range: \"" + text + "\" (MIN:MAX)", ExceptionCodeGeneric);
        ranges.emplace_back(parse<T>(text.substr(0, colon), "range minimum"),
                            parse<T>(text.substr(colon + 1), "range maximum"));
    }
    return ranges;
}

} // namespace

// Everything is checked before the file is touched, so that bad input changes nothing.
void addVariadic(TavrelScenario& scenario, const VariadicDeclaration& options) {
    ScenarioTemplateDb::ScenarioParameter* target = scenario.getParameterFromId(options.target);
    if (!target)
        throw Exception("Invalid parameter id: " + options.target, ExceptionCodeGeneric);
    if (options.type != "integer" && options.type != "real" && options.type != "boolean" &&
        options.type != "literal")
        throw Exception("Invalid type: \"" + options.type + "\" (integer, real, boolean or literal)",
                        ExceptionCodeGeneric);
    if (!options.ranges.empty() && options.type != "integer" && options.type != "real")
        throw Exception("Ranges need the type integer or real", ExceptionCodeGeneric);
    if (!options.literals.empty() && options.type != "literal")
        throw Exception("Literals need the type literal", ExceptionCodeGeneric);

    std::vector<std::pair<int, int>> integerRanges;
    std::vector<std::pair<double, double>> realRanges;
    int integerDefault = 0;
    double realDefault = 0;
    bool booleanDefault = false;
    if (options.type == "integer") {
        integerDefault = parse<int>(options.defaultValue, "integer default");
        integerRanges = parseRanges<int>(options.ranges);
    } else if (options.type == "real") {
        realDefault = parse<double>(options.defaultValue, "real default");
        realRanges = parseRanges<double>(options.ranges);
    } else if (options.type == "boolean") {
        booleanDefault = parseBoolean(options.defaultValue);
    }

    // The type first, then the default (which makes the typed section), then the domain.
    TavrelVariadicParameter* variadic = scenario.addNewVariadicParameter();
    variadic->setName(options.name);
    variadic->setDescription(options.description);
    variadic->setParameterId(options.target);
    variadic->setParameterUnit(options.unit);
    // A new range goes to the front of the list but to the end of the file, so
    // they are created in the order given to read back in that order.
    const size_t front = std::numeric_limits<size_t>::max();
    if (options.type == "integer") {
        variadic->setType(ScenarioTemplateDb::ParameterTypeInteger);
        variadic->setIntegerDefaultValue(integerDefault);
        for (const auto& range : integerRanges) {
            auto& created = variadic->insertIntegerRange(front);
            created.setMinimum(range.first);
            created.setMaximum(range.second);
        }
    } else if (options.type == "real") {
        variadic->setType(ScenarioTemplateDb::ParameterTypeReal);
        variadic->setRealDefaultValue(realDefault);
        for (const auto& range : realRanges) {
            auto& created = variadic->insertRealRange(front);
            created.setMinimum(range.first);
            created.setMaximum(range.second);
        }
    } else if (options.type == "boolean") {
        variadic->setType(ScenarioTemplateDb::ParameterTypeBoolean);
        variadic->setBooleanDefaultValue(booleanDefault);
    } else {
        variadic->setType(ScenarioTemplateDb::ParameterTypeLiteral);
        variadic->setLiteralDefaultValue(options.defaultValue);
        for (const std::string& literal : options.literals)
            variadic->insertLiteral(front) = literal;
    }
}

void removeVariadic(TavrelScenario& scenario, size_t index) {
    // The template ignores a bad index; here it is worth telling.
    if (index >= scenario.getVariadicParameterNumber())
        throw Exception("Invalid variadic parameter index", ScenarioTemplateDb::ExceptionCodeInvalidIndex);
    scenario.removeVariadicParameter(index);
}

void clearVariadics(TavrelScenario& scenario) {
    scenario.getVariadicParameterNumber(); // clearing acts on a loaded file only
    scenario.clear();
}

void addVariadicCommands(CLI::App& app) {
    auto getOptions = std::make_shared<FileOptions>();
    auto parameterId = std::make_shared<std::string>();
    CLI::App* get = app.add_subcommand("get", "print the value of one parameter, found by its full id");
    addFileOptions(*get, *getOptions);
    get->add_option("PARAMETER_ID", *parameterId, "full parameter id, such as /sce/Scenario/Road/lanes")
        ->required();
    get->callback([getOptions, parameterId] {
        runReporting([&] {
            std::unique_ptr<TavrelScenario> scenario = open(*getOptions);
            ScenarioTemplateDb::ScenarioParameter* parameter = scenario->getParameterFromId(*parameterId);
            if (!parameter)
                throw Exception("Invalid parameter id: " + *parameterId, ExceptionCodeGeneric);
            std::cout << parameter->getValueAsString() << "\n";
        });
    });

    CLI::App* variadic =
        app.add_subcommand("variadic", "list and edit the variadic parameters of a scenario");
    variadic->require_subcommand(1);
    // The file comes before the action (tavrel variadic PATH list); the file's
    // options may also follow the action.
    auto fileOptions = std::make_shared<FileOptions>();
    addFileOptions(*variadic, *fileOptions);
    variadic->fallthrough();

    CLI::App* list = variadic->add_subcommand("list", "print the variadic parameters");
    list->add_flag("--json", fileOptions->json, "print them as JSON");
    list->callback([fileOptions] {
        runReporting([&] {
            std::unique_ptr<TavrelScenario> scenario = open(*fileOptions);
            const nlohmann::ordered_json variadics = describeVariadics(*scenario);
            if (fileOptions->json)
                std::cout << variadics.dump(2) << "\n";
            else
                printVariadics(variadics, std::cout);
        });
    });

    auto add = std::make_shared<VariadicDeclaration>();
    CLI::App* addCommand =
        variadic->add_subcommand("add", "declare a new variadic parameter and save the file");
    addCommand->add_option("--name", add->name, "display name")->required();
    addCommand->add_option("--description", add->description, "description");
    addCommand->add_option("--target", add->target, "full id of the parameter to vary")->required();
    addCommand->add_option("--unit", add->unit, "unit text, such as km/h");
    addCommand->add_option("--type", add->type, "integer, real, boolean or literal")->required();
    addCommand->add_option("--default", add->defaultValue, "default value")->required();
    addCommand->add_option("--range", add->ranges, "permitted range MIN:MAX (integer and real; repeatable)");
    addCommand->add_option("--literal", add->literals, "permitted text (literal; repeatable)");
    addCommand->callback([fileOptions, add] {
        runReporting([&] {
            std::unique_ptr<TavrelScenario> scenario = open(*fileOptions);
            addVariadic(*scenario, *add);
            scenario->save();
            std::cout << "added variadic parameter " << scenario->getVariadicParameterNumber() - 1 << "\n";
        });
    });

    auto index = std::make_shared<size_t>(0);
    CLI::App* remove = variadic->add_subcommand("remove", "remove one variadic parameter and save the file");
    remove->add_option("INDEX", *index, "position in the list")->required();
    remove->callback([fileOptions, index] {
        runReporting([&] {
            std::unique_ptr<TavrelScenario> scenario = open(*fileOptions);
            removeVariadic(*scenario, *index);
            scenario->save();
        });
    });

    CLI::App* clear = variadic->add_subcommand(
        "clear", "remove every variadic parameter, empty the description and save the file");
    clear->callback([fileOptions] {
        runReporting([&] {
            std::unique_ptr<TavrelScenario> scenario = open(*fileOptions);
            clearVariadics(*scenario);
            scenario->save();
        });
    });
}

} // namespace tavrel

// tavrel variants: concrete scenarios from a template's variadic declarations,
// written into a folder with a manifest.
#include "Commands.h"
#include "Common.h"

#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/Variants.h>

#include <iostream>
#include <memory>
#include <string>

using TavrelScenarioTemplateDb::VariantPlan;
using TavrelScenarioTemplateDb::VariantValue;

namespace tavrel {

namespace {

struct VariantsOptions {
    std::string path;
    std::string installation;
    std::string configuration;
    std::string out;
    bool defaults = false;
    bool grid = false;
    unsigned steps = 3;
    uint64_t random = 0;
    uint64_t seed = 0;
    uint64_t max = 10000;
    bool json = false;
};

nlohmann::ordered_json jsonOf(const VariantValue& value) {
    return std::visit([](const auto& v) { return nlohmann::ordered_json(v); }, value);
}

} // namespace

void addVariantsCommand(CLI::App& app) {
    auto options = std::make_shared<VariantsOptions>();
    CLI::App* command = app.add_subcommand(
        "variants", "Write concrete scenarios of a template, one value per variadic parameter, and a manifest");
    command->add_option("PATH", options->path, "Scenario path relative to its scenario directory")->required();
    command->add_option("--installation", options->installation,
                        "Installation file (default: $TAVREL_CONFIG, else the sample)");
    command->add_option("--configuration", options->configuration,
                        "Configuration whose data path holds the scenario (default: the installation's current one)");
    CLI::Option* defaults = command->add_flag("--defaults", options->defaults, "One variant: every default value");
    CLI::Option* grid = command->add_flag("--grid", options->grid, "Every combination of the domains' values");
    command->add_option("--steps", options->steps, "Grid: values per real range, both ends included (default 3)")
        ->check(CLI::Range(2u, 1000000u));
    CLI::Option* random = command->add_option("--random", options->random, "N variants drawn at random");
    CLI::Option* seed = command->add_option("--seed", options->seed, "Seed of the random draw");
    command->add_option("--out", options->out, "Folder to write the variants and variants.csv into")->required();
    command->add_option("--max", options->max, "Refuse a grid of more variants than this (default 10000)");
    command->add_flag("--json", options->json, "Print the variants written as JSON");
    random->needs(seed);
    defaults->excludes(grid)->excludes(random);
    grid->excludes(random);

    command->callback([options, defaults, grid, random] {
        if (defaults->count() + grid->count() + random->count() != 1)
            throw CLI::ValidationError("variants", "give one of --defaults, --grid, --random N --seed S");
        runReporting([&] {
            VariantPlan plan;
            plan.sampling = options->grid ? VariantPlan::Grid
                            : random->count() ? VariantPlan::Random
                                              : VariantPlan::Defaults;
            plan.steps = options->steps;
            plan.count = options->random;
            plan.seed = options->seed;
            plan.max = options->max;
            std::string configuration = options->configuration;
            auto scenario = std::dynamic_pointer_cast<TavrelScenarioTemplateDb::TavrelScenario>(
                openDriver(options->installation, configuration).getScenario(options->path));
            const auto variants = TavrelScenarioTemplateDb::GenerateVariants(*scenario, plan, options->out);
            const TavrelScenarioTemplateDb::VariantWriter names(*scenario);
            const auto& domains = names.getDomains();
            if (options->json) {
                nlohmann::ordered_json out{{"template", scenario->getFilePath()},
                                           {"folder", options->out},
                                           {"manifest", options->out + "/variants.csv"}};
                out["variants"] = nlohmann::ordered_json::array();
                for (const auto& variant : variants) {
                    nlohmann::ordered_json values = nlohmann::ordered_json::object();
                    for (size_t i = 0; i < domains.size(); ++i)
                        values[domains[i].name] = jsonOf(variant.values[i]);
                    out["variants"].push_back({{"file", variant.file}, {"values", values}});
                }
                std::cout << out.dump(2) << "\n";
                return;
            }
            for (const auto& variant : variants) {
                std::cout << variant.file;
                for (size_t i = 0; i < domains.size(); ++i)
                    std::cout << (i == 0 ? "  " : ", ") << domains[i].name << "="
                              << TavrelScenarioTemplateDb::VariantValueText(variant.values[i])
                              << (domains[i].unit.empty() ? "" : " " + domains[i].unit);
                std::cout << "\n";
            }
            std::cout << "wrote " << variants.size() << " variant" << (variants.size() == 1 ? "" : "s") << " of "
                      << scenario->getFilePath() << " and " << options->out << "/variants.csv\n";
        });
    });
}

} // namespace tavrel

// tavrel script check: loads a script against a root model and lists each item
// that breaks a validity rule of its own, one line per item in the form of a
// compiler's diagnostics, so that editors and scripts can take the list up.
#include "Commands.h"
#include "Common.h"
#include "Scripts.h"

#include <TavrelScenarioTemplateDb/ScriptNode.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/Commons/System.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/ScenarioModel.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using tavrel::CheckFinding;
using tavrel::CheckReport;

struct CheckOptions {
    std::string file;
    std::string rootModel;
    std::string installation;
    std::string configuration;
    bool json = false;
};

constexpr int kStatusInvalid = 1;
constexpr int kStatusUnreadable = 2;

// What the walk needs besides the tree.
struct Walk {
    const ItemRowRecord& rows;
    const tavrel::IncludesBeside& includes;
    std::string file;
    std::vector<CheckFinding> findings;
    size_t items = 0;
    // The rows of `file` before the text read: a script of a scenario file
    // starts where its section's text does.
    uint32_t rowOffset = 0;
};

// The file and row of an item as the user can open them: an include read from
// beside the script is named by its path there. An item the reader didn't make
// (a parameter added to upgrade a call, say) stands at the place of its parent.
ItemRowRecord::Place PlaceOf(const Walk& walk, const ScenarioItem& item, const ItemRowRecord::Place& above) {
    ItemRowRecord::Place place;
    if (!walk.rows.Find(&item, place))
        return above;
    if (place.file.empty() || place.file == walk.file) {
        place.file = walk.file;
        place.row += walk.rowOffset;
    } else if (walk.includes.Contains(place.file)) {
        place.file = walk.includes.PathOf(place.file);
    }
    return place;
}

// Items invalid only through an item below them are left out: the item below
// is listed with its own reason.
void Collect(Walk& walk, ScenarioItem& item, const ItemRowRecord::Place& above) {
    ++walk.items;
    const ItemRowRecord::Place place = PlaceOf(walk, item, above);
    if (!item.IsValid()) {
        std::string reason = InvalidityReason(item);
        if (!reason.empty())
            walk.findings.push_back(CheckFinding{place.file, place.row, tavrel::itemPath(&item),
                                                 KindKeyword(item.kind), std::move(reason)});
    }
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        if (child != nullptr)
            Collect(walk, *child, place);
}

// Holds the standard output while it lives: an include read from disk logs
// there, and the diagnostics want that stream for themselves.
class CapturedOutput {
public:
    CapturedOutput() : former_(std::cout.rdbuf(text_.rdbuf())) {}
    ~CapturedOutput() { std::cout.rdbuf(former_); }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    std::string Text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* former_;
};

// What the loads of one check say, kept for the report.
struct Messages {
    std::ostringstream notes;
    std::ostringstream problems;

    void PrintLog(const std::string& log, bool withNotes) {
        tavrel::printLog(log, withNotes, notes, problems);
    }
    CheckReport& Into(CheckReport& report) const {
        report.notes = notes.str();
        report.problems = problems.str();
        return report;
    }
};

// Reads a file; null after its messages and an error line. A value that doesn't
// convert comes up from the reader as an exception.
std::unique_ptr<ScenarioItem> Load(const std::string& path, Messages& messages) {
    std::ostringstream log;
    std::string output;
    std::unique_ptr<ScenarioItem> item;
    std::string error;
    {
        CapturedOutput captured;
        try {
            item.reset(LoadScenarioFile(path.c_str(), &log, false));
        } catch (const std::exception& thrown) {
            error = path + ": " + thrown.what();
        }
        output = captured.Text();
    }
    // Once the file reads, what the reader noted on the way (an include that
    // didn't load) still counts; its progress notes don't.
    const bool notes = !item;
    messages.PrintLog(output, notes);
    messages.PrintLog(log.str(), notes);
    if (!error.empty()) {
        messages.problems << "error: " << error << std::endl;
        return nullptr;
    }
    if (!item)
        messages.problems << "error: unable to load " << path << std::endl;
    return item;
}

// In the order of the text: the walked file's rows first, then each include's.
void SortFindings(Walk& walk) {
    std::stable_sort(walk.findings.begin(), walk.findings.end(),
                     [&](const CheckFinding& a, const CheckFinding& b) {
                         return std::make_tuple(a.file != walk.file, a.file, a.row) <
                                std::make_tuple(b.file != walk.file, b.file, b.row);
                     });
}

CheckReport& Finish(Walk& walk, CheckReport& report) {
    SortFindings(walk);
    report.readable = true;
    report.items = walk.items;
    report.findings = std::move(walk.findings);
    return report;
}

// The row of the file at which `text` starts within `content`; 0 when it
// isn't found there.
uint32_t RowOf(const std::string& content, const std::string& text) {
    const size_t at = content.find(text);
    if (at == std::string::npos)
        return 0;
    return static_cast<uint32_t>(
        std::count(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
}

// The loads' messages, the findings and the summary, with the exit status.
void Print(const CheckReport& report, bool json) {
    std::cout << report.notes;
    std::cerr << report.problems;
    if (!report.readable) {
        tavrel::exitStatus = kStatusUnreadable;
        return;
    }
    for (const CheckFinding& finding : report.findings) {
        if (json)
            std::cout << tavrel::describeFinding(finding).dump() << '\n';
        else
            std::cout << finding.file << ':' << finding.row << ": " << finding.path << ": " << finding.reason
                      << '\n';
    }
    if (json)
        std::cout << nlohmann::ordered_json{{"summary",
                                             {{"items", report.items}, {"invalid", report.findings.size()}}}}
                         .dump()
                  << '\n';
    else if (report.findings.empty())
        std::cout << "all " << report.items << " item(s) valid\n";
    else
        std::cout << report.findings.size() << " invalid item(s) in " << report.items << " item(s)\n";
    tavrel::exitStatus = report.findings.empty() ? 0 : kStatusInvalid;
}

} // namespace

nlohmann::ordered_json tavrel::describeFinding(const CheckFinding& finding) {
    return nlohmann::ordered_json{{"file", finding.file},
                                  {"row", finding.row},
                                  {"path", finding.path},
                                  {"kind", finding.kind},
                                  {"reason", finding.reason}};
}

CheckReport tavrel::checkScriptFile(const std::string& file, const std::string& rootModel) {
    CheckReport report;
    Messages messages;
    std::unique_ptr<ScenarioItem> model = Load(rootModel, messages);
    if (!model)
        return messages.Into(report);
    Folders* folders = dynamic_cast<Folders*>(model.get());
    if (folders == nullptr) {
        messages.problems << "error: " << rootModel << " is no root model" << std::endl;
        return messages.Into(report);
    }
    // Items of the script point into the model, which therefore stays.
    scenarioRootModel = folders;
    model.release();

    // Rows are noted for the script only, not for the model.
    const ItemRowRecord rows;
    const tavrel::IncludesBeside includes(file);
    std::unique_ptr<ScenarioItem> script = Load(file, messages);
    if (!script)
        return messages.Into(report);
    script->UpdateDisplayTextTree();

    Walk walk{rows, includes, file, {}, 0};
    Collect(walk, *script, ItemRowRecord::Place{file, 1});
    return messages.Into(Finish(walk, report));
}

// Every script of a scenario of the installation, against the root model of
// the configuration that holds it, as a template opens them.
CheckReport tavrel::checkScenarioScripts(const TavrelScenarioTemplateDb::TavrelDatabaseDriver& driver,
                                         const std::string& path, const std::string& configuration) {
    CheckReport report;
    Messages messages;
    std::string file;
    Commons::System::ExpandLocalEnvironmentVariables(driver.getScenario(path)->getFilePath(), file,
                                                     Commons::System::DaemonVariableMatchingPattern, {});
    cfg::CfgScenario sections;
    if (!sections.load(file.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true)) {
        messages.problems << "error: " << sections.errorMessage << std::endl;
        return messages.Into(report);
    }
    // Opening the file as a template reads the configuration's root model.
    lmkUtils::EnvConfig::setConfig(configuration, false);
    const TavrelScenarioTemplateDb::TavrelScenario opened(&sections);
    const std::string content = tavrel::readTextFile(file);

    const ItemRowRecord rows;
    const tavrel::IncludesBeside includes(file);
    Walk walk{rows, includes, file, {}, 0};
    std::vector<cfg::Section*> scripts;
    sections.getRootSection()->getSubSections(cfg::ScenarioScript::sectionName(), scripts);
    for (cfg::Section* section : scripts) {
        const auto* script = dynamic_cast<const cfg::ScenarioScript*>(section);
        if (script == nullptr || !TavrelScenarioTemplateDb::ScriptNode::IsShown(*script))
            continue;
        walk.rowOffset = RowOf(content, script->text);
        std::unique_ptr<ScenarioItem> root;
        std::ostringstream log;
        {
            const ItemRowRecord::File named(file);
            ScenarioTextStream stream(script->text.c_str(), script->text.size() + 1);
            ItemLoadContext context;
            CapturedOutput captured;
            root.reset(LoadScenarioText(stream, nullptr, &context, &log, false));
            if (!root) {
                messages.PrintLog(captured.Text(), true);
                messages.PrintLog(log.str(), true);
                messages.problems << file << ':' << walk.rowOffset + stream.line << ": error: script "
                                  << script->name << " doesn't read" << std::endl;
                return messages.Into(report);
            }
        }
        root->UpdateDisplayTextTree();
        Collect(walk, *root, ItemRowRecord::Place{file, 1});
    }
    return messages.Into(Finish(walk, report));
}

void tavrel::addScriptCheckCommand(CLI::App& script) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* check = script.add_subcommand("check", "List the items of a script that are invalid, by row");
    check
        ->add_option("FILE", options->file,
                     "File in the scenario text format, or without --root-model a scenario path relative "
                     "to its scenario directory")
        ->required();
    CLI::Option* model =
        check->add_option("--root-model", options->rootModel, "Root model that the script is linked against");
    check
        ->add_option("--installation", options->installation,
                     "Installation file (default: $TAVREL_CONFIG, else the sample)")
        ->excludes(model);
    check
        ->add_option(
            "--configuration", options->configuration,
            "Configuration whose data path holds the scenario (default: the installation's current one)")
        ->excludes(model);
    check->add_flag("--json", options->json, "One JSON object a line instead of text");
    check->callback([options]() {
        if (!options->rootModel.empty()) {
            Print(tavrel::checkScriptFile(options->file, options->rootModel), options->json);
            return;
        }
        // A scenario that can't be opened (no such file, no root model) is a
        // script that doesn't load.
        bool failed = true;
        tavrel::runReporting([&] {
            std::string configuration = options->configuration;
            const TavrelScenarioTemplateDb::TavrelDatabaseDriver driver =
                tavrel::openDriver(options->installation, configuration);
            Print(tavrel::checkScenarioScripts(driver, options->file, configuration), options->json);
            failed = false;
        });
        if (failed)
            tavrel::exitStatus = kStatusUnreadable;
    });
}

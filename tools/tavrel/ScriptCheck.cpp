// tavrel script check: loads a script against a root model and lists each item
// that breaks a validity rule of its own, one line per item in the form of a
// compiler's diagnostics, so that editors and scripts can take the list up.
#include "Commands.h"
#include "Common.h"

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

struct CheckOptions {
    std::string file;
    std::string rootModel;
    bool json = false;
};

constexpr int kStatusInvalid = 1;
constexpr int kStatusUnreadable = 2;

struct Finding {
    std::string file;
    uint32_t row;
    std::string path;
    const char* kind;
    std::string reason;
};

// What the walk needs besides the tree.
struct Walk {
    const ItemRowRecord& rows;
    const tavrel::IncludesBeside& includes;
    const std::string& file;
    std::vector<Finding> findings;
    size_t items = 0;
};

// The file and row of an item as the user can open them: an include read from
// beside the script is named by its path there. An item the reader didn't make
// (a parameter added to upgrade a call, say) stands at the place of its parent.
ItemRowRecord::Place PlaceOf(const Walk& walk, const ScenarioItem& item, const ItemRowRecord::Place& above) {
    ItemRowRecord::Place place;
    if (!walk.rows.Find(&item, place))
        return above;
    if (place.file.empty())
        place.file = walk.file;
    else if (place.file != walk.file && walk.includes.Contains(place.file))
        place.file = walk.includes.PathOf(place.file);
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
            walk.findings.push_back(Finding{place.file, place.row, tavrel::itemPath(&item),
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

// Reads a file; null after its messages and an error line. A value that doesn't
// convert comes up from the reader as an exception.
std::unique_ptr<ScenarioItem> Load(const std::string& path) {
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
    tavrel::printLog(output, notes);
    tavrel::printLog(log.str(), notes);
    if (!error.empty()) {
        std::cerr << "error: " << error << std::endl;
        return nullptr;
    }
    if (!item)
        std::cerr << "error: unable to load " << path << std::endl;
    return item;
}

void Print(const Walk& walk, bool json) {
    for (const Finding& finding : walk.findings) {
        if (json)
            std::cout << nlohmann::ordered_json{{"file", finding.file},
                                                {"row", finding.row},
                                                {"path", finding.path},
                                                {"kind", finding.kind},
                                                {"reason", finding.reason}}
                             .dump()
                      << '\n';
        else
            std::cout << finding.file << ':' << finding.row << ": " << finding.path << ": " << finding.reason
                      << '\n';
    }
    if (json)
        std::cout << nlohmann::ordered_json{{"summary",
                                             {{"items", walk.items}, {"invalid", walk.findings.size()}}}}
                         .dump()
                  << '\n';
    else if (walk.findings.empty())
        std::cout << "all " << walk.items << " item(s) valid\n";
    else
        std::cout << walk.findings.size() << " invalid item(s) in " << walk.items << " item(s)\n";
}

void RunCheck(const CheckOptions& options) {
    std::unique_ptr<ScenarioItem> model = Load(options.rootModel);
    if (!model) {
        tavrel::exitStatus = kStatusUnreadable;
        return;
    }
    Folders* folders = dynamic_cast<Folders*>(model.get());
    if (folders == nullptr) {
        std::cerr << "error: " << options.rootModel << " is no root model" << std::endl;
        tavrel::exitStatus = kStatusUnreadable;
        return;
    }
    // Items of the script point into the model, which therefore stays.
    scenarioRootModel = folders;
    model.release();

    // Rows are noted for the script only, not for the model.
    const ItemRowRecord rows;
    const tavrel::IncludesBeside includes(options.file);
    std::unique_ptr<ScenarioItem> script = Load(options.file);
    if (!script) {
        tavrel::exitStatus = kStatusUnreadable;
        return;
    }
    script->UpdateDisplayTextTree();

    Walk walk{rows, includes, options.file, {}, 0};
    Collect(walk, *script, ItemRowRecord::Place{options.file, 1});
    // In the order of the text: the script's rows first, then each include's.
    std::stable_sort(walk.findings.begin(), walk.findings.end(), [&](const Finding& a, const Finding& b) {
        return std::make_tuple(a.file != options.file, a.file, a.row) <
               std::make_tuple(b.file != options.file, b.file, b.row);
    });
    Print(walk, options.json);
    tavrel::exitStatus = walk.findings.empty() ? 0 : kStatusInvalid;
}

} // namespace

void tavrel::addScriptCheckCommand(CLI::App& script) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* check = script.add_subcommand("check", "List the items of a script that are invalid, by row");
    check->add_option("FILE", options->file, "File in the scenario text format")->required();
    check->add_option("--root-model", options->rootModel, "Root model that the script is linked against")
        ->required();
    check->add_flag("--json", options->json, "One JSON object a line instead of text");
    check->callback([options]() { RunCheck(*options); });
}

#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

class Function;
class ScenarioItem;

namespace TavrelScenarioTemplateDb {
class TavrelDatabaseDriver;
}

// The work of `script parse`, `script check` and `script run`, apart from their
// printing, so that every host of these commands answers alike.
namespace tavrel {

// --- script parse --evaluate

/// The result of one call, or what stopped it.
struct CallEvaluation {
    bool done; ///< false: `problem` says why there is no value
    float value;
    std::string problem; ///< "no run-time entry for CODE N", or the assertion's place
};

/// Whether `item` is a call of a script (a FUNCTION that is no definition).
bool isEvaluableCall(const ScenarioItem& item);
/// Evaluates a call through the run-time function table. A CODE without entry,
/// or another internal assertion of the model, comes back as a problem instead
/// of ending the process.
CallEvaluation evaluateCall(Function& call);

// --- script check

/// One invalid item, at the row of its header in the file that holds it.
struct CheckFinding {
    std::string file;
    uint32_t row;
    std::string path;
    std::string kind;
    std::string reason;
};

/// What a check found, and what the loads said on the way.
struct CheckReport {
    /// False when the script or the model doesn't load (the tool's status 2).
    bool readable = false;
    size_t items = 0;
    std::vector<CheckFinding> findings;
    /// The loaders' notes, as the tool prints them on the standard output
    /// before the findings, and their warnings and errors (with the tool's
    /// "error:" lines), as it prints them on the error stream.
    std::string notes;
    std::string problems;
};

/// The JSON line of a finding: file, row, path, kind, reason.
nlohmann::ordered_json describeFinding(const CheckFinding& finding);

/// Checks a file of the scenario text format against the root model at
/// `rootModel`, which stays loaded as the process's root model.
CheckReport checkScriptFile(const std::string& file, const std::string& rootModel);
/// Checks every script of the scenario at `path`, found through `driver`
/// (filtered on `configuration`), against that configuration's root model, at
/// the rows of the scenario file. Throws what finding and opening the scenario
/// throw.
CheckReport checkScenarioScripts(const TavrelScenarioTemplateDb::TavrelDatabaseDriver& driver,
                                 const std::string& path, const std::string& configuration);

// --- script run

struct RunOptions {
    std::string file;
    std::string rootModel;
    std::string signals;
    double step = 0.1;
    double until = -1.0; ///< below 0: until the trace ends
};

/// What the rules and tasks report while the script runs: an event of an item
/// (0 holds, 1 fails, 2 starts), or a message an action shows.
struct RunEvent {
    double time;
    std::string path;
    bool isMessage;
    uint32_t event;
    const char* meaning;
    int32_t state; ///< of the nearest task with states above the item; -1 if none
    std::string message;
};

/// The JSON line of an event, times rounded to the microsecond.
nlohmann::ordered_json describeEvent(const RunEvent& event);

/// The state at the end of a run, as JSON (`steps`, `time`, `description`,
/// `tasks`, `variables`, `criteria`, `scores`) and as the tool's text lines.
struct RunSummary {
    nlohmann::ordered_json json;
    std::string text;
};

/// Why a script can't run: a message, and the lines that detail it (calls
/// without run-time entry, signals missing from the trace).
struct RunRefused {
    std::string message;
    std::vector<std::string> details;
};

/// Runs a scenario script against a signal trace with the tool's host entries.
/// Each event goes to `onEvent` as it happens; the loaders' and the run's
/// warnings and errors go to `problems` as they come. Throws RunRefused when
/// the script can't run. The root model stays loaded as the process's root
/// model; the run-time tables are reset at the end, whatever happens.
RunSummary runScript(const RunOptions& options, const std::function<void(const RunEvent&)>& onEvent,
                     std::ostream& problems);

} // namespace tavrel

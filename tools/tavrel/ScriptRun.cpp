// tavrel script run: runs a scenario script against a recorded signal trace,
// with a small set of host entries standing in for the simulator, and prints
// what the rules and tasks report while it runs.
#include "Commands.h"
#include "Common.h"
#include "Scripts.h"

#include <scenario/RuntimeTables.h>
#include <scenario/ScenarioModel.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using tavrel::RunEvent;
using tavrel::RunRefused;

struct RunCommandOptions : tavrel::RunOptions {
    bool json = false;
};

// Times are multiples of the step, computed in floating point; a row written
// as "2.3" must still count at the step that lands on 2.3000000000000003.
constexpr double kTimeTolerance = 1e-9;

// A recorded trace: named signals sampled at increasing times. A signal keeps
// the value of its last row at or before the time asked; before the first row
// every signal reads 0.
class SignalTrace {
public:
    // Reads "time,NAME,..." then one row of numbers a line; false with `error`
    // naming the line at fault.
    bool Load(const std::string& path, std::string& error) {
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            error = "unable to read " + path;
            return false;
        }
        std::string line;
        int number = 0;
        while (std::getline(in, line)) {
            ++number;
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (line.empty())
                continue;
            std::vector<std::string> cells = Split(line);
            if (names_.empty() && times_.empty()) {
                if (cells.empty() || cells[0] != "time") {
                    error = path + ":" + std::to_string(number) + ": the header must begin with \"time\"";
                    return false;
                }
                names_.assign(cells.begin() + 1, cells.end());
                continue;
            }
            if (cells.size() != names_.size() + 1) {
                error = path + ":" + std::to_string(number) + ": " + std::to_string(cells.size()) +
                        " cells, the header has " + std::to_string(names_.size() + 1);
                return false;
            }
            std::vector<double> row;
            for (const std::string& cell : cells) {
                char* end = nullptr;
                const double value = std::strtod(cell.c_str(), &end);
                if (cell.empty() || *end != '\0' || !std::isfinite(value)) {
                    error = path + ":" + std::to_string(number) + ": \"" + cell + "\" is no number";
                    return false;
                }
                row.push_back(value);
            }
            if (!times_.empty() && row[0] <= times_.back()) {
                error = path + ":" + std::to_string(number) + ": times must increase";
                return false;
            }
            times_.push_back(row[0]);
            rows_.emplace_back(row.begin() + 1, row.end());
        }
        if (names_.empty() && times_.empty()) {
            error = path + ": no header line";
            return false;
        }
        if (times_.empty()) {
            error = path + ": no rows";
            return false;
        }
        return true;
    }

    bool Has(const std::string& name) const { return Column(name) >= 0; }
    double EndTime() const { return times_.back(); }

    double Value(const std::string& name, double time) const {
        const int column = Column(name);
        if (column < 0)
            return 0.0;
        double value = 0.0;
        for (size_t i = 0; i < times_.size() && times_[i] <= time + kTimeTolerance; ++i)
            value = rows_[i][static_cast<size_t>(column)];
        return value;
    }

private:
    static std::vector<std::string> Split(const std::string& line) {
        std::vector<std::string> cells;
        std::string cell;
        std::istringstream in(line);
        while (std::getline(in, cell, ','))
            cells.push_back(Trim(cell));
        if (!line.empty() && line.back() == ',')
            cells.emplace_back();
        return cells;
    }
    static std::string Trim(const std::string& text) {
        const size_t first = text.find_first_not_of(" \t");
        if (first == std::string::npos)
            return std::string();
        return text.substr(first, text.find_last_not_of(" \t") - first + 1);
    }
    int Column(const std::string& name) const {
        for (size_t i = 0; i < names_.size(); ++i)
            if (names_[i] == name)
                return static_cast<int>(i);
        return -1;
    }

    std::vector<std::string> names_;
    std::vector<double> times_;
    std::vector<std::vector<double>> rows_;
};

using tavrel::itemPath;

// The nearest task at or above `item` that has states; null when none.
const Task* OwnerWithStates(const ScenarioItem* item) {
    for (; item != nullptr; item = item->parent) {
        const Task* task = dynamic_cast<const Task*>(item);
        if (task != nullptr && !task->subTasks.empty())
            return task;
    }
    return nullptr;
}

// Step times carry the error of their multiplication; JSON shows them as the
// text lines do, to the microsecond.
double RoundedTime(double time) {
    return std::round(time * 1e6) / 1e6;
}

std::string TimeText(double time) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f", time);
    return text;
}

std::string NumberText(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%g", value);
    return text;
}

// Hands each event of the run on as it happens.
class EventRecorder : public ScenarioItemObserver {
public:
    explicit EventRecorder(const std::function<void(const RunEvent&)>& onEvent) : onEvent_(onEvent) {}

    double time = 0.0;

    void OnItemEvent(ScenarioItemObservable* source, uint32_t event) override {
        const ScenarioItem* item = dynamic_cast<const ScenarioItem*>(source);
        const Task* owner = OwnerWithStates(item);
        const int32_t state = owner != nullptr ? owner->currentState : -1;
        const char* meaning = event == 0 ? "holds" : event == 1 ? "fails" : event == 2 ? "starts" : "event";
        onEvent_(RunEvent{time, itemPath(item), false, event, meaning, state, std::string()});
    }

    void Message(const ScenarioItem* where, const std::string& text) {
        onEvent_(RunEvent{time, itemPath(where), true, 0, nullptr, -1, text});
    }

private:
    const std::function<void(const RunEvent&)>& onEvent_;
};

// What the host entries see of the run.
struct Host {
    const SignalTrace* trace = nullptr;
    ScenarioLib::Scenario* scenario = nullptr;
    EventRecorder* printer = nullptr;
    double time = 0.0;

    double Signal(const std::string& name) const { return trace != nullptr ? trace->Value(name, time) : 0.0; }

    // The task that owns the state whose rule runs: a state's rules move their
    // owner; rules of a task without owner move the task itself.
    Task* StateOwner() const {
        Task* running = scenario->currentTask;
        if (running == nullptr)
            return nullptr;
        Task* owner = dynamic_cast<Task*>(running->parent);
        return owner != nullptr ? owner : running;
    }
};

// A variable passed by address arrives as "NUMBER OWNER_FILE"; the innermost
// visible variable of that number in that file is the one meant, as when a
// parameter reads it.
Variable* VariableByAddress(Host& host, const std::string& address) {
    if (host.scenario->currentTask == nullptr)
        return nullptr;
    const size_t blank = address.find(' ');
    const std::string number = address.substr(0, blank);
    const std::string file = blank == std::string::npos ? std::string() : address.substr(blank + 1);
    std::vector<ScenarioItem*> visible;
    host.scenario->currentTask->CollectVisibleItems(ITEM_VARIABLE, visible, number, std::string());
    Variable* found = nullptr;
    for (ScenarioItem* item : visible) {
        const ScenarioItem* scope = FindFileScope(item);
        if ((scope != nullptr ? scope->fileName : std::string()) == file)
            if (Variable* variable = dynamic_cast<Variable*>(item))
                found = variable;
    }
    return found;
}

struct NamedFunction {
    const char* name;
    FunctionEntry entry;
};
struct NamedCondition {
    const char* name;
    ConditionEntry entry;
    const char* signal; // the trace column it reads, if any
};
struct NamedAction {
    const char* name;
    ActionEntry entry;
};

// The host's entries, by the name of their definition in the root model; the
// CODE each one takes is read from the model, so that a model numbering its
// calls otherwise still runs. Definitions named here but absent from the model
// are skipped.
struct HostEntries {
    std::vector<NamedFunction> functions;
    std::vector<NamedCondition> conditions;
    std::vector<NamedAction> actions;
};

HostEntries MakeHostEntries(Host& host) {
    auto a = [](const ParameterValue* v) { return static_cast<double>(v[0].number); };
    auto b = [](const ParameterValue* v) { return static_cast<double>(v[1].number); };
    HostEntries entries;
    entries.functions = {
        {"PLUS", [=](const ParameterValue* v) { return static_cast<float>(a(v) + b(v)); }},
        {"MINUS", [=](const ParameterValue* v) { return static_cast<float>(a(v) - b(v)); }},
        {"MULTIPLY", [=](const ParameterValue* v) { return static_cast<float>(a(v) * b(v)); }},
        // A division by zero gives 0 rather than stopping the run.
        {"DIVIDE",
         [=](const ParameterValue* v) { return b(v) == 0.0 ? 0.0f : static_cast<float>(a(v) / b(v)); }},
        {"MODULO",
         [=](const ParameterValue* v) {
             return b(v) == 0.0 ? 0.0f : static_cast<float>(std::fmod(a(v), b(v)));
         }},
        {"ABS", [=](const ParameterValue* v) { return static_cast<float>(std::fabs(a(v))); }},
        {"MAX", [=](const ParameterValue* v) { return static_cast<float>(std::max(a(v), b(v))); }},
        {"GET_TIME", [&host](const ParameterValue*) { return static_cast<float>(host.time); }},
    };
    entries.conditions = {
        {"EQUAL", [=](const ParameterValue* v) { return a(v) == b(v); }, nullptr},
        {"NOTEQUAL", [=](const ParameterValue* v) { return a(v) != b(v); }, nullptr},
        {"INFERIOR", [=](const ParameterValue* v) { return a(v) < b(v); }, nullptr},
        {"INFEQUAL", [=](const ParameterValue* v) { return a(v) <= b(v); }, nullptr},
        {"SUPERIOR", [=](const ParameterValue* v) { return a(v) > b(v); }, nullptr},
        {"SUPEQUAL", [=](const ParameterValue* v) { return a(v) >= b(v); }, nullptr},
        // One light and one vehicle: the trace records the driver's own.
        {"IS_LIGHT_GREEN", [&host](const ParameterValue*) { return host.Signal("light_green") != 0.0; },
         "light_green"},
        {"IS_VEHICLE_STOPPED",
         [&host](const ParameterValue*) { return host.Signal("vehicle_stopped") != 0.0; }, "vehicle_stopped"},
    };
    entries.actions = {
        {"GOTO_STATE",
         [&host](const ParameterValue* v) {
             if (Task* owner = host.StateOwner()) {
                 owner->nextState = static_cast<int32_t>(std::lround(v[0].number));
                 owner->transitionPending = 1;
             }
         }},
        {"END_TASK",
         [&host](const ParameterValue*) {
             if (Task* owner = host.StateOwner()) {
                 owner->nextState = -3;
                 owner->transitionPending = 1;
             }
         }},
        {"SHOW_MESSAGE",
         [&host](const ParameterValue* v) { host.printer->Message(host.scenario->currentTask, v[0].text); }},
        {"SET_VARIABLE",
         [&host](const ParameterValue* v) {
             Variable* variable = VariableByAddress(host, v[0].text);
             if (variable == nullptr)
                 return;
             const double value = v[1].number;
             variable->value =
                 variable->type == "INTEGER" ? std::to_string(std::lround(value)) : NumberText(value);
         }},
    };
    return entries;
}

// The definitions of the model's list `listName`, by name.
std::map<std::string, const Function*> Definitions(Folders& model, const char* listName) {
    std::map<std::string, const Function*> out;
    for (ScenarioItem* list : model.children) {
        if (list == nullptr || list->kind != ITEM_FOLDER || list->name != listName)
            continue;
        std::vector<ScenarioItem*> children;
        list->GetChildren(children);
        for (ScenarioItem* child : children)
            if (const Function* definition = dynamic_cast<const Function*>(child))
                out.emplace(definition->name, definition);
    }
    return out;
}

// Fills the three tables with the host's entries at the model's CODEs, and
// nothing else: the tables' default entry at CODE 0 goes, so that a call the
// host doesn't implement is found before the run rather than answering 0.
void InstallHostEntries(Folders& model, const HostEntries& entries) {
    ResetRuntimeTables();
    SetFunctionEntry(0, FunctionEntry());
    SetConditionEntry(0, ConditionEntry());
    SetActionEntry(0, ActionEntry());
    auto install = [&model](const char* listName, const auto& named, auto set) {
        const auto definitions = Definitions(model, listName);
        for (const auto& entry : named) {
            auto found = definitions.find(entry.name);
            if (found != definitions.end() && found->second->codeNumber >= 0)
                set(found->second->codeNumber, entry.entry);
        }
    };
    install("FUNCTION_LIST", entries.functions, SetFunctionEntry);
    install("CONDITION_LIST", entries.conditions, SetConditionEntry);
    install("ACTION_LIST", entries.actions, SetActionEntry);
}

// Every call below `item` that would reach a CODE without entry, as a line of
// the refusal. A function or action whose definition says CODE -1 has no
// implementation by design and does nothing; a condition has no such escape.
void CollectMissingEntries(ScenarioItem& item, std::vector<std::string>& out) {
    if (IsCallableKind(item.kind)) {
        const Function* call = dynamic_cast<const Function*>(&item);
        const Condition* condition = dynamic_cast<const Condition*>(&item);
        const bool junction = condition != nullptr && (item.name == "AND" || item.name == "OR") &&
                              !condition->subConditions.empty();
        const Function* definition = call != nullptr ? tavrel::rootDefinition(*call) : nullptr;
        if (call != nullptr && call->model != call && !junction) {
            const int32_t code = definition != nullptr ? definition->codeNumber : -1;
            bool held = true;
            if (item.kind == ITEM_CONDITION)
                held = code >= 0 && FindConditionEntry(code) != nullptr;
            else if (code != -1 && item.kind == ITEM_FUNCTION)
                held = FindFunctionEntry(code) != nullptr;
            else if (code != -1)
                held = FindActionEntry(code) != nullptr;
            if (!held)
                out.push_back(std::string(KindKeyword(item.kind)) + " " + item.name + " (CODE " +
                              std::to_string(code) + ") at " + itemPath(&item));
        }
    }
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        if (child != nullptr)
            CollectMissingEntries(*child, out);
}

// Signals that the script's calls read and the trace lacks.
void CollectMissingSignals(ScenarioItem& item, const HostEntries& entries, const SignalTrace& trace,
                           std::vector<std::string>& out) {
    if (item.kind == ITEM_CONDITION)
        for (const NamedCondition& entry : entries.conditions)
            if (entry.signal != nullptr && item.name == entry.name && !trace.Has(entry.signal)) {
                const std::string line = std::string(entry.signal) + " (read by " + entry.name + ")";
                if (std::find(out.begin(), out.end(), line) == out.end())
                    out.push_back(line);
            }
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        if (child != nullptr)
            CollectMissingSignals(*child, entries, trace, out);
}

void CollectTasks(ScenarioItem& item, std::vector<Task*>& out) {
    if (Task* task = dynamic_cast<Task*>(&item))
        out.push_back(task);
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        if (child != nullptr && dynamic_cast<Task*>(child) != nullptr)
            CollectTasks(*child, out);
}

// Rules read from an include file were made by a load of their own, which
// knows nothing of the printer: they are told here.
void ObserveEveryRule(ScenarioItem& item, ScenarioItemObserver* observer) {
    if (Rule* rule = dynamic_cast<Rule*>(&item))
        if (std::find(rule->observers.begin(), rule->observers.end(), observer) == rule->observers.end())
            rule->AddObserver(observer);
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        if (child != nullptr &&
            (dynamic_cast<Task*>(child) != nullptr || dynamic_cast<Rule*>(child) != nullptr))
            ObserveEveryRule(*child, observer);
}

// The run is over when every level that has states (the scenario and its
// includes; the evaluation's states are its criteria, which never end) has
// ended, and at least one has.
bool EveryLevelEnded(const ScenarioLib::Scenario& scenario) {
    std::vector<const Task*> levels{&scenario};
    levels.insert(levels.end(), scenario.includes.begin(), scenario.includes.end());
    bool any = false;
    for (const Task* level : levels) {
        if (level->subTasks.empty())
            continue;
        if (level->currentState != -3)
            return false;
        any = true;
    }
    return any;
}

tavrel::RunSummary Summarize(ScenarioLib::Scenario& scenario, int steps, double lastTime) {
    std::vector<Task*> tasks;
    CollectTasks(scenario, tasks);
    nlohmann::ordered_json summary{{"steps", steps}, {"time", RoundedTime(lastTime)}};
    nlohmann::ordered_json taskList = nlohmann::ordered_json::array();
    nlohmann::ordered_json criteriaList = nlohmann::ordered_json::array();
    std::ostringstream text;
    text << "summary: " << steps << " steps, last at " << TimeText(lastTime) << '\n';
    if (const GeneralParameters* general = scenario.generalParameters) {
        summary["description"] = general->description;
        text << "description \"" << general->description << "\"\n";
    }
    for (Task* task : tasks) {
        // States without states of their own say nothing; the levels that
        // have states do.
        if (task->subTasks.empty() && task != &scenario)
            continue;
        taskList.push_back(
            {{"path", itemPath(task)}, {"state", task->currentState}, {"steps", task->stepCount}});
        text << "task " << itemPath(task) << "  state " << task->currentState << "  steps " << task->stepCount
             << '\n';
    }
    nlohmann::ordered_json variableList = nlohmann::ordered_json::array();
    for (Task* task : tasks)
        for (const Variable* variable : task->variables) {
            variableList.push_back(
                {{"path", itemPath(variable)}, {"label", variable->label}, {"value", variable->value}});
            text << "variable " << itemPath(variable) << " " << variable->label << "=" << variable->value
                 << '\n';
        }
    for (Task* task : tasks) {
        Criteria* criteria = dynamic_cast<Criteria*>(task);
        if (criteria == nullptr)
            continue;
        nlohmann::ordered_json counters = nlohmann::ordered_json::object();
        text << "criteria " << itemPath(criteria) << " \"" << criteria->label << "\"";
        for (const auto& [level, counter] : criteria->counters) {
            nlohmann::ordered_json values = nlohmann::ordered_json::object();
            text << "  level " << level << ":";
            for (const auto& [key, value] : counter.values) {
                values[NumberText(key)] = value;
                text << " " << NumberText(key) << "=" << NumberText(value);
            }
            counters[std::to_string(level)] = {{"text", counter.text}, {"values", values}};
        }
        text << '\n';
        criteriaList.push_back(
            {{"path", itemPath(criteria)}, {"label", criteria->label}, {"counters", counters}});
    }
    nlohmann::ordered_json scores = nlohmann::ordered_json::object();
    if (scenario.evaluation != nullptr)
        for (const auto& [number, value] : scenario.evaluation->scores) {
            scores[std::to_string(number)] = value;
            text << "score " << number << " = " << NumberText(value) << '\n';
        }
    summary["tasks"] = taskList;
    summary["variables"] = variableList;
    summary["criteria"] = criteriaList;
    summary["scores"] = scores;
    return tavrel::RunSummary{summary, text.str()};
}

// Errors and warnings of a load log, without their severity character; the
// loader's progress notes are left out.
void PrintProblems(const std::string& log, std::ostream& problems) {
    std::istringstream in(log);
    std::string line;
    bool shown = false;
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] >= '\x01' && line[0] <= '\x04') {
            shown = line[0] >= '\x03';
            line.erase(0, 1);
        }
        if (shown)
            problems << line << '\n';
    }
}

// What a run changes in the model's globals, put back however it ends: the
// tables (whose entries point at the run's host) and the log stream (the
// run's own).
struct RunScope {
    std::ostream* const formerLog = scenarioLog;
    ~RunScope() {
        ResetRuntimeTables();
        scenarioLog = formerLog;
    }
};

} // namespace

nlohmann::ordered_json tavrel::describeEvent(const RunEvent& event) {
    if (event.isMessage)
        return nlohmann::ordered_json{
            {"time", RoundedTime(event.time)}, {"path", event.path}, {"message", event.message}};
    return nlohmann::ordered_json{{"time", RoundedTime(event.time)},
                                  {"path", event.path},
                                  {"event", event.event},
                                  {"meaning", event.meaning},
                                  {"state", event.state}};
}

tavrel::RunSummary tavrel::runScript(const RunOptions& options,
                                     const std::function<void(const RunEvent&)>& onEvent,
                                     std::ostream& problems) {
    if (!(options.step > 0.0))
        throw RunRefused{"--step must be above 0", {}};
    if (options.signals.empty() && options.until < 0.0)
        throw RunRefused{"give --signals or --until: the run needs an end", {}};
    // The model's own messages while it runs (task starts and the like) are
    // kept aside; only its problems are shown. The log outlives the tree,
    // which may still write to it as it goes.
    std::ostringstream runLog;
    const RunScope scope;

    std::ostringstream modelLog;
    ScenarioItem* loadedModel = LoadScenarioFile(options.rootModel.c_str(), &modelLog, false);
    PrintProblems(modelLog.str(), problems);
    Folders* model = dynamic_cast<Folders*>(loadedModel);
    if (model == nullptr) {
        delete loadedModel;
        throw RunRefused{options.rootModel + " is no root model", {}};
    }
    // The script's calls point into the model, which therefore stays.
    scenarioRootModel = model;

    SignalTrace trace;
    std::string error;
    if (!options.signals.empty() && !trace.Load(options.signals, error))
        throw RunRefused{error, {}};

    std::ifstream in(options.file, std::ios::binary);
    if (!in)
        throw RunRefused{"unable to read " + options.file, {}};
    const std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EventRecorder printer(onEvent);
    std::ostringstream log;
    ScenarioTextStream stream(content.c_str(), content.size() + 1);
    ItemLoadContext context;
    // Every rule hears through its constructor; tasks are told below.
    context.second = static_cast<ScenarioItemObserver*>(&printer);
    const tavrel::IncludesBeside includes(options.file);
    std::unique_ptr<ScenarioItem> item(LoadScenarioText(stream, nullptr, &context, &log, false));
    PrintProblems(log.str(), problems);
    if (!item)
        throw RunRefused{options.file + ": unreadable at row " + std::to_string(stream.line), {}};
    ScenarioLib::Scenario* scenario = dynamic_cast<ScenarioLib::Scenario*>(item.get());
    if (scenario == nullptr)
        throw RunRefused{options.file + ": the top item is a " + KindKeyword(item->kind) + ", not a SCENARIO",
                         {}};

    // The general parameters live in the parameters file beside the script,
    // which is where this host keeps it.
    if (scenario->generalParameters != nullptr)
        scenario->generalParameters->SetPath(options.file, true);

    Host host;
    host.trace = options.signals.empty() ? nullptr : &trace;
    host.scenario = scenario;
    host.printer = &printer;
    const HostEntries entries = MakeHostEntries(host);
    InstallHostEntries(*model, entries);
    std::vector<std::string> missing;
    CollectMissingEntries(*scenario, missing);
    if (!missing.empty()) {
        RunRefused refused{
            options.file + ": " + std::to_string(missing.size()) + " call(s) without run-time entry", {}};
        for (const std::string& line : missing)
            refused.details.push_back("no run-time entry for " + line);
        throw refused;
    }
    if (host.trace != nullptr) {
        std::vector<std::string> signals;
        CollectMissingSignals(*scenario, entries, trace, signals);
        if (!signals.empty()) {
            RunRefused refused{options.signals + ": the trace lacks signals the script reads", {}};
            for (const std::string& line : signals)
                refused.details.push_back("missing signal " + line);
            throw refused;
        }
    }

    std::vector<Task*> tasks;
    CollectTasks(*scenario, tasks);
    for (Task* task : tasks)
        task->AddObserver(&printer);
    ObserveEveryRule(*scenario, &printer);

    double end = host.trace != nullptr ? trace.EndTime() : options.until;
    if (options.until >= 0.0 && options.until < end)
        end = options.until;
    std::string folder = options.file;
    const size_t slash = folder.find_last_of('/');
    folder = slash == std::string::npos ? std::string(".") : folder.substr(0, slash);

    scenarioLog = &runLog;
    scenario->Init(folder, 0.0);
    int steps = 0;
    double time = 0.0;
    for (long k = 0;; ++k) {
        const double now = static_cast<double>(k) * options.step;
        if (now > end + kTimeTolerance)
            break;
        time = now;
        host.time = now;
        printer.time = now;
        scenario->StepScenario(now);
        ++steps;
        if (scenario->stopped != 0 || EveryLevelEnded(*scenario))
            break;
    }
    PrintProblems(runLog.str(), problems);
    RunSummary summary = Summarize(*scenario, steps, time);
    for (Task* task : tasks)
        task->RemoveObserver(&printer);
    return summary;
}

namespace {

void PrintEvent(const RunEvent& event, bool json) {
    if (json) {
        std::cout << tavrel::describeEvent(event).dump() << '\n';
    } else if (event.isMessage) {
        std::cout << TimeText(event.time) << "  " << event.path << "  message \"" << event.message << "\"\n";
    } else {
        std::cout << TimeText(event.time) << "  " << event.path << "  event " << event.event << " ("
                  << event.meaning << ")  state " << event.state << '\n';
    }
}

void RunScript(const RunCommandOptions& options) {
    try {
        const tavrel::RunSummary summary = tavrel::runScript(
            options, [&options](const RunEvent& event) { PrintEvent(event, options.json); }, std::cerr);
        if (options.json)
            std::cout << nlohmann::ordered_json{{"summary", summary.json}}.dump() << '\n';
        else
            std::cout << summary.text;
    } catch (const RunRefused& refused) {
        for (const std::string& line : refused.details)
            std::cerr << line << '\n';
        std::cerr << "error: " << refused.message << std::endl;
        tavrel::exitStatus = 1;
    }
}

} // namespace

void tavrel::addScriptRunCommand(CLI::App& script) {
    auto options = std::make_shared<RunCommandOptions>();
    CLI::App* run = script.add_subcommand("run", "Run a scenario script against a signal trace");
    run->add_option("FILE", options->file, "Scenario script (its top item a SCENARIO)")->required();
    run->add_option("--root-model", options->rootModel, "Root model that the script is linked against")
        ->required();
    run->add_option("--signals", options->signals, "Signal trace: CSV with a header \"time,NAME,...\"");
    run->add_option("--step", options->step, "Seconds between two steps (default 0.1)");
    run->add_option("--until", options->until, "Last time to step, in seconds");
    run->add_flag("--json", options->json, "One JSON object a line instead of text");
    run->callback([options]() { tavrel::runReporting([&]() { RunScript(*options); }); });
}

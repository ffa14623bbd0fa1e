// tavrel script parse: reads a file of the scenario text format, shows its item
// tree with display texts, evaluates its calls and writes it back on request.
#include "Commands.h"
#include "Common.h"
#include "Scripts.h"

#include <environment/lmkUtils/AssertAbort.h>
#include <scenario/RuntimeTables.h>
#include <scenario/ScenarioModel.h>

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

struct ParseOptions {
    std::string file;
    std::string rootModel;
    std::string save;
    bool evaluate = false;
};

// What the AssertAbort handler throws while a call is evaluated, so that one
// faulty call doesn't end the whole listing.
struct EvaluationAborted {
    std::string source;
    int line;
};

// The library's source and line for a CODE that has no run-time entry.
constexpr const char* kMissingEntrySource = "function";
constexpr int kMissingEntryLine = 920;

// The call whose missing run-time entry stopped the evaluation of `call`. The
// library looks a call's own entry up before it fills the parameters, and a
// parameter that holds a nested call evaluates that call while it is filled,
// when its type is a number or a text; this follows the same order.
const Function* CallWithoutEntry(const Function& call) {
    const Function* definition = tavrel::rootDefinition(call);
    if (definition == nullptr || definition->codeNumber == -1)
        return nullptr;
    if (FindFunctionEntry(definition->codeNumber) == nullptr)
        return &call;
    for (const Parameter* parameter : call.parameters) {
        if (parameter->valueKind != "FUNCTION" || parameter->functionValue == nullptr)
            continue;
        const std::string& type = parameter->GetType();
        if (type != "INTEGER" && type != "FLOAT" && type != "BOOL" && type != "STRING")
            continue;
        if (const Function* inner = CallWithoutEntry(*parameter->functionValue))
            return inner;
    }
    return nullptr;
}

// Keeps the standard error quiet while it lives: AssertAbort prints its line
// there before the handler runs, and the listing reports the same fault itself.
class QuietStandardError {
public:
    QuietStandardError() {
        std::fflush(stderr);
        saved_ = ::dup(STDERR_FILENO);
        const int null = ::open("/dev/null", O_WRONLY);
        if (saved_ >= 0 && null >= 0)
            ::dup2(null, STDERR_FILENO);
        if (null >= 0)
            ::close(null);
    }
    ~QuietStandardError() {
        std::fflush(stderr);
        if (saved_ >= 0) {
            ::dup2(saved_, STDERR_FILENO);
            ::close(saved_);
        }
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

private:
    int saved_ = -1;
};

} // namespace

// The default table has entries for CODE 0 only (and -1 means no
// implementation), so a model's other CODEs reach the library's assertion,
// which is turned into a problem here.
tavrel::CallEvaluation tavrel::evaluateCall(Function& call) {
    struct Trap {
        AssertAbortHandler former = SetAssertAbortHandler([](const char* source, int line) {
            throw EvaluationAborted{source ? source : "?", line};
        });
        ~Trap() { SetAssertAbortHandler(former); }
    };
    try {
        Trap trap;
        QuietStandardError quiet;
        return CallEvaluation{true, call.Evaluate(), std::string()};
    } catch (const EvaluationAborted& aborted) {
        if (aborted.source == kMissingEntrySource && aborted.line == kMissingEntryLine) {
            const Function* culprit = CallWithoutEntry(call);
            const Function* definition = tavrel::rootDefinition(culprit != nullptr ? *culprit : call);
            if (definition != nullptr)
                return CallEvaluation{false, 0.0f,
                                      "no run-time entry for CODE " + std::to_string(definition->codeNumber)};
        }
        return CallEvaluation{false, 0.0f,
                              "internal assertion failed at " + aborted.source + ":" +
                                  std::to_string(aborted.line)};
    }
}

bool tavrel::isEvaluableCall(const ScenarioItem& item) {
    if (item.kind != ITEM_FUNCTION)
        return false;
    const Function* call = dynamic_cast<const Function*>(&item);
    return call != nullptr && call->model != call;
}

namespace {

// "  = VALUE" with the call's result, or what stopped it.
std::string EvaluationText(Function& call) {
    const tavrel::CallEvaluation evaluation = tavrel::evaluateCall(call);
    if (!evaluation.done)
        return "  = " + evaluation.problem;
    char text[64];
    std::snprintf(text, sizeof(text), "%g", static_cast<double>(evaluation.value));
    return std::string("  = ") + text;
}

// One item a line: keyword, name, label, then the display text where it tells
// more than the label (a condition's IF line, an action's THEN or ELSE line),
// and with `evaluate` the result of each call of a script. Conditions and actions
// are left out of that: they run only when a host steps a task, and evaluating
// one here would move its state or act.
void PrintTree(ScenarioItem& item, int depth, bool evaluate) {
    std::cout << std::string(static_cast<size_t>(depth) * 2, ' ') << KindKeyword(item.kind) << " ("
              << item.name << ") \"" << item.label << "\"";
    if (!item.displayText.empty() && item.displayText != item.label)
        std::cout << "  | " << item.displayText;
    if (evaluate && tavrel::isEvaluableCall(item))
        std::cout << EvaluationText(dynamic_cast<Function&>(item));
    std::cout << '\n';
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        if (child != nullptr)
            PrintTree(*child, depth + 1, evaluate);
}

void RunParse(const ParseOptions& options) {
    if (!options.rootModel.empty()) {
        std::ostringstream log;
        ScenarioItem* model = LoadScenarioFile(options.rootModel.c_str(), &log, false);
        tavrel::printLog(log.str());
        Folders* folders = dynamic_cast<Folders*>(model);
        if (folders == nullptr) {
            delete model;
            std::cerr << "error: " << options.rootModel << " is no root model" << std::endl;
            tavrel::exitStatus = 1;
            return;
        }
        // Items of the script point into the model, which therefore stays.
        scenarioRootModel = folders;
    }

    std::ostringstream log;
    const tavrel::IncludesBeside includes(options.file);
    std::unique_ptr<ScenarioItem> item(LoadScenarioFile(options.file.c_str(), &log, false));
    tavrel::printLog(log.str());
    if (!item) {
        tavrel::exitStatus = 1;
        return;
    }
    item->UpdateDisplayTextTree();
    PrintTree(*item, 0, options.evaluate);
    if (!options.save.empty() && !SaveScenarioFile(*item, options.save)) {
        std::cerr << "error: unable to write " << options.save << std::endl;
        tavrel::exitStatus = 1;
    }
}

} // namespace

void tavrel::addScriptCommands(CLI::App& app) {
    CLI::App* script = app.add_subcommand("script", "Read and write files of the scenario text format");
    script->require_subcommand(1);
    auto options = std::make_shared<ParseOptions>();
    CLI::App* parse = script->add_subcommand("parse", "Load a file, print its messages and its item tree");
    parse->add_option("FILE", options->file, "File in the scenario text format")->required();
    parse->add_option("--root-model", options->rootModel, "Root model to load first and link against");
    parse->add_option("--save", options->save, "Write the item tree back to this file");
    parse->add_flag("--evaluate", options->evaluate,
                    "Evaluate each call of a function with the default run-time table");
    parse->callback([options]() { tavrel::runReporting([&]() { RunParse(*options); }); });
    tavrel::addScriptRunCommand(*script);
    tavrel::addScriptCheckCommand(*script);
}

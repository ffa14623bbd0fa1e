// tavrel.parse_script, check_script and run_script: the tool's script commands,
// answering Python objects instead of lines.
#include "Binding.h"

#include "Common.h"
#include "Scripts.h"

#include <ScenarioTemplateDb/Exception.h>
#include <scenario/ScenarioModel.h>

#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;

namespace tavrel_python {

namespace {

const char* severityName(char severity) {
    switch (severity) {
    case '\x01':
        return "information";
    case '\x02':
        return "progress";
    case '\x03':
        return "warning";
    case '\x04':
        return "error";
    }
    return "text";
}

// A failure's message: what failed, then what the loader said on the way.
std::string failure(const std::string& headline, const std::vector<tavrel::LogMessage>& messages) {
    std::string text = headline;
    for (const tavrel::LogMessage& message : messages)
        text += "\n" + message.text;
    return text;
}

void append(std::vector<tavrel::LogMessage>& messages, const std::string& log) {
    for (tavrel::LogMessage& message : tavrel::splitLog(log))
        messages.push_back(std::move(message));
}

// Each line of a load's or a run's problems, as a RuntimeWarning: the result
// stands, but the script's author wants to hear of them.
void warn(const std::string& problems) {
    std::istringstream lines(problems);
    std::string line;
    while (std::getline(lines, line))
        if (!line.empty() && PyErr_WarnEx(PyExc_RuntimeWarning, line.c_str(), 1) != 0)
            throw py::error_already_set();
}

py::dict describeItem(ScenarioItem& item, bool evaluate) {
    py::dict out;
    out["kind"] = KindKeyword(item.kind);
    out["name"] = item.name;
    out["label"] = item.label;
    out["display"] = item.displayText;
    if (evaluate && tavrel::isEvaluableCall(item)) {
        const tavrel::CallEvaluation evaluation = tavrel::evaluateCall(dynamic_cast<Function&>(item));
        if (evaluation.done)
            out["value"] = static_cast<double>(evaluation.value);
        else
            out["problem"] = evaluation.problem;
    }
    py::list children;
    std::vector<ScenarioItem*> items;
    item.GetChildren(items);
    for (ScenarioItem* child : items)
        if (child != nullptr)
            children.append(describeItem(*child, evaluate));
    out["children"] = children;
    return out;
}

py::dict parseScript(const std::string& file, const std::optional<std::string>& rootModel, bool evaluate,
                     const std::optional<std::string>& save) {
    std::vector<tavrel::LogMessage> messages;
    if (rootModel) {
        std::ostringstream log;
        ScenarioItem* model = LoadScenarioFile(rootModel->c_str(), &log, false);
        append(messages, log.str());
        Folders* folders = dynamic_cast<Folders*>(model);
        if (folders == nullptr) {
            delete model;
            throw Exception(failure(*rootModel + " is no root model", messages), ExceptionCodeGeneric);
        }
        // Items of the script point into the model, which therefore stays.
        scenarioRootModel = folders;
    }
    std::ostringstream log;
    const tavrel::IncludesBeside includes(file);
    std::unique_ptr<ScenarioItem> item(LoadScenarioFile(file.c_str(), &log, false));
    append(messages, log.str());
    if (!item)
        throw Exception(failure("unable to load " + file, messages), ExceptionCodeGeneric);
    item->UpdateDisplayTextTree();
    py::dict out;
    py::list listed;
    for (const tavrel::LogMessage& message : messages)
        listed.append(
            py::dict(py::arg("severity") = severityName(message.severity), py::arg("text") = message.text));
    out["messages"] = listed;
    out["tree"] = describeItem(*item, evaluate);
    if (save && !SaveScenarioFile(*item, *save))
        throw Exception("unable to write " + *save, ExceptionCodeGeneric);
    return out;
}

py::dict runScript(const std::string& file, const std::string& rootModel,
                   const std::optional<std::string>& signals, double step,
                   const std::optional<double>& until) {
    if (!(step > 0.0))
        throw Exception("step must be above 0", ExceptionCodeGeneric);
    if (!signals && !until)
        throw Exception("give signals or until: the run needs an end", ExceptionCodeGeneric);
    tavrel::RunOptions options;
    options.file = file;
    options.rootModel = rootModel;
    options.signals = signals.value_or(std::string());
    options.step = step;
    options.until = until.value_or(-1.0);
    py::list events;
    std::ostringstream problems;
    tavrel::RunSummary summary;
    try {
        summary = tavrel::runScript(
            options,
            [&events](const tavrel::RunEvent& event) {
                events.append(toPython(tavrel::describeEvent(event)));
            },
            problems);
    } catch (const tavrel::RunRefused& refused) {
        std::string message = refused.message;
        for (const std::string& line : refused.details)
            message += "\n" + line;
        if (!problems.str().empty())
            message += "\n" + problems.str();
        while (!message.empty() && message.back() == '\n')
            message.pop_back();
        throw Exception(message, ExceptionCodeGeneric);
    }
    warn(problems.str());
    py::dict out;
    out["events"] = events;
    out["summary"] = toPython(summary.json);
    return out;
}

} // namespace

py::object checkResult(const tavrel::CheckReport& report) {
    if (!report.readable) {
        std::string message = report.problems;
        while (!message.empty() && message.back() == '\n')
            message.pop_back();
        throw Exception(message.empty() ? std::string("the script doesn't load") : message,
                        ExceptionCodeGeneric);
    }
    warn(report.problems);
    py::list findings;
    for (const tavrel::CheckFinding& finding : report.findings)
        findings.append(toPython(tavrel::describeFinding(finding)));
    return std::move(findings);
}

void bindScripts(py::module_& module) {
    module.def(
        "parse_script", &parseScript, Guard(), py::arg("file"), py::arg("root_model") = py::none(),
        py::arg("evaluate") = false, py::arg("save") = py::none(),
        "`tavrel script parse`: reads a file of the scenario text format (after `root_model`, which its "
        "items are linked against). Returns {\"messages\": [{severity, text}], \"tree\": item}, each item "
        "{kind, name, label, display, children} and, with `evaluate`, each call's \"value\" or the "
        "\"problem\" that stopped it. `save` writes the tree back. Error if the file doesn't read.");
    module.def(
        "check_script",
        [](const std::string& file, const std::string& rootModel) {
            return checkResult(tavrel::checkScriptFile(file, rootModel));
        },
        Guard(), py::arg("file"), py::arg("root_model"),
        "`tavrel script check FILE --root-model MODEL`: the invalid items as a list of findings {file, row, "
        "path, "
        "kind, reason}, in the order of the text. Error if the script or the model doesn't load.");
    module.def(
        "run_script", &runScript, Guard(), py::arg("file"), py::arg("root_model"),
        py::arg("signals") = py::none(), py::arg("step") = 0.1, py::arg("until") = py::none(),
        "`tavrel script run`: runs a scenario script against a signal trace (CSV) every `step` seconds "
        "until the trace ends, `until`, or the scenario ends. Returns {\"events\": [...], \"summary\": "
        "{...}} as the tool's --json lines. Error if the script can't run.");
}

} // namespace tavrel_python

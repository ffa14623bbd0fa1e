// tavrel script parse: reads a file of the scenario text format, shows its item
// tree and writes it back on request.
#include "Commands.h"
#include "Common.h"

#include <environment/Commons/FileUtils.h>
#include <scenario/ScenarioModel.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace {

struct ParseOptions {
    std::string file;
    std::string rootModel;
    std::string save;
};

// Prints each message of a load log without its severity character: errors and
// warnings on the error stream, the rest on the standard output.
void PrintLog(const std::string& log) {
    std::istringstream in(log);
    std::string message;
    std::string line;
    char severity = 0;
    auto flush = [&]() {
        if (severity == 0)
            return;
        (severity >= '\x03' ? std::cerr : std::cout) << message << '\n';
        message.clear();
        severity = 0;
    };
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] >= '\x01' && line[0] <= '\x04') {
            flush();
            severity = line[0];
            message = line.substr(1);
        } else if (severity != 0) {
            // A message may run over several lines, as the reader's error does.
            message += "\n" + line;
        } else {
            std::cout << line << '\n';
        }
    }
    flush();
}

void PrintTree(const ScenarioItem& item, int depth) {
    std::cout << std::string(static_cast<size_t>(depth) * 2, ' ') << KindKeyword(item.kind) << " ("
              << item.name << ") \"" << item.label << "\"\n";
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (const ScenarioItem* child : children)
        if (child != nullptr)
            PrintTree(*child, depth + 1);
}

// Writes the item with CR LF line ends, which a nameless header needs to be read
// back; `path` is replaced only once the whole text is written.
bool SaveItem(ScenarioItem& item, const std::string& path) {
    std::ostringstream text;
    scenarioDepth = 0;
    item.Save(text);
    std::string crlf;
    for (char c : text.str()) {
        if (c == '\n')
            crlf.push_back('\r');
        crlf.push_back(c);
    }
    return Commons::FileUtils::ReplaceFile(path, crlf);
}

void RunParse(const ParseOptions& options) {
    if (!options.rootModel.empty()) {
        std::ostringstream log;
        ScenarioItem* model = LoadScenarioFile(options.rootModel.c_str(), &log, false);
        PrintLog(log.str());
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
    std::unique_ptr<ScenarioItem> item(LoadScenarioFile(options.file.c_str(), &log, false));
    PrintLog(log.str());
    if (!item) {
        tavrel::exitStatus = 1;
        return;
    }
    PrintTree(*item, 0);
    if (!options.save.empty() && !SaveItem(*item, options.save)) {
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
    parse->callback([options]() { tavrel::runReporting([&]() { RunParse(*options); }); });
}

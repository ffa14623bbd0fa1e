#include "Common.h"

#include "Commands.h"

#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/Function.h>

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace tavrel {

std::string resolveInstallation(const std::string& given) {
    if (!given.empty())
        return given;
    if (const char* env = std::getenv("TAVREL_CONFIG"))
        if (*env)
            return env;
    // An installed tool carries the sample installation under share/tavrel; a
    // tool run from its build tree uses the one in the source tree.
    char executable[4096];
    ssize_t length = ::readlink("/proc/self/exe", executable, sizeof(executable) - 1);
    if (length > 0) {
        std::string prefix(executable, static_cast<size_t>(length));
        prefix.erase(prefix.find_last_of('/')); // the bin folder
        prefix.erase(prefix.find_last_of('/') + 1);
        const std::string beside = prefix + "share/tavrel/installation/tavrel.cfg";
        if (::access(beside.c_str(), R_OK) == 0)
            return beside;
    }
    return TAVREL_SAMPLE_INSTALLATION;
}

void runCatching(const std::function<void()>& body,
                 const std::function<void(const std::string&, int)>& onError) {
    try {
        body();
    } catch (const ScenarioTemplateDb::Exception& e) {
        onError(e.message, e.code);
    } catch (ScenarioTemplateDb::Exception* e) {
        std::unique_ptr<ScenarioTemplateDb::Exception> owned(e);
        onError(owned->message, owned->code);
    } catch (const std::exception& e) {
        onError(e.what(), ScenarioTemplateDb::ExceptionCodeGeneric);
    }
}

void runReporting(const std::function<void()>& body) {
    runCatching(body, [](const std::string& message, int code) {
        std::cerr << "error: " << message << " (code " << code << ")" << std::endl;
        exitStatus = 1;
    });
}

void captureError(nlohmann::ordered_json& node, const std::function<void()>& body) {
    runCatching(body, [&node](const std::string& message, int code) {
        node["error"] = nlohmann::ordered_json{{"message", message}, {"code", code}};
    });
}

std::vector<LogMessage> splitLog(const std::string& log) {
    std::vector<LogMessage> messages;
    std::istringstream in(log);
    std::string line;
    bool open = false;
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] >= '\x01' && line[0] <= '\x04') {
            messages.push_back(LogMessage{line[0], line.substr(1)});
            open = true;
        } else if (open) {
            // A message may run over several lines, as the reader's error does.
            messages.back().text += "\n" + line;
        } else {
            messages.push_back(LogMessage{0, line});
        }
    }
    return messages;
}

void printLog(const std::string& log, bool withNotes) {
    printLog(log, withNotes, std::cout, std::cerr);
}

void printLog(const std::string& log, bool withNotes, std::ostream& notes, std::ostream& problems) {
    for (const LogMessage& message : splitLog(log)) {
        if (message.severity >= '\x03')
            problems << message.text << '\n';
        else if (withNotes)
            notes << message.text << '\n';
    }
}

std::string itemPath(const ScenarioItem* item) {
    std::string path;
    for (; item != nullptr; item = item->parent)
        path = path.empty() ? item->name : item->name + "/" + path;
    return path;
}

TavrelScenarioTemplateDb::TavrelDatabaseDriver openDriver(const std::string& installation,
                                                         std::string& configuration) {
    const std::string file = resolveInstallation(installation);
    if (configuration.empty()) {
        // Opening the installation makes it the one in force, whose current
        // configuration is then known.
        TavrelScenarioTemplateDb::TavrelDatabaseDriver whole(file, "*", "*");
        configuration = lmkUtils::EnvConfig::getCurrentConfiguration();
    }
    return TavrelScenarioTemplateDb::TavrelDatabaseDriver(file, "*", configuration);
}

const Function* rootDefinition(const Function& call) {
    const Token* definition = &call;
    for (int steps = 0; definition->model != definition; ++steps) {
        if (definition->model == nullptr || steps > 1024)
            return nullptr;
        definition = definition->model;
    }
    return dynamic_cast<const Function*>(definition);
}

std::string readTextFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

IncludesBeside::IncludesBeside(const std::string& script)
    : folder_(Poco::Path(script).makeParent().toString()) {
    RegisterIncludeRepository(this);
}

IncludesBeside::~IncludesBeside() {
    UnregisterIncludeRepository(this);
}

std::string IncludesBeside::PathOf(const std::string& file) const {
    // Scripts written on Windows name sub-folders with backslashes.
    std::string relative = file;
    std::replace(relative.begin(), relative.end(), '\\', '/');
    return Poco::Path(folder_).resolve(Poco::Path(relative, Poco::Path::PATH_UNIX)).toString();
}

bool IncludesBeside::Contains(const std::string& file) const {
    if (file.empty())
        return false;
    try {
        return Poco::File(PathOf(file)).isFile();
    } catch (const Poco::Exception&) {
        return false;
    }
}

std::string IncludesBeside::Read(const std::string& file) const {
    return readTextFile(PathOf(file));
}

} // namespace tavrel

#include "Common.h"

#include "Commands.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
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

namespace {

// Runs `body` and hands a failure of any form to `onError`.
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

} // namespace

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

} // namespace tavrel

#include "Common.h"

#include "Commands.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>

namespace tavrel {

std::string resolveInstallation(const std::string& given) {
    if (!given.empty())
        return given;
    if (const char* env = std::getenv("TAVREL_CONFIG"))
        if (*env)
            return env;
    return TAVREL_SAMPLE_INSTALLATION;
}

static void report(const std::string& message, int code) {
    std::cerr << "error: " << message << " (code " << code << ")" << std::endl;
    exitStatus = 1;
}

void runReporting(const std::function<void()>& body) {
    try {
        body();
    } catch (const ScenarioTemplateDb::Exception& e) {
        report(e.message, e.code);
    } catch (ScenarioTemplateDb::Exception* e) {
        std::unique_ptr<ScenarioTemplateDb::Exception> owned(e);
        report(owned->message, owned->code);
    } catch (const std::exception& e) {
        report(e.what(), -1);
    }
}

} // namespace tavrel

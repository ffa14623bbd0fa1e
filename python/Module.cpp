// The tavrel module: the scenario templates of a Tavrel installation and the
// scripts inside them, for Python scripts.
#include "Binding.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ParameterType.h>
#include <scenario/ScenarioItem.h>

#include <pybind11/eval.h>

#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

// The tool's commands set an exit status that a module has no use for; the
// executable defines it beside its main, and so does each other host.
namespace tavrel {
int exitStatus = 0;
}

namespace tavrel_python {

namespace {

// tavrel.Error, made once at import and kept for the life of the process.
PyObject* errorType = nullptr;

const char* const kErrorClass = R"python(
class Error(Exception):
    """A failure of the Tavrel library: `message` says what, `code` its
    category (-1 generic, 4 invalid index or value, 16 directory access,
    20 scenario read, 24 scenario load, 32 parameter type)."""

    def __init__(self, message, code=-1):
        super().__init__(message, code)
        self.message = message
        self.code = code

    def __str__(self):
        return f"{self.message} (code {self.code})"
)python";

void raiseError(const std::string& message, int code) {
    py::object error = py::reinterpret_borrow<py::object>(errorType)(message, code);
    PyErr_SetObject(errorType, error.ptr());
}

[[noreturn]] void throwAssertion(const char* source, int line) {
    throw AssertionRaised{source != nullptr ? source : "?", line};
}

void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(thrown);
    } catch (const ScenarioTemplateDb::Exception& error) {
        raiseError(error.message, error.code);
    } catch (ScenarioTemplateDb::Exception* error) {
        // Lookups throw by pointer; the catcher owns it.
        const std::unique_ptr<ScenarioTemplateDb::Exception> owned(error);
        raiseError(owned->message, owned->code);
    } catch (const AssertionRaised& assertion) {
        raiseError(assertion.source + ":" + std::to_string(assertion.line) + ": internal assertion failed",
                   ScenarioTemplateDb::ExceptionCodeGeneric);
    } catch (const py::builtin_exception&) {
        // pybind11's own (a bad argument, an index out of range) keep their
        // Python types.
        throw;
    } catch (const py::error_already_set&) {
        throw;
    } catch (const std::exception& error) {
        raiseError(error.what(), ScenarioTemplateDb::ExceptionCodeGeneric);
    }
}

} // namespace

CallScope::CallScope() : formerHandler_(SetAssertAbortHandler(&throwAssertion)), formerLog_(scenarioLog) {}

CallScope::~CallScope() {
    SetAssertAbortHandler(formerHandler_);
    scenarioLog = formerLog_;
}

py::object toPython(const nlohmann::ordered_json& json) {
    switch (json.type()) {
    case nlohmann::ordered_json::value_t::null:
    case nlohmann::ordered_json::value_t::discarded:
        return py::none();
    case nlohmann::ordered_json::value_t::boolean:
        return py::bool_(json.get<bool>());
    case nlohmann::ordered_json::value_t::number_integer:
        return py::int_(json.get<int64_t>());
    case nlohmann::ordered_json::value_t::number_unsigned:
        return py::int_(json.get<uint64_t>());
    case nlohmann::ordered_json::value_t::number_float:
        return py::float_(json.get<double>());
    case nlohmann::ordered_json::value_t::string:
        return py::str(json.get_ref<const std::string&>());
    case nlohmann::ordered_json::value_t::array: {
        py::list list;
        for (const auto& element : json)
            list.append(toPython(element));
        return std::move(list);
    }
    case nlohmann::ordered_json::value_t::object: {
        py::dict dict;
        for (const auto& [key, value] : json.items())
            dict[py::str(key)] = toPython(value);
        return std::move(dict);
    }
    case nlohmann::ordered_json::value_t::binary:
        break;
    }
    return py::none();
}

std::string resolveInstallation(const std::optional<std::string>& given) {
    if (given && !given->empty())
        return *given;
    if (const char* environment = std::getenv("TAVREL_CONFIG"))
        if (*environment != '\0')
            return environment;
    // An installed module finds the sample installed under the same prefix; a
    // module in its build tree uses the one in the source tree.
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(&raiseError), &info) != 0 && info.dli_fname != nullptr) {
        std::string folder = info.dli_fname;
        folder.erase(folder.find_last_of('/') + 1);
        const std::string beside =
            std::filesystem::path(folder + TAVREL_PYTHON_SAMPLE_FROM_MODULE).lexically_normal().string();
        if (::access(beside.c_str(), R_OK) == 0)
            return beside;
    }
    return TAVREL_SAMPLE_INSTALLATION;
}

} // namespace tavrel_python

PYBIND11_MODULE(tavrel, module) {
    using namespace tavrel_python;
    module.doc() =
        "The scenario templates of a Tavrel driving-simulation installation: browse them, read and "
        "edit their parameters and variadic declarations, write variants, read, check and run "
        "their scripts.";

    py::dict scope;
    scope["__builtins__"] = py::module_::import("builtins");
    scope["__name__"] = "tavrel";
    py::exec(kErrorClass, scope);
    py::object error = scope["Error"];
    errorType = error.inc_ref().ptr();
    module.attr("Error") = error;
    py::register_exception_translator(&translate);

    module.def(
        "resolve_installation",
        [](const std::optional<std::string>& installation) { return resolveInstallation(installation); },
        py::arg("installation") = py::none(),
        "The installation file that Database(installation) opens: the one given, else $TAVREL_CONFIG, else "
        "the sample installation.");

    bindDatabase(module);
    bindTemplate(module);
    bindScripts(module);
    bindVariants(module);
}

// tavrel.Database and tavrel.Directory: an installation walked through the
// driver and its directory tree, as the tool's browse walks it.
#include "Binding.h"

#include "Browse.h"
#include "ScenarioContent.h"
#include "Scripts.h"

#include <ScenarioTemplateDb/DatabaseDirectory.h>
#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/Scenario.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <pybind11/stl.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using ScenarioTemplateDb::DatabaseDirectory;
using ScenarioTemplateDb::Exception;
using TavrelScenarioTemplateDb::TavrelDatabaseDriver;
using TavrelScenarioTemplateDb::TavrelScenario;

namespace tavrel_python {

void Installation::makeInForce() const {
    const TavrelDatabaseDriver inForce(file, "*", "*");
}

TavrelDatabaseDriver Installation::driver() const {
    return TavrelDatabaseDriver(file, version, configuration);
}

TavrelDatabaseDriver Installation::driverFor(const std::string& name) const {
    return TavrelDatabaseDriver(file, "*", name);
}

std::string Installation::chosen(const std::optional<std::string>& name) const {
    if (name && !name->empty())
        return *name;
    return configuration != "*" ? configuration : current;
}

namespace {

using InstallationPtr = std::shared_ptr<const Installation>;

// The levels of the tree under the root.
enum Depth { kInstallation = 0, kVersion = 1, kConfiguration = 2, kScenarioDirectory = 3 };

const char* const kDepthNames[] = {"installation", "version", "configuration", "scenarios"};

InstallationPtr openInstallation(const std::optional<std::string>& given, const std::string& version,
                                 const std::string& configuration) {
    auto opened = std::make_shared<Installation>();
    { const TavrelDatabaseDriver whole(resolveInstallation(given), "*", "*"); }
    opened->file = lmkUtils::EnvConfig::ourConfigCfgFile;
    // Read again, so that the current configuration is the file's own and not
    // one that an earlier use made current.
    lmkUtils::EnvConfig::setTavrelConfigFilePath(opened->file);
    opened->current = lmkUtils::EnvConfig::getCurrentConfiguration();
    opened->version = version;
    opened->configuration = configuration;
    // Fails as the driver does: a filtered configuration's data folder missing.
    opened->driver();
    return opened;
}

TemplatePtr makeTemplate(std::shared_ptr<TavrelScenario> scenario, InstallationPtr installation,
                         const std::string& configuration) {
    auto state = std::make_shared<TemplateState>();
    state->scenario = std::move(scenario);
    state->installation = std::move(installation);
    state->configuration = configuration;
    return state;
}

struct DirectoryRef {
    InstallationPtr installation;
    std::shared_ptr<DatabaseDirectory> directory;
    int depth;
    size_t index;
    // The configuration of a configuration directory and of its scenario
    // directories; empty above.
    std::string configuration;

    // A scenario directory is named after a root of the current
    // configuration's data path, so its configuration is made current.
    const DatabaseDirectory& use() const {
        if (depth >= kScenarioDirectory)
            TavrelDatabaseDriver(installation->file, installation->version, configuration);
        else
            installation->makeInForce();
        return *directory;
    }

    DirectoryRef child(std::shared_ptr<DatabaseDirectory> found, size_t position) const {
        DirectoryRef made{installation, std::move(found), depth + 1, position, configuration};
        if (made.depth == kConfiguration)
            made.configuration = made.directory->getName();
        return made;
    }

    TemplatePtr scenario(std::shared_ptr<ScenarioTemplateDb::Scenario> found) const {
        auto tavrel = std::dynamic_pointer_cast<TavrelScenario>(found);
        if (!tavrel)
            throw Exception("Not a Tavrel scenario: " + found->getPath(),
                            ScenarioTemplateDb::ExceptionCodeGeneric);
        return makeTemplate(std::move(tavrel), installation, configuration);
    }
};

std::string describe(const DirectoryRef& directory) {
    return std::string("<tavrel.Directory ") + kDepthNames[std::min(directory.depth, 3)] + " " +
           directory.directory->getName() + ">";
}

} // namespace

void bindDatabase(py::module_& module) {
    py::class_<Installation, std::shared_ptr<Installation>>(module, "Database",
                                                            "The scenario templates of an installation.")
        .def(py::init([](const std::optional<std::string>& installation, const std::string& version,
                         const std::string& configuration) {
                 return std::const_pointer_cast<Installation>(
                     openInstallation(installation, version, configuration));
             }),
             Guard(), py::arg("installation") = py::none(), py::arg("version") = "*",
             py::arg("configuration") = "*",
             "Opens the installation file (default: $TAVREL_CONFIG, else the sample installation), seeing "
             "only "
             "`version` and `configuration` unless they are \"*\".")
        .def_property_readonly(
            "installation", [](const Installation& self) { return self.file; }, "The installation file.")
        .def_readonly("version", &Installation::version, "The version filter.")
        .def_readonly("configuration", &Installation::configuration, "The configuration filter.")
        .def_readonly("current_configuration", &Installation::current,
                      "The configuration open() uses when none is given and the filter is \"*\".")
        .def_property_readonly("uri",
                               guarded([](const Installation& self) { return self.driver().getURI(); }),
                               "The driver's URI: tavrel://FILE, then the filters.")
        .def_property_readonly(
            "root", guarded([](const std::shared_ptr<Installation>& self) {
                return DirectoryRef{self, self->driver().getRootDirectory(), kInstallation, 0, std::string()};
            }),
            "The root of the tree: versions, their configurations, their scenario directories.")
        .def(
            "browse",
            [](const Installation& self, bool names) {
                return toPython(tavrel::walkInstallation(self.driver(), self.version, names));
            },
            Guard(), py::arg("names") = false,
            "The whole tree as `tavrel browse --json` prints it; with `names`, each scenario's name too.")
        .def(
            "open",
            [](const std::shared_ptr<Installation>& self, const std::string& path,
               const std::optional<std::string>& configuration) {
                const std::string chosen = self->chosen(configuration);
                std::shared_ptr<TavrelScenario> scenario(
                    self->driverFor(chosen).createTavrelScenario(chosen, path));
                return makeTemplate(std::move(scenario), self, chosen);
            },
            Guard(), py::arg("path"), py::arg("configuration") = py::none(),
            "The template at `path`, relative to its scenario directory, in the data path of `configuration` "
            "(default: the filter, else the installation's current one). Error code 24 if there is none.")
        .def(
            "open_file",
            [](const std::shared_ptr<Installation>& self, const std::string& file,
               const std::optional<std::string>& configuration) {
                if (!std::filesystem::is_regular_file(file))
                    throw Exception("Could not find scenario file : \"" + file + "\"",
                                    ScenarioTemplateDb::ExceptionCodeScenarioLoad);
                const std::string chosen = self->chosen(configuration);
                self->makeInForce();
                std::shared_ptr<TavrelScenario> scenario = tavrel::openScenarioFile(file, chosen);
                return makeTemplate(std::move(scenario), self, chosen);
            },
            Guard(), py::arg("file"), py::arg("configuration") = py::none(),
            "Any scenario file on disk, as a template of `configuration` (whose root model its scripts "
            "read).")
        .def(
            "check_scripts",
            [](const Installation& self, const std::string& path,
               const std::optional<std::string>& configuration) {
                const std::string chosen = self.chosen(configuration);
                const TavrelDatabaseDriver driver = self.driverFor(chosen);
                return checkResult(tavrel::checkScenarioScripts(driver, path, chosen));
            },
            Guard(), py::arg("path"), py::arg("configuration") = py::none(),
            "`tavrel script check PATH`: every script of the scenario against the configuration's root "
            "model; "
            "a list of findings (file, row, path, kind, reason).")
        .def("__repr__", [](const Installation& self) { return "<tavrel.Database " + self.file + ">"; });

    py::class_<DirectoryRef>(module, "Directory", "One level of the installation's tree.")
        .def_property_readonly("name", guarded([](const DirectoryRef& self) { return self.use().getName(); }),
                               "The installation file, a version, a configuration or a data-path root.")
        .def_property_readonly(
            "kind",
            [](const DirectoryRef& self) { return std::string(kDepthNames[std::min(self.depth, 3)]); },
            "installation, version, configuration or scenarios.")
        .def_property_readonly("path", guarded([](const DirectoryRef& self) -> std::optional<std::string> {
                                   if (self.depth < kScenarioDirectory)
                                       return std::nullopt;
                                   return self.use().getName();
                               }),
                               "A scenario directory's data-path root; None above.")
        .def_property_readonly(
            "configuration",
            [](const DirectoryRef& self) -> std::optional<std::string> {
                if (self.configuration.empty())
                    return std::nullopt;
                return self.configuration;
            },
            "The configuration of a configuration or a scenario directory; None above.")
        .def_readonly("index", &DirectoryRef::index, "The position among its siblings.")
        .def_property_readonly("directories", guarded([](const DirectoryRef& self) {
                                   std::vector<std::shared_ptr<DatabaseDirectory>> found;
                                   self.use().getDirectories(found);
                                   std::vector<DirectoryRef> children;
                                   for (size_t index = 0; index < found.size(); ++index)
                                       children.push_back(self.child(found[index], index));
                                   return children;
                               }),
                               "The subdirectories, in the database's order.")
        .def_property_readonly(
            "scenarios", guarded([](const DirectoryRef& self) {
                std::vector<std::shared_ptr<ScenarioTemplateDb::Scenario>> found;
                self.use().getScenarios(found);
                std::vector<TemplatePtr> templates;
                for (const auto& scenario : found)
                    templates.push_back(self.scenario(scenario));
                return templates;
            }),
            "The templates of a scenario directory (unloaded until used), in the database's order.")
        .def_property_readonly("directory_count", guarded([](const DirectoryRef& self) {
                                   return self.use().getDirectoryNumber();
                               }))
        .def_property_readonly("scenario_count", guarded([](const DirectoryRef& self) {
                                   return self.use().getScenarioNumber();
                               }))
        .def(
            "directory",
            [](const DirectoryRef& self, size_t index) {
                return self.child(self.use().getDirectory(index), index);
            },
            Guard(), py::arg("index"))
        .def(
            "scenario",
            [](const DirectoryRef& self, size_t index) {
                return self.scenario(self.use().getScenario(index));
            },
            Guard(), py::arg("index"))
        .def(
            "__repr__",
            [](const DirectoryRef& self) {
                self.use();
                return describe(self);
            },
            Guard());
}

} // namespace tavrel_python

#include <TavrelScenarioTemplateDb/TavrelScenario.h>

#include <TavrelScenarioTemplateDb/TavrelConfigurationScenarioDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <map>

namespace TavrelScenarioTemplateDb {

using ScenarioTemplateDb::Exception;

namespace {

// Scenario directories are usually in generic form (${...}): every access to
// the file goes through this expansion first. An unknown variable stays as
// written, and the access then fails on the file itself.
std::string expandVariables(const std::string& text) {
    const std::map<std::string, std::string> noVariables;
    std::string expanded;
    Commons::System::ExpandLocalEnvironmentVariables(
        text, expanded, Commons::System::DaemonVariableMatchingPattern, noVariables);
    return expanded;
}

} // namespace

TavrelScenario::TavrelScenario(const std::string& configuration, const std::string& path,
                               const std::string& directory)
    : path(path), directory(directory), cfgScenarioIsExternal(false), cfgScenario(nullptr),
      configuration(configuration) {}

TavrelScenario::TavrelScenario(cfg::CfgScenario* scenario)
    : cfgScenarioIsExternal(true), cfgScenario(scenario),
      configuration(lmkUtils::EnvConfig::getCurrentConfiguration()) {
    loadCfgScenario();
}

TavrelScenario::~TavrelScenario() {
    // The nodes and the variadic parameters point into the sections; the
    // sections go first, so none of those destructors may touch them.
    if (!cfgScenarioIsExternal)
        delete cfgScenario;
    cfgScenario = nullptr;
    variadicParameters.clear();
    rootScenarioNode.reset();
}

std::string TavrelScenario::getPath() const {
    return path;
}

std::string TavrelScenario::getFilePath() const {
    return TavrelConfigurationScenarioDirectory::getFilePathFromDataBasePath(path, directory);
}

void TavrelScenario::setPath(const std::string& newPath) {
    path = newPath;
}

std::string TavrelScenario::getName() const {
    ensureLoaded();
    return cfgScenario->getRootSection()->name;
}

void TavrelScenario::setName(const std::string& name) {
    ensureLoaded();
    cfgScenario->getRootSection()->name = name;
}

std::string TavrelScenario::getDescription() const {
    ensureLoaded();
    return cfgScenario->getRootSection()->description;
}

void TavrelScenario::setDescription(const std::string& description) {
    ensureLoaded();
    cfgScenario->getRootSection()->description = description;
}

void TavrelScenario::fetch(std::vector<unsigned char>& bytes) const {
    const std::string expanded = expandVariables(getFilePath());
    if (Commons::FileUtils::LoadFile(expanded, bytes))
        return;
    // getName loads the file first if need be, so an unreadable file is
    // reported as the load failure it also is.
    throw Exception("Unable to load scenario " + getName(), ScenarioTemplateDb::ExceptionCodeScenarioRead);
}

void TavrelScenario::save() {
    std::string text = directory + "/" + path;
    Commons::System::ExpandLocalEnvironmentVariables(
        text, text, Commons::System::DaemonVariableMatchingPattern, std::map<std::string, std::string>());
    ensureLoaded();
    // The file library keeps the old file whenever it can't write the new one.
    cfgScenario->save(text.c_str(), Commons::Encoding::Utf8, false);
}

void TavrelScenario::loadScenario() const {
    const std::string expanded = expandVariables(getFilePath());
    if (!cfgScenarioIsExternal)
        delete cfgScenario;
    // Kept even when the load fails: one attempt per template object. The new
    // object is the template's own, whoever owned the former one.
    cfgScenario = new cfg::CfgScenario();
    cfgScenarioIsExternal = false;
    if (cfgScenario->load(expanded.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true)) {
        loadCfgScenario();
        return;
    }
    throw Exception("Unable to load scenario " + expanded + " :\n" + cfgScenario->errorMessage,
                    ScenarioTemplateDb::ExceptionCodeScenarioLoad);
}

void TavrelScenario::loadCfgScenario() const {
    ensureLoaded();
    readVariadicSections();
}

cfg::CfgScenario* TavrelScenario::getCfgScenarioSection() const {
    ensureLoaded();
    return cfgScenario;
}

void TavrelScenario::ensureLoaded() const {
    if (!cfgScenario)
        loadScenario();
}

} // namespace TavrelScenarioTemplateDb

#include <TavrelScenarioTemplateDb/TavrelScenario.h>

#include <TavrelScenarioTemplateDb/TavrelConfigurationScenarioDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/Folders.h>
#include <scenario/ScenarioItem.h>

#include <sys/stat.h>

#include <iostream>
#include <map>
#include <vector>

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

// The root model file as the last read found it, for the opt-in reuse.
struct ModelFile {
    std::string path;
    off_t size = 0;
    struct timespec modified {};
    Folders* tree = nullptr;
};

bool reuseRootModel = false;
ModelFile lastModel;

// The identity of the file at `path` now, from one stat; false if it can't be read.
bool describeFile(const std::string& path, ModelFile& out) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
        return false;
    out.path = path;
    out.size = status.st_size;
    out.modified = status.st_mtim;
    return true;
}

} // namespace

void setRootModelReuse(bool reuse) {
    // Only a tree read while the setting is on is ever handed out again: one read
    // before may have been freed by its host since.
    reuseRootModel = reuse;
    lastModel = ModelFile();
}

bool getRootModelReuse() {
    return reuseRootModel;
}

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
    readRootModel();
    readVariadicSections();
}

void TavrelScenario::readRootModel() const {
    const std::string modelPath = std::string("data/tools/nuro") + "/" + "nuro.mdl";
    std::string candidate;
    for (const std::string& path : lmkUtils::EnvConfig::getSeparatedPathForConfiguration(configuration, modelPath))
        if (Commons::FileUtils::DoesFileExist(path)) {
            candidate = path;
            break;
        }
    if (candidate.empty())
        throw Exception("Unable to find scenario root model file '" + modelPath + "' for configuration " +
                            configuration + " : check your Tavrel installation!",
                        -1);
    ModelFile now;
    if (reuseRootModel && lastModel.tree != nullptr && describeFile(candidate, now) &&
        now.path == lastModel.path && now.size == lastModel.size &&
        now.modified.tv_sec == lastModel.modified.tv_sec && now.modified.tv_nsec == lastModel.modified.tv_nsec) {
        scenarioRootModel = lastModel.tree;
        return;
    }
    ScenarioItem* loaded = LoadScenarioFile(candidate.c_str(), &std::cout, false);
    Folders* model = dynamic_cast<Folders*>(loaded);
    if (model == nullptr) {
        delete loaded;
        throw Exception("Unable to get initialize scenario root model " + candidate, -1);
    }
    // The former tree stays: items of scripts read earlier may point into it.
    // Every tree read is kept here, reachable, for the life of the process.
    static std::vector<Folders*>* const readModels = new std::vector<Folders*>();
    readModels->push_back(model);
    scenarioRootModel = model;
    if (reuseRootModel && describeFile(candidate, now)) {
        now.tree = model;
        lastModel = now;
    }
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

#pragma once

#include <ScenarioTemplateDb/Scenario.h>
#include <TavrelScenarioTemplateDb/Export.h>

#include <memory>
#include <queue>
#include <string>
#include <vector>

namespace cfg {
class CfgScenario;
class Section;
} // namespace cfg

namespace ScenarioTemplateDb {
class ScenarioNode;
class ScenarioParameter;
class VariadicParameter;
} // namespace ScenarioTemplateDb

namespace TavrelScenarioTemplateDb {

class TavrelVariadicParameter;

/// Whether opening a template may reuse the root model tree that the last open
/// read, while the model file is the same (same path, size and modification
/// time). Off by default: every template then reads the model anew and the
/// former trees stay for the life of the process, since items of earlier
/// scripts may point into them. A host that opens many templates and keeps no
/// item of a script between two opens (browsing, listing, serving views) may
/// switch it on once at start: it saves the read and the memory of each open.
/// Each call forgets the tree kept so far. Process-wide; not for hosts that
/// open templates on several threads.
TAVREL_DRIVER_API void setRootModelReuse(bool reuse);
/// The setting above.
TAVREL_DRIVER_API bool getRootModelReuse();

/// One scenario template of a Tavrel installation. Creating one touches no file;
/// the first operation that needs the file loads it, once per object. Failures
/// are Exception by value, except the node lookups reached through
/// getParameterFromId, which throw Exception*.
class TAVREL_DRIVER_API TavrelScenario : public ScenarioTemplateDb::Scenario {
public:
    /// Copies the three texts; touches no file.
    TavrelScenario(const std::string& configuration, const std::string& path, const std::string& directory);
    /// For a file the caller has opened and keeps alive; loads the root model and
    /// the variadic sections at once, and fails as that stage fails.
    explicit TavrelScenario(cfg::CfgScenario* scenario);
    /// Destroys the owned file object first, then the variadic parameters, then the node tree.
    ~TavrelScenario() override;
    TavrelScenario(const TavrelScenario&) = delete;
    TavrelScenario& operator=(const TavrelScenario&) = delete;

    /// The path relative to the scenario directory.
    std::string getPath() const override;
    /// The root of the node tree, built at the first call (loads the file if need be).
    ScenarioTemplateDb::ScenarioNode* getRootScenarioNode() const override;
    /// The parameter with this full id; null for an id of the wrong shape; throws
    /// Exception* for a step that doesn't exist.
    ScenarioTemplateDb::ScenarioParameter* getParameterFromId(std::string id) const override;
    /// directory + "/" + path.
    std::string getFilePath() const override;
    void setPath(const std::string& path) override;
    std::string getName() const override;
    void setName(const std::string& name) override;
    std::string getDescription() const override;
    void setDescription(const std::string& description) override;
    /// The file's bytes; throws (code 20, or 24 if the file can't be loaded either).
    void fetch(std::vector<unsigned char>& bytes) const override;
    /// The number of variadic parameters, after loading the file.
    size_t getVariadicParameterNumber() const override;
    /// Does not load; throws by value (code 4) beyond the end.
    ScenarioTemplateDb::VariadicParameter* getVariadicParameter(size_t index) const override;
    /// Does not load.
    void
    getVariadicParameters(std::vector<ScenarioTemplateDb::VariadicParameter*>& parameters) const override;

    /// Writes the file at directory + "/" + path; reports nothing.
    void save();
    /// Does not load.
    void getTavrelVariadicParameters(std::vector<TavrelVariadicParameter*>& parameters) const;
    /// Adds a variadic section to the root and returns its view (no target, type integer).
    TavrelVariadicParameter* addNewVariadicParameter();
    /// Removes the variadic parameter and its section; nothing beyond the end.
    void removeVariadicParameter(size_t index);
    /// Empties the description and removes every variadic parameter; nothing if not loaded.
    void clear();

protected:
    /// Loads the file; throws by value (code 24) on failure.
    void loadScenario() const;
    /// The second stage of a load: root model, then variadic sections.
    void loadCfgScenario() const;
    /// The file object, loading it first if need be.
    cfg::CfgScenario* getCfgScenarioSection() const;
    /// Appends the steps of a full parameter id to `pieces`.
    static void splitId(const std::string& id, std::queue<std::string>& pieces);

private:
    friend class VariantWriter; // writes the loaded file with edits
    /// Loads the file if it isn't loaded yet.
    void ensureLoaded() const;
    /// The first stage of a load: the configuration's root model.
    void readRootModel() const;
    /// The last stage of a load: one variadic parameter per variadic section.
    void readVariadicSections() const;
    /// Drops the nodes of these sub-sections of the root from the node tree, if built.
    void forgetNodesOf(const std::vector<cfg::Section*>& sections) const;

    std::string path;
    std::string directory;
    mutable bool cfgScenarioIsExternal;
    mutable cfg::CfgScenario* cfgScenario;
    mutable std::unique_ptr<ScenarioTemplateDb::ScenarioNode> rootScenarioNode;
    mutable std::string configuration;
    mutable std::vector<std::unique_ptr<TavrelVariadicParameter>> variadicParameters;
};

} // namespace TavrelScenarioTemplateDb

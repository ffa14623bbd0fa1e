#pragma once

#include <scenario/Task.h>

#include <string>
#include <vector>

/// Where a host keeps include files that travel with a scenario instead of
/// lying on disk. The reader asks the registered repositories in order before
/// it looks under "data/script/include".
class IncludeRepository {
public:
    virtual ~IncludeRepository() = default;
    /// Whether the repository holds `file` (the FILE text of an include, as written).
    virtual bool Contains(const std::string& file) const = 0;
    /// The text of `file`, in the scenario text format.
    virtual std::string Read(const std::string& file) const = 0;
};

/// Appends a repository to the process-wide list; the caller keeps it alive
/// until it unregisters it.
void RegisterIncludeRepository(IncludeRepository* repository);
/// Takes a repository out of the list; nothing if it isn't there.
void UnregisterIncludeRepository(IncludeRepository* repository);

/// A task defined in a file of its own. Marked ISA_INDEX it is a reference: its
/// content is read from FILE (from a repository, else from "data/script/include")
/// and only the reference is written; unmarked, it holds its content inline.
/// A file that can't be read leaves the include in place with the label "?".
class Include : public Task {
public:
    /// The loader's context is taken and not used.
    explicit Include(void* context = nullptr);
    /// Destroys the nested includes.
    ~Include() override;

    /// The nested includes (filter 0 or INCLUDE), then the task's children.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets every child without destroying it.
    void DetachChildren() override;
    /// An INCLUDE among the nested includes; a SCENARIO's children one by one
    /// (not the scenario); others as a task.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// A nested include is taken out, and destroyed when this is its parent;
    /// others as a task.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts an INCLUDE wherever `oldChild` stands among the nested includes;
    /// others as a task.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// The task's lines, then FILE while it is unset; with ISA_INDEX the content
    /// is read at once.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// The task's lines, then FILE.
    void SaveAttributes(std::ostream& out) override;
    /// Nothing for a reference; else RULE, SCENARIO, TASK and VARIABLE.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// A copy with the nested includes.
    ScenarioItem* Clone() override;
    /// The label, with "    (FILE)" for a reference or under a scenario, and "?"
    /// when it has no label or is invalid.
    void UpdateDisplayText() override;
    /// A reference is valid when its file is found under "data/script/include".
    void UpdateValidity() override;
    /// Starts over at `time`, each level of tasks set to enter its first state.
    void Init(const std::string& path, double time) override;

    /// Whether the top of the tree (this item without a parent) is a scenario.
    bool IsInsideScenario() const;

    std::vector<Include*> includes;
};

/// The text of `file` from the first repository that holds it; throws
/// std::runtime_error "include FILE not found in repositories" when none does.
std::string ResolveInclude(const std::string& file);

#include <scenario/Include.h>

#include "ModelIndex.h"
#include "ValidityRules.h"

#include <environment/lmkUtils/EnvConfig.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <ostream>
#include <stdexcept>

namespace {

const char* const kIncludeFolder = "data/script/include";

std::vector<IncludeRepository*>& Repositories() {
    static std::vector<IncludeRepository*> repositories;
    return repositories;
}

void Log(std::ostream* log, char severity, const std::string& text) {
    if (log == nullptr)
        return;
    log->put(severity);
    *log << text << std::endl;
}

// The failing line of a text that didn't read, as the loaders report it: up to
// an apostrophe or a separator, at most 255 bytes.
std::string FailingLine(const ScenarioTextStream& stream) {
    std::string rest;
    for (const char* p = stream.cursor; p < stream.end && *p != '\0' && rest.size() < 255; ++p) {
        if (*p == '\'' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '\f')
            break;
        rest.push_back(*p);
    }
    return rest;
}

// Marks a file as being read while it lives, unless it is being read already:
// an include whose file is among those being read includes itself, directly or
// through others, and would be read again and again, each time deeper.
class ReadingFile {
public:
    explicit ReadingFile(const std::string& file)
        : includesItself_(std::find(Files().begin(), Files().end(), file) != Files().end()) {
        if (!includesItself_)
            Files().push_back(file);
    }
    ~ReadingFile() {
        if (!includesItself_)
            Files().pop_back();
    }
    ReadingFile(const ReadingFile&) = delete;
    ReadingFile& operator=(const ReadingFile&) = delete;

    bool IncludesItself() const { return includesItself_; }

private:
    // The files of the includes being read, outermost first.
    static std::vector<std::string>& Files() {
        static std::vector<std::string> files;
        return files;
    }
    bool includesItself_;
};

} // namespace

void RegisterIncludeRepository(IncludeRepository* repository) {
    Repositories().push_back(repository);
}

void UnregisterIncludeRepository(IncludeRepository* repository) {
    auto& repositories = Repositories();
    auto it = std::find(repositories.begin(), repositories.end(), repository);
    if (it != repositories.end())
        repositories.erase(it);
}

std::string ResolveInclude(const std::string& file) {
    for (const IncludeRepository* repository : Repositories())
        if (repository != nullptr && repository->Contains(file))
            return repository->Read(file);
    throw std::runtime_error("include " + file + " not found in repositories");
}

Include::Include(void* context) : Task(context) {}

Include::~Include() {
    for (Include* include : includes)
        delete include;
}

void Include::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_INCLUDE)
        out.insert(out.end(), includes.begin(), includes.end());
    Task::GetChildren(out, kindFilter);
}

void Include::DetachChildren() {
    ModelIndex::NoteChange(this);
    includes.clear();
    Task::DetachChildren();
}

void Include::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    if (child == nullptr)
        return;
    if (child->kind == ITEM_INCLUDE) {
        Include* include = dynamic_cast<Include*>(child);
        if (include == nullptr)
            return;
        ModelIndex::NoteChange(this);
        ScenarioItemStore::Place(includes, include, reference, after);
        include->parent = this;
        return;
    }
    if (child->kind == ITEM_SCENARIO) {
        // A scenario brings its content, not itself.
        std::vector<ScenarioItem*> content;
        child->GetChildren(content);
        child->DetachChildren();
        for (ScenarioItem* item : content)
            AddChild(item, nullptr, true);
        return;
    }
    Task::AddChild(child, reference, after);
}

void Include::RemoveChild(ScenarioItem* child) {
    if (child == nullptr || child->kind != ITEM_INCLUDE || !ScenarioItemStore::Take(includes, child)) {
        Task::RemoveChild(child);
        return;
    }
    ModelIndex::NoteChange(this);
    if (child->parent == this)
        delete child;
}

void Include::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    Include* include =
        newChild != nullptr && newChild->kind == ITEM_INCLUDE ? dynamic_cast<Include*>(newChild) : nullptr;
    if (include == nullptr) {
        Task::ReplaceChild(newChild, oldChild);
        return;
    }
    ModelIndex::NoteChange(this);
    std::replace(includes.begin(), includes.end(), static_cast<Include*>(oldChild), include);
    include->parent = this;
}

bool Include::LoadAttribute(ScenarioTextStream& stream) {
    if (Task::LoadAttribute(stream))
        return true;
    if (!fileName.empty() || !ReadStringAttribute(stream, "FILE", fileName))
        return false;
    if (!IsIndexEntry())
        return true;

    // A reference: the content comes from a repository, else from the disk.
    std::ostream* const log = scenarioLog;
    std::unique_ptr<ScenarioItem> root;
    try {
        const std::string text = ResolveInclude(fileName);
        const ReadingFile reading(fileName);
        if (reading.IncludesItself()) {
            Log(log, '\x04', fileName + " includes itself");
        } else {
            ScenarioTextStream included(text.c_str(), text.size() + 1);
            ItemLoadContext context;
            const ItemRowRecord::File named(fileName);
            root.reset(LoadScenarioText(included, nullptr, &context, log, false));
            if (root)
                Log(log, '\x01', fileName + " loaded from scenario");
            else
                Log(log, '\x04',
                    fileName + " - row " + std::to_string(included.line) + ":\n" + FailingLine(included));
        }
    } catch (const std::runtime_error& error) {
        Log(log, '\x01', error.what());
        std::string path = kIncludeFolder;
        ResolveDataPath(fileName.c_str(), path);
        NormalizePath(path);
        resolvedPath = path;
        const ReadingFile reading(path);
        if (reading.IncludesItself()) {
            Log(log, '\x04', path + " includes itself");
        } else {
            // A file read from the disk reports on the standard output; the
            // messages of the text around it go on where they went.
            root.reset(LoadScenarioFile(path.c_str(), &std::cout, false));
            scenarioLog = log;
            if (root)
                Log(log, '\x01', path + " loaded");
        }
    }
    if (!root || root->kind != ITEM_INCLUDE) {
        label = "?";
        Log(log, '\x03', fileName + " not loaded");
        return true;
    }
    label = root->label;
    std::vector<ScenarioItem*> content;
    root->GetChildren(content);
    for (ScenarioItem* item : content)
        if (ScenarioItem* copy = item->Clone()) {
            // Before AddChild, which takes a scenario's content out of it.
            ItemRowRecord::NoteCopy(*item, *copy);
            AddChild(copy, nullptr, true);
        }
    return true;
}

void Include::SaveAttributes(std::ostream& out) {
    Task::SaveAttributes(out);
    WriteAttribute(out, "FILE", fileName.c_str());
}

bool Include::AcceptsChildKind(uint32_t childKind) {
    if (IsIndexEntry())
        return false;
    return childKind == ITEM_RULE || childKind == ITEM_SCENARIO || childKind == ITEM_TASK ||
           childKind == ITEM_VARIABLE;
}

ScenarioItem* Include::Clone() {
    return Task::Clone();
}

void Include::UpdateDisplayText() {
    displayText = label;
    if (IsIndexEntry() || (parent != nullptr && parent->kind == ITEM_SCENARIO))
        displayText += "    (" + fileName + ")";
    if (label.empty() || !IsValid())
        displayText += "?";
}

std::string IncludeFault(const Include& include) {
    if (!include.IsIndexEntry() || !lmkUtils::EnvConfig::findInPath(kIncludeFolder, include.fileName).empty())
        return std::string();
    return "include file " + include.fileName + " not found under " + kIncludeFolder;
}

void Include::UpdateValidity() {
    valid = IncludeFault(*this).empty();
}

void Include::Init(const std::string& path, double time) {
    workPath = path;
    // Every level of tasks is set to enter its first state.
    Task* task = this;
    while (!task->subTasks.empty()) {
        const int32_t first = std::atoi(task->subTasks[0]->name.c_str());
        task->currentState = first;
        task->transitionPending = 1;
        task->Task::Init(path, time);
        task->nextState = first;
        task = task->subTasks[0];
    }
    task->Task::Init(path, time);
}

bool Include::IsInsideScenario() const {
    const ScenarioItem* top = this;
    while (top->parent != nullptr)
        top = top->parent;
    return top->kind == ITEM_SCENARIO;
}

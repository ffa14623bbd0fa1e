#include <scenario/ScenarioItem.h>

#include <scenario/Action.h>
#include <scenario/Condition.h>
#include <scenario/Config.h>
#include <scenario/Criteria.h>
#include <scenario/Enum.h>
#include <scenario/EnumTab.h>
#include <scenario/Evaluation.h>
#include <scenario/Folders.h>
#include <scenario/Function.h>
#include <scenario/GeneralParameters.h>
#include <scenario/Group.h>
#include <scenario/Include.h>
#include <scenario/Parameter.h>
#include <scenario/Program.h>
#include <scenario/Rule.h>
#include <scenario/Scenario.h>
#include <scenario/Task.h>
#include <scenario/Variable.h>

#include <environment/lmkUtils/EnvConfig.h>

#include "ModelIndex.h"
#include "ValidityRules.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <ostream>
#include <string_view>

namespace {

const char* const kSource = "ScenarioItem";

constexpr std::string_view kKeywords[] = {
    "",
    "ACTION",
    "ELSE_ACTION",
    "CATALOG",
    "CONDITION",
    "CONFIG",
    "CRITERIA",
    "ENUM",
    "ENUMTAB",
    "EVALUATION",
    "EXERCISE_LOG",
    "EXERCISE_NDX",
    "FOLDER",
    "FUNCTION",
    "GENERAL_PARAMETERS",
    "GROUP",
    "HISTORY",
    "INCLUDE",
    "MODIFIER",
    "PARAMETER",
    "PROGRAM",
    "RETURN",
    "RULE",
    "SCENARIO",
    "SESSION_LOG",
    "TASK",
    "TOKEN",
    "VARIABLE",
};

// The keywords chained by first letter, so that a header's keyword is compared
// with the two or three of its letter rather than all of them: `first` holds the
// lowest kind of each letter A to Z, `next` the following kind of the same letter;
// 0 ends a chain.
struct KeywordChains {
    uint8_t first[26] = {};
    uint8_t next[ITEM_LAST_KIND + 1] = {};
};

constexpr KeywordChains MakeKeywordChains() {
    KeywordChains chains;
    for (uint32_t kind = ITEM_LAST_KIND; kind >= 1; --kind) {
        const int letter = kKeywords[kind][0] - 'A';
        chains.next[kind] = chains.first[letter];
        chains.first[letter] = static_cast<uint8_t>(kind);
    }
    return chains;
}

constexpr KeywordChains kKeywordChains = MakeKeywordChains();

// Scenarios, criteria and includes (an evaluation is an include) are the units
// that own the variables beneath them, told by their run-time type.
bool IsOwningUnit(const ScenarioItem* item) {
    return dynamic_cast<const ScenarioLib::Scenario*>(item) != nullptr ||
           dynamic_cast<const Criteria*>(item) != nullptr || dynamic_cast<const Include*>(item) != nullptr;
}

} // namespace

Folders* scenarioRootModel = nullptr;
std::ostream* scenarioLog = nullptr;
int32_t scenarioDepth = 0;

bool IsFileScopeKind(uint32_t kind) {
    return kind == ITEM_GENERAL_PARAMETERS || kind == ITEM_INCLUDE || kind == ITEM_SCENARIO;
}

bool IsCallableKind(uint32_t kind) {
    return kind == ITEM_ACTION || kind == ITEM_ELSE_ACTION || kind == ITEM_CONDITION || kind == ITEM_FUNCTION;
}

bool IsTokenKind(uint32_t kind) {
    switch (kind) {
    case ITEM_ACTION:
    case ITEM_ELSE_ACTION:
    case ITEM_CONDITION:
    case ITEM_CRITERIA:
    case ITEM_ENUM:
    case ITEM_EVALUATION:
    case ITEM_FUNCTION:
    case ITEM_GENERAL_PARAMETERS:
    case ITEM_INCLUDE:
    case ITEM_PARAMETER:
    case ITEM_RULE:
    case ITEM_SCENARIO:
    case ITEM_TASK:
    case ITEM_TOKEN:
    case ITEM_VARIABLE:
        return true;
    default:
        return false;
    }
}

// ---------------------------------------------------------------------------
// Observers

void ScenarioItemObservable::AddObserver(ScenarioItemObserver* observer) {
    observers.push_back(observer);
}

void ScenarioItemObservable::RemoveObserver(ScenarioItemObserver* observer) {
    auto it = std::find(observers.begin(), observers.end(), observer);
    if (it != observers.end())
        observers.erase(it);
}

void ScenarioItemObservable::NotifyObservers(uint32_t event) {
    for (size_t i = 0; i < observers.size(); ++i)
        observers[i]->OnItemEvent(this, event);
}

void ScenarioItemObservable::SetObservableId(uint32_t id) {
    observableId = id;
}

uint32_t ScenarioItemObservable::GetObservableId() {
    return observableId;
}

// ---------------------------------------------------------------------------
// Kinds and factory

const char* KindKeyword(uint32_t kind) {
    if (kind < 1 || kind > ITEM_LAST_KIND)
        return "";
    return kKeywords[kind].data();
}

uint32_t KindFromKeyword(const char* text) {
    if (text == nullptr || *text == '\0')
        return ITEM_NONE;
    if (text[0] < 'A' || text[0] > 'Z')
        return ITEM_NONE;
    const std::string_view wanted(text);
    for (uint32_t kind = kKeywordChains.first[text[0] - 'A']; kind != 0; kind = kKeywordChains.next[kind])
        if (kKeywords[kind] == wanted)
            return kind;
    return ITEM_NONE;
}

ScenarioItem* CreateItem(uint32_t kind, const std::string& name, ItemLoadContext* context) {
    // The context goes to criteria, evaluations, includes, scenarios and tasks
    // (first) and to rules (second); those classes take it in their constructors.
    ScenarioItem* item = nullptr;
    void* first = context != nullptr ? context->first : nullptr;
    void* second = context != nullptr ? context->second : nullptr;
    switch (kind) {
    case ITEM_ACTION:
    case ITEM_ELSE_ACTION:
        item = new Action();
        break;
    case ITEM_CONDITION:
        item = new Condition();
        break;
    case ITEM_RULE:
        item = new Rule(static_cast<ScenarioItemObserver*>(second));
        break;
    case ITEM_SCENARIO:
        item = new ScenarioLib::Scenario(first);
        break;
    case ITEM_TASK:
        item = new Task(first);
        break;
    case ITEM_CONFIG:
        item = new Config();
        break;
    case ITEM_CRITERIA:
        item = new Criteria(first);
        break;
    case ITEM_EVALUATION:
        item = new Evaluation(first);
        break;
    case ITEM_GENERAL_PARAMETERS:
        item = new GeneralParameters();
        break;
    case ITEM_INCLUDE:
        item = new Include(first);
        break;
    case ITEM_ENUM:
        item = new Enum();
        break;
    case ITEM_ENUMTAB:
        item = new EnumTab();
        break;
    case ITEM_FOLDER:
        item = new Folders();
        break;
    case ITEM_FUNCTION:
        item = new Function();
        break;
    case ITEM_GROUP:
        item = new Group();
        break;
    case ITEM_PARAMETER:
    case ITEM_RETURN:
        item = new Parameter();
        break;
    case ITEM_PROGRAM:
        item = new Program();
        break;
    case ITEM_VARIABLE:
        item = new Variable();
        break;
    default:
        AssertAbort(kSource, 122);
    }
    item->kind = kind;
    item->SetName(name);
    return item;
}

// ---------------------------------------------------------------------------
// Item base

ScenarioItem::ScenarioItem(ScenarioItem* parentItem) : parent(parentItem) {}

ScenarioItem::~ScenarioItem() {
    // An index that knows this item must not outlive it.
    if (indexMarks != 0)
        ModelIndex::ForgetAll();
    // Nor may a record of rows hand this item's place to an item made later at
    // the same address.
    if (ItemRowRecord::Recording())
        ItemRowRecord::Forget(this);
}

void ScenarioItem::GetChildren(std::vector<ScenarioItem*>&, uint32_t) const {}

void ScenarioItem::RemoveAllChildren() {
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot)
        RemoveChild(child);
}

void ScenarioItem::SetName(const std::string& newName) {
    ModelIndex::NoteChange(this);
    name = newName;
}

bool ScenarioItem::LoadAttribute(ScenarioTextStream& stream) {
    // Every item reads its lines through here first; the three keys start alike,
    // so most lines are turned down by their first letter.
    if (stream.Peek() != 'I')
        return false;
    if (isSelected.empty() && ReadStringAttribute(stream, "IS_SELECTED", isSelected))
        return true;
    if (isExpanded.empty() && ReadStringAttribute(stream, "IS_EXPANDED", isExpanded))
        return true;
    if (isaIndex.empty() && ReadStringAttribute(stream, "ISA_INDEX", isaIndex))
        return true;
    return false;
}

void ScenarioItem::SaveChildren(std::ostream& out) {
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 757);
        child->Save(out);
    }
}

void ScenarioItem::SaveAttributes(std::ostream& out) {
    if (IsSelected())
        WriteAttribute(out, "IS_SELECTED", isSelected.c_str());
    if (IsExpanded())
        WriteAttribute(out, "IS_EXPANDED", isExpanded.c_str());
    if (IsIndexEntry())
        WriteAttribute(out, "ISA_INDEX", isaIndex.c_str());
}

bool ScenarioItem::AcceptsChildKind(uint32_t) {
    return true;
}

bool ScenarioItem::OnLoadBegin() {
    return parent == nullptr || parent->AcceptsChildKind(kind);
}

bool ScenarioItem::OnLoadEnd() {
    return true;
}

bool ScenarioItem::MakeUniqueLabel() {
    std::string candidate = label;
    std::vector<ScenarioItem*> others;
    CollectVisibleItems(ITEM_VARIABLE, others, "", "");
    CollectItemsOfKind(others, ITEM_VARIABLE, true, true);
    bool unchanged = true;
    for (size_t i = 0; i < others.size();) {
        if (others[i] != this && others[i]->label == candidate) {
            candidate.insert(0, 1, '_');
            unchanged = false;
            i = 0;
            continue;
        }
        ++i;
    }
    label = candidate;
    return unchanged;
}

ScenarioItem* ScenarioItem::Clone() {
    // Held until complete, so that nothing is left behind when a handler of the
    // assertion below lets the program go on.
    std::unique_ptr<ScenarioItem> copy(CreateItem(kind, name, nullptr));
    if (!copy)
        return nullptr;
    copy->SetName(name);
    copy->label = label;
    copy->isaIndex = IsIndexEntry() ? "1" : "0";
    copy->fileName = fileName;
    copy->resolvedPath = resolvedPath;
    NormalizePath(copy->resolvedPath);
    copy->isSelected = IsSelected() ? "1" : "0";
    copy->isExpanded = IsExpanded() ? "1" : "0";
    copy->hostWord = hostWord;
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 445);
        ScenarioItem* childCopy = child->Clone();
        childCopy->parent = copy.get();
        copy->AddChild(childCopy, nullptr, true);
    }
    return copy.release();
}

bool ScenarioItem::Save(std::ostream& out) {
    WriteHeader(out, kind, name);
    std::string brace(static_cast<size_t>(scenarioDepth > 0 ? scenarioDepth : 0), '\t');
    brace += "{\n";
    out.write(brace.data(), static_cast<std::streamsize>(brace.size()));
    ++scenarioDepth;
    SaveAttributes(out);
    if (!IsIndexEntry())
        SaveChildren(out);
    --scenarioDepth;
    brace[brace.size() - 2] = '}';
    out.write(brace.data(), static_cast<std::streamsize>(brace.size()));
    return true;
}

void ScenarioItem::UpdateDisplayTextTree() {
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 779);
        child->UpdateDisplayTextTree();
    }
    UpdateDisplayText();
}

void ScenarioItem::UpdateDisplayText() {
    displayText = label;
}

namespace {

// The two overloads of each search share one body; `Item` is the item type with
// its constness, `Self` the class whose members are called.
template <typename Item>
Item* FindItemIn(Item* self, uint32_t kind, const std::string& name, const std::string& scope, int line) {
    // A rule's variables are its own business.
    if (kind == ITEM_VARIABLE && self->kind == ITEM_RULE)
        return nullptr;
    bool narrowed = false;
    if (!scope.empty()) {
        const ScenarioItem* fileScope = IsFileScopeKind(self->kind) ? self : FindFileScope(self->parent);
        if (fileScope == nullptr || (fileScope->fileName != scope && fileScope->kind != ITEM_SCENARIO))
            return nullptr;
        narrowed = self->kind != ITEM_SCENARIO;
    }
    if (self->kind == kind && self->name == name)
        return self;
    std::vector<ScenarioItem*> snapshot;
    self->GetChildren(snapshot);
    const std::string empty;
    for (Item* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, line);
        if (Item* hit = child->FindItem(kind, name, narrowed ? empty : scope))
            return hit;
    }
    return nullptr;
}

template <typename Item>
Item* FindItemUpwardIn(Item* self, uint32_t kind, const std::string& name, int line) {
    if (self->kind == kind && self->name == name)
        return self;
    if (self->parent == nullptr)
        return nullptr;
    std::vector<ScenarioItem*> siblings;
    self->parent->GetChildren(siblings);
    const std::string empty;
    for (Item* sibling : siblings) {
        if (sibling == nullptr)
            AssertAbort(kSource, line);
        if (sibling == self)
            continue;
        if (Item* hit = sibling->FindItem(kind, name, empty))
            return hit;
    }
    // The level above is asked, but its answer is not used: only this item and
    // the subtrees of its siblings are within reach.
    static_cast<Item*>(self->parent)->FindItemUpward(kind, name);
    return nullptr;
}

template <typename Item>
void CollectItemsIn(Item* self, uint32_t kind, const std::string& name, std::vector<Item*>& out,
                    bool includeSelf, bool crossIncludes, int line) {
    if (!crossIncludes && self->kind == ITEM_INCLUDE)
        return;
    if (includeSelf && self->kind == kind && self->name == name)
        out.push_back(self);
    std::vector<ScenarioItem*> snapshot;
    self->GetChildren(snapshot);
    for (Item* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, line);
        child->CollectItems(kind, name, out, true, crossIncludes);
    }
}

template <typename Item>
void CollectItemsOfKindIn(Item* self, std::vector<Item*>& out, uint32_t kind, bool includeSelf,
                          bool crossIncludes, int line) {
    if (!crossIncludes && self->kind == ITEM_INCLUDE)
        return;
    if (self->kind == kind || (kind == ITEM_NONE && includeSelf))
        out.push_back(self);
    std::vector<ScenarioItem*> snapshot;
    self->GetChildren(snapshot);
    for (ScenarioItem* child : snapshot)
        if (child == nullptr)
            AssertAbort(kSource, line);
    std::sort(snapshot.begin(), snapshot.end(),
              [](const ScenarioItem* a, const ScenarioItem* b) { return a->label < b->label; });
    for (Item* child : snapshot) {
        child->CollectItemsOfKind(out, kind, true, crossIncludes);
        if (kind == ITEM_PARAMETER && IsCallableKind(child->kind)) {
            // The parameters of a callable come once more, so that a caller can
            // reach them without knowing the callable's class.
            std::vector<ScenarioItem*> parameters;
            child->GetChildren(parameters, ITEM_PARAMETER);
            out.insert(out.end(), parameters.begin(), parameters.end());
        }
    }
}

} // namespace

ScenarioItem* ScenarioItem::FindItem(uint32_t wantedKind, const std::string& wantedName,
                                     const std::string& scope) {
    return FindItemIn<ScenarioItem>(this, wantedKind, wantedName, scope, 862);
}

const ScenarioItem* ScenarioItem::FindItem(uint32_t wantedKind, const std::string& wantedName,
                                           const std::string& scope) const {
    return FindItemIn<const ScenarioItem>(this, wantedKind, wantedName, scope, 909);
}

ScenarioItem* ScenarioItem::FindItemUpward(uint32_t wantedKind, const std::string& wantedName) {
    return FindItemUpwardIn<ScenarioItem>(this, wantedKind, wantedName, 957);
}

const ScenarioItem* ScenarioItem::FindItemUpward(uint32_t wantedKind, const std::string& wantedName) const {
    return FindItemUpwardIn<const ScenarioItem>(this, wantedKind, wantedName, 996);
}

void ScenarioItem::CollectItems(uint32_t wantedKind, const std::string& wantedName,
                                std::vector<ScenarioItem*>& out, bool includeSelf, bool crossIncludes) {
    CollectItemsIn<ScenarioItem>(this, wantedKind, wantedName, out, includeSelf, crossIncludes, 1129);
}

void ScenarioItem::CollectItems(uint32_t wantedKind, const std::string& wantedName,
                                std::vector<const ScenarioItem*>& out, bool includeSelf,
                                bool crossIncludes) const {
    CollectItemsIn<const ScenarioItem>(this, wantedKind, wantedName, out, includeSelf, crossIncludes, 1152);
}

void ScenarioItem::CollectItemsOfKind(std::vector<ScenarioItem*>& out, uint32_t wantedKind, bool includeSelf,
                                      bool crossIncludes) {
    CollectItemsOfKindIn<ScenarioItem>(this, out, wantedKind, includeSelf, crossIncludes, 1050);
}

void ScenarioItem::CollectItemsOfKind(std::vector<const ScenarioItem*>& out, uint32_t wantedKind,
                                      bool includeSelf, bool crossIncludes) const {
    CollectItemsOfKindIn<const ScenarioItem>(this, out, wantedKind, includeSelf, crossIncludes, 1086);
}

ScenarioItem* ScenarioItem::FindFirstOfKind(uint32_t wantedKind) {
    if (kind == wantedKind)
        return this;
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 1183);
        if (ScenarioItem* hit = child->FindFirstOfKind(wantedKind))
            return hit;
    }
    return nullptr;
}

ScenarioItem* ScenarioItem::FindByLabel(const std::string& wanted) {
    if (label == wanted)
        return this;
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 1422);
        if (ScenarioItem* hit = child->FindByLabel(wanted))
            return hit;
    }
    return nullptr;
}

bool ScenarioItem::ContainsItem(const ScenarioItem* item) const {
    if (item == this)
        return true;
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 1366);
        if (child->ContainsItem(item))
            return true;
    }
    return false;
}

ScenarioItem* ScenarioItem::GetFirstChild() const {
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    return snapshot.empty() ? nullptr : snapshot.front();
}

bool ScenarioItem::IsValid() const {
    return true;
}

void ScenarioItem::CollectVisibleItems(uint32_t wantedKind, std::vector<ScenarioItem*>& out,
                                       const std::string& wantedName, const std::string& scope) {
    if (wantedKind != ITEM_NONE) {
        std::vector<ScenarioItem*> snapshot;
        GetChildren(snapshot, wantedKind);
        size_t position = 0;
        for (ScenarioItem* child : snapshot) {
            if (child == nullptr)
                AssertAbort(kSource, 1442);
            if (!wantedName.empty() && wantedName != child->name)
                continue;
            if (!scope.empty()) {
                const ScenarioItem* fileScope =
                    IsFileScopeKind(child->kind) ? child : FindFileScope(child->parent);
                if (fileScope == nullptr || fileScope->fileName != scope)
                    continue;
            }
            out.insert(out.begin() + static_cast<std::ptrdiff_t>(position++), child);
        }
    }
    if (parent == nullptr || kind == ITEM_EVALUATION || kind == ITEM_GENERAL_PARAMETERS ||
        kind == ITEM_INCLUDE)
        return;
    parent->CollectVisibleItems(wantedKind, out, wantedName, scope);
}

// ---------------------------------------------------------------------------
// The plain children store

namespace ScenarioItemStore {

void GetChildren(const std::vector<ScenarioItem*>& children, std::vector<ScenarioItem*>& out,
                 uint32_t kindFilter) {
    for (ScenarioItem* child : children)
        if (kindFilter == ITEM_NONE || (child != nullptr && child->kind == kindFilter))
            out.push_back(child);
}

void AddChild(std::vector<ScenarioItem*>& children, ScenarioItem* owner, ScenarioItem* child,
              ScenarioItem* reference, bool after) {
    if (child == nullptr)
        AssertAbort("core/include/scenario/ScenarioItem", 251);
    ModelIndex::NoteChange(owner);
    auto it = reference != nullptr ? std::find(children.begin(), children.end(), reference) : children.end();
    if (it != children.end())
        children.insert(after ? it + 1 : it, child);
    else if (after)
        children.push_back(child);
    else
        children.insert(children.begin(), child);
    child->parent = owner;
}

void RemoveChild(std::vector<ScenarioItem*>& children, ScenarioItem* owner, ScenarioItem* child) {
    auto it = std::find(children.begin(), children.end(), child);
    if (it == children.end())
        return;
    ModelIndex::NoteChange(owner);
    children.erase(it);
    if (child != nullptr && child->parent == owner)
        delete child;
}

void ReplaceChild(std::vector<ScenarioItem*>& children, ScenarioItem* owner, ScenarioItem* newChild,
                  ScenarioItem* oldChild) {
    ModelIndex::NoteChange(owner);
    std::replace(children.begin(), children.end(), oldChild, newChild);
    if (newChild != nullptr)
        newChild->parent = owner;
}

void SwapChildren(std::vector<ScenarioItem*>& children, ScenarioItem* a, ScenarioItem* b) {
    auto first = std::find(children.begin(), children.end(), a);
    auto second = std::find(children.begin(), children.end(), b);
    if (first != children.end() && second != children.end()) {
        ModelIndex::NoteChange(a->parent);
        std::iter_swap(first, second);
    }
}

} // namespace ScenarioItemStore

// ---------------------------------------------------------------------------
// Tree helpers

ScenarioItem* FindFileScope(ScenarioItem* item) {
    for (; item != nullptr; item = item->parent)
        if (IsFileScopeKind(item->kind))
            return item;
    return nullptr;
}

ScenarioItem* GetTreeRoot(ScenarioItem* item) {
    if (item == nullptr)
        return nullptr;
    while (item->parent != nullptr)
        item = item->parent;
    return item;
}

ScenarioItem* GetModelRoot(ScenarioItem* item) {
    if (scenarioRootModel != nullptr)
        return scenarioRootModel;
    if (item == nullptr)
        return nullptr;
    return item->parent != nullptr ? GetTreeRoot(item->parent) : item;
}

ScenarioItem* FindOwningUnit(ScenarioItem* item) {
    for (; item != nullptr; item = item->parent)
        if (IsOwningUnit(item))
            return item;
    return nullptr;
}

std::string InvalidityReason(ScenarioItem& item) {
    // The classes with rules of their own; any other item is valid when its
    // children are.
    switch (item.kind) {
    case ITEM_PARAMETER:
        if (Parameter* parameter = dynamic_cast<Parameter*>(&item))
            return ParameterFault(*parameter);
        break;
    case ITEM_ACTION:
    case ITEM_ELSE_ACTION:
        if (const Action* action = dynamic_cast<const Action*>(&item))
            return ActionFault(*action);
        break;
    case ITEM_CONDITION:
        if (const Condition* condition = dynamic_cast<const Condition*>(&item))
            return ConditionFault(*condition);
        break;
    case ITEM_FUNCTION:
        if (const Function* call = dynamic_cast<const Function*>(&item))
            return CallFault(*call);
        break;
    case ITEM_INCLUDE:
        if (const Include* include = dynamic_cast<const Include*>(&item))
            return IncludeFault(*include);
        break;
    default:
        break;
    }
    return std::string();
}

// ---------------------------------------------------------------------------
// Path helpers

void NormalizePath(std::string& path) {
    std::string normal;
    normal.reserve(path.size());
    for (size_t i = 0; i < path.size(); ++i) {
        char c = path[i];
        // A leading slash stays, so that a rooted path keeps its form.
        if (c == '/' && i != 0)
            c = '\\';
        // Repeated backslashes fold, except for a leading pair (a share name).
        if (c == '\\' && i > 1 && !normal.empty() && normal.back() == '\\')
            continue;
        normal.push_back(c);
    }
    path.swap(normal);
}

const char* FileNameOf(const char* path) {
    static std::string result;
    if (path == nullptr) {
        result.clear();
        return result.c_str();
    }
    const char* start = path;
    for (const char* p = path; *p != '\0'; ++p)
        if (*p == '\\' || *p == '/')
            start = p + 1;
    result.assign(start);
    return result.c_str();
}

void ResolveDataPath(const char* file, std::string& directory) {
    // The installation is asked for its data path only when the file isn't found
    // in it: making an EnvConfig reads the installation file again.
    if (file != nullptr) {
        std::string found = lmkUtils::EnvConfig::findInPath(directory, file);
        if (!found.empty()) {
            directory = found;
        } else {
            directory += "\\";
            directory += file;
            directory = lmkUtils::EnvConfig()[directory];
        }
    } else {
        directory = lmkUtils::EnvConfig()[directory];
    }
    NormalizePath(directory);
}

std::string ParameterFileOf(const std::string& path) {
    std::string result = path;
    if (!result.empty()) {
        result.erase(result.size() >= 2 ? result.size() - 2 : 0);
        result += "par";
    }
    return result;
}

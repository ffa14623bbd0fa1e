#include "ModelIndex.h"

#include <deque>
#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace ModelIndex {
namespace {

struct Key {
    uint32_t kind;
    std::string_view name;
    bool operator==(const Key& other) const { return kind == other.kind && name == other.name; }
};

struct KeyHash {
    size_t operator()(const Key& key) const {
        return std::hash<std::string_view>()(key.name) ^
               (static_cast<size_t>(key.kind) * 0x9E3779B97F4A7C15ull);
    }
};

// What is known of the searches in one tree below `root`. Keys point into the
// names of the items found, which don't change during a load, or into `misses`
// for the names that weren't found.
struct RootMemory {
    std::unordered_map<Key, ScenarioItem*, KeyHash> answers;
    std::deque<std::string> misses;
    size_t searches = 0;
    bool indexed = false;
    bool unindexable = false;
};

// A tree that is searched this often in one load is indexed whole: the walk
// then costs no more than the searches it saves.
const size_t kSearchesBeforeIndex = 8;

int loadDepth = 0;
std::unordered_map<const ScenarioItem*, std::unique_ptr<RootMemory>>* memory = nullptr;

// The walk of FindItem with an empty scope: each item, then its children in
// order; a rule's variables are hidden from a search that comes from above.
// False when the tree holds a null child, which the plain search reports.
bool IndexTree(ScenarioItem* item, bool insideRule, RootMemory& into) {
    if (!(insideRule && item->kind == ITEM_VARIABLE))
        into.answers.emplace(Key{item->kind, item->name}, item);
    const bool hidesVariables = insideRule || item->kind == ITEM_RULE;
    std::vector<ScenarioItem*> children;
    item->GetChildren(children);
    for (ScenarioItem* child : children)
        if (child == nullptr || !IndexTree(child, hidesVariables, into))
            return false;
    return true;
}

} // namespace

LoadScope::LoadScope() {
    if (loadDepth++ == 0)
        memory = new std::unordered_map<const ScenarioItem*, std::unique_ptr<RootMemory>>();
}

LoadScope::~LoadScope() {
    if (--loadDepth == 0) {
        delete memory;
        memory = nullptr;
    }
}

ScenarioItem* Find(ScenarioItem* root, uint32_t kind, const std::string& name, ScenarioItem* from) {
    static const std::string noScope;
    if (memory == nullptr || root == nullptr || GetTreeRoot(root) == GetTreeRoot(from))
        return root != nullptr ? root->FindItem(kind, name, noScope) : nullptr;

    std::unique_ptr<RootMemory>& slot = (*memory)[root];
    if (!slot)
        slot = std::make_unique<RootMemory>();
    RootMemory& known = *slot;
    auto hit = known.answers.find(Key{kind, name});
    if (hit != known.answers.end())
        return hit->second;
    if (known.indexed)
        return nullptr;

    if (!known.unindexable && ++known.searches > kSearchesBeforeIndex) {
        RootMemory index;
        if (IndexTree(root, false, index)) {
            // Every name of the tree is in the index: what it lacks isn't there.
            known.answers = std::move(index.answers);
            known.misses.clear();
            known.indexed = true;
            auto found = known.answers.find(Key{kind, name});
            return found != known.answers.end() ? found->second : nullptr;
        }
        // A null child: the plain walk goes on searching, and reports it when it
        // comes to it.
        known.unindexable = true;
    }
    ScenarioItem* found = root->FindItem(kind, name, noScope);
    if (found != nullptr) {
        known.answers.emplace(Key{kind, found->name}, found);
    } else {
        known.misses.push_back(name);
        known.answers.emplace(Key{kind, known.misses.back()}, nullptr);
    }
    return found;
}

} // namespace ModelIndex

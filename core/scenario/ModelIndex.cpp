#include "ModelIndex.h"

#include <functional>
#include <unordered_map>

namespace ModelIndex {
namespace detail {
size_t indexCount = 0;
} // namespace detail

namespace {

// The items of one kind below one root, in the order of the search's walk, each
// with the hash of its name when it was indexed; and the first item of each name
// among them, in an open-addressed table. A lookup reads one slot and then the
// item itself, which the caller reads next anyway.
struct KindIndex {
    struct Slot {
        size_t hash = 0;
        ScenarioItem* item = nullptr;
    };
    struct Member {
        size_t hash;
        ScenarioItem* item;
        const ScenarioItem* parent;
    };

    // The item of that name, or null.
    ScenarioItem* Lookup(const std::string& name) const {
        if (slots.empty())
            return nullptr;
        const size_t hash = std::hash<std::string>()(name);
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            const Slot& slot = slots[i];
            if (slot.item == nullptr)
                return nullptr;
            if (slot.hash == hash && slot.item->name == name)
                return slot.item;
        }
    }

    // Adds the item unless an earlier item has its name.
    void Add(ScenarioItem* item) {
        const size_t hash = std::hash<std::string>()(item->name);
        members.push_back(Member{hash, item, item->parent});
        item->indexMarks |= ScenarioItem::kIndexAnswer;
        if ((count + 1) * 2 > slots.size())
            Grow();
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            Slot& slot = slots[i];
            if (slot.item == nullptr) {
                slot = Slot{hash, item};
                ++count;
                return;
            }
            if (slot.hash == hash && slot.item->name == item->name)
                return;
        }
    }

    void Grow() {
        std::vector<Slot> former;
        former.swap(slots);
        slots.resize(former.empty() ? 16 : former.size() * 2);
        mask = slots.size() - 1;
        for (const Slot& slot : former) {
            if (slot.item == nullptr)
                continue;
            size_t i = slot.hash & mask;
            while (slots[i].item != nullptr)
                i = (i + 1) & mask;
            slots[i] = slot;
        }
    }

    // Whether every member still has the kind, the name and the parent it was
    // indexed with: a name written straight into an item's field, or an item
    // moved by hand, is seen here.
    bool StillTrue(uint32_t kind) const {
        // The members lie far apart in a large model: those a few places ahead
        // are asked for while one is checked.
        const size_t ahead = 8;
        for (size_t i = 0; i < members.size(); ++i) {
            if (i + ahead < members.size()) {
                __builtin_prefetch(&members[i + ahead].item->kind);
                __builtin_prefetch(&members[i + ahead].item->parent);
            }
            const Member& member = members[i];
            if (member.item->kind != kind || member.item->parent != member.parent ||
                std::hash<std::string>()(member.item->name) != member.hash)
                return false;
        }
        return true;
    }

    std::vector<Member> members;
    std::vector<Slot> slots;
    size_t mask = 0;
    size_t count = 0;
    uint64_t checkedInLoad = 0; // the load in which the members were last checked
    bool unindexable = false;   // the tree holds a null child: plain searches only
};

// The indexes of one root, by kind.
using RootIndexes = std::unordered_map<uint32_t, KindIndex>;

std::unordered_map<const ScenarioItem*, RootIndexes>& Indexes() {
    static std::unordered_map<const ScenarioItem*, RootIndexes> indexes;
    return indexes;
}

// Counts the indexes forgotten: an answer kept beside the indexes is good while
// this stays as it was.
uint64_t epoch = 0;

// The loads under way, and the number of the outermost one. Within one load the
// members of an index are checked once; outside loads, at every use.
int loadDepth = 0;
uint64_t loadSerial = 0;

// The walk of FindItem with an empty scope: each item, then its children in
// order; a rule's variables are hidden from a search that comes from above.
// False when the tree holds a null child, which the plain search reports.
// `scratch` holds one list of children per depth, reused from item to item.
bool IndexTree(ScenarioItem* item, uint32_t kind, bool insideRule, KindIndex& into,
               std::vector<std::vector<ScenarioItem*>>& scratch, size_t depth) {
    if (item->kind == kind && !(insideRule && kind == ITEM_VARIABLE))
        into.Add(item);
    const bool hidesVariables = insideRule || item->kind == ITEM_RULE;
    if (scratch.size() <= depth)
        scratch.resize(depth + 1);
    scratch[depth].clear();
    item->GetChildren(scratch[depth]);
    // The lists are reached through `scratch` at each step: a deeper level may
    // grow it and move them.
    for (size_t i = 0; i < scratch[depth].size(); ++i) {
        ScenarioItem* child = scratch[depth][i];
        if (child == nullptr || !IndexTree(child, kind, hidesVariables, into, scratch, depth + 1))
            return false;
    }
    return true;
}

void Forget(const ScenarioItem* root) {
    auto found = Indexes().find(root);
    if (found == Indexes().end())
        return;
    detail::indexCount -= found->second.size();
    Indexes().erase(found);
    ++epoch;
}

// The index of the items of `kind` below `root`, made or made again as needed.
KindIndex& IndexOf(ScenarioItem* root, uint32_t kind) {
    RootIndexes& kinds = Indexes()[root];
    auto found = kinds.find(kind);
    if (found != kinds.end()) {
        KindIndex& index = found->second;
        if (index.unindexable || (loadDepth > 0 && index.checkedInLoad == loadSerial))
            return index;
        if (index.StillTrue(kind)) {
            index.checkedInLoad = loadDepth > 0 ? loadSerial : 0;
            return index;
        }
        kinds.erase(found);
        --detail::indexCount;
        ++epoch;
    }
    KindIndex& index = kinds[kind];
    ++detail::indexCount;
    root->indexMarks |= ScenarioItem::kIndexRoot;
    std::vector<std::vector<ScenarioItem*>> scratch;
    if (!IndexTree(root, kind, false, index, scratch, 0)) {
        index = KindIndex();
        index.unindexable = true;
    }
    index.checkedInLoad = loadDepth > 0 ? loadSerial : 0;
    return index;
}

} // namespace

LoadScope::LoadScope() {
    if (loadDepth++ == 0)
        ++loadSerial;
}

LoadScope::~LoadScope() {
    --loadDepth;
}

void detail::NoteChangeSlow(ScenarioItem* item) {
    for (; item != nullptr; item = item->parent)
        if ((item->indexMarks & ScenarioItem::kIndexRoot) != 0) {
            item->indexMarks &= static_cast<uint8_t>(~ScenarioItem::kIndexRoot);
            Forget(item);
        }
}

void ForgetAll() {
    for (auto& [root, kinds] : Indexes())
        const_cast<ScenarioItem*>(root)->indexMarks &= static_cast<uint8_t>(~ScenarioItem::kIndexRoot);
    Indexes().clear();
    detail::indexCount = 0;
    ++epoch;
}

ScenarioItem* Find(ScenarioItem* root, uint32_t kind, const std::string& name, ScenarioItem* from) {
    static const std::string noScope;
    if (root == nullptr)
        return nullptr;
    if (GetTreeRoot(root) == GetTreeRoot(from))
        return root->FindItem(kind, name, noScope);

    const KindIndex& index = IndexOf(root, kind);
    if (!index.unindexable) {
        // The members were checked in this load (outside loads: just now), so an
        // answer still stands where it was found.
        ScenarioItem* item = index.Lookup(name);
        if (item != nullptr && item->kind == kind)
            return item;
    }
    // Not known, or known differently: the tree changed behind the index's back
    // when a search finds an answer that the index doesn't give.
    ScenarioItem* found = root->FindItem(kind, name, noScope);
    if (found != nullptr && !index.unindexable)
        Forget(root);
    return found;
}

ScenarioItem* FindList(ScenarioItem* root, const char* listName, ScenarioItem* from) {
    struct Answer {
        const ScenarioItem* root = nullptr;
        const char* listName = nullptr;
        ScenarioItem* folder = nullptr;
        uint64_t epoch = 0;
        uint64_t load = 0;
    };
    static Answer answers[8];
    static size_t next = 0;
    // Outside a load each search goes to the index, which checks its members.
    if (root == nullptr || loadDepth == 0 || GetTreeRoot(root) == GetTreeRoot(from))
        return Find(root, ITEM_FOLDER, listName, from);
    for (const Answer& answer : answers)
        if (answer.root == root && answer.listName == listName && answer.epoch == epoch &&
            answer.load == loadSerial && answer.folder->name == listName)
            return answer.folder;
    ScenarioItem* folder = Find(root, ITEM_FOLDER, listName, from);
    // Kept for this load and only while the root's index of folders stands: a
    // change below the root forgets that index, and with it this answer.
    auto kinds = Indexes().find(root);
    if (folder != nullptr && kinds != Indexes().end() && kinds->second.count(ITEM_FOLDER) != 0) {
        answers[next] = Answer{root, listName, folder, epoch, loadSerial};
        next = (next + 1) % (sizeof(answers) / sizeof(answers[0]));
    }
    return folder;
}

} // namespace ModelIndex

#pragma once

// Definitions found by name in constant time.
//
// Every call and parameter of a script is linked to its definition by a search of
// the root model, and a search walks the model's tree: a script of N calls
// against a model of N definitions would cost N * N comparisons. So a tree that
// is searched for items of a kind is indexed once, by name, keeping the first
// item of the search's walk for each name, and the index answers until the tree
// changes. Every operation that changes a tree (adding, removing, replacing,
// swapping or detaching children, renaming, destroying) tells the index, which
// forgets what it knew of the trees around the change.
//
// Names are public fields, and a host may write one straight into an item: the
// index keeps the items of its kind with the hashes of their names, and checks
// them, with their parents, once per load (at every use outside loads), which
// costs one look at each such item instead of a walk of the whole tree per
// search. A name the index lacks is searched for in the tree. A tree that the search
// comes from (one being read) is never indexed: it changes with every item read.

#include <scenario/ScenarioItem.h>

#include <string>

namespace ModelIndex {

/// Held by the load entries for the time of a load (loads may nest): within one
/// load an index checks the names of its items once, at its first use.
class LoadScope {
public:
    LoadScope();
    ~LoadScope();
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;
};

/// `root->FindItem(kind, name, "")`, answered from the index of `root` when
/// `root` stands in another tree than `from`; a plain search otherwise.
ScenarioItem* Find(ScenarioItem* root, uint32_t kind, const std::string& name, ScenarioItem* from);

/// The list folder `listName` (a literal that the caller keeps) below `root`, as
/// Find(root, ITEM_FOLDER, listName, from) gives it; every item of a script asks
/// for one, so the last answers are kept until the tree changes.
ScenarioItem* FindList(ScenarioItem* root, const char* listName, ScenarioItem* from);

/// Forgets the indexes of `item` and of the items above it: their trees changed
/// at `item`.
inline void NoteChange(ScenarioItem* item);

/// Forgets every index: an item that an index knows is going away.
void ForgetAll();

namespace detail {
extern size_t indexCount;
void NoteChangeSlow(ScenarioItem* item);
} // namespace detail

inline void NoteChange(ScenarioItem* item) {
    // Nothing is indexed most of the time a tree is built: then a change costs
    // one test.
    if (detail::indexCount != 0)
        detail::NoteChangeSlow(item);
}

} // namespace ModelIndex

#pragma once

// Definitions found by name in constant time while a text loads.
//
// Every call and parameter of a script is linked to its definition by a search of
// the root model, and a search walks the model's tree: a script of N calls
// against a model of N definitions would cost N * N comparisons. While a load is
// under way nothing changes the model's tree (the reader only builds the tree
// being loaded), so the answers of searches in another tree can be remembered,
// and a tree that is asked many times is indexed once by kind and name, keeping
// the first hit of the walk. The memory is dropped when the outermost load ends:
// a host may edit the model between loads, and the next load sees the change.

#include <scenario/ScenarioItem.h>

#include <string>

namespace ModelIndex {

/// Held by the load entries for the time of a load; loads may nest.
class LoadScope {
public:
    LoadScope();
    ~LoadScope();
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;
};

/// `root->FindItem(kind, name, "")`, answered from memory while a load is under
/// way and `root` stands in another tree than `from`; a plain search otherwise.
ScenarioItem* Find(ScenarioItem* root, uint32_t kind, const std::string& name, ScenarioItem* from);

} // namespace ModelIndex

#pragma once

// The run-time tables: what a call of a script does is found by its CODE in one
// of three tables, which the host that runs scenarios fills. Each table starts
// with one default entry, at index 0: a function gives 0, a condition holds, an
// action does nothing.
//
// An entry receives the call's parameters as an array of twelve records,
// values[0] to values[11], in the order of the call's parameters; the records a
// call doesn't fill are fresh (tag 4, VOID).
//
// Calling a CODE that has no entry (below 0, beyond the end of its table, or a
// gap left when a higher CODE was set) is a fault of the model, not of the host:
// it ends the process through AssertAbort, at "function:920" for the function
// table, "Condition:920" for the condition table and "action:920" for the action
// table. So is a call of more than twelve parameters ("function:918",
// "Condition:918", "action:918"). Nothing is ever read out of bounds.
//
// The tables are process-wide and unprotected, like the rest of the model: fill
// them before running scenarios, from the thread that runs them.

#include <scenario/ParameterValue.h>

#include <cstddef>
#include <cstdint>
#include <functional>

/// How many parameter records an entry receives.
constexpr size_t kRuntimeValueCount = 12;

using FunctionEntry = std::function<float(const ParameterValue* values)>; // values[0] to values[11]
using ConditionEntry = std::function<bool(const ParameterValue* values)>; // values[0] to values[11]
using ActionEntry = std::function<void(const ParameterValue* values)>;    // values[0] to values[11]

/// Sets the function of `code`, growing the table when `code` lies beyond its end
/// (the codes in between stay without entry). An empty `entry` removes it. A
/// negative code ends the process ("function:910").
void SetFunctionEntry(int32_t code, FunctionEntry entry);
/// Sets the condition of `code`, as SetFunctionEntry ("Condition:910").
void SetConditionEntry(int32_t code, ConditionEntry entry);
/// Sets the action of `code`, as SetFunctionEntry ("action:910").
void SetActionEntry(int32_t code, ActionEntry entry);
/// Puts every table back to its one default entry at index 0.
void ResetRuntimeTables();

/// The entry of `code`, or null when the table holds none there.
const FunctionEntry* FindFunctionEntry(int32_t code);
/// The entry of `code`, or null when the table holds none there.
const ConditionEntry* FindConditionEntry(int32_t code);
/// The entry of `code`, or null when the table holds none there.
const ActionEntry* FindActionEntry(int32_t code);

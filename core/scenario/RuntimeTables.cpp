#include <scenario/RuntimeTables.h>

#include <environment/lmkUtils/AssertAbort.h>

#include <vector>

namespace {

template <typename Entry> struct Table {
    explicit Table(Entry byDefault) : fallback(std::move(byDefault)) { Reset(); }

    void Reset() { entries.assign(1, fallback); }

    void Set(int32_t code, Entry entry, const char* source) {
        if (code < 0)
            AssertAbort(source, 910);
        const size_t index = static_cast<size_t>(code);
        if (index >= entries.size())
            entries.resize(index + 1);
        entries[index] = std::move(entry);
    }

    const Entry* Find(int32_t code) const {
        if (code < 0 || static_cast<size_t>(code) >= entries.size() || !entries[static_cast<size_t>(code)])
            return nullptr;
        return &entries[static_cast<size_t>(code)];
    }

    Entry fallback;
    std::vector<Entry> entries;
};

Table<FunctionEntry>& Functions() {
    static Table<FunctionEntry> table([](const ParameterValue*) { return 0.0f; });
    return table;
}

Table<ConditionEntry>& Conditions() {
    static Table<ConditionEntry> table([](const ParameterValue*) { return true; });
    return table;
}

Table<ActionEntry>& Actions() {
    static Table<ActionEntry> table([](const ParameterValue*) {});
    return table;
}

} // namespace

void SetFunctionEntry(int32_t code, FunctionEntry entry) {
    Functions().Set(code, std::move(entry), "function");
}

void SetConditionEntry(int32_t code, ConditionEntry entry) {
    Conditions().Set(code, std::move(entry), "Condition");
}

void SetActionEntry(int32_t code, ActionEntry entry) {
    Actions().Set(code, std::move(entry), "action");
}

void ResetRuntimeTables() {
    Functions().Reset();
    Conditions().Reset();
    Actions().Reset();
}

const FunctionEntry* FindFunctionEntry(int32_t code) {
    return Functions().Find(code);
}

const ConditionEntry* FindConditionEntry(int32_t code) {
    return Conditions().Find(code);
}

const ActionEntry* FindActionEntry(int32_t code) {
    return Actions().Find(code);
}

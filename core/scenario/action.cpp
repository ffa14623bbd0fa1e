#include <scenario/Action.h>

#include <scenario/Rule.h>
#include <scenario/RuntimeTables.h>

namespace {
const char* const kSource = "action";
} // namespace

Action::Action() = default;

Action::~Action() = default;

bool Action::OnLoadBegin() {
    return LinkToDefinition("ACTION_LIST", "VOID");
}

void Action::UpdateDisplayText() {
    if (parent == nullptr)
        AssertAbort(kSource, 60);
    Function::UpdateDisplayText();
    displayText = std::string(kind == ITEM_ACTION ? "THEN" : "ELSE") + "  " + displayText;
}

void Action::UpdateValidity() {
    Function::UpdateValidity();
    if (!valid)
        return;
    // An action belongs to a rule that tests something before it acts.
    const Rule* rule = dynamic_cast<const Rule*>(parent);
    const ScenarioItem* first = rule != nullptr ? rule->GetFirstChild() : nullptr;
    valid = first != nullptr && (first->kind == ITEM_CONDITION || first->kind == ITEM_VARIABLE);
}

void Action::Execute() {
    const Function* definition = RootDefinition();
    if (definition == nullptr || definition->codeNumber == -1)
        return;
    const ActionEntry* entry = FindActionEntry(definition->codeNumber);
    if (entry == nullptr)
        AssertAbort(kSource, 920);
    Values values;
    FillValues(values, kSource);
    (*entry)(values.data);
}

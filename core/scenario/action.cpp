#include <scenario/Action.h>

#include <scenario/Rule.h>
#include <scenario/RuntimeTables.h>

#include "ValidityRules.h"

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

namespace {

// An action belongs to a rule that tests something before it acts.
std::string PlaceFault(const Action& action) {
    const Rule* rule = dynamic_cast<const Rule*>(action.parent);
    if (rule == nullptr)
        return "action outside a rule";
    const ScenarioItem* first = rule->GetFirstChild();
    if (first == nullptr || (first->kind != ITEM_CONDITION && first->kind != ITEM_VARIABLE))
        return "action in a rule without condition or variable";
    return std::string();
}

} // namespace

std::string ActionFault(const Action& action) {
    std::string fault = CallFault(action);
    return fault.empty() ? PlaceFault(action) : fault;
}

void Action::UpdateValidity() {
    Function::UpdateValidity();
    if (valid)
        valid = PlaceFault(*this).empty();
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

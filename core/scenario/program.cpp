#include <scenario/Program.h>

Program::Program() = default;

Program::~Program() = default;

bool Program::LoadAttribute(ScenarioTextStream& stream) {
    return Folders::LoadAttribute(stream);
}

void Program::SaveAttributes(std::ostream& out) {
    Folders::SaveAttributes(out);
}

bool Program::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_GROUP || childKind == ITEM_SCENARIO;
}

ScenarioItem* Program::Clone() {
    ScenarioItem* copy = Folders::Clone();
    if (copy == nullptr)
        AssertAbort("program", 73);
    return copy;
}

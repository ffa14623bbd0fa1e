#include <scenario/EnumTab.h>

EnumTab::EnumTab() = default;

EnumTab::~EnumTab() = default;

bool EnumTab::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_ENUM;
}

void EnumTab::UpdateDisplayText() {
    displayText = name + "    (" + label + ")";
}

ScenarioItem* EnumTab::FindEntry(const std::string& entryName) const {
    std::vector<ScenarioItem*> entries;
    GetChildren(entries);
    for (ScenarioItem* entry : entries)
        if (entry != nullptr && entry->name == entryName)
            return entry;
    return nullptr;
}

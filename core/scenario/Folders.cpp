#include <scenario/Folders.h>

#include "ModelIndex.h"

Folders::Folders() = default;

Folders::~Folders() {
    for (ScenarioItem* child : children)
        delete child;
}

void Folders::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    ScenarioItemStore::GetChildren(children, out, kindFilter);
}

void Folders::DetachChildren() {
    ModelIndex::NoteChange(this);
    children.clear();
}

void Folders::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    ScenarioItemStore::AddChild(children, this, child, reference, after);
}

void Folders::RemoveChild(ScenarioItem* child) {
    ScenarioItemStore::RemoveChild(children, this, child);
}

void Folders::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    ScenarioItemStore::ReplaceChild(children, this, newChild, oldChild);
}

void Folders::SwapChildren(ScenarioItem* a, ScenarioItem* b) {
    ScenarioItemStore::SwapChildren(children, a, b);
}

bool Folders::LoadAttribute(ScenarioTextStream& stream) {
    if (ScenarioItem::LoadAttribute(stream))
        return true;
    return label.empty() && ReadStringAttribute(stream, "LABEL", label);
}

void Folders::SaveAttributes(std::ostream& out) {
    ScenarioItem::SaveAttributes(out);
    WriteAttribute(out, "LABEL", label.c_str());
}

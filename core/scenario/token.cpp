#include <scenario/Token.h>

#include "ModelIndex.h"

#include <climits>
#include <string>

namespace {
const char* const kSource = "token";
} // namespace

// A new token has no children yet: clearing its own mark is all ResetMarks would
// do, and the member's initializer does that.
Token::Token(ScenarioItem* parentItem) : ScenarioItem(parentItem), model(this) {}

Token::~Token() = default;

bool Token::LoadAttribute(ScenarioTextStream& stream) {
    if (ScenarioItem::LoadAttribute(stream))
        return true;
    // Only a definition carries the model's data; an instance takes it by name.
    if (model == this && LoadModelAttribute(stream))
        return true;
    return LoadUserAttribute(stream);
}

void Token::SaveAttributes(std::ostream& out) {
    ScenarioItem::SaveAttributes(out);
    if (model == this)
        SaveModelAttributes(out);
    SaveUserAttributes(out);
}

ScenarioItem* Token::Clone() {
    ScenarioItem* copy = ScenarioItem::Clone();
    if (copy == nullptr)
        AssertAbort(kSource, 160);
    // A clone needs the link to its definition, not the definition's data.
    if (Token* token = dynamic_cast<Token*>(copy))
        CopyUserAttributes(token);
    return copy;
}

void Token::UpdateDisplayTextTree() {
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 193);
        child->UpdateDisplayTextTree();
    }
    // Children first, so that validity sees them fresh.
    UpdateValidity();
    UpdateDisplayText();
}

bool Token::IsValid() const {
    return valid;
}

void Token::SetModel(Token* item) {
    model = item;
}

bool Token::LoadModelAttribute(ScenarioTextStream& stream) {
    return label.empty() && ReadStringAttribute(stream, "LABEL", label);
}

bool Token::LoadUserAttribute(ScenarioTextStream&) {
    return false;
}

void Token::SaveModelAttributes(std::ostream& out) {
    if (!IsIndexEntry())
        WriteAttribute(out, "LABEL", label.c_str());
}

void Token::SaveUserAttributes(std::ostream&) {}

void Token::CopyModelAttributes(Token*) {}

void Token::CopyUserAttributes(Token*) {}

void Token::UpdateValidity() {
    bool allValid = true;
    std::vector<ScenarioItem*> snapshot;
    GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 221);
        if (!IsTokenKind(child->kind))
            AssertAbort(kSource, 222);
        if (!child->IsValid()) {
            allValid = false;
            break;
        }
    }
    valid = allValid;
}

void Token::MakeUniqueName() {
    ScenarioItem* root = parent != nullptr ? GetTreeRoot(parent) : this;
    if (root == nullptr)
        AssertAbort(kSource, 325);
    std::vector<ScenarioItem*> namesakes;
    root->CollectItems(kind, name, namesakes, true, true);
    if (model != this || namesakes.size() < 2)
        return;
    const std::string noScope;
    for (int i = 0; i < INT_MAX; ++i) {
        std::string candidate = std::to_string(i);
        if (root->FindItem(kind, candidate, noScope) == nullptr) {
            SetName(candidate);
            return;
        }
    }
    AssertAbort(kSource, 348);
}

void LinkModel(Token* item, const char* listName) {
    // Standing in the list folder is what makes an item a definition.
    if (item->parent != nullptr && item->parent->name == listName) {
        item->SetModel(item);
        return;
    }
    ScenarioItem* root = GetModelRoot(item);
    if (root == nullptr)
        AssertAbort(kSource, 271);
    // While a text loads, the model's answers come from an index rather than from
    // a walk of the model for each item.
    ScenarioItem* folder = ModelIndex::FindList(root, listName, item);
    if (folder == nullptr)
        AssertAbort(kSource, 275);
    const uint32_t wanted = item->kind == ITEM_ELSE_ACTION ? ITEM_ACTION : item->kind;
    item->SetModel(dynamic_cast<Token*>(ModelIndex::Find(folder, wanted, item->name, item)));
}

void ResetMarks(Token* item) {
    item->mark = false;
    std::vector<ScenarioItem*> snapshot;
    item->GetChildren(snapshot);
    for (ScenarioItem* child : snapshot) {
        if (child == nullptr)
            AssertAbort(kSource, 364);
        if (!IsTokenKind(child->kind))
            AssertAbort(kSource, 365);
        if (Token* token = dynamic_cast<Token*>(child))
            ResetMarks(token);
    }
}

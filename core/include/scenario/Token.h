#pragma once

#include <scenario/ScenarioItem.h>

/// An item with a definition: `model` points at the definition, or at the item
/// itself when the item is one.
class Token : public ScenarioItem {
public:
    explicit Token(ScenarioItem* parent = nullptr);
    ~Token() override;

    /// Loads the flags, then the model attributes when this is a definition, then
    /// the user attributes; false if none takes the line.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// Writes the flags, the model attributes of a definition and the user attributes.
    void SaveAttributes(std::ostream& out) override;
    /// A copy with the user attributes but not the model ones; ends the process when
    /// the kind has no class.
    ScenarioItem* Clone() override;
    /// Refreshes the subtree, children first, then validity and display text.
    void UpdateDisplayTextTree() override;
    /// The result of the last UpdateValidity.
    bool IsValid() const override;

    /// Stores the definition.
    virtual void SetModel(Token* item);
    /// Takes "LABEL" while the label is empty.
    virtual bool LoadModelAttribute(ScenarioTextStream& stream);
    /// False: a plain token has no user attribute.
    virtual bool LoadUserAttribute(ScenarioTextStream& stream);
    /// Writes "LABEL" unless this is an index entry.
    virtual void SaveModelAttributes(std::ostream& out);
    /// Writes nothing.
    virtual void SaveUserAttributes(std::ostream& out);
    /// Copies nothing.
    virtual void CopyModelAttributes(Token* target);
    /// Copies nothing.
    virtual void CopyUserAttributes(Token* target);
    /// Valid when every child is; a child of a foreign kind ends the process.
    virtual void UpdateValidity();
    /// Renames a duplicate definition to the smallest free decimal number.
    virtual void MakeUniqueName();

    Token* model;
    bool valid = true;
    bool mark = false;
};

/// Links the item to its definition in the list folder `listName` of the model
/// root; the model stays null when the name isn't defined. A missing root or
/// folder ends the process.
void LinkModel(Token* item, const char* listName);
/// Clears `mark` in the item's subtree; a child of a foreign kind ends the process.
void ResetMarks(Token* item);

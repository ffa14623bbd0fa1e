#pragma once

#include <scenario/Folders.h>

/// The entries of an enumeration: a folder of ENUM items.
class EnumTab : public Folders {
public:
    EnumTab();
    ~EnumTab() override;

    /// True for ENUM only.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// name + four blanks + "(" + label + ")".
    void UpdateDisplayText() override;

    /// The first entry with exactly that name, or null.
    ScenarioItem* FindEntry(const std::string& entryName) const;
};

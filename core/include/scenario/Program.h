#pragma once

#include <scenario/Folders.h>

/// The top of a set of groups and scenarios.
class Program : public Folders {
public:
    Program();
    ~Program() override;

    /// As a folder.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// As a folder.
    void SaveAttributes(std::ostream& out) override;
    /// True for GROUP and SCENARIO only.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// A copy of the program and its subtree.
    ScenarioItem* Clone() override;
};

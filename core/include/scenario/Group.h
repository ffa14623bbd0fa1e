#pragma once

#include <scenario/Folders.h>

/// A folder of scenarios and further groups.
class Group : public Folders {
public:
    Group();
    ~Group() override;

    /// True for GROUP and SCENARIO only.
    bool AcceptsChildKind(uint32_t childKind) override;
};

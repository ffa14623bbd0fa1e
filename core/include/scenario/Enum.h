#pragma once

#include <scenario/Variable.h>

/// An entry of an enumeration table.
class Enum : public Variable {
public:
    Enum();
    ~Enum() override;

    /// name + four blanks + "(" + label + ")".
    void UpdateDisplayText() override;
};

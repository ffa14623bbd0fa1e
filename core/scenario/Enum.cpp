#include <scenario/Enum.h>

Enum::Enum() = default;

Enum::~Enum() = default;

void Enum::UpdateDisplayText() {
    displayText = name + "    (" + label + ")";
}

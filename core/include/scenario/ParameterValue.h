#pragma once

#include <cstdint>
#include <string>

/// The argument handed to a run-time entry: a tag saying which field counts
/// (0 INTEGER, 1 FLOAT, 2 BOOL, 3 STRING, 4 VOID), a number and a text.
struct ParameterValue {
    int32_t tag = 4;
    float number = 0.0f;
    std::string text;
};

#pragma once

#include <map>
#include <string>

namespace Commons {
namespace System {

/// What a variable looks like in a path: ${NAME}, NAME matching [A-Za-z_][A-Za-z0-9_]*.
extern const char* const DaemonVariableMatchingPattern;

/// Expands the variables of `in` into `out` (which may be the same object). A name
/// is looked up in `variables` first, then in the process environment. An unknown
/// variable stays as written and makes the result false. `pattern` is an ECMAScript
/// regular expression whose first group is the variable's name.
bool ExpandLocalEnvironmentVariables(const std::string& in, std::string& out, const char* pattern,
                                     const std::map<std::string, std::string>& variables);

} // namespace System
} // namespace Commons

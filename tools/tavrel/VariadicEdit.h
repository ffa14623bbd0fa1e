#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace TavrelScenarioTemplateDb {
class TavrelScenario;
}

// How `variadic add`, `remove` and `clear` change a template's variadic
// declarations. None of them saves the file.
namespace tavrel {

/// A new declaration as `variadic add` takes it: every value as text, read as
/// the command line reads it.
struct VariadicDeclaration {
    std::string name;
    std::string description;
    std::string target;
    std::string unit;
    std::string type;                ///< integer, real, boolean or literal
    std::string defaultValue;        ///< "true"/"false" (or "1"/"0") for a boolean
    std::vector<std::string> ranges; ///< "MIN:MAX", integer and real only
    std::vector<std::string> literals;
};

/// Adds the declaration at the end of the list. Everything (target, type,
/// default, ranges) is checked before anything changes; failures are Exception
/// by value (code -1). Ranges and literals read back in the order given.
void addVariadic(TavrelScenarioTemplateDb::TavrelScenario& scenario, const VariadicDeclaration& declaration);
/// Removes the declaration at `index`; Exception by value (code 4) beyond the end.
void removeVariadic(TavrelScenarioTemplateDb::TavrelScenario& scenario, size_t index);
/// Removes every declaration and empties the description.
void clearVariadics(TavrelScenarioTemplateDb::TavrelScenario& scenario);

} // namespace tavrel

#pragma once

#include <string>

namespace TavrelScenarioTemplateDb {

/// Whether `id` is exactly KIND "[id/@ScenarioTreeValue=" VALUE "]" with VALUE
/// in decimal as "%d" prints it; composes no string.
bool matchesTreeValueId(const std::string& id, const char* kind, int value);

} // namespace TavrelScenarioTemplateDb

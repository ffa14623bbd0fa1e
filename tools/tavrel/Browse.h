#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace TavrelScenarioTemplateDb {
class TavrelDatabaseDriver;
}

namespace tavrel {

/// What `browse --json` prints: the installation and its URI, then the
/// versions, their configurations, each configuration's scenario directories
/// (index and data-path root) and the scenario paths in each, in the database's
/// index order; with `names`, each scenario loaded for its name. A branch that
/// fails carries "error" {message, code} instead of its children. `driver` is
/// the one in force; `versionFilter` is its version filter, with which each
/// configuration is made current while its directories are named.
nlohmann::ordered_json walkInstallation(const TavrelScenarioTemplateDb::TavrelDatabaseDriver& driver,
                                        const std::string& versionFilter, bool names);

} // namespace tavrel

#pragma once

#include <ScenarioTemplateDb/Export.h>

#include <memory>
#include <string>

namespace ScenarioTemplateDb {

class DatabaseDirectory;
class Scenario;

/// The entry of a template database: identity, root directory, scenarios by path.
class SCENARIOTEMPLATEDB_INTERFACE DatabaseDriver {
public:
    virtual ~DatabaseDriver() = default;
    /// A text that identifies the driver's database and its filters.
    virtual std::string getURI() const = 0;
    /// A new object for the root of the tree.
    virtual std::shared_ptr<DatabaseDirectory> getRootDirectory() const = 0;
    /// A new object for the scenario with this database path.
    virtual std::shared_ptr<Scenario> getScenario(const std::string& path) const = 0;
};

} // namespace ScenarioTemplateDb

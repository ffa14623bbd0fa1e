#pragma once

#include <ScenarioTemplateDb/Export.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace ScenarioTemplateDb {

class Scenario;

/// One level of the browsable tree of a template database.
class SCENARIOTEMPLATEDB_INTERFACE DatabaseDirectory {
public:
    virtual ~DatabaseDirectory() = default;
    /// Number of subdirectories.
    virtual size_t getDirectoryNumber() const = 0;
    /// A new object for subdirectory index.
    virtual std::shared_ptr<DatabaseDirectory> getDirectory(size_t index) const = 0;
    /// Replaces the vector's contents with new objects for all subdirectories.
    virtual void getDirectories(std::vector<std::shared_ptr<DatabaseDirectory>>& directories) const = 0;
    /// Number of scenarios in this directory itself.
    virtual size_t getScenarioNumber() const = 0;
    /// A new object for scenario index.
    virtual std::shared_ptr<Scenario> getScenario(size_t index) const = 0;
    /// Replaces the vector's contents with new objects for all scenarios.
    virtual void getScenarios(std::vector<std::shared_ptr<Scenario>>& scenarios) const = 0;
    /// Text shown for the directory.
    virtual std::string getName() const = 0;
};

} // namespace ScenarioTemplateDb

#pragma once

#include <ScenarioTemplateDb/DatabaseDriver.h>
#include <TavrelScenarioTemplateDb/Export.h>

#include <memory>
#include <string>

namespace TavrelScenarioTemplateDb {

class TavrelScenario;
class TavrelScenarioTemplateDatabase;

/// The template database of a Tavrel installation, as a host creates it. Copies
/// share one installation database. Failures are Exception by value.
class TAVREL_DRIVER_API TavrelDatabaseDriver : public ScenarioTemplateDb::DatabaseDriver {
public:
    /// Opens the installation file `configFilePath` (may be empty to keep the one in
    /// force, may hold variables) with a version and a configuration filter ("*" for
    /// none). Fails as the installation database's constructor does.
    TavrelDatabaseDriver(const std::string& configFilePath, const std::string& versionFilter,
                         const std::string& configurationFilter);
    TavrelDatabaseDriver(const TavrelDatabaseDriver&) = default;
    TavrelDatabaseDriver& operator=(const TavrelDatabaseDriver&) = default;
    ~TavrelDatabaseDriver() override;

    /// "tavrel://" + the installation file in generic form, then "?version=V" and
    /// "config=C" (joined by "&" or introduced by "?") for the filters other than "*".
    std::string getURI() const override;
    /// A new root directory sharing the database.
    std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> getRootDirectory() const override;
    /// createTavrelScenario for the database's configuration filter, shared.
    std::shared_ptr<ScenarioTemplateDb::Scenario> getScenario(const std::string& path) const override;

    /// A new, unloaded scenario owned by the caller, for the relative `path` found in
    /// the scenario directories of the filtered configuration. Throws code 24 if no
    /// such file exists there (always without a configuration filter).
    TavrelScenario* createTavrelScenario(const std::string& configuration, const std::string& path) const;

private:
    std::shared_ptr<TavrelScenarioTemplateDatabase> database;
};

} // namespace TavrelScenarioTemplateDb

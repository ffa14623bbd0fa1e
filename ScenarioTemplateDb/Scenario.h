#pragma once

#include <ScenarioTemplateDb/Export.h>

#include <cstddef>
#include <string>
#include <vector>

namespace ScenarioTemplateDb {

class ScenarioNode;
class ScenarioParameter;
class VariadicParameter;

/// One scenario template.
class SCENARIOTEMPLATEDB_INTERFACE Scenario {
public:
    virtual ~Scenario() = default;
    /// Database path of the scenario.
    virtual std::string getPath() const = 0;
    /// Root of the node tree; the scenario owns it.
    virtual ScenarioNode* getRootScenarioNode() const = 0;
    /// The parameter with this full id, or null for an id of the wrong shape.
    virtual ScenarioParameter* getParameterFromId(std::string id) const = 0;
    /// Path of the scenario's file.
    virtual std::string getFilePath() const = 0;
    virtual void setPath(const std::string& path) = 0;
    virtual std::string getName() const = 0;
    virtual void setName(const std::string& name) = 0;
    virtual std::string getDescription() const = 0;
    virtual void setDescription(const std::string& description) = 0;
    /// The content of the scenario's file, byte for byte.
    virtual void fetch(std::vector<unsigned char>& bytes) const = 0;
    virtual size_t getVariadicParameterNumber() const = 0;
    /// The scenario owns the result.
    virtual VariadicParameter* getVariadicParameter(size_t index) const = 0;
    /// Replaces the vector's contents.
    virtual void getVariadicParameters(std::vector<VariadicParameter*>& parameters) const = 0;
};

} // namespace ScenarioTemplateDb

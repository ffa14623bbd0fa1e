#pragma once

#include <ScenarioTemplateDb/Export.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace ScenarioTemplateDb {

class ScenarioNode;

/// A typed value of a scenario node. Owned by its node.
class SCENARIOTEMPLATEDB_INTERFACE ScenarioParameter {
public:
    virtual ~ScenarioParameter() = default;
    /// Position among the node's parameters.
    virtual size_t getIndex() const = 0;
    /// The node that owns the parameter.
    virtual ScenarioNode* getParentNode() const = 0;
    /// Id among the node's parameters.
    virtual std::string getId() const = 0;
    virtual std::string getName() const = 0;
    virtual std::string getDescription() const = 0;
    /// Full id: the node's getNodeId(), "/" and the parameter's own step.
    virtual std::string getParameterId() const = 0;
    /// Unit text.
    virtual std::string getParameterUnit() const = 0;
    virtual bool hasParameterUnit() const = 0;
    /// The value in text form, whatever its type.
    virtual std::string getValueAsString() const = 0;
    virtual bool isInteger() const = 0;
    virtual bool isReal() const = 0;
    virtual bool isLiteral() const = 0;
    virtual bool isBoolean() const = 0;
    /// Throws Exception* (code 32) if the parameter isn't a literal.
    virtual std::string getLiteralValue() const = 0;
    /// Throws Exception* (code 32) if the parameter isn't an integer.
    virtual int64_t getIntegerValue() const = 0;
    /// Throws Exception* (code 32) if the parameter isn't a real.
    virtual double getRealValue() const = 0;
    /// Throws Exception* (code 32) if the parameter isn't a boolean.
    virtual bool getBooleanValue() const = 0;
};

} // namespace ScenarioTemplateDb

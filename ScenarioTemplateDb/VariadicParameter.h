#pragma once

#include <ScenarioTemplateDb/Export.h>
#include <ScenarioTemplateDb/ParameterType.h>

#include <cstddef>
#include <string>
#include <vector>

namespace ScenarioTemplateDb {

class ScenarioParameter;

/// A scenario's declaration that one of its parameters may be varied from
/// outside, with a default value and the permitted domain. Owned by the scenario.
class SCENARIOTEMPLATEDB_INTERFACE VariadicParameter {
public:
    /// One permitted interval. Holds no data; an owner of ranges adds a virtual
    /// destructor of its own behind the two operations.
    template <typename T> struct Range {
        Range() {}
        Range(const Range&) {}
        Range& operator=(const Range&) { return *this; }
        virtual T getMinimum() const = 0;
        virtual T getMaximum() const = 0;
    };

    virtual ~VariadicParameter() = default;
    virtual std::string getName() const = 0;
    virtual std::string getDescription() const = 0;
    /// Full id of the target parameter.
    virtual std::string getParameterId() const = 0;
    virtual std::string getParameterUnit() const = 0;
    virtual bool hasParameterUnit() const = 0;
    virtual ParameterType getType() const = 0;
    /// The target parameter, or null when none was found.
    virtual ScenarioParameter* getTargetParameter() const = 0;
    virtual bool isInteger() const = 0;
    virtual bool isReal() const = 0;
    virtual bool isBoolean() const = 0;
    virtual bool isLiteral() const = 0;
    virtual int getIntegerDefaultValue() const = 0;
    virtual double getRealDefaultValue() const = 0;
    virtual bool getBooleanDefaultValue() const = 0;
    virtual std::string getLiteralDefaultValue() const = 0;
    /// Replaces the vector's contents with the integer ranges.
    virtual void getIntegerRanges(std::vector<const Range<int>*>& ranges) const = 0;
    virtual Range<int>& insertIntegerRange(size_t index) = 0;
    /// Replaces the vector's contents with the real ranges.
    virtual void getRealRanges(std::vector<const Range<double>*>& ranges) const = 0;
    virtual Range<double>& insertRealRange(size_t index) = 0;
    /// Replaces the vector's contents with copies of the literals.
    virtual void getLiterals(std::vector<std::string>& literals) const = 0;
    /// Adds a literal; returns a reference to it.
    virtual std::string& insertLiteral(size_t index) = 0;
};

} // namespace ScenarioTemplateDb

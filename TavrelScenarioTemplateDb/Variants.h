#pragma once

#include <ScenarioTemplateDb/ParameterType.h>
#include <TavrelScenarioTemplateDb/Export.h>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// Concrete scenarios made from a template: one value per variadic declaration,
// written into a copy of the template's file in which each target parameter
// holds its value and the declarations are gone.
namespace TavrelScenarioTemplateDb {

class TavrelScenario;

/// One value of a variadic parameter: a boolean, an integer, a real or a literal.
using VariantValue = std::variant<bool, int64_t, double, std::string>;

/// The value as the manifest and the tool print it: "true"/"false", a decimal
/// integer, the shortest decimal text that reads back to the same real, or the
/// literal itself.
TAVREL_DRIVER_API std::string VariantValueText(const VariantValue& value);

/// What one declaration permits. Booleans permit both values; integers and
/// reals every value inside one of their ranges (both ends included; a range
/// whose minimum is above its maximum holds nothing); literals exactly their
/// texts. An integer or real declaration without ranges, or a literal one
/// without literals, permits its default value alone.
struct TAVREL_DRIVER_API VariantDomain {
    std::string name;
    std::string parameterId;
    /// The declaration's unit text; values are given in this unit. Empty when
    /// the declaration has none, and then values are in the target's own unit.
    std::string unit;
    ScenarioTemplateDb::ParameterType type = ScenarioTemplateDb::ParameterTypeInteger;
    VariantValue defaultValue;
    std::vector<std::pair<int64_t, int64_t>> integerRanges; ///< minimum, maximum
    std::vector<std::pair<double, double>> realRanges;      ///< minimum, maximum
    std::vector<std::string> literals;

    /// Whether `value` has the declaration's type and lies in its domain. An
    /// integer counts as a real for a real declaration.
    bool permits(const VariantValue& value) const;
    /// The values of a full grid, in declaration order, without repeats: every
    /// integer of each range, false then true, every literal, and for each real
    /// range `steps` evenly spaced values from its minimum to its maximum (one
    /// for a range of one point). `steps` below 2 is refused (Exception, code -1).
    std::vector<VariantValue> gridValues(unsigned steps) const;
};

/// How many files a full grid over `domains` makes, saturating at UINT64_MAX.
TAVREL_DRIVER_API uint64_t VariantGridSize(const std::vector<VariantDomain>& domains, unsigned steps);

/// The random generator of the samples: xoshiro256** seeded through SplitMix64,
/// both as published by Blackman and Vigna, so that a seed gives the same
/// numbers with any compiler and standard library.
class TAVREL_DRIVER_API VariantRandom {
public:
    explicit VariantRandom(uint64_t seed);
    /// The next 64 random bits.
    uint64_t next();
    /// A uniform integer in [0, bound), bound > 0, without modulo bias
    /// (rejection of the incomplete last block).
    uint64_t below(uint64_t bound);
    /// A uniform real in [0, 1), from the 53 high bits.
    double unit();

private:
    uint64_t state[4];
};

/// One value per declaration, drawn uniformly: a boolean with even odds, a
/// literal among the literals, an integer or real first choosing one of the
/// ranges with odds proportional to its length (integers: its count of values;
/// reals: maximum - minimum, every range even when all have length 0), then a
/// uniform value inside it. A domain that permits its default alone gives it.
TAVREL_DRIVER_API std::vector<VariantValue> DrawVariant(const std::vector<VariantDomain>& domains,
                                                         VariantRandom& random);

/// How the values of a set of variants are chosen.
struct TAVREL_DRIVER_API VariantPlan {
    enum Sampling { Defaults, Grid, Random };
    Sampling sampling = Defaults;
    unsigned steps = 3;     ///< Grid: values per real range, at least 2
    uint64_t count = 0;     ///< Random: number of variants
    uint64_t seed = 0;      ///< Random: seed of VariantRandom
    uint64_t max = 10000;   ///< a plan that would make more files is refused
};

/// The combinations of values the plan makes, one vector per variant: for
/// Defaults one, for Grid every combination (the last declaration varying
/// fastest), for Random `count` draws. Refuses (Exception, code -1) a plan over
/// `max` with the count it would have made, and bad steps.
TAVREL_DRIVER_API std::vector<std::vector<VariantValue>> SampleVariants(const std::vector<VariantDomain>& domains,
                                                                        const VariantPlan& plan);

/// Writes variants of one template. Holds the template's loaded file; the
/// template must outlive it and is never modified. Failures are Exception by
/// value: code 32 for a value of the wrong type or a target of a type the
/// declaration can't set, 4 for a value outside the domain or a missing value,
/// -1 for a target that doesn't exist and for a file that can't be written.
class TAVREL_DRIVER_API VariantWriter {
public:
    /// Reads the declarations (loads the template).
    explicit VariantWriter(TavrelScenario& scenario);
    ~VariantWriter();
    VariantWriter(const VariantWriter&) = delete;
    VariantWriter& operator=(const VariantWriter&) = delete;

    /// One domain per declaration, in the file's order.
    const std::vector<VariantDomain>& getDomains() const { return domains; }
    /// Refuses values that write() would refuse, naming the declaration.
    void check(const std::vector<VariantValue>& values) const;
    /// Writes the variant to `path` (atomically: the file is whole or as it
    /// was): each target set to its value, converted from the declaration's
    /// unit to the stored unit system (so that the target reads the value back
    /// in its own unit), every variadic declaration left out, all else as the
    /// template has it. Checks first: nothing is written for refused values.
    void write(const std::vector<VariantValue>& values, const std::string& path) const;

private:
    struct Target;
    TavrelScenario& scenario;
    std::vector<VariantDomain> domains;
    std::vector<Target> targets;
};

/// One file of a set written by GenerateVariants.
struct TAVREL_DRIVER_API GeneratedVariant {
    std::string file; ///< path of the file written
    std::vector<VariantValue> values;
};

/// Writes the variants of `plan` into `folder` (made if missing) as
/// "NAME_0001.sce", ... (NAME: the template's file name without extension; at
/// least four digits) and "variants.csv": a header "file" then one column per
/// declaration, its name with the unit in parentheses when it has one, and one
/// row per file. The files are written into a fresh folder inside `folder`
/// first, and moved in only when all of them are written: a failure leaves
/// the folder as it was. Checks every combination before writing anything.
TAVREL_DRIVER_API std::vector<GeneratedVariant> GenerateVariants(TavrelScenario& scenario, const VariantPlan& plan,
                                                                 const std::string& folder);

} // namespace TavrelScenarioTemplateDb

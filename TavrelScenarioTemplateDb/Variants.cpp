#include <TavrelScenarioTemplateDb/Variants.h>

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/ScriptNode.h>
#include <TavrelScenarioTemplateDb/TavrelRange.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioParameter.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>
#include <environment/Commons/FileUtils.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmk/Units.h>
#include <scenario/ScenarioModel.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <system_error>

#include <unistd.h>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ExceptionCodeGeneric;
using ScenarioTemplateDb::ExceptionCodeInvalidIndex;
using ScenarioTemplateDb::ExceptionCodeParameterType;
using ScenarioTemplateDb::ParameterType;

namespace TavrelScenarioTemplateDb {

namespace {

std::string shortest(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

const char* typeWord(ParameterType type) {
    switch (type) {
    case ScenarioTemplateDb::ParameterTypeBoolean:
        return "a boolean";
    case ScenarioTemplateDb::ParameterTypeInteger:
        return "an integer";
    case ScenarioTemplateDb::ParameterTypeReal:
        return "a real";
    default:
        return "a literal";
    }
}

std::string quotedName(const VariantDomain& domain) {
    return "Variadic parameter '" + domain.name + "'";
}

// The count of integers of a range; 0 when its minimum is above its maximum.
uint64_t integerCount(const std::pair<int64_t, int64_t>& range) {
    if (range.first > range.second)
        return 0;
    return static_cast<uint64_t>(range.second) - static_cast<uint64_t>(range.first) + 1;
}

// The distinct integers of all ranges, counted through their union.
uint64_t distinctIntegers(std::vector<std::pair<int64_t, int64_t>> ranges) {
    ranges.erase(std::remove_if(ranges.begin(), ranges.end(), [](auto& r) { return r.first > r.second; }),
                 ranges.end());
    std::sort(ranges.begin(), ranges.end());
    uint64_t count = 0;
    for (size_t i = 0; i < ranges.size();) {
        int64_t low = ranges[i].first, high = ranges[i].second;
        for (++i; i < ranges.size() && ranges[i].first <= high + (high < INT64_MAX ? 1 : 0); ++i)
            high = std::max(high, ranges[i].second);
        count += integerCount({low, high});
    }
    return count;
}

bool onlyDefault(const VariantDomain& domain) {
    switch (domain.type) {
    case ScenarioTemplateDb::ParameterTypeInteger:
        return domain.integerRanges.empty();
    case ScenarioTemplateDb::ParameterTypeReal:
        return domain.realRanges.empty();
    case ScenarioTemplateDb::ParameterTypeLiteral:
        return domain.literals.empty();
    default:
        return false;
    }
}

uint64_t domainGridSize(const VariantDomain& domain, unsigned steps) {
    if (onlyDefault(domain))
        return 1;
    switch (domain.type) {
    case ScenarioTemplateDb::ParameterTypeBoolean:
        return 2;
    case ScenarioTemplateDb::ParameterTypeInteger:
        // Counted, not listed: a range may hold billions.
        return distinctIntegers(domain.integerRanges);
    default:
        return domain.gridValues(steps).size();
    }
}

void requireSteps(unsigned steps) {
    if (steps < 2)
        throw Exception("A grid needs at least 2 values per real range (both ends), not " + std::to_string(steps),
                        ExceptionCodeGeneric);
}

} // namespace

std::string VariantValueText(const VariantValue& value) {
    if (const bool* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const int64_t* integer = std::get_if<int64_t>(&value))
        return std::to_string(*integer);
    if (const double* real = std::get_if<double>(&value))
        return shortest(*real);
    return std::get<std::string>(value);
}

bool VariantDomain::permits(const VariantValue& value) const {
    switch (type) {
    case ScenarioTemplateDb::ParameterTypeBoolean:
        return std::holds_alternative<bool>(value);
    case ScenarioTemplateDb::ParameterTypeInteger: {
        const int64_t* integer = std::get_if<int64_t>(&value);
        if (integer == nullptr)
            return false;
        if (integerRanges.empty())
            return value == defaultValue;
        return std::any_of(integerRanges.begin(), integerRanges.end(),
                           [&](const auto& r) { return r.first <= *integer && *integer <= r.second; });
    }
    case ScenarioTemplateDb::ParameterTypeReal: {
        double real;
        if (const int64_t* integer = std::get_if<int64_t>(&value))
            real = static_cast<double>(*integer);
        else if (const double* given = std::get_if<double>(&value))
            real = *given;
        else
            return false;
        if (realRanges.empty())
            return std::holds_alternative<double>(defaultValue) && real == std::get<double>(defaultValue);
        return std::any_of(realRanges.begin(), realRanges.end(),
                           [&](const auto& r) { return r.first <= real && real <= r.second; });
    }
    default: {
        const std::string* literal = std::get_if<std::string>(&value);
        if (literal == nullptr)
            return false;
        if (literals.empty())
            return value == defaultValue;
        return std::find(literals.begin(), literals.end(), *literal) != literals.end();
    }
    }
}

std::vector<VariantValue> VariantDomain::gridValues(unsigned steps) const {
    requireSteps(steps);
    std::vector<VariantValue> values;
    auto add = [&](VariantValue value) {
        if (std::find(values.begin(), values.end(), value) == values.end())
            values.push_back(std::move(value));
    };
    if (onlyDefault(*this)) {
        values.push_back(defaultValue);
        return values;
    }
    switch (type) {
    case ScenarioTemplateDb::ParameterTypeBoolean:
        values = {false, true};
        break;
    case ScenarioTemplateDb::ParameterTypeInteger:
        for (size_t r = 0; r < integerRanges.size(); ++r) {
            const auto [low, high] = integerRanges[r];
            for (int64_t v = low; v <= high; ++v) {
                // A value that an earlier range holds is in already.
                const bool seen = std::any_of(integerRanges.begin(), integerRanges.begin() + static_cast<ptrdiff_t>(r),
                                              [&](const auto& earlier) { return earlier.first <= v && v <= earlier.second; });
                if (!seen)
                    values.emplace_back(v);
                if (v == high)
                    break; // no step past the largest integer
            }
        }
        break;
    case ScenarioTemplateDb::ParameterTypeReal:
        for (const auto& range : realRanges) {
            if (range.first > range.second)
                continue;
            for (unsigned i = 0; i < steps; ++i) {
                // The last step is the maximum itself, not a sum that may miss it.
                const double v = i + 1 == steps ? range.second
                                                : range.first + (range.second - range.first) * i / (steps - 1);
                add(v);
            }
        }
        break;
    default:
        for (const std::string& literal : literals)
            add(literal);
        break;
    }
    return values;
}

uint64_t VariantGridSize(const std::vector<VariantDomain>& domains, unsigned steps) {
    requireSteps(steps);
    uint64_t size = 1;
    for (const VariantDomain& domain : domains) {
        const uint64_t count = domainGridSize(domain, steps);
        if (count != 0 && size > std::numeric_limits<uint64_t>::max() / count)
            return std::numeric_limits<uint64_t>::max();
        size *= count;
    }
    return size;
}

// xoshiro256** 1.0 and SplitMix64, as published by David Blackman and
// Sebastiano Vigna (public domain).
VariantRandom::VariantRandom(uint64_t seed) {
    for (uint64_t& word : state) {
        uint64_t z = (seed += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        word = z ^ (z >> 31);
    }
}

uint64_t VariantRandom::next() {
    auto rotl = [](uint64_t x, int k) { return (x << k) | (x >> (64 - k)); };
    const uint64_t result = rotl(state[1] * 5, 7) * 9;
    const uint64_t t = state[1] << 17;
    state[2] ^= state[0];
    state[3] ^= state[1];
    state[1] ^= state[2];
    state[0] ^= state[3];
    state[2] ^= t;
    state[3] = rotl(state[3], 45);
    return result;
}

uint64_t VariantRandom::below(uint64_t bound) {
    // The largest multiple of bound that fits: draws at or above it are redrawn.
    const uint64_t limit = std::numeric_limits<uint64_t>::max() - std::numeric_limits<uint64_t>::max() % bound;
    uint64_t draw;
    do
        draw = next();
    while (draw >= limit);
    return draw % bound;
}

double VariantRandom::unit() {
    return static_cast<double>(next() >> 11) * 0x1.0p-53;
}

std::vector<VariantValue> DrawVariant(const std::vector<VariantDomain>& domains, VariantRandom& random) {
    std::vector<VariantValue> values;
    values.reserve(domains.size());
    for (const VariantDomain& domain : domains) {
        if (onlyDefault(domain)) {
            values.push_back(domain.defaultValue);
            continue;
        }
        switch (domain.type) {
        case ScenarioTemplateDb::ParameterTypeBoolean:
            values.emplace_back(random.below(2) == 1);
            break;
        case ScenarioTemplateDb::ParameterTypeInteger: {
            uint64_t total = 0;
            for (const auto& range : domain.integerRanges)
                total += integerCount(range);
            if (total == 0) {
                values.push_back(domain.defaultValue);
                break;
            }
            // A uniform pick among all the ranges' values weighs each range by its count.
            uint64_t pick = random.below(total);
            for (const auto& range : domain.integerRanges) {
                const uint64_t count = integerCount(range);
                if (pick < count) {
                    values.emplace_back(static_cast<int64_t>(static_cast<uint64_t>(range.first) + pick));
                    break;
                }
                pick -= count;
            }
            break;
        }
        case ScenarioTemplateDb::ParameterTypeReal: {
            std::vector<const std::pair<double, double>*> usable;
            double total = 0;
            for (const auto& range : domain.realRanges)
                if (range.first <= range.second) {
                    usable.push_back(&range);
                    total += range.second - range.first;
                }
            if (usable.empty()) {
                values.push_back(domain.defaultValue);
                break;
            }
            const std::pair<double, double>* chosen = usable.back();
            if (total > 0) {
                double pick = random.unit() * total;
                for (const auto* range : usable) {
                    const double length = range->second - range->first;
                    if (pick < length) {
                        chosen = range;
                        break;
                    }
                    pick -= length;
                }
            } else {
                chosen = usable[random.below(usable.size())];
            }
            const double v = chosen->first + random.unit() * (chosen->second - chosen->first);
            values.emplace_back(std::min(v, chosen->second));
            break;
        }
        default:
            values.emplace_back(domain.literals[random.below(domain.literals.size())]);
            break;
        }
    }
    return values;
}

std::vector<std::vector<VariantValue>> SampleVariants(const std::vector<VariantDomain>& domains,
                                                      const VariantPlan& plan) {
    std::vector<std::vector<VariantValue>> variants;
    switch (plan.sampling) {
    case VariantPlan::Defaults: {
        std::vector<VariantValue> values;
        for (const VariantDomain& domain : domains)
            values.push_back(domain.defaultValue);
        variants.push_back(std::move(values));
        break;
    }
    case VariantPlan::Grid: {
        const uint64_t size = VariantGridSize(domains, plan.steps);
        if (size > plan.max)
            throw Exception("The grid would make " +
                                (size == std::numeric_limits<uint64_t>::max() ? std::string("more than 2^64")
                                                                              : std::to_string(size)) +
                                " variants, more than the limit of " + std::to_string(plan.max),
                            ExceptionCodeGeneric);
        std::vector<std::vector<VariantValue>> axes;
        for (const VariantDomain& domain : domains)
            axes.push_back(domain.gridValues(plan.steps));
        if (size == 0)
            break;
        std::vector<size_t> at(axes.size(), 0);
        variants.reserve(size);
        for (uint64_t n = 0; n < size; ++n) {
            std::vector<VariantValue> values;
            values.reserve(axes.size());
            for (size_t i = 0; i < axes.size(); ++i)
                values.push_back(axes[i][at[i]]);
            variants.push_back(std::move(values));
            // The last declaration varies fastest.
            for (size_t i = axes.size(); i-- > 0;) {
                if (++at[i] < axes[i].size())
                    break;
                at[i] = 0;
            }
        }
        break;
    }
    case VariantPlan::Random: {
        VariantRandom random(plan.seed);
        for (uint64_t n = 0; n < plan.count; ++n)
            variants.push_back(DrawVariant(domains, random));
        break;
    }
    }
    return variants;
}

// What one declaration sets, found once when the writer is made.
struct VariantWriter::Target {
    enum Kind { Missing, SectionParameter, ScriptVariable } kind = Missing;
    const cfg::Section* section = nullptr; // the parameter's section, or the script's
    std::string parameterName;
    cfg::t_ParameterType parameterType = cfg::ParameterString;
    lmk::t_unit targetUnit = lmk::U_NONE;
    lmk::t_unit declarationUnit = lmk::U_NONE;
    int64_t variableNumber = 0;
    bool integerVariable = false;
    std::string refusal; // why values can't be set, with its code
    int refusalCode = 0;
};

namespace {

// The script of a scenario, read once, whose variables are set anew for each
// variant before it is written back.
struct ParsedScript {
    std::unique_ptr<ScenarioItem> root;
    std::map<int64_t, Variable*> variables;
};

} // namespace

VariantWriter::VariantWriter(TavrelScenario& scenario) : scenario(scenario) {
    scenario.getVariadicParameterNumber(); // loads the file
    std::vector<TavrelVariadicParameter*> declarations;
    scenario.getTavrelVariadicParameters(declarations);
    for (TavrelVariadicParameter* declaration : declarations) {
        VariantDomain domain;
        domain.name = declaration->getName();
        domain.parameterId = declaration->getParameterId();
        domain.type = declaration->getType();
        if (declaration->hasParameterUnit())
            domain.unit = declaration->getParameterUnit();
        // A declaration without its typed section has no default: the type's zero stands for it.
        auto orZero = [](auto read, auto zero) -> VariantValue {
            try {
                return read();
            } catch (Exception* e) {
                delete e;
            } catch (const Exception&) {
            }
            return zero;
        };
        switch (domain.type) {
        case ScenarioTemplateDb::ParameterTypeBoolean:
            domain.defaultValue = orZero([&] { return declaration->getBooleanDefaultValue(); }, false);
            break;
        case ScenarioTemplateDb::ParameterTypeInteger: {
            domain.defaultValue =
                orZero([&] { return static_cast<int64_t>(declaration->getIntegerDefaultValue()); }, int64_t{0});
            std::vector<const ScenarioTemplateDb::VariadicParameter::Range<int>*> ranges;
            declaration->getIntegerRanges(ranges);
            for (const auto* range : ranges)
                domain.integerRanges.emplace_back(range->getMinimum(), range->getMaximum());
            break;
        }
        case ScenarioTemplateDb::ParameterTypeReal: {
            domain.defaultValue = orZero([&] { return declaration->getRealDefaultValue(); }, 0.0);
            std::vector<const ScenarioTemplateDb::VariadicParameter::Range<double>*> ranges;
            declaration->getRealRanges(ranges);
            for (const auto* range : ranges)
                domain.realRanges.emplace_back(range->getMinimum(), range->getMaximum());
            break;
        }
        default:
            domain.defaultValue = orZero([&] { return declaration->getLiteralDefaultValue(); }, std::string());
            declaration->getLiterals(domain.literals);
            break;
        }

        Target target;
        target.declarationUnit = lmk::toTUnit(domain.unit.c_str());
        auto refuse = [&](const std::string& why, int code) {
            if (target.refusal.empty()) {
                target.refusal = quotedName(domain) + ": " + why;
                target.refusalCode = code;
            }
        };
        ScenarioTemplateDb::ScenarioParameter* aimed = declaration->getTargetParameter();
        bool settable = false;
        if (auto* parameter = dynamic_cast<TavrelScenarioParameter*>(aimed)) {
            const cfg::Section::ParameterIterator& it = parameter->getIterator();
            target.kind = Target::SectionParameter;
            target.section = it.getSection();
            target.parameterName = it.getCName();
            target.parameterType = it.getType();
            target.targetUnit = it.getUnit();
            switch (target.parameterType) {
            case cfg::ParameterBool:
                settable = domain.type == ScenarioTemplateDb::ParameterTypeBoolean;
                break;
            case cfg::ParameterInt:
                settable = domain.type == ScenarioTemplateDb::ParameterTypeInteger;
                break;
            case cfg::ParameterReal:
                settable = domain.type == ScenarioTemplateDb::ParameterTypeInteger ||
                           domain.type == ScenarioTemplateDb::ParameterTypeReal;
                break;
            case cfg::ParameterString:
                settable = domain.type == ScenarioTemplateDb::ParameterTypeLiteral;
                break;
            default:
                break;
            }
            if (!settable)
                refuse(std::string("a declaration of ") + typeWord(domain.type) + " can't set its target " +
                           domain.parameterId + ", a parameter of type " + cfg::parameterTypeText(target.parameterType),
                       ExceptionCodeParameterType);
        } else if (auto* variable = dynamic_cast<ScriptVariableParameter*>(aimed)) {
            target.kind = Target::ScriptVariable;
            target.section = static_cast<ScriptNode*>(variable->getParentNode())->getScript();
            target.variableNumber = variable->getNumber();
            target.integerVariable = variable->isInteger();
            if (variable->isBoolean())
                settable = domain.type == ScenarioTemplateDb::ParameterTypeBoolean;
            else if (variable->isInteger())
                settable = domain.type == ScenarioTemplateDb::ParameterTypeInteger;
            else if (variable->isReal())
                settable = domain.type == ScenarioTemplateDb::ParameterTypeInteger ||
                           domain.type == ScenarioTemplateDb::ParameterTypeReal;
            else if (variable->isLiteral())
                settable = domain.type == ScenarioTemplateDb::ParameterTypeLiteral;
            if (!settable)
                refuse(std::string("a declaration of ") + typeWord(domain.type) + " can't set its target " +
                           domain.parameterId + ", a script variable of type " +
                           (variable->isBoolean()   ? "BOOL"
                            : variable->isInteger() ? "INTEGER"
                            : variable->isReal()    ? "FLOAT"
                            : variable->isLiteral() ? "STRING"
                                                    : "unknown"),
                       ExceptionCodeParameterType);
        } else {
            refuse("its target " + domain.parameterId + " doesn't exist in the scenario", ExceptionCodeGeneric);
        }
        const char* declared = lmk::toQuantity(target.declarationUnit);
        const char* stored = lmk::toQuantity(target.targetUnit);
        if (*declared && *stored && std::string(declared) != stored)
            refuse("its unit " + domain.unit + " (" + declared + ") doesn't convert to " +
                       lmk::toText(target.targetUnit) + " (" + stored + "), the unit of its target",
                   ExceptionCodeParameterType);

        domains.push_back(std::move(domain));
        targets.push_back(std::move(target));
    }
}

VariantWriter::~VariantWriter() = default;

namespace {

// The stored value of a number given in the declaration's unit, or in the
// target's when the declaration has none.
double storedNumber(double value, lmk::t_unit declared, lmk::t_unit target) {
    return lmk::convToSI(declared > lmk::U_DIMENSIONLESS ? declared : target, value);
}

double realOf(const VariantValue& value) {
    if (const int64_t* integer = std::get_if<int64_t>(&value))
        return static_cast<double>(*integer);
    return std::get<double>(value);
}

} // namespace

void VariantWriter::check(const std::vector<VariantValue>& values) const {
    if (values.size() != domains.size())
        throw Exception(std::to_string(values.size()) + " values given for " + std::to_string(domains.size()) +
                            " variadic parameters",
                        ExceptionCodeInvalidIndex);
    for (size_t i = 0; i < domains.size(); ++i) {
        const VariantDomain& domain = domains[i];
        const Target& target = targets[i];
        const VariantValue& value = values[i];
        const bool rightType = domain.type == ScenarioTemplateDb::ParameterTypeBoolean
                                   ? std::holds_alternative<bool>(value)
                               : domain.type == ScenarioTemplateDb::ParameterTypeInteger
                                   ? std::holds_alternative<int64_t>(value)
                               : domain.type == ScenarioTemplateDb::ParameterTypeReal
                                   ? std::holds_alternative<double>(value) || std::holds_alternative<int64_t>(value)
                                   : std::holds_alternative<std::string>(value);
        if (!rightType)
            throw Exception(quotedName(domain) + " takes " + typeWord(domain.type) + ", not " +
                                typeWord(static_cast<ParameterType>(
                                    std::holds_alternative<bool>(value)      ? ScenarioTemplateDb::ParameterTypeBoolean
                                    : std::holds_alternative<int64_t>(value) ? ScenarioTemplateDb::ParameterTypeInteger
                                    : std::holds_alternative<double>(value)  ? ScenarioTemplateDb::ParameterTypeReal
                                                                             : ScenarioTemplateDb::ParameterTypeLiteral)) +
                                " (" + VariantValueText(value) + ")",
                            ExceptionCodeParameterType);
        if (!domain.permits(value))
            throw Exception(quotedName(domain) + ": " + VariantValueText(value) + " is outside its domain",
                            ExceptionCodeInvalidIndex);
        if (!target.refusal.empty())
            throw Exception(target.refusal, target.refusalCode);
        if (target.kind == Target::SectionParameter && target.parameterType == cfg::ParameterInt) {
            const double stored = std::round(storedNumber(realOf(value), target.declarationUnit, target.targetUnit));
            if (!(stored >= std::numeric_limits<int32_t>::min() && stored <= std::numeric_limits<int32_t>::max()))
                throw Exception(quotedName(domain) + ": " + VariantValueText(value) +
                                    " doesn't fit its target, a 32-bit integer",
                                ExceptionCodeInvalidIndex);
        }
        if (target.kind == Target::ScriptVariable) {
            const std::string text = VariantValueText(value);
            if (text.find_first_of("\"\r\n") != std::string::npos)
                throw Exception(quotedName(domain) + ": a script variable can't hold a quote or a line end",
                                ExceptionCodeInvalidIndex);
        }
    }
}

void VariantWriter::write(const std::vector<VariantValue>& values, const std::string& path) const {
    check(values);
    cfg::CfgScenario* file = scenario.getCfgScenarioSection();
    cfg::WriteEdits edits;
    std::vector<TavrelVariadicParameter*> declarations;
    scenario.getTavrelVariadicParameters(declarations);
    for (TavrelVariadicParameter* declaration : declarations)
        edits.omitted.insert(declaration->getSection());

    std::map<const cfg::Section*, std::map<int64_t, std::string>> scriptValues;
    for (size_t i = 0; i < targets.size(); ++i) {
        const Target& target = targets[i];
        const VariantValue& value = values[i];
        if (target.kind == Target::ScriptVariable) {
            // A script variable has no unit of its own: a number given in the
            // declaration's unit is stored in SI, as a section parameter is.
            std::string text;
            if (const bool* flag = std::get_if<bool>(&value))
                text = *flag ? "1" : "0";
            else if (std::holds_alternative<std::string>(value) || target.declarationUnit <= lmk::U_DIMENSIONLESS)
                text = VariantValueText(value);
            else if (target.integerVariable)
                text = std::to_string(std::llround(storedNumber(realOf(value), target.declarationUnit, lmk::U_NONE)));
            else
                text = shortest(storedNumber(realOf(value), target.declarationUnit, lmk::U_NONE));
            scriptValues[target.section][target.variableNumber] = text;
            continue;
        }
        cfg::WriteEdits::Value stored;
        switch (target.parameterType) {
        case cfg::ParameterBool:
            stored = std::get<bool>(value);
            break;
        case cfg::ParameterInt: {
            // The stored integer nearest to the value, or a neighbour that the
            // tree's conversion (which truncates) reads back as the value itself.
            const double exact = storedNumber(realOf(value), target.declarationUnit, target.targetUnit);
            const int64_t nearest = static_cast<int64_t>(std::llround(exact));
            int chosen = static_cast<int>(nearest);
            if (target.declarationUnit <= lmk::U_DIMENSIONLESS || target.declarationUnit == target.targetUnit)
                for (int64_t candidate : {nearest, nearest + 1, nearest - 1})
                    if (candidate >= INT32_MIN && candidate <= INT32_MAX &&
                        static_cast<int64_t>(lmk::convToUnit(target.targetUnit, static_cast<double>(candidate))) ==
                            std::get<int64_t>(value)) {
                        chosen = static_cast<int>(candidate);
                        break;
                    }
            stored = chosen;
            break;
        }
        case cfg::ParameterReal:
            stored = storedNumber(realOf(value), target.declarationUnit, target.targetUnit);
            break;
        default:
            stored = std::get<std::string>(value);
            break;
        }
        edits.values[{target.section, target.parameterName}] = std::move(stored);
    }

    for (const auto& [section, variables] : scriptValues) {
        const auto* script = static_cast<const cfg::ScenarioScript*>(section);
        std::vector<ScenarioItem*> items;
        const std::unique_ptr<ScenarioItem> root = ScriptNode::Parse(*script, items);
        size_t set = 0;
        for (ScenarioItem* item : items) {
            auto* variable = dynamic_cast<Variable*>(item);
            if (variable == nullptr)
                continue;
            const auto found = variables.find(std::strtoll(item->name.c_str(), nullptr, 10));
            if (found != variables.end()) {
                variable->value = found->second;
                ++set;
            }
        }
        if (set == 0)
            throw Exception("Unable to find the variables to set in script " + script->name, ExceptionCodeGeneric);
        edits.scriptTexts[section] = ScenarioText(*root);
    }

    if (!file->save(path.c_str(), Commons::Encoding::Utf8, false, edits))
        throw Exception("Unable to write variant " + path + " : " + file->errorMessage, ExceptionCodeGeneric);
}

namespace {

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

} // namespace

std::vector<GeneratedVariant> GenerateVariants(TavrelScenario& scenario, const VariantPlan& plan,
                                               const std::string& folder) {
    namespace fs = std::filesystem;
    const VariantWriter writer(scenario);
    const std::vector<VariantDomain>& domains = writer.getDomains();
    const std::vector<std::vector<VariantValue>> combinations = SampleVariants(domains, plan);
    for (const auto& values : combinations)
        writer.check(values);

    std::string stem = fs::path(scenario.getPath()).stem().string();
    const size_t slash = stem.find_last_of("\\");
    if (slash != std::string::npos)
        stem.erase(0, slash + 1);
    const size_t width = std::max<size_t>(4, std::to_string(combinations.size()).size());
    auto nameOf = [&](size_t n) {
        std::string number = std::to_string(n + 1);
        return stem + "_" + std::string(width - number.size(), '0') + number + ".sce";
    };

    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        throw Exception("Unable to make folder " + folder + " : " + error.message(), ExceptionCodeGeneric);
    std::string staging = (fs::path(folder) / ".variants.XXXXXX").string();
    if (::mkdtemp(&staging[0]) == nullptr)
        throw Exception("Unable to make a folder in " + folder + " : " + std::strerror(errno), ExceptionCodeGeneric);
    struct RemoveStaging {
        std::string path;
        ~RemoveStaging() {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    } removeStaging{staging};

    std::ostringstream manifest;
    manifest << "file";
    for (const VariantDomain& domain : domains)
        manifest << ',' << csvField(domain.unit.empty() ? domain.name : domain.name + " (" + domain.unit + ")");
    manifest << "\r\n";
    std::vector<GeneratedVariant> generated;
    for (size_t n = 0; n < combinations.size(); ++n) {
        const std::string name = nameOf(n);
        writer.write(combinations[n], (fs::path(staging) / name).string());
        manifest << csvField(name);
        for (const VariantValue& value : combinations[n])
            manifest << ',' << csvField(VariantValueText(value));
        manifest << "\r\n";
        generated.push_back({(fs::path(folder) / name).string(), combinations[n]});
    }
    std::string reason;
    if (!Commons::FileUtils::ReplaceFile((fs::path(staging) / "variants.csv").string(), manifest.str(), &reason))
        throw Exception("Unable to write " + folder + "/variants.csv : " + reason, ExceptionCodeGeneric);

    // Every file is whole: move them in, the manifest last.
    for (size_t n = 0; n <= combinations.size(); ++n) {
        const std::string name = n < combinations.size() ? nameOf(n) : "variants.csv";
        fs::rename(fs::path(staging) / name, fs::path(folder) / name, error);
        if (error)
            throw Exception("Unable to move " + name + " into " + folder + " : " + error.message(),
                            ExceptionCodeGeneric);
    }
    return generated;
}

} // namespace TavrelScenarioTemplateDb

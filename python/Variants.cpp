// Template.domains, Template.write_variant and tavrel.generate_variants:
// concrete scenarios made from a template's variadic declarations.
#include "Binding.h"

#include <ScenarioTemplateDb/Exception.h>
#include <TavrelScenarioTemplateDb/Variants.h>

#include <pybind11/stl.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

using ScenarioTemplateDb::Exception;
using TavrelScenarioTemplateDb::VariantDomain;
using TavrelScenarioTemplateDb::VariantPlan;
using TavrelScenarioTemplateDb::VariantValue;
using TavrelScenarioTemplateDb::VariantWriter;

namespace tavrel_python {

namespace {

py::object valueToPython(const VariantValue& value) {
    return std::visit([](const auto& held) -> py::object { return py::cast(held); }, value);
}

// Python's own types, as given: whether the value suits its declaration is the
// writer's to say.
VariantValue toValue(const py::handle& value) {
    if (py::isinstance<py::bool_>(value))
        return value.cast<bool>();
    if (py::isinstance<py::int_>(value))
        return value.cast<int64_t>();
    if (py::isinstance<py::float_>(value))
        return value.cast<double>();
    if (py::isinstance<py::str>(value))
        return value.cast<std::string>();
    throw py::type_error("a variant value is a bool, an int, a float or a str, not " +
                         std::string(py::str(py::type::of(value).attr("__name__"))));
}

py::dict describeDomain(const VariantDomain& domain) {
    py::dict out;
    out["name"] = domain.name;
    out["target"] = domain.parameterId;
    out["unit"] = domain.unit;
    out["type"] = typeName(domain.type);
    out["default"] = valueToPython(domain.defaultValue);
    py::list ranges;
    for (const auto& [minimum, maximum] : domain.integerRanges)
        ranges.append(py::make_tuple(minimum, maximum));
    for (const auto& [minimum, maximum] : domain.realRanges)
        ranges.append(py::make_tuple(minimum, maximum));
    out["ranges"] = ranges;
    out["literals"] = domain.literals;
    return out;
}

// Values in declaration order: a sequence as it stands, a dict by the
// declarations' names, every one of them given.
std::vector<VariantValue> valuesFor(const std::vector<VariantDomain>& domains, const py::object& given) {
    std::vector<VariantValue> values;
    if (py::isinstance<py::dict>(given)) {
        const py::dict byName = given.cast<py::dict>();
        size_t used = 0;
        for (const VariantDomain& domain : domains) {
            const py::str name(domain.name);
            if (!byName.contains(name))
                throw Exception("No value for the variadic parameter \"" + domain.name + "\"",
                                ScenarioTemplateDb::ExceptionCodeInvalidIndex);
            values.push_back(toValue(byName[name]));
            ++used;
        }
        if (used != py::len(byName))
            for (const auto& [key, value] : byName) {
                bool known = false;
                for (const VariantDomain& domain : domains)
                    known = known || py::str(key).cast<std::string>() == domain.name;
                if (!known)
                    throw Exception("No variadic parameter named \"" + py::str(key).cast<std::string>() +
                                        "\"",
                                    ScenarioTemplateDb::ExceptionCodeInvalidIndex);
            }
        return values;
    }
    if (py::isinstance<py::str>(given) || !py::isinstance<py::sequence>(given))
        throw py::type_error("values are a list in declaration order or a dict by declaration name");
    for (const py::handle value : given)
        values.push_back(toValue(value));
    return values;
}

VariantPlan::Sampling samplingOf(const std::string& mode) {
    if (mode == "defaults")
        return VariantPlan::Defaults;
    if (mode == "grid")
        return VariantPlan::Grid;
    if (mode == "random")
        return VariantPlan::Random;
    throw Exception("Invalid mode: \"" + mode + "\" (defaults, grid or random)",
                    ScenarioTemplateDb::ExceptionCodeGeneric);
}

} // namespace

void bindVariants(py::module_& module) {
    py::class_<TemplateState, TemplatePtr> templateClass =
        py::reinterpret_borrow<py::class_<TemplateState, TemplatePtr>>(module.attr("Template"));
    templateClass
        .def(
            "domains",
            [](const TemplateState& self) {
                const VariantWriter writer(self.useTree());
                py::list out;
                for (const VariantDomain& domain : writer.getDomains())
                    out.append(describeDomain(domain));
                return out;
            },
            Guard(),
            "What each variadic declaration permits, in the file's order: name, target, unit, type, default, "
            "ranges (minimum, maximum), literals.")
        .def(
            "write_variant",
            [](const TemplateState& self, const py::object& values, const std::string& path) {
                const VariantWriter writer(self.useTree());
                writer.write(valuesFor(writer.getDomains(), values), path);
            },
            Guard(), py::arg("values"), py::arg("path"),
            "Writes one variant to `path`: `values` a list in declaration order or a dict by declaration "
            "name, "
            "each in its declaration's unit. Error (code 32 wrong type, 4 outside the domain or missing, -1 "
            "a "
            "target that doesn't exist or a file that can't be written) and nothing written when refused.");

    module.def(
        "generate_variants",
        [](const TemplateState& scenario, const std::string& out, const std::string& mode, unsigned steps,
           uint64_t count, uint64_t seed, uint64_t max) {
            VariantPlan plan;
            plan.sampling = samplingOf(mode);
            plan.steps = steps;
            plan.count = count;
            plan.seed = seed;
            plan.max = max;
            TavrelScenarioTemplateDb::TavrelScenario& opened = scenario.useTree();
            const auto variants = TavrelScenarioTemplateDb::GenerateVariants(opened, plan, out);
            const VariantWriter names(opened);
            const auto& domains = names.getDomains();
            py::list written;
            for (const auto& variant : variants) {
                py::dict values;
                for (size_t index = 0; index < domains.size() && index < variant.values.size(); ++index)
                    values[py::str(domains[index].name)] = valueToPython(variant.values[index]);
                written.append(py::dict(py::arg("file") = variant.file, py::arg("values") = values));
            }
            return written;
        },
        Guard(), py::arg("template"), py::arg("out"), py::arg("mode") = "defaults", py::arg("steps") = 3,
        py::arg("count") = 0, py::arg("seed") = 0, py::arg("max") = 10000,
        "`tavrel variants`: writes the variants of `mode` (defaults: one, every default; grid: every "
        "combination, `steps` values per real range; random: `count` draws from `seed`) into the folder "
        "`out` "
        "as NAME_0001.sce, ... with variants.csv, all or nothing. Refuses more than `max` files. Returns "
        "[{\"file\": ..., \"values\": {name: value}}].");
}

} // namespace tavrel_python

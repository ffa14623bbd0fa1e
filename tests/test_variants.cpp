// Variants of a template: the values each declaration permits and how a plan
// samples them, the files written (reopened through the driver, every type and
// unit family), the refusals before anything is written, a set written into a
// folder with its manifest and rolled back on failure, and the tool.
#include "ExceptionCapture.h"
#include "TempInstallation.h"

#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/Variants.h>
#include <environment/Commons/FileUtils.h>
#include <environment/lmk/Units.h>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>

using namespace TavrelScenarioTemplateDb;
using namespace testing_support;
using ScenarioTemplateDb::ParameterTypeBoolean;
using ScenarioTemplateDb::ParameterTypeInteger;
using ScenarioTemplateDb::ParameterTypeLiteral;
using ScenarioTemplateDb::ParameterTypeReal;

namespace {

namespace fs = std::filesystem;

VariantDomain Integers(std::vector<std::pair<int64_t, int64_t>> ranges, int64_t fallback = 0) {
    VariantDomain domain;
    domain.type = ParameterTypeInteger;
    domain.defaultValue = fallback;
    domain.integerRanges = std::move(ranges);
    return domain;
}

VariantDomain Reals(std::vector<std::pair<double, double>> ranges) {
    VariantDomain domain;
    domain.type = ParameterTypeReal;
    domain.defaultValue = 0.0;
    domain.realRanges = std::move(ranges);
    return domain;
}

VariantDomain Literals(std::vector<std::string> literals) {
    VariantDomain domain;
    domain.type = ParameterTypeLiteral;
    domain.defaultValue = std::string("x");
    domain.literals = std::move(literals);
    return domain;
}

VariantDomain Flag() {
    VariantDomain domain;
    domain.type = ParameterTypeBoolean;
    domain.defaultValue = false;
    return domain;
}

std::string Texts(const std::vector<VariantValue>& values) {
    std::string text;
    for (const VariantValue& value : values)
        text += (text.empty() ? "" : " ") + VariantValueText(value);
    return text;
}

TEST(VariantDomains, GridValuesPerType) {
    const struct {
        VariantDomain domain;
        unsigned steps;
        const char* values;
    } rows[] = {
        // overlapping ranges give each integer once; a range upside down holds nothing
        {Integers({{1, 3}, {2, 5}, {9, 8}}), 3, "1 2 3 4 5"},
        {Integers({}, 7), 3, "7"},
        {Reals({{0, 1}, {5, 5}}), 3, "0 0.5 1 5"},
        {Reals({{30, 70}, {90, 130}}), 2, "30 70 90 130"},
        {Reals({{0, 0.3}}), 4, "0 0.09999999999999999 0.19999999999999998 0.3"},
        {Flag(), 3, "false true"},
        {Literals({"a", "b", "a"}), 3, "a b"},
        {Literals({}), 3, "x"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Texts(row.domain.gridValues(row.steps)), row.values);
        EXPECT_EQ(VariantGridSize({row.domain}, row.steps), row.domain.gridValues(row.steps).size());
    }
    EXPECT_TRUE(throws("value", [] { Flag().gridValues(1); },
                       "A grid needs at least 2 values per real range (both ends), not 1", -1));
}

TEST(VariantDomains, PermitsTheDomainAndTheTypeOnly) {
    const VariantDomain integers = Integers({{1, 3}, {10, 10}});
    const VariantDomain reals = Reals({{30, 70}});
    const struct {
        const VariantDomain& domain;
        VariantValue value;
        bool permitted;
    } rows[] = {
        {integers, int64_t{1}, true},    {integers, int64_t{10}, true},  {integers, int64_t{4}, false},
        {integers, 2.0, false},          {integers, true, false},        {reals, 30.0, true},
        {reals, int64_t{70}, true},      {reals, 70.000001, false},      {reals, std::string("50"), false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.domain.permits(row.value), row.permitted) << VariantValueText(row.value);
    EXPECT_TRUE(Literals({"a"}).permits(std::string("a")));
    EXPECT_FALSE(Literals({"a"}).permits(std::string("x"))); // the default counts only without literals
    EXPECT_TRUE(Literals({}).permits(std::string("x")));
}

TEST(VariantSampling, GridOrderLimitAndSaturation) {
    const std::vector<VariantDomain> domains{Integers({{1, 2}}), Flag(), Literals({"a", "b", "c"})};
    VariantPlan plan;
    plan.sampling = VariantPlan::Grid;
    const auto grid = SampleVariants(domains, plan);
    ASSERT_EQ(grid.size(), 12u);
    EXPECT_EQ(Texts(grid[0]), "1 false a");
    EXPECT_EQ(Texts(grid[1]), "1 false b"); // the last declaration varies fastest
    EXPECT_EQ(Texts(grid[3]), "1 true a");
    EXPECT_EQ(Texts(grid[11]), "2 true c");

    plan.max = 11;
    EXPECT_TRUE(throws("value", [&] { SampleVariants(domains, plan); },
                       "The grid would make 12 variants, more than the limit of 11", -1));
    const VariantDomain huge = Integers({{INT32_MIN, INT32_MAX}});
    EXPECT_EQ(VariantGridSize({huge, huge, huge}, 3), std::numeric_limits<uint64_t>::max());
    EXPECT_TRUE(throws("value", [&] { SampleVariants({huge, huge, huge}, plan); },
                       "The grid would make more than 2^64 variants, more than the limit of 11", -1));

    plan.sampling = VariantPlan::Defaults;
    EXPECT_EQ(Texts(SampleVariants(domains, plan).at(0)), "0 false x");
}

TEST(VariantSampling, RandomIsTheDocumentedGeneratorWeightedByRangeLength) {
    // xoshiro256** seeded by SplitMix64 with 0, as its authors' code gives it.
    VariantRandom random(0);
    EXPECT_EQ(random.next(), 0x99ec5f36cb75f2b4ULL);
    EXPECT_EQ(random.next(), 0xbf6e1f784956452aULL);
    EXPECT_EQ(random.next(), 0x1a5f849d4933e6e0ULL);

    const std::vector<VariantDomain> domains{Integers({{0, 0}, {1, 9}}), Reals({{0, 1}, {10, 13}}),
                                             Literals({"a", "b"}), Flag()};
    VariantPlan plan;
    plan.sampling = VariantPlan::Random;
    plan.count = 8000;
    plan.seed = 42;
    const auto drawn = SampleVariants(domains, plan);
    EXPECT_EQ(drawn, SampleVariants(domains, plan));
    plan.seed = 43;
    EXPECT_NE(drawn, SampleVariants(domains, plan));

    int zeros = 0, lowReals = 0, literalsA = 0, trues = 0;
    for (const auto& values : drawn) {
        for (size_t i = 0; i < domains.size(); ++i)
            ASSERT_TRUE(domains[i].permits(values[i])) << VariantValueText(values[i]);
        zeros += std::get<int64_t>(values[0]) == 0;
        lowReals += std::get<double>(values[1]) <= 1;
        literalsA += std::get<std::string>(values[2]) == "a";
        trues += std::get<bool>(values[3]);
    }
    // Expected 800 (1 value in 10), 2000 (length 1 in 4), 4000 and 4000; bounds of about 5 sigma.
    EXPECT_NEAR(zeros, 800, 140);
    EXPECT_NEAR(lowReals, 2000, 200);
    EXPECT_NEAR(literalsA, 4000, 230);
    EXPECT_NEAR(trues, 4000, 230);
}

// A template over an installation of its own, with one target of each kind.
const char* const kTargets = R"(<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="targets" description="one target of each kind">
  <Environment>
    <Parameter name="speedLimit" type="real" unit="km/h">13.888888888888889</Parameter>
    <Parameter name="rain" type="bool">false</Parameter>
    <Parameter name="label" type="string">A1</Parameter>
    <Parameter name="lanes" type="int">2</Parameter>
    <Parameter name="duration" type="int" unit="min">600</Parameter>
    <Parameter name="heading" type="real" unit="deg">0</Parameter>
    <Parameter name="grip" type="real" unit="%">0.8</Parameter>
    <Parameter name="gap" type="real" unit="m">10</Parameter>
    <Parameter name="fog" type="choice" options="none|light">none</Parameter>
  </Environment>
  <ScenarioScript name="main" scriptType="nuro"><![CDATA[
TYPEOF SCENARIO (main)
{
	TYPEOF VARIABLE (1)
	{
		LABEL="Count"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="INTEGER"
		VALUE="1"
	}
	TYPEOF VARIABLE (2)
	{
		LABEL="Delay"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="FLOAT"
		VALUE="0.5"
	}
	TYPEOF VARIABLE (3)
	{
		LABEL="Message"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="STRING"
		VALUE="Wait"
	}
	TYPEOF VARIABLE (4)
	{
		LABEL="Armed"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="BOOL"
		VALUE="0"
	}
}
]]></ScenarioScript>
DECLARATIONS</Scenario>
)";

std::string Declaration(const std::string& name, const std::string& target, const std::string& unit,
                        const std::string& typed) {
    const std::string id = target.rfind("/", 0) == 0          ? target
                           : target.rfind("Variable", 0) == 0
                               ? "/sce/Scenario/ScenarioScript[scriptName=&quot;main&quot;]/" + target
                               : "/sce/Scenario/Environment/" + target;
    return "  <VariadicParameter name=\"" + name + "\" parameterId=\"" + id + "\" parameterUnit=\"" + unit +
           "\">" + typed + "</VariadicParameter>\n";
}

class Variants : public ::testing::Test {
protected:
    void SetUp() override {
        installation.useForModels({"Main"});
        folder = installation.makeFolder("scenarios");
    }

    // The template with these declarations, opened.
    std::unique_ptr<TavrelScenario> Template(const std::string& declarations) {
        std::string text = kTargets;
        text.replace(text.find("DECLARATIONS"), 12, declarations);
        installation.write("scenarios/targets.sce", text);
        return std::make_unique<TavrelScenario>("Main", "targets.sce", folder);
    }

    TempInstallation installation;
    std::string folder;
};

TEST_F(Variants, EachTargetReadsBackItsValueInTheVariant) {
    const struct {
        const char* name;
        const char* target;
        const char* unit;
        const char* typed;
        VariantValue value;
        const char* readBack; // the target's getValueAsString in the variant
    } rows[] = {
        {"speed", "speedLimit", "km/h", "<RealParameter default=\"50\"><RealRange minimum=\"30\" maximum=\"130\"/></RealParameter>", 90.0, "90.000000"},
        {"gap", "gap", "ft", "<RealParameter default=\"10\"><RealRange minimum=\"0\" maximum=\"100\"/></RealParameter>", 10.0, "3.048000"},
        {"heading", "heading", "deg", "<RealParameter default=\"0\"><RealRange minimum=\"-180\" maximum=\"180\"/></RealParameter>", -90.0, "-90.000000"},
        {"grip", "grip", "%", "<IntegerParameter default=\"80\"><IntegerRange minimum=\"0\" maximum=\"100\"/></IntegerParameter>", int64_t{30}, "30.000000"},
        {"rain", "rain", "", "<BooleanParameter default=\"false\"/>", true, "true"},
        {"label", "label", "", "<LiteralParameter default=\"A1\"><LiteralRange value=\"A1\"/><LiteralRange value=\"B, 2 &amp; &quot;x&quot;\"/></LiteralParameter>", std::string("B, 2 & \"x\""), "B, 2 & \"x\""},
        {"lanes", "lanes", "", "<IntegerParameter default=\"2\"><IntegerRange minimum=\"1\" maximum=\"3\"/></IntegerParameter>", int64_t{3}, "3"},
        {"duration", "duration", "min", "<IntegerParameter default=\"10\"><IntegerRange minimum=\"1\" maximum=\"60\"/></IntegerParameter>", int64_t{15}, "15"},
        {"count", "Variable[name=1]/value", "", "<IntegerParameter default=\"1\"><IntegerRange minimum=\"1\" maximum=\"9\"/></IntegerParameter>", int64_t{7}, "7"},
        // a script variable has no unit: a number in the declaration's unit is stored in SI
        {"delay", "Variable[name=2]/value", "min", "<RealParameter default=\"1\"><RealRange minimum=\"0\" maximum=\"5\"/></RealParameter>", 2.5, "150"},
        {"message", "Variable[name=3]/value", "", "<LiteralParameter default=\"Wait\"><LiteralRange value=\"Wait\"/><LiteralRange value=\"Go\"/></LiteralParameter>", std::string("Go"), "Go"},
        {"armed", "Variable[name=4]/value", "", "<BooleanParameter default=\"false\"/>", true, "1"},
    };
    std::string declarations;
    std::vector<VariantValue> values;
    for (const auto& row : rows) {
        declarations += Declaration(row.name, row.target, row.unit, row.typed);
        values.push_back(row.value);
    }
    auto templ = Template(declarations);
    const std::string before = readFile(templ->getFilePath());
    const VariantWriter writer(*templ);
    ASSERT_EQ(writer.getDomains().size(), std::size(rows));
    writer.write(values, folder + "/variant.sce");

    TavrelScenario variant("Main", "variant.sce", folder);
    EXPECT_EQ(variant.getVariadicParameterNumber(), 0u);
    EXPECT_EQ(variant.getName(), "targets");
    for (size_t i = 0; i < std::size(rows); ++i) {
        auto* target = variant.getParameterFromId(writer.getDomains()[i].parameterId);
        ASSERT_NE(target, nullptr) << rows[i].name;
        EXPECT_EQ(target->getValueAsString(), rows[i].readBack) << rows[i].name;
    }
    // The rest is as it was; the template neither changed on disk nor in memory.
    EXPECT_EQ(variant.getParameterFromId("/sce/Scenario/Environment/fog")->getParameterId(),
              "/sce/Scenario/Environment/fog");
    EXPECT_EQ(readFile(templ->getFilePath()), before);
    EXPECT_EQ(templ->getVariadicParameterNumber(), std::size(rows));
    EXPECT_EQ(templ->getParameterFromId("/sce/Scenario/Environment/lanes")->getValueAsString(), "2");

    // The defaults give back the template's values where they agree.
    writer.write(SampleVariants(writer.getDomains(), VariantPlan()).at(0), folder + "/defaults.sce");
    TavrelScenario defaults("Main", "defaults.sce", folder);
    EXPECT_EQ(defaults.getParameterFromId("/sce/Scenario/Environment/speedLimit")->getValueAsString(), "50.000000");
    EXPECT_EQ(defaults.getParameterFromId("/sce/Scenario/Environment/duration")->getValueAsString(), "10");
}

TEST_F(Variants, EveryUnitConvertsWithinItsQuantity) {
    // One real target per unit, stored with the first unit of its quantity,
    // each set through a declaration in the unit itself.
    std::string targets, declarations;
    std::map<std::string, lmk::t_unit> firstOfQuantity;
    for (int code = lmk::U_M; code < lmk::U_UNIT_COUNT; ++code) {
        const auto unit = static_cast<lmk::t_unit>(code);
        const lmk::t_unit stored = firstOfQuantity.emplace(lmk::toQuantity(unit), unit).first->second;
        const std::string name = "u" + std::to_string(code);
        targets += "<Parameter name=\"" + name + "\" type=\"real\" unit=\"" + lmk::toText(stored) + "\">0</Parameter>";
        declarations += Declaration(name, name, lmk::toText(unit),
                                    "<RealParameter default=\"0\"><RealRange minimum=\"0\" maximum=\"10\"/></RealParameter>");
    }
    std::string text = kTargets;
    text.replace(text.find("<Environment>") + 13, 0, targets);
    text.replace(text.find("DECLARATIONS"), 12, declarations);
    installation.write("scenarios/units.sce", text);
    TavrelScenario templ("Main", "units.sce", folder);
    const VariantWriter writer(templ);
    writer.write(std::vector<VariantValue>(writer.getDomains().size(), 7.0), folder + "/units_7.sce");

    TavrelScenario variant("Main", "units_7.sce", folder);
    for (const VariantDomain& domain : writer.getDomains()) {
        const auto* target = variant.getParameterFromId(domain.parameterId);
        // Read in the target's unit, then seen in the declaration's.
        const double stored = lmk::convToSI(lmk::toTUnit(target->getParameterUnit().c_str()), target->getRealValue());
        EXPECT_NEAR(lmk::convToUnit(lmk::toTUnit(domain.unit.c_str()), stored), 7.0, 1e-12) << domain.unit;
    }
}

TEST_F(Variants, RefusedValuesWriteNothing) {
    const char* const lanes =
        "<IntegerParameter default=\"2\"><IntegerRange minimum=\"1\" maximum=\"3000000\"/></IntegerParameter>";
    const struct {
        std::string declaration;
        std::vector<VariantValue> values;
        const char* message;
        int code;
    } rows[] = {
        {Declaration("n", "lanes", "", lanes), {2.5}, "Variadic parameter 'n' takes an integer, not a real (2.5)", 32},
        {Declaration("n", "lanes", "", lanes), {int64_t{0}}, "Variadic parameter 'n': 0 is outside its domain", 4},
        {Declaration("n", "lanes", "", lanes), {}, "0 values given for 1 variadic parameters", 4},
        {Declaration("n", "lanes", "km", lanes), {int64_t{3000000}},
         "Variadic parameter 'n': 3000000 doesn't fit its target, a 32-bit integer", 4},
        // (an id of the right shape whose step doesn't exist fails the template's load)
        {Declaration("n", "/sce/Scenario", "", lanes), {int64_t{1}},
         "Variadic parameter 'n': its target /sce/Scenario doesn't exist in the scenario", -1},
        {Declaration("r", "lanes", "", "<RealParameter default=\"2\"><RealRange minimum=\"1\" maximum=\"3\"/></RealParameter>"),
         {2.0}, "Variadic parameter 'r': a declaration of a real can't set its target /sce/Scenario/Environment/lanes, a parameter of type int", 32},
        {Declaration("f", "fog", "", "<LiteralParameter default=\"none\"><LiteralRange value=\"light\"/></LiteralParameter>"),
         {std::string("light")}, "Variadic parameter 'f': a declaration of a literal can't set its target /sce/Scenario/Environment/fog, a parameter of type choice", 32},
        {Declaration("s", "speedLimit", "kg", "<RealParameter default=\"50\"><RealRange minimum=\"30\" maximum=\"130\"/></RealParameter>"),
         {50.0}, "Variadic parameter 's': its unit kg (mass) doesn't convert to km/h (speed), the unit of its target", 32},
        {Declaration("m", "Variable[name=3]/value", "", "<LiteralParameter default=\"Wait\"><LiteralRange value=\"a&quot;b\"/></LiteralParameter>"),
         {std::string("a\"b")}, "Variadic parameter 'm': a script variable can't hold a quote or a line end", 4},
        {Declaration("b", "Variable[name=3]/value", "", "<BooleanParameter default=\"false\"/>"), {true},
         "Variadic parameter 'b': a declaration of a boolean can't set its target /sce/Scenario/ScenarioScript[scriptName=\"main\"]/Variable[name=3]/value, a script variable of type STRING", 32},
    };
    for (const auto& row : rows) {
        auto templ = Template(row.declaration);
        const VariantWriter writer(*templ);
        EXPECT_TRUE(throws("value", [&] { writer.write(row.values, folder + "/refused.sce"); }, row.message, row.code));
        EXPECT_FALSE(fs::exists(folder + "/refused.sce")) << row.message;
    }
}

TEST_F(Variants, GeneratedSetHasItsManifestAndIsAllOrNothing) {
    auto templ = Template(
        Declaration("Speed, max", "speedLimit", "km/h",
                    "<RealParameter default=\"50\"><RealRange minimum=\"30\" maximum=\"70\"/></RealParameter>") +
        Declaration("Rain", "rain", "", "<BooleanParameter default=\"false\"/>"));
    VariantPlan plan;
    plan.sampling = VariantPlan::Grid;
    const std::string out = installation.path("out");
    const auto written = GenerateVariants(*templ, plan, out);
    ASSERT_EQ(written.size(), 6u);
    EXPECT_EQ(written[5].file, out + "/targets_0006.sce");
    EXPECT_EQ(readFile(out + "/variants.csv"), "file,\"Speed, max (km/h)\",Rain\r\n"
                                               "targets_0001.sce,30,false\r\n"
                                               "targets_0002.sce,30,true\r\n"
                                               "targets_0003.sce,50,false\r\n"
                                               "targets_0004.sce,50,true\r\n"
                                               "targets_0005.sce,70,false\r\n"
                                               "targets_0006.sce,70,true\r\n");
    TavrelScenario last("Main", "targets_0006.sce", out);
    EXPECT_EQ(last.getParameterFromId("/sce/Scenario/Environment/speedLimit")->getValueAsString(), "70.000000");
    EXPECT_EQ(last.getParameterFromId("/sce/Scenario/Environment/rain")->getValueAsString(), "true");

    // A write that fails midway leaves the folder as it was: no new file, no staging folder.
    const std::string again = installation.path("again");
    int writes = 0;
    Commons::FileUtils::SetReplaceFaultHook([&](Commons::FileUtils::ReplaceFault& fault) {
        return fault.step == Commons::FileUtils::ReplaceStep::Create && ++writes == 4 ? ENOSPC : 0;
    });
    const Caught failed = capture([&] { GenerateVariants(*templ, plan, again); });
    Commons::FileUtils::SetReplaceFaultHook(nullptr);
    EXPECT_EQ(failed.form, "value");
    EXPECT_NE(failed.exception.message.find("Unable to write variant"), std::string::npos) << failed.exception.message;
    EXPECT_TRUE(fs::is_empty(again));

    // Refused before anything is written.
    plan.max = 5;
    EXPECT_TRUE(throws("value", [&] { GenerateVariants(*templ, plan, again); },
                       "The grid would make 6 variants, more than the limit of 5", -1));
    EXPECT_TRUE(fs::is_empty(again));
}

TEST(VariantsTool, WritesRefusesAndRepeatsItsDraws) {
    TempInstallation installation;
    installation.addConfiguration("Default", "1.0", {"main"});
    installation.write("projects/main/data/scenario/city/crossing.sce",
                       readFile(TAVREL_SOURCE_DIR "/examples/installation/projects/common/data/scenario/city/crossing.sce"));
    const std::string options = " --installation '" + installation.writeInstallationFile("Default") + "'";
    auto variants = [&](const std::string& arguments) {
        return runTool(TAVREL_TOOL, "variants city/crossing.sce " + arguments + options);
    };

    ToolRun run = variants("--random 3 --seed 7 --json --out '" + installation.path("a") + "'");
    ASSERT_EQ(run.status, 0) << run.output;
    const auto shown = nlohmann::json::parse(run.output);
    ASSERT_EQ(shown["variants"].size(), 3u);
    EXPECT_EQ(shown["variants"][0]["file"], installation.path("a") + "/crossing_0001.sce");
    EXPECT_TRUE(shown["variants"][0]["values"]["Rain"].is_boolean());
    ASSERT_EQ(variants("--random 3 --seed 7 --out '" + installation.path("b") + "'").status, 0);
    for (const char* file : {"/crossing_0001.sce", "/crossing_0003.sce", "/variants.csv"})
        EXPECT_EQ(readFile(installation.path("a") + file), readFile(installation.path("b") + file)) << file;

    run = variants("--grid --max 5 --out '" + installation.path("c") + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "error: The grid would make 12 variants, more than the limit of 5 (code -1)\n");
    EXPECT_FALSE(fs::exists(installation.path("c/variants.csv")));

    run = variants("--defaults --out '" + installation.path("d") + "'");
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("crossing_0001.sce  Speed limit=50 km/h, Rain=false\nwrote 1 variant of "),
              std::string::npos)
        << run.output;
    EXPECT_NE(variants("--grid --random 2 --seed 1 --out x").status, 0);
}

} // namespace

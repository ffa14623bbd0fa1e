// Variadic declarations over hand-built sections: how the type is read, the
// insertion and removal rules of ranges and literals, and every failure.
#include <TavrelScenarioTemplateDb/TavrelRange.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <environment/SheetCfg/Sections.h>

#include "ExceptionCapture.h"
#include "TempInstallation.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

using namespace TavrelScenarioTemplateDb;
using ScenarioTemplateDb::Exception;
using namespace testing_support;
using ScenarioTemplateDb::ParameterTypeBoolean;
using ScenarioTemplateDb::ParameterTypeInteger;
using ScenarioTemplateDb::ParameterTypeLiteral;
using ScenarioTemplateDb::ParameterTypeReal;
using IntRanges = std::vector<const ScenarioTemplateDb::VariadicParameter::Range<int>*>;
using RealRanges = std::vector<const ScenarioTemplateDb::VariadicParameter::Range<double>*>;

namespace {

std::vector<int> minima(const TavrelVariadicParameter& parameter) {
    IntRanges ranges;
    parameter.getIntegerRanges(ranges);
    std::vector<int> out;
    for (const auto* range : ranges)
        out.push_back(range->getMinimum());
    return out;
}

RealRanges realRanges(const TavrelVariadicParameter& parameter) {
    RealRanges ranges;
    parameter.getRealRanges(ranges);
    return ranges;
}

// How many integer range sections the declaration holds.
size_t integerRangeSections(cfg::Section& declaration) {
    std::vector<cfg::Section*> sections;
    declaration.getSubSection("IntegerParameter")->getSubSections("IntegerRange", sections);
    return sections.size();
}

std::vector<std::string> literalsOf(const TavrelVariadicParameter& parameter) {
    std::vector<std::string> out{"stale"};
    parameter.getLiterals(out);
    return out;
}

class Variadic : public ::testing::Test {
protected:
    cfg::VariadicParameter section;
};

} // namespace

TEST_F(Variadic, TypeIsReadFromTheTypedSubSectionBooleanFirst) {
    cfg::IntegerParameter* integer = add<cfg::IntegerParameter>(&section);
    add<cfg::IntegerRange>(integer);
    {
        TavrelVariadicParameter loaded(nullptr, &section);
        EXPECT_EQ(loaded.getType(), ParameterTypeInteger);
        EXPECT_EQ(minima(loaded).size(), 1u);
    }
    add<cfg::BooleanParameter>(&section)->defaultValue = true;
    TavrelVariadicParameter loaded(nullptr, &section);
    EXPECT_EQ(loaded.getType(), ParameterTypeBoolean);
    EXPECT_TRUE(loaded.isBoolean());
    EXPECT_TRUE(loaded.getBooleanDefaultValue());
    // No integer range was read: asking for them is a type failure.
    EXPECT_EQ(catchPointer([&] { minima(loaded); }).code, 32);

    // No typed sub-section at all loads as an integer without ranges; using the
    // missing default is a failure of its own, not a crash.
    cfg::VariadicParameter empty;
    TavrelVariadicParameter bare(nullptr, &empty);
    EXPECT_EQ(bare.getType(), ParameterTypeInteger);
    EXPECT_TRUE(minima(bare).empty());
    EXPECT_EQ(bare.getTargetParameter(), nullptr);
    EXPECT_EQ(catchPointer([&] { bare.getIntegerDefaultValue(); }).code, -1);
    EXPECT_EQ(catchPointer([&] { bare.insertIntegerRange(0); }).code, -1);
}

TEST_F(Variadic, IntegerRangesInsertBeforeThePositionOrAtTheFront) {
    TavrelVariadicParameter fresh(&section);
    fresh.setType(ParameterTypeInteger);
    fresh.setIntegerDefaultValue(5);
    EXPECT_EQ(fresh.getIntegerDefaultValue(), 5);
    fresh.insertIntegerRange(0).setMinimum(1); // a
    fresh.insertIntegerRange(1).setMinimum(2);
    EXPECT_EQ(minima(fresh), (std::vector<int>{2, 1})); // past the end goes to the front
    fresh.insertIntegerRange(std::numeric_limits<size_t>::max());
    EXPECT_EQ(minima(fresh), (std::vector<int>{0, 2, 1}));

    fresh.insertIntegerRange(1).setMinimum(7);
    EXPECT_EQ(minima(fresh), (std::vector<int>{0, 7, 2, 1}));
    fresh.insertIntegerRange(4).setMinimum(9); // the count itself is past the end
    EXPECT_EQ(minima(fresh), (std::vector<int>{9, 0, 7, 2, 1}));

    // Minimum above maximum is kept as written.
    TavrelRange<int>& odd = fresh.insertIntegerRange(0);
    odd.setMinimum(10);
    odd.setMaximum(-10);
    EXPECT_EQ(odd.getMinimum(), 10);
    EXPECT_EQ(odd.getMaximum(), -10);
    cfg::IntegerRange* stored = dynamic_cast<cfg::IntegerRange*>(odd.getSection());
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->maximum, -10);

    EXPECT_EQ(integerRangeSections(section), 6u);

    // Literals, whatever the position, always go at the end.
    cfg::VariadicParameter literalSection;
    TavrelVariadicParameter literal(&literalSection);
    literal.setType(ParameterTypeLiteral);
    literal.setLiteralDefaultValue("a");
    for (size_t position : {size_t(0), size_t(0), size_t(0), std::numeric_limits<size_t>::max()})
        literal.insertLiteral(position) = std::to_string(literalsOf(literal).size());
    EXPECT_EQ(literalsOf(literal), (std::vector<std::string>{"0", "1", "2", "3"}));
}

TEST_F(Variadic, RemoveRangeRulesAndFailures) {
    TavrelVariadicParameter fresh(&section);
    fresh.setIntegerDefaultValue(0);
    EXPECT_TRUE(throwsValue([&] { fresh.removeRange(0); }, "Integer range index is out of range", 4));
    fresh.insertIntegerRange(0).setMinimum(1);
    fresh.insertIntegerRange(1).setMinimum(2);
    fresh.insertIntegerRange(1).setMinimum(3); // 2, 3, 1
    fresh.removeRange(1);
    EXPECT_EQ(minima(fresh), (std::vector<int>{2, 1}));
    EXPECT_EQ(integerRangeSections(section), 2u);

    fresh.setType(ParameterTypeReal);
    fresh.setRealDefaultValue(0.5);
    EXPECT_TRUE(throwsValue([&] { fresh.removeRange(0); }, "Real range index is out of range", 4));
    fresh.insertRealRange(0).setMaximum(4.5);
    fresh.removeRange(0);
    EXPECT_TRUE(realRanges(fresh).empty());

    fresh.setType(ParameterTypeBoolean);
    EXPECT_TRUE(throwsValue([&] { fresh.removeRange(0); }, "Invalid type", 32));
    fresh.setType(ParameterTypeLiteral);
    EXPECT_EQ(catchValue([&] { fresh.removeRange(0); }).message, "Invalid type");
}

TEST_F(Variadic, ClearRangesKeepsNumericDefaultsButDropsTheWholeLiteralSection) {
    TavrelVariadicParameter fresh(&section);
    fresh.setIntegerDefaultValue(4);
    fresh.insertIntegerRange(0);
    fresh.setLiteralDefaultValue("stray"); // a mismatched setter makes the other sub-section
    fresh.clearRanges();
    EXPECT_TRUE(minima(fresh).empty());
    EXPECT_EQ(fresh.getIntegerDefaultValue(), 4);
    EXPECT_EQ(section.getSubSection("LiteralParameter"), nullptr);
    EXPECT_EQ(integerRangeSections(section), 0u);

    cfg::VariadicParameter literalSection;
    TavrelVariadicParameter literal(&literalSection);
    literal.setType(ParameterTypeLiteral);
    literal.setLiteralDefaultValue("a");
    literal.insertLiteral(0) = "a";
    literal.clearRanges();
    EXPECT_EQ(literal.getType(), ParameterTypeLiteral);
    EXPECT_TRUE(literalsOf(literal).empty());
    EXPECT_EQ(catchPointer([&] { literal.insertLiteral(0); }).code, -1);
    EXPECT_EQ(catchPointer([&] { literal.getLiteralDefaultValue(); }).code, -1);
    literal.setLiteralDefaultValue("b");
    literal.insertLiteral(0) = "c";
    EXPECT_EQ(literal.getLiteralDefaultValue(), "b");
    EXPECT_EQ(literalsOf(literal), std::vector<std::string>{"c"});
}

TEST_F(Variadic, TypeFailuresArePointersWithCode32) {
    struct Case {
        ScenarioTemplateDb::ParameterType type;
        std::function<void(TavrelVariadicParameter&)> call;
        const char* message;
    };
    const std::vector<Case> cases = {
        {ParameterTypeReal, [](TavrelVariadicParameter& p) { p.getIntegerDefaultValue(); },
         "Variadic parameter type is not an integer"},
        {ParameterTypeReal, [](TavrelVariadicParameter& p) { minima(p); },
         "Variadic parameter type is not an integer"},
        {ParameterTypeReal, [](TavrelVariadicParameter& p) { p.insertIntegerRange(0); },
         "Variadic parameter type is not an integer"},
        {ParameterTypeInteger, [](TavrelVariadicParameter& p) { p.getRealDefaultValue(); },
         "Variadic parameter is not a real"},
        {ParameterTypeInteger, [](TavrelVariadicParameter& p) { realRanges(p); },
         "Variadic parameter type is not a real"},
        {ParameterTypeInteger, [](TavrelVariadicParameter& p) { p.insertRealRange(0); },
         "Variadic parameter type is not a real"},
        {ParameterTypeInteger, [](TavrelVariadicParameter& p) { p.getBooleanDefaultValue(); },
         "Variadic parameter type is not a boolean"},
        {ParameterTypeBoolean, [](TavrelVariadicParameter& p) { p.getLiteralDefaultValue(); },
         "Variadic parameter type is not a literal"},
        {ParameterTypeBoolean, [](TavrelVariadicParameter& p) { literalsOf(p); },
         "Variadic parameter type is not a literal"},
        {ParameterTypeBoolean, [](TavrelVariadicParameter& p) { p.insertLiteral(0); },
         "Variadic parameter type is not a literal"},
    };
    for (const Case& c : cases) {
        TavrelVariadicParameter fresh(&section);
        fresh.setType(c.type);
        EXPECT_TRUE(throwsPointer([&] { c.call(fresh); }, c.message, 32));
    }
}

TEST(Range, NullSectionFailsByValue) {
    EXPECT_TRUE(throwsValue([] { TavrelRange<int> range(nullptr); }, "section null", -1));
    EXPECT_EQ(catchValue([] { TavrelRange<double> range(nullptr); }).message, "section null");

    // A range of the other value type is refused rather than misread.
    cfg::RealRange section;
    TavrelRange<int> mismatched(&section);
    EXPECT_EQ(catchValue([&] { mismatched.getMaximum(); }).code, -1);
}

// ---- Declarations kept by a scenario template ----

namespace {

// A fresh folder holding "v.sce" with one parameter per type and two variadic
// declarations: an integer one on "lanes" and a literal one on "weather".
class ScenarioVariadics : public ::testing::Test {
protected:
    // The file, with `more` declarations after its own.
    static std::string text(const std::string& more = "") {
        return R"(<Scenario name="variadics" description="to be cleared">
  <Road>
    <Parameter name="lanes" type="int">2</Parameter>
    <Parameter name="speed" type="real" unit="km/h">10</Parameter>
    <Parameter name="wet" type="bool">false</Parameter>
    <Parameter name="weather" type="string">sun</Parameter>
  </Road>
  <VariadicParameter name="lanes" parameterId="/sce/Scenario/Road/lanes">
    <IntegerParameter default="2"><IntegerRange minimum="1" maximum="4"/></IntegerParameter>
  </VariadicParameter>
  <VariadicParameter name="weather" parameterId="/sce/Scenario/Road/weather">
    <LiteralParameter default="sun"><LiteralRange value="sun"/><LiteralRange value="rain"/></LiteralParameter>
  </VariadicParameter>
)" + more + "</Scenario>\n";
    }
    void SetUp() override {
        t.useForModels({"main"});
        t.write("v.sce", text());
    }
    std::unique_ptr<TavrelScenario> open(const std::string& name = "v.sce") {
        return std::make_unique<TavrelScenario>("main", name, t.root());
    }
    std::vector<TavrelVariadicParameter*> variadics(const TavrelScenario& scenario) {
        std::vector<TavrelVariadicParameter*> out{nullptr};
        scenario.getTavrelVariadicParameters(out);
        return out;
    }

    TempInstallation t;
};

} // namespace

TEST_F(ScenarioVariadics, NothingIsListedBeforeTheCountIsAsked) {
    auto scenario = open();
    EXPECT_TRUE(
        throwsValue([&] { scenario->getVariadicParameter(0); }, "Invalid variadic parameter index", 4));
    std::vector<ScenarioTemplateDb::VariadicParameter*> listed{nullptr};
    scenario->getVariadicParameters(listed);
    EXPECT_TRUE(listed.empty());

    ASSERT_EQ(scenario->getVariadicParameterNumber(), 2u);
    EXPECT_EQ(scenario->getVariadicParameter(1)->getName(), "weather");
    EXPECT_EQ(catchValue([&] { scenario->getVariadicParameter(2); }).code, 4);
    scenario->getVariadicParameters(listed);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0], variadics(*scenario)[0]);

    TavrelVariadicParameter* lanes = variadics(*scenario)[0];
    EXPECT_EQ(lanes->getTargetParameter(), scenario->getParameterFromId("/sce/Scenario/Road/lanes"));
    EXPECT_EQ(minima(*lanes), std::vector<int>{1});
    EXPECT_EQ(literalsOf(*variadics(*scenario)[1]), (std::vector<std::string>{"sun", "rain"}));
}

TEST_F(ScenarioVariadics, ATargetWithAMissingStepStopsTheLoadButKeepsWhatWasRead) {
    t.write("broken.sce", text(R"(<VariadicParameter parameterId="/sce/Scenario/Road/width"/>
                                  <VariadicParameter parameterId="/sce/Scenario/Road/lanes"/>)"));

    auto scenario = open("broken.sce");
    EXPECT_TRUE(throwsPointer([&] { scenario->getVariadicParameterNumber(); },
                              "No child parameter with id=width in scenario element : Road", -1));
    // The file stays loaded with the declarations read before the failure.
    EXPECT_EQ(scenario->getVariadicParameterNumber(), 2u);
    EXPECT_EQ(scenario->getName(), "variadics");
}

// Reads every node and parameter of the tree: a node left on a removed
// section would read freed memory here.
size_t walk(const ScenarioTemplateDb::ScenarioNode& node) {
    size_t count = 1;
    std::vector<ScenarioTemplateDb::ScenarioParameter*> parameters;
    node.getParameters(parameters);
    for (const auto* parameter : parameters)
        count += parameter->getName().size() > 0;
    std::vector<ScenarioTemplateDb::ScenarioNode*> children;
    if (node.getChildNumber() != 0)
        node.getChildren(children);
    for (const auto* child : children)
        count += walk(*child);
    return count;
}

TEST_F(ScenarioVariadics, RemoveAndClear) {
    auto scenario = open();
    scenario->removeVariadicParameter(2); // beyond the end: nothing
    ASSERT_EQ(scenario->getVariadicParameterNumber(), 2u);
    const size_t before = walk(*scenario->getRootScenarioNode());
    scenario->removeVariadicParameter(0);
    ASSERT_EQ(scenario->getVariadicParameterNumber(), 1u);
    EXPECT_EQ(scenario->getVariadicParameter(0)->getName(), "weather");
    // The node of the removed section and its typed section and range are gone.
    EXPECT_EQ(walk(*scenario->getRootScenarioNode()), before - 10);
    scenario->save();
    auto reopened = open();
    ASSERT_EQ(reopened->getVariadicParameterNumber(), 1u);
    EXPECT_EQ(reopened->getVariadicParameter(0)->getName(), "weather");

    const size_t withOne = walk(*reopened->getRootScenarioNode());
    reopened->clear();
    EXPECT_EQ(reopened->getVariadicParameterNumber(), 0u);
    EXPECT_EQ(walk(*reopened->getRootScenarioNode()), withOne - 11); // 2 literals
    EXPECT_EQ(reopened->getName(), "variadics");
    EXPECT_EQ(reopened->getDescription(), "");
    reopened->save();
    auto cleared = open();
    EXPECT_EQ(cleared->getVariadicParameterNumber(), 0u);
    EXPECT_EQ(cleared->getDescription(), "");

    // Not loaded: nothing is read or changed, even for a file that isn't there.
    auto absent = open("absent.sce");
    absent->clear();
    EXPECT_TRUE(variadics(*absent).empty());
    // Removing needs the count, and so the file.
    EXPECT_EQ(catchValue([&] { absent->removeVariadicParameter(0); }).code, 24);
}

TEST_F(ScenarioVariadics, EditedDeclarationsSurviveSaveAndReload) {
    auto scenario = open();
    ASSERT_EQ(scenario->getVariadicParameterNumber(), 2u);

    TavrelVariadicParameter* speed = scenario->addNewVariadicParameter();
    EXPECT_EQ(speed->getType(), ParameterTypeInteger);
    EXPECT_EQ(speed->getTargetParameter(), nullptr);
    speed->setName("speed");
    speed->setDescription("start speed");
    speed->setParameterId("/sce/Scenario/Road/speed");
    speed->setParameterUnit("km/h");
    speed->setType(ParameterTypeReal);
    speed->setRealDefaultValue(12.5);
    TavrelRange<double>& slow = speed->insertRealRange(0);
    slow.setMinimum(5.25);
    slow.setMaximum(10);
    TavrelRange<double>& fast = speed->insertRealRange(0);
    fast.setMinimum(90);
    fast.setMaximum(80); // kept as written
    EXPECT_EQ(speed->getTargetParameter(), nullptr);

    TavrelVariadicParameter* wet = scenario->addNewVariadicParameter();
    wet->setName("wet");
    wet->setParameterId("/sce/Scenario/Road/wet");
    wet->setType(ParameterTypeBoolean);
    wet->setBooleanDefaultValue(true);

    TavrelVariadicParameter* weather = variadics(*scenario)[1];
    weather->insertLiteral(0) = "fog";
    TavrelVariadicParameter* lanes = variadics(*scenario)[0];
    lanes->setIntegerDefaultValue(3);
    lanes->insertIntegerRange(1).setMaximum(8); // past the end: at the front
    scenario->save();

    auto reopened = open();
    ASSERT_EQ(reopened->getVariadicParameterNumber(), 4u);
    std::vector<TavrelVariadicParameter*> read = variadics(*reopened);

    EXPECT_EQ(read[0]->getIntegerDefaultValue(), 3);
    IntRanges intRanges;
    read[0]->getIntegerRanges(intRanges);
    ASSERT_EQ(intRanges.size(), 2u); // file order: the new section went last
    EXPECT_EQ(intRanges[1]->getMaximum(), 8);
    EXPECT_EQ(read[1]->getLiteralDefaultValue(), "sun");
    EXPECT_EQ(literalsOf(*read[1]), (std::vector<std::string>{"sun", "rain", "fog"}));

    EXPECT_EQ(read[2]->getName(), "speed");
    EXPECT_EQ(read[2]->getDescription(), "start speed");
    EXPECT_EQ(read[2]->getParameterUnit(), "km/h");
    EXPECT_TRUE(read[2]->hasParameterUnit());
    EXPECT_TRUE(read[2]->isReal());
    EXPECT_DOUBLE_EQ(read[2]->getRealDefaultValue(), 12.5);
    EXPECT_EQ(read[2]->getTargetParameter(), reopened->getParameterFromId("/sce/Scenario/Road/speed"));
    const RealRanges speeds = realRanges(*read[2]);
    ASSERT_EQ(speeds.size(), 2u);
    EXPECT_DOUBLE_EQ(speeds[0]->getMinimum(), 5.25);
    EXPECT_DOUBLE_EQ(speeds[0]->getMaximum(), 10);
    EXPECT_DOUBLE_EQ(speeds[1]->getMinimum(), 90);
    EXPECT_DOUBLE_EQ(speeds[1]->getMaximum(), 80);

    EXPECT_TRUE(read[3]->isBoolean());
    EXPECT_TRUE(read[3]->getBooleanDefaultValue());
    EXPECT_EQ(read[3]->getTargetParameter()->getName(), "wet");
}

TEST_F(ScenarioVariadics, SetTypeAloneIsNotWhatAReloadFinds) {
    auto scenario = open();
    TavrelVariadicParameter* fresh = scenario->addNewVariadicParameter();
    fresh->setType(ParameterTypeLiteral); // no default set: no typed sub-section
    scenario->save();
    auto reopened = open();
    ASSERT_EQ(reopened->getVariadicParameterNumber(), 3u);
    EXPECT_EQ(reopened->getVariadicParameter(2)->getType(), ParameterTypeInteger);
}

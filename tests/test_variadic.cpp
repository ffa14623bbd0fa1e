// Variadic declarations over hand-built sections: how the type is read, the
// insertion and removal rules of ranges and literals, and every failure.
#include <TavrelScenarioTemplateDb/TavrelRange.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetCfg/Sections.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>

using namespace TavrelScenarioTemplateDb;
using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ParameterTypeBoolean;
using ScenarioTemplateDb::ParameterTypeInteger;
using ScenarioTemplateDb::ParameterTypeLiteral;
using ScenarioTemplateDb::ParameterTypeReal;
using IntRanges = std::vector<const ScenarioTemplateDb::VariadicParameter::Range<int>*>;
using RealRanges = std::vector<const ScenarioTemplateDb::VariadicParameter::Range<double>*>;

namespace {

Exception catchPointer(const std::function<void()>& body) {
    try {
        body();
    } catch (Exception* e) {
        std::unique_ptr<Exception> owned(e);
        return *owned;
    } catch (const Exception& e) {
        ADD_FAILURE() << "thrown by value: " << e.message;
        return e;
    }
    ADD_FAILURE() << "nothing thrown";
    return Exception("", 0);
}

Exception catchValue(const std::function<void()>& body) {
    try {
        body();
    } catch (const Exception& e) {
        return e;
    } catch (Exception* e) {
        std::unique_ptr<Exception> owned(e);
        ADD_FAILURE() << "thrown as a pointer: " << owned->message;
        return *owned;
    }
    ADD_FAILURE() << "nothing thrown";
    return Exception("", 0);
}

template <typename T> T* add(cfg::Section* parent) {
    return dynamic_cast<T*>(parent->createSubSection(T::sectionName()));
}

std::vector<int> minima(const TavrelVariadicParameter& parameter) {
    IntRanges ranges;
    parameter.getIntegerRanges(ranges);
    std::vector<int> out;
    for (const auto* range : ranges)
        out.push_back(range->getMinimum());
    return out;
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
}

TEST_F(Variadic, NoTypedSubSectionLoadsAsIntegerWithoutRanges) {
    TavrelVariadicParameter loaded(nullptr, &section);
    EXPECT_EQ(loaded.getType(), ParameterTypeInteger);
    EXPECT_TRUE(minima(loaded).empty());
    EXPECT_EQ(loaded.getTargetParameter(), nullptr);
    // Using the missing default is a failure of its own, not a crash.
    Exception e = catchPointer([&] { loaded.getIntegerDefaultValue(); });
    EXPECT_EQ(e.code, -1);
    EXPECT_EQ(catchPointer([&] { loaded.insertIntegerRange(0); }).code, -1);
}

TEST_F(Variadic, RealAndLiteralDeclarationsAreRead) {
    cfg::RealParameter* real = add<cfg::RealParameter>(&section);
    real->defaultValue = 1.25;
    cfg::RealRange* range = add<cfg::RealRange>(real);
    range->minimum = -1.5;
    range->maximum = 9.5;
    TavrelVariadicParameter realView(nullptr, &section);
    EXPECT_TRUE(realView.isReal());
    EXPECT_DOUBLE_EQ(realView.getRealDefaultValue(), 1.25);
    RealRanges ranges;
    realView.getRealRanges(ranges);
    ASSERT_EQ(ranges.size(), 1u);
    EXPECT_DOUBLE_EQ(ranges[0]->getMinimum(), -1.5);
    EXPECT_DOUBLE_EQ(ranges[0]->getMaximum(), 9.5);

    cfg::VariadicParameter literalSection;
    cfg::LiteralParameter* literal = add<cfg::LiteralParameter>(&literalSection);
    literal->defaultValue = "rain";
    add<cfg::LiteralRange>(literal)->value = "rain";
    add<cfg::LiteralRange>(literal)->value = "snow";
    TavrelVariadicParameter literalView(nullptr, &literalSection);
    EXPECT_TRUE(literalView.isLiteral());
    EXPECT_EQ(literalView.getLiteralDefaultValue(), "rain");
    EXPECT_EQ(literalsOf(literalView), (std::vector<std::string>{"rain", "snow"}));
}

TEST_F(Variadic, FieldsAndUnitAreTheSections) {
    TavrelVariadicParameter fresh(&section);
    fresh.setName("speed");
    fresh.setDescription("start speed");
    fresh.setParameterId("/sce/Scenario/x");
    EXPECT_EQ(section.name, "speed");
    EXPECT_EQ(fresh.getDescription(), "start speed");
    EXPECT_EQ(fresh.getParameterId(), "/sce/Scenario/x");
    EXPECT_EQ(fresh.getTargetParameter(), nullptr);
    EXPECT_EQ(fresh.getSection(), &section);
    EXPECT_FALSE(fresh.hasParameterUnit());
    fresh.setParameterUnit("-");
    EXPECT_FALSE(fresh.hasParameterUnit());
    fresh.setParameterUnit("km/h");
    EXPECT_TRUE(fresh.hasParameterUnit());
    EXPECT_EQ(fresh.getParameterUnit(), "km/h");
}

TEST_F(Variadic, IntegerRangesInsertBeforeThePositionOrAtTheFront) {
    TavrelVariadicParameter fresh(&section);
    fresh.setType(ParameterTypeInteger);
    fresh.setIntegerDefaultValue(5);
    EXPECT_EQ(fresh.getIntegerDefaultValue(), 5);
    fresh.insertIntegerRange(0).setMinimum(1); // a
    TavrelRange<int>& b = fresh.insertIntegerRange(1);
    b.setMinimum(2);
    EXPECT_EQ(minima(fresh), (std::vector<int>{2, 1})); // past the end goes to the front
    b = fresh.insertIntegerRange(std::numeric_limits<size_t>::max());
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

    std::vector<cfg::Section*> sections;
    section.getSubSection("IntegerParameter")->getSubSections("IntegerRange", sections);
    EXPECT_EQ(sections.size(), 6u);
}

TEST_F(Variadic, LiteralsAlwaysGoAtTheEnd) {
    TavrelVariadicParameter fresh(&section);
    fresh.setType(ParameterTypeLiteral);
    fresh.setLiteralDefaultValue("a");
    fresh.insertLiteral(0) = "a";
    fresh.insertLiteral(0) = "b";
    fresh.insertLiteral(0) = "new";
    fresh.insertLiteral(std::numeric_limits<size_t>::max()) = "last";
    EXPECT_EQ(literalsOf(fresh), (std::vector<std::string>{"a", "b", "new", "last"}));
}

TEST_F(Variadic, RemoveRangeRulesAndFailures) {
    TavrelVariadicParameter fresh(&section);
    fresh.setIntegerDefaultValue(0);
    Exception e = catchValue([&] { fresh.removeRange(0); });
    EXPECT_EQ(e.message, "Integer range index is out of range");
    EXPECT_EQ(e.code, 4);
    fresh.insertIntegerRange(0).setMinimum(1);
    fresh.insertIntegerRange(1).setMinimum(2);
    fresh.insertIntegerRange(1).setMinimum(3); // 2, 3, 1
    fresh.removeRange(1);
    EXPECT_EQ(minima(fresh), (std::vector<int>{2, 1}));
    std::vector<cfg::Section*> sections;
    section.getSubSection("IntegerParameter")->getSubSections("IntegerRange", sections);
    EXPECT_EQ(sections.size(), 2u);

    fresh.setType(ParameterTypeReal);
    fresh.setRealDefaultValue(0.5);
    e = catchValue([&] { fresh.removeRange(0); });
    EXPECT_EQ(e.message, "Real range index is out of range");
    EXPECT_EQ(e.code, 4);
    fresh.insertRealRange(0).setMaximum(4.5);
    fresh.removeRange(0);
    RealRanges ranges;
    fresh.getRealRanges(ranges);
    EXPECT_TRUE(ranges.empty());

    fresh.setType(ParameterTypeBoolean);
    e = catchValue([&] { fresh.removeRange(0); });
    EXPECT_EQ(e.message, "Invalid type");
    EXPECT_EQ(e.code, 32);
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
    std::vector<cfg::Section*> sections;
    section.getSubSection("IntegerParameter")->getSubSections("IntegerRange", sections);
    EXPECT_TRUE(sections.empty());

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
        {ParameterTypeInteger,
         [](TavrelVariadicParameter& p) {
             RealRanges r;
             p.getRealRanges(r);
         },
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
        Exception e = catchPointer([&] { c.call(fresh); });
        EXPECT_EQ(e.message, c.message);
        EXPECT_EQ(e.code, 32);
    }
}

TEST_F(Variadic, CopiesViewTheSameSections) {
    TavrelVariadicParameter original(&section);
    original.setIntegerDefaultValue(1);
    original.insertIntegerRange(0).setMinimum(3);
    TavrelVariadicParameter copy(original);
    IntRanges ranges;
    copy.getIntegerRanges(ranges);
    ASSERT_EQ(ranges.size(), 1u);
    original.setIntegerDefaultValue(2);
    EXPECT_EQ(copy.getIntegerDefaultValue(), 2);
    TavrelVariadicParameter assigned(nullptr);
    assigned = original;
    EXPECT_EQ(assigned.getSection(), &section);
    EXPECT_EQ(minima(assigned), std::vector<int>{3});
}

TEST(Range, NullSectionFailsByValue) {
    Exception e = catchValue([] { TavrelRange<int> range(nullptr); });
    EXPECT_EQ(e.message, "section null");
    EXPECT_EQ(e.code, -1);
    EXPECT_EQ(catchValue([] { TavrelRange<double> range(nullptr); }).message, "section null");

    // Copies view one section; a range of the other value type is refused.
    cfg::RealRange section;
    TavrelRange<double> range(&section);
    TavrelRange<double> copy(range);
    copy.setMinimum(-2.5);
    EXPECT_DOUBLE_EQ(range.getMinimum(), -2.5);
    EXPECT_DOUBLE_EQ(section.minimum, -2.5);
    TavrelRange<int> mismatched(&section);
    EXPECT_EQ(catchValue([&] { mismatched.getMaximum(); }).code, -1);
}

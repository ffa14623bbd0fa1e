// The view of one section parameter: typed reads with unit conversion, the
// text form, and every failure with its text, code and form.
#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioParameter.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetCfg/Sections.h>

#include "ExceptionCapture.h"

#include <gtest/gtest.h>

#include <memory>

using namespace TavrelScenarioTemplateDb;
using ScenarioTemplateDb::Exception;
using namespace testing_support;

namespace {

class Parameters : public ::testing::Test {
protected:
    // Adds a parameter to the section and returns a view of it owned by the fixture.
    TavrelScenarioParameter* make(const std::string& name, cfg::t_ParameterType type, lmk::t_unit unit,
                                  const std::string& verbose = std::string()) {
        cfg::Section::ParameterIterator it = section.addParameter(name, type, unit, verbose);
        iterators.push_back(it);
        views.emplace_back(new TavrelScenarioParameter(&it, node.get()));
        return views.back().get();
    }

    cfg::Section section{"Road"};
    std::unique_ptr<TavrelScenarioNode> node{new TavrelScenarioNode(&section, nullptr)};
    std::vector<cfg::Section::ParameterIterator> iterators;
    std::vector<std::unique_ptr<TavrelScenarioParameter>> views;
};

} // namespace

TEST_F(Parameters, IntegersAreConvertedToTheirUnitAndTruncatedTowardZero) {
    TavrelScenarioParameter* speed = make("speed", cfg::ParameterInt, lmk::U_KM_H, "Initial speed");
    iterators.back().getInt() = 3; // 3 m/s = 10.8 km/h
    EXPECT_TRUE(speed->isInteger());
    EXPECT_FALSE(speed->isReal() || speed->isLiteral() || speed->isBoolean());
    EXPECT_EQ(speed->getParameterType(), ScenarioTemplateDb::ParameterTypeInteger);
    EXPECT_EQ(speed->getIntegerValue(), 10);
    EXPECT_EQ(speed->getValueAsString(), "10");
    iterators.back().getInt() = -3;
    EXPECT_EQ(speed->getIntegerValue(), -10);
    EXPECT_EQ(speed->getValueAsString(), "-10");

    EXPECT_EQ(speed->getId(), "speed");
    EXPECT_EQ(speed->getName(), "speed");
    EXPECT_EQ(speed->getDescription(), "Initial speed");
    EXPECT_EQ(speed->getParameterUnit(), "km/h");
    EXPECT_TRUE(speed->hasParameterUnit());
    EXPECT_EQ(speed->getParameterId(), "/sce/Road/speed");
}

TEST_F(Parameters, RealsPrintSixDecimalsOfTheConvertedValue) {
    TavrelScenarioParameter* length = make("length", cfg::ParameterReal, lmk::U_NONE);
    iterators.back().getDouble() = 2;
    EXPECT_EQ(length->getParameterType(), ScenarioTemplateDb::ParameterTypeReal);
    EXPECT_DOUBLE_EQ(length->getRealValue(), 2.0);
    EXPECT_EQ(length->getValueAsString(), "2.000000");
    EXPECT_FALSE(length->hasParameterUnit());
    EXPECT_EQ(length->getParameterUnit(), "");
    EXPECT_EQ(length->getDescription(), "");

    TavrelScenarioParameter* speed = make("speed", cfg::ParameterReal, lmk::U_KM_H);
    iterators.back().getDouble() = 1.5;
    EXPECT_DOUBLE_EQ(speed->getRealValue(), 5.4);
    EXPECT_EQ(speed->getValueAsString(), "5.400000");
}

TEST_F(Parameters, BooleansAndLiteralsAreNotConverted) {
    TavrelScenarioParameter* flag = make("visible", cfg::ParameterBool, lmk::U_DIMENSIONLESS);
    EXPECT_FALSE(flag->hasParameterUnit());
    EXPECT_EQ(flag->getParameterUnit(), "-");
    EXPECT_EQ(flag->getParameterType(), ScenarioTemplateDb::ParameterTypeBoolean);
    iterators.back().getBool() = true;
    EXPECT_TRUE(flag->getBooleanValue());
    EXPECT_EQ(flag->getValueAsString(), "true");
    iterators.back().getBool() = false;
    EXPECT_EQ(flag->getValueAsString(), "false");

    TavrelScenarioParameter* text = make("label", cfg::ParameterString, lmk::U_KM_H);
    iterators.back().getString() = "north 2";
    EXPECT_EQ(text->getParameterType(), ScenarioTemplateDb::ParameterTypeLiteral);
    EXPECT_EQ(text->getLiteralValue(), "north 2");
    EXPECT_EQ(text->getValueAsString(), "north 2");
}

TEST_F(Parameters, WrongTypedGetterFailsAsPointerWithCode32) {
    TavrelScenarioParameter* integer = make("i", cfg::ParameterInt, lmk::U_NONE);
    TavrelScenarioParameter* real = make("r", cfg::ParameterReal, lmk::U_NONE);
    EXPECT_TRUE(throwsPointer([&] { integer->getRealValue(); }, "Parameter type is not a real", 32));
    EXPECT_TRUE(throwsPointer([&] { real->getIntegerValue(); }, "Parameter type is not an integer", 32));
    EXPECT_TRUE(throwsPointer([&] { real->getLiteralValue(); }, "Parameter type is not a string", 32));
    EXPECT_TRUE(throwsPointer([&] { real->getBooleanValue(); }, "Parameter type is not a boolean", 32));
}

TEST_F(Parameters, UnreadableTypesFailByValueWithTheOffsetMessage) {
    TavrelScenarioParameter* single = make("f", cfg::ParameterFloat, lmk::U_M, "a float");
    TavrelScenarioParameter* vector = make("v", cfg::ParameterVector, lmk::U_M);
    TavrelScenarioParameter* choice = make("c", cfg::ParameterChoice, lmk::U_NONE);
    EXPECT_FALSE(single->isInteger() || single->isReal() || single->isLiteral() || single->isBoolean());
    EXPECT_EQ(single->getParameterType(), ScenarioTemplateDb::ParameterTypeLiteral);
    EXPECT_EQ(single->getId(), "f");
    EXPECT_EQ(single->getDescription(), "a float");

    EXPECT_TRUE(throwsValue([&] { single->getValueAsString(); },
                            "ble to get parameter value : Unkown parameter type : ", -1));
    EXPECT_EQ(catchValue([&] { vector->getValueAsString(); }).message,
              "le to get parameter value : Unkown parameter type : ");
    EXPECT_EQ(catchValue([&] { choice->getValueAsString(); }).message,
              "e to get parameter value : Unkown parameter type : ");
}

TEST_F(Parameters, ConstructorRejectsMissingIteratorOrParentAndCopiesThePosition) {
    EXPECT_TRUE(throwsPointer([&] { TavrelScenarioParameter p(nullptr, node.get()); },
                              "Failed to initialize the scenario parameter", -1));
    cfg::Section::ParameterIterator it = section.addParameter("orphan", cfg::ParameterInt, lmk::U_NONE);
    EXPECT_TRUE(throwsPointer([&] { TavrelScenarioParameter p(&it, nullptr); },
                              "The parameter (orphan) has no parent element", -1));

    // The view keeps its position when the caller's iterator moves on.
    section.addParameter("second", cfg::ParameterInt, lmk::U_NONE);
    TavrelScenarioParameter view(&it, node.get());
    ++it;
    EXPECT_EQ(view.getId(), "orphan");
}

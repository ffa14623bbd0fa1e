#include <ScenarioTemplateDb/ScenarioTemplateDb.h>

#include <gtest/gtest.h>

using namespace ScenarioTemplateDb;

TEST(Exception, CarriesMessageAndCodeAndCopies) {
    Exception e("boom", ExceptionCodeGeneric);
    Exception copy = e;
    EXPECT_EQ(copy.message, "boom");
    EXPECT_EQ(copy.code, -1);
    EXPECT_NE(copy.code, ExceptionCodeInvalidIndex);
}

namespace {
struct FixedRange : VariadicParameter::Range<int> {
    int getMinimum() const override { return 1; }
    int getMaximum() const override { return 2; }
};
} // namespace

TEST(Range, IsAssignableAndAssignmentReturnsLeftHandSide) {
    FixedRange a, b;
    VariadicParameter::Range<int>& left = a;
    EXPECT_EQ(&(left = b), &left);
    EXPECT_EQ(static_cast<int>(ParameterTypeReal), 3);
}

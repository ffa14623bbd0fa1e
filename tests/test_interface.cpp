#include <ScenarioTemplateDb/ScenarioTemplateDb.h>

#include <gtest/gtest.h>

using namespace ScenarioTemplateDb;

namespace {
struct FixedRange : VariadicParameter::Range<int> {
    int getMinimum() const override { return 1; }
    int getMaximum() const override { return 2; }
};
} // namespace

// Hosts rely on the numeric values of codes and types, and on copying the interface's values.
TEST(Interface, CodesTypesAndCopies) {
    EXPECT_EQ(ExceptionCodeGeneric, -1);
    EXPECT_NE(ExceptionCodeGeneric, ExceptionCodeInvalidIndex);
    EXPECT_EQ(static_cast<int>(ParameterTypeReal), 3);
    Exception copy = Exception("boom", ExceptionCodeGeneric);
    EXPECT_EQ(copy.message, "boom");
    FixedRange a, b;
    VariadicParameter::Range<int>& left = a;
    EXPECT_EQ(&(left = b), &left);
}

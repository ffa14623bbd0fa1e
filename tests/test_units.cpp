#include <environment/lmk/Units.h>

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

namespace {

TEST(Units, FixedCodesAndNoUnit) {
    EXPECT_STREQ(lmk::toText(lmk::t_unit(29)), "deg");
    EXPECT_STREQ(lmk::toText(lmk::t_unit(53)), "km/h");
    EXPECT_STREQ(lmk::toText(lmk::t_unit(60)), "rpm");
    EXPECT_STREQ(lmk::toText(lmk::t_unit(0)), "");
    EXPECT_STREQ(lmk::toText(lmk::t_unit(1)), "-");
    EXPECT_STREQ(lmk::toText(lmk::t_unit(-3)), "");
    EXPECT_STREQ(lmk::toText(lmk::U_UNIT_COUNT), "");
    EXPECT_EQ(lmk::toTUnit("furlong"), lmk::U_NONE);
    EXPECT_EQ(lmk::toTUnit("KM/H"), lmk::U_NONE); // case matters
    EXPECT_EQ(lmk::toTUnit(nullptr), lmk::U_NONE);
}

TEST(Units, EveryTextNamesItsOwnUnit) {
    std::set<std::string> seen;
    for (int code = lmk::U_DIMENSIONLESS; code < lmk::U_UNIT_COUNT; ++code) {
        const auto unit = static_cast<lmk::t_unit>(code);
        const std::string text = lmk::toText(unit);
        EXPECT_FALSE(text.empty()) << code;
        EXPECT_TRUE(seen.insert(text).second) << "duplicate text " << text;
        EXPECT_EQ(lmk::toTUnit(text.c_str()), unit) << text;
        // Every unit but the two of "no unit" measures a quantity.
        if (code > lmk::U_DIMENSIONLESS)
            EXPECT_STRNE(lmk::toQuantity(unit), "") << text;
    }
    EXPECT_STREQ(lmk::toQuantity(lmk::U_MPH), lmk::toQuantity(lmk::U_M_S));
    EXPECT_STREQ(lmk::toQuantity(lmk::U_RPM), lmk::toQuantity(lmk::U_RAD_S));
    EXPECT_STRNE(lmk::toQuantity(lmk::U_NM), lmk::toQuantity(lmk::U_N)); // torque isn't force
    EXPECT_STREQ(lmk::toQuantity(lmk::U_DIMENSIONLESS), "");
    EXPECT_STREQ(lmk::toQuantity(lmk::U_UNIT_COUNT), "");
}

TEST(Units, ConversionsToAndFromSI) {
    const double pi = std::acos(-1.0);
    EXPECT_NEAR(lmk::convToSI(lmk::U_KM_H, 90.0), 25.0, 1e-12);
    EXPECT_NEAR(lmk::convToUnit(lmk::U_KM_H, 25.0), 90.0, 1e-12);
    EXPECT_NEAR(lmk::convToSI(lmk::U_DEG, 180.0), pi, 1e-12);
    EXPECT_NEAR(lmk::convToUnit(lmk::U_RPM, 2.0 * pi), 60.0, 1e-12);
    EXPECT_NEAR(lmk::convToSI(lmk::U_G_ACC, 1.0), 9.80665, 1e-12);
    EXPECT_NEAR(lmk::convToSI(lmk::U_PERCENT, 50.0), 0.5, 1e-12);
    // No unit, and codes outside the table, leave the value alone.
    EXPECT_EQ(lmk::convToSI(lmk::U_NONE, 3.5), 3.5);
    EXPECT_EQ(lmk::convToUnit(lmk::t_unit(1000), 3.5), 3.5);
    for (int code = 0; code < lmk::U_UNIT_COUNT; ++code) {
        const auto unit = static_cast<lmk::t_unit>(code);
        EXPECT_NEAR(lmk::convToUnit(unit, lmk::convToSI(unit, 12.5)), 12.5, 1e-9) << lmk::toText(unit);
    }
}

} // namespace

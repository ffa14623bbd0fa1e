#include <environment/SheetCfg/Sections.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

TEST(Section, TypedClassesBindTheirFieldsToTheirParameters) {
    cfg::Vehicle vehicle;
    ASSERT_EQ(vehicle.getParameterCount(), 3u);
    std::vector<std::string> names;
    for (auto it = vehicle.beginParameter(); it != vehicle.endParameter(); ++it) {
        names.push_back(it.getCName());
        EXPECT_TRUE(vehicle.isDeclared(it));
        EXPECT_EQ(it.getUnit(), lmk::U_NONE);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"id", "driverId", "name"}));

    auto id = vehicle.findParameter("id");
    EXPECT_EQ(id.getType(), cfg::ParameterInt);
    vehicle.id = 12;
    EXPECT_EQ(id.getInt(), 12);
    id.getInt() = 13;
    EXPECT_EQ(vehicle.id, 13);
    vehicle.findParameter("name").getString() = "ego";
    EXPECT_EQ(vehicle.name, "ego");

    // A getter of another type hands out a scratch slot, never the field.
    id.getDouble() = 99.5;
    id.getString() = "text";
    EXPECT_EQ(vehicle.id, 13);
    EXPECT_EQ(vehicle.findParameter("nothing"), vehicle.endParameter());
}

TEST(Section, RangesBindEachBoundToItsOwnField) {
    cfg::RealRange range;
    range.findParameter("minimum").getDouble() = 1.5;
    range.findParameter("maximum").getDouble() = 2.5;
    EXPECT_EQ(range.minimum, 1.5);
    EXPECT_EQ(range.maximum, 2.5);
    cfg::BooleanParameter flag;
    flag.findParameter("default").getBool() = true;
    EXPECT_TRUE(flag.defaultValue);
}

TEST(Section, AddedParametersKeepTheirOwnStorageAndPositions) {
    cfg::Driver driver;
    auto speed = driver.addParameter("speed", cfg::ParameterReal, lmk::U_KM_H, "Speed");
    auto copy = speed;
    driver.addParameter("gear", cfg::ParameterInt, lmk::U_NONE);
    copy.getDouble() = 12.5; // a copy stays on its parameter after the list grew
    EXPECT_EQ(driver.findParameter("speed").getDouble(), 12.5);
    copy.getInt() = 7; // scratch, not the stored real
    copy.getVector() = lmk::Vector3(1, 2, 3);
    EXPECT_EQ(copy.getDouble(), 12.5);
    EXPECT_FALSE(driver.isDeclared(speed));
    EXPECT_TRUE(driver.isDeclared(driver.beginParameter()));
    EXPECT_FALSE(driver.isDeclared(driver.endParameter()));
    cfg::Driver other;
    EXPECT_FALSE(driver.isDeclared(other.beginParameter()));

    auto choice = driver.addParameter("weather", cfg::ParameterChoice, lmk::U_NONE);
    choice.getOptions() = "dry|wet";
    choice.getString() = "wet";
    auto vector = driver.addParameter("start", cfg::ParameterVector, lmk::U_M);
    vector.getVector() = lmk::Vector3(1, 2, 3);
    EXPECT_EQ(driver.findParameter("weather").getString(), "wet");
    EXPECT_EQ(driver.findParameter("start").getVector().z, 3.0);
    EXPECT_EQ(driver.getParameterCount(), 7u);
}

TEST(Section, SubSectionsAreOrderedNamedAndTyped) {
    cfg::Scenario root;
    cfg::Section* first = root.createSubSection("Vehicle");
    cfg::Section* plain = root.createSubSection("Weather");
    cfg::Section* second = root.createSubSection("Vehicle");
    EXPECT_NE(dynamic_cast<cfg::Vehicle*>(first), nullptr);
    EXPECT_EQ(dynamic_cast<cfg::Vehicle*>(plain), nullptr);
    EXPECT_EQ(plain->getParameterCount(), 0u);
    EXPECT_EQ(first->getParentSection(), &root);
    EXPECT_EQ(root.getParentSection(), nullptr);

    EXPECT_EQ(root.getSubSectionCount(), 3u);
    EXPECT_EQ(root.getSubSection(size_t(1)), plain);
    EXPECT_EQ(root.getSubSection(size_t(3)), nullptr);
    EXPECT_EQ(root.getSubSection("Vehicle"), first);
    EXPECT_EQ(root.getSubSection("Driver"), nullptr);
    std::vector<cfg::Section*> vehicles{plain};
    root.getSubSections("Vehicle", vehicles);
    EXPECT_EQ(vehicles, (std::vector<cfg::Section*>{first, second}));

    EXPECT_EQ(root.getOrCreateSubsection("Weather"), plain);
    cfg::Section* made = root.getOrCreateSubsection("VariadicParameter");
    EXPECT_NE(dynamic_cast<cfg::VariadicParameter*>(made), nullptr);
    EXPECT_EQ(root.getSubSection(size_t(3)), made); // made at the end

    root.removeSubSections("Vehicle");
    EXPECT_EQ(root.getSubSectionCount(), 2u);
    root.removeSubSection(plain);
    cfg::Driver stranger;
    root.removeSubSection(&stranger); // not a sub-section: nothing happens
    EXPECT_EQ(root.getSubSectionCount(), 1u);
    EXPECT_EQ(root.getSubSection(size_t(0)), made);
}

// Sections and entries come from shared slabs: many trees built, partly
// destroyed and rebuilt in another order keep every value, and a destroyed
// tree gives its memory back.
TEST(Section, LargeTreesKeepTheirValuesAndGiveTheirMemoryBack) {
#ifdef __GLIBC__
    const size_t before = mallinfo2().uordblks;
#endif
    auto build = [](int seed) {
        auto root = std::make_unique<cfg::Scenario>();
        for (int i = 0; i < 2000; ++i) {
            cfg::Section* vehicle = root->createSubSection(cfg::Vehicle::sectionName());
            static_cast<cfg::Vehicle*>(vehicle)->id = seed + i;
            for (int p = 0; p < 10; ++p)
                vehicle->addParameter("p" + std::to_string(p), cfg::ParameterInt, lmk::U_NONE).getInt() =
                    seed + i * 10 + p;
            vehicle->addParameter("s", cfg::ParameterString, lmk::U_NONE).getString() =
                "a value too long to be kept in place " + std::to_string(seed + i);
        }
        return root;
    };
    auto check = [](cfg::Section& root, int seed) {
        ASSERT_EQ(root.getSubSectionCount(), 2000u);
        for (int i = 0; i < 2000; ++i) {
            auto* vehicle = static_cast<cfg::Vehicle*>(root.getSubSection(size_t(i)));
            ASSERT_EQ(vehicle->id, seed + i);
            ASSERT_EQ(vehicle->findParameter("p7").getInt(), seed + i * 10 + 7);
            ASSERT_EQ(vehicle->findParameter("s").getString(),
                      "a value too long to be kept in place " + std::to_string(seed + i));
        }
    };
    {
        auto first = build(0);
        auto second = build(100000);
        // Every other vehicle of the first tree goes, and a third tree fills the gaps.
        for (size_t i = first->getSubSectionCount(); i-- > 0;)
            if (i % 2 == 1)
                first->removeSubSection(first->getSubSection(i));
        auto third = build(200000);
        check(*second, 100000);
        check(*third, 200000);
        for (size_t i = 0; i < first->getSubSectionCount(); ++i)
            EXPECT_EQ(static_cast<cfg::Vehicle*>(first->getSubSection(i))->id, static_cast<int>(2 * i));
    }
#ifdef __GLIBC__
    // Some 7 MB were in use; what stays is at most a spare slab or so per size.
    const size_t after = mallinfo2().uordblks;
    EXPECT_LT(after, before + 512 * 1024);
#endif
}

TEST(Section, CreateKnowsEveryFileClass) {
    const char* names[] = {"Scenario",          "Vehicle",          "Driver",           "ScenarioScript",
                           "VariadicParameter", "BooleanParameter", "IntegerParameter", "RealParameter",
                           "LiteralParameter",  "IntegerRange",     "RealRange",        "LiteralRange"};
    for (const char* name : names) {
        auto section = cfg::Section::create(name);
        EXPECT_STREQ(section->getName(), name);
        EXPECT_GT(section->getParameterCount(), 0u) << name;
    }
    EXPECT_NE(dynamic_cast<cfg::RealRange*>(cfg::Section::create("RealRange").get()), nullptr);
    EXPECT_EQ(cfg::Section::create("Other")->getParameterCount(), 0u);
}

} // namespace

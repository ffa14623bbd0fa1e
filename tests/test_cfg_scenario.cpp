#include "TempInstallation.h"

#include <environment/SheetCfg/CfgScenario.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

namespace {

// The whole tree as text, so that two trees compare in one assertion.
void dump(cfg::Section& section, std::ostringstream& out, int depth) {
    out << std::string(depth * 2, ' ') << section.getName() << "\n";
    for (auto it = section.beginParameter(); it != section.endParameter(); ++it) {
        out << std::string(depth * 2 + 1, ' ') << it.getCName() << " t" << it.getType() << " u"
            << it.getUnit() << " [" << it.getVerboseName() << "] ";
        switch (it.getType()) {
        case cfg::ParameterBool:
            out << it.getBool();
            break;
        case cfg::ParameterInt:
            out << it.getInt();
            break;
        case cfg::ParameterReal:
            out << it.getDouble();
            break;
        case cfg::ParameterFloat:
            out << it.getFloat();
            break;
        case cfg::ParameterVector:
            out << it.getVector().x << ',' << it.getVector().y << ',' << it.getVector().z;
            break;
        default:
            out << '"' << it.getString() << "\" {" << it.getOptions() << "}";
        }
        out << "\n";
    }
    if (auto* script = dynamic_cast<cfg::ScenarioScript*>(&section))
        out << "text<" << script->text << ">\n";
    for (size_t i = 0; i < section.getSubSectionCount(); ++i)
        dump(*section.getSubSection(i), out, depth + 1);
}

std::string dump(cfg::CfgScenario& scenario) {
    std::ostringstream out;
    dump(*scenario.getRootSection(), out, 0);
    return out.str();
}

class CfgScenarioTest : public ::testing::Test {
protected:
    static bool load(cfg::CfgScenario& scenario, const std::string& path) {
        return scenario.load(path.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true);
    }
    static bool save(cfg::CfgScenario& scenario, const std::string& path) {
        return scenario.save(path.c_str(), Commons::Encoding::Utf8, false);
    }
    // The error of loading `bytes`, without the "PATH:" in front.
    std::string loadError(const std::string& bytes) {
        const std::string path = t.write("bad.sce", bytes);
        cfg::CfgScenario scenario;
        if (load(scenario, path))
            return "loaded";
        if (scenario.errorMessage.compare(0, path.size() + 1, path + ":") != 0)
            return "no path in: " + scenario.errorMessage;
        return scenario.errorMessage.substr(path.size() + 1);
    }
    size_t fileCount() const {
        return std::distance(fs::directory_iterator(t.root()), fs::directory_iterator());
    }

    TempInstallation t;
};

TEST_F(CfgScenarioTest, ReadsEverySectionClassAndParameterType) {
    cfg::CfgScenario scenario;
    ASSERT_TRUE(load(scenario, TAVREL_TEST_DATA "/scenario/complete.sce")) << scenario.errorMessage;
    cfg::Scenario* root = scenario.getRootSection();
    EXPECT_EQ(root->name, "Motorway merge");
    EXPECT_EQ(root->description, "Two cars merge & one brakes");

    auto speed = root->findParameter("initialSpeed");
    EXPECT_EQ(speed.getType(), cfg::ParameterReal);
    EXPECT_EQ(speed.getUnit(), lmk::U_KM_H);
    EXPECT_EQ(speed.getVerboseName(), "Initial speed");
    EXPECT_EQ(speed.getDouble(), 25.0); // stored as written, in SI
    EXPECT_EQ(root->findParameter("lanes").getInt(), 3);
    EXPECT_FALSE(root->findParameter("night").getBool());
    EXPECT_EQ(root->findParameter("friction").getFloat(), 0.75f);
    EXPECT_EQ(root->findParameter("start").getVector().y, -2.5);
    EXPECT_EQ(root->findParameter("weather").getOptions(), "dry|wet|snow");
    EXPECT_EQ(root->findParameter("road").getString(), "A7 north");
    // Declared parameters come first, those of the file after them.
    EXPECT_EQ(root->beginParameter().getCName(), "name");

    std::vector<cfg::Section*> vehicles;
    root->getSubSections("Vehicle", vehicles);
    ASSERT_EQ(vehicles.size(), 2u);
    auto* ego = dynamic_cast<cfg::Vehicle*>(vehicles[0]);
    ASSERT_NE(ego, nullptr);
    EXPECT_EQ(ego->id, 1);
    EXPECT_EQ(ego->driverId, 7);
    EXPECT_EQ(ego->name, "ego");
    EXPECT_EQ(ego->findParameter("mass").getDouble(), 1450.0);
    EXPECT_EQ(dynamic_cast<cfg::Driver*>(root->getSubSection("Driver"))->label, "normal driver");
    EXPECT_EQ(root->getSubSection("ScenarioTemplate")->findParameter("category").getString(), "merge");

    std::vector<cfg::Section*> scripts;
    root->getSubSections("ScenarioScript", scripts);
    ASSERT_EQ(scripts.size(), 2u);
    EXPECT_EQ(dynamic_cast<cfg::ScenarioScript*>(scripts[0])->text, "SCENARIO\n\tNAME=\"main\"\n");
    EXPECT_EQ(dynamic_cast<cfg::ScenarioScript*>(scripts[0])->scriptType, "nuro");
    EXPECT_EQ(dynamic_cast<cfg::ScenarioScript*>(scripts[1])->text, "");

    auto* variadic = dynamic_cast<cfg::VariadicParameter*>(root->getSubSection("VariadicParameter"));
    ASSERT_NE(variadic, nullptr);
    EXPECT_EQ(variadic->parameterId, "/sce/Scenario/initialSpeed");
    auto* real = dynamic_cast<cfg::RealParameter*>(variadic->getSubSection("RealParameter"));
    ASSERT_NE(real, nullptr);
    EXPECT_EQ(real->defaultValue, 90.0);
    EXPECT_EQ(dynamic_cast<cfg::RealRange*>(real->getSubSection(size_t(0)))->maximum, 130.0);
}

TEST_F(CfgScenarioTest, LoadSaveLoadGivesTheSameTreeAndTheSameBytes) {
    cfg::CfgScenario first;
    ASSERT_TRUE(load(first, TAVREL_TEST_DATA "/scenario/complete.sce")) << first.errorMessage;
    const std::string path = t.path("copy.sce");
    ASSERT_TRUE(save(first, path)) << first.errorMessage;
    cfg::CfgScenario second;
    ASSERT_TRUE(load(second, path)) << second.errorMessage;
    EXPECT_EQ(dump(second), dump(first));
    const std::string again = t.path("again.sce");
    ASSERT_TRUE(save(second, again));
    EXPECT_EQ(t.read("again.sce"), t.read("copy.sce"));
    EXPECT_EQ(fileCount(), 2u); // no temporary left behind
}

TEST_F(CfgScenarioTest, ScriptTextAndAwkwardValuesSurviveByteForByte) {
    const std::string text = "SCENARIO\r\n\tNAME=\"a & b\"\r\n\r\n  <not a tag> ]]> end\n\ttrailing\t \r\n";
    cfg::CfgScenario scenario;
    cfg::Scenario* root = scenario.getRootSection();
    root->name = "tab\there, line\r\nend <&> \"quoted\"";
    root->description = " ";
    auto* script = dynamic_cast<cfg::ScenarioScript*>(root->createSubSection("ScenarioScript"));
    script->text = text;
    script->addParameter("note", cfg::ParameterString, lmk::U_NONE).getString() = "  padded\r\n ";
    root->addParameter("blank", cfg::ParameterString, lmk::U_NONE).getString() = " \t ";
    root->addParameter("tiny", cfg::ParameterReal, lmk::U_M).getDouble() = 0.1 + 0.2;
    root->addParameter("big", cfg::ParameterInt, lmk::U_NONE).getInt() = -2147483647 - 1;
    root->addParameter("ratio", cfg::ParameterFloat, lmk::U_PERCENT).getFloat() = 1.0f / 3.0f;
    root->addParameter("yes", cfg::ParameterBool, lmk::U_NONE).getBool() = true;
    root->addParameter("where", cfg::ParameterVector, lmk::U_M).getVector() = lmk::Vector3(1e-300, -0.0, 7);
    root->addParameter("empty", cfg::ParameterChoice, lmk::U_DIMENSIONLESS);
    const std::string path = t.path("script.sce");
    ASSERT_TRUE(save(scenario, path)) << scenario.errorMessage;

    cfg::CfgScenario loaded;
    ASSERT_TRUE(load(loaded, path)) << loaded.errorMessage;
    EXPECT_EQ(dump(loaded), dump(scenario));
    auto* back = dynamic_cast<cfg::ScenarioScript*>(loaded.getRootSection()->getSubSection("ScenarioScript"));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->text, text);
    EXPECT_EQ(loaded.getRootSection()->findParameter("tiny").getDouble(), 0.1 + 0.2);
    EXPECT_EQ(loaded.getRootSection()->findParameter("empty").getUnit(), lmk::U_DIMENSIONLESS);
}

TEST_F(CfgScenarioTest, ScriptTextInAFileKeepsItsLineEnds) {
    const std::string path =
        t.write("crlf.sce", "<Scenario>\r\n  <ScenarioScript name=\"s\" scriptType=\"nuro\">"
                            "<![CDATA[A\r\n\tB\r\n]]><![CDATA[C]]></ScenarioScript>\r\n"
                            "  <Parameter name=\"p\" type=\"int\">\r\n 4 \r\n</Parameter>\r\n"
                            "</Scenario>\r\n");
    cfg::CfgScenario scenario;
    ASSERT_TRUE(load(scenario, path)) << scenario.errorMessage;
    auto* script = dynamic_cast<cfg::ScenarioScript*>(scenario.getRootSection()->getSubSection(size_t(0)));
    EXPECT_EQ(script->text, "A\r\n\tB\r\nC");
    EXPECT_EQ(scenario.getRootSection()->findParameter("p").getInt(), 4);
}

TEST_F(CfgScenarioTest, TextSplitByCdataOrElementsIsJoinedInOrder) {
    const std::string path = t.write(
        "pieces.sce", "<Scenario>\n"
                      "  <ScenarioScript name=\"s\">x &amp; <![CDATA[<y>]]> z<![CDATA[]]>!</ScenarioScript>\n"
                      "  <Parameter name=\"p\" type=\"string\">a<![CDATA[<b>]]>c</Parameter>\n"
                      "  <Parameter name=\"q\" type=\"real\"><![CDATA[ 1.5]]> </Parameter>\n"
                      "  <Parameter name=\"blank\" type=\"string\">  </Parameter>\n"
                      "</Scenario>\n");
    cfg::CfgScenario scenario;
    ASSERT_TRUE(load(scenario, path)) << scenario.errorMessage;
    cfg::Section* root = scenario.getRootSection();
    auto* script = dynamic_cast<cfg::ScenarioScript*>(root->getSubSection("ScenarioScript"));
    ASSERT_NE(script, nullptr);
    EXPECT_EQ(script->text, "x & <y> z!");
    EXPECT_EQ(root->findParameter("p").getString(), "a<b>c");
    EXPECT_EQ(root->findParameter("q").getDouble(), 1.5);
    EXPECT_EQ(root->findParameter("blank").getString(), "  ");

    // Text after a child element is placed where it stands, as text before one is.
    EXPECT_EQ(loadError("<Scenario>\n  <Driver><Parameter name=\"p\" type=\"int\">1</Parameter>Bob</Driver>"
                        "\n</Scenario>"),
              "2:55: unexpected text in 'Driver'");
    EXPECT_EQ(loadError("<Scenario>\n<Parameter name=\"x\" type=\"int\">1<Vehicle/></Parameter></Scenario>"),
              "2:33: unexpected element 'Vehicle' in 'Parameter'");
}

TEST_F(CfgScenarioTest, EveryLoadErrorNamesPathLineAndColumn) {
    const struct {
        const char* bytes;
        const char* error;
    } cases[] = {
        {"", "1:1: No document element found"},
        {"<Scenario>\n  <Vehicle>\n</Scenario>", "3:3: Start-end tags mismatch"},
        {"<Scenario name=\"a\" name=\"b\"/>", "1:20: duplicate attribute 'name'"},
        {"<?xml version=\"1.0\"?>\n<Scene/>", "2:1: the root element is 'Scene', not 'Scenario'"},
        {"<Scenario>\n  <Vehicle id=\"1\" speed=\"3\"/>\n</Scenario>",
         "2:19: attribute 'speed' is not declared by 'Vehicle'"},
        {"<Scenario>\n  <Custom a=\"1\"/>\n</Scenario>", "2:11: attribute 'a' is not declared by 'Custom'"},
        {"<Scenario>\n  <Vehicle id=\"1x\"/>\n</Scenario>", "2:16: '1x' is not a valid int value for 'id'"},
        {"<Scenario><Vehicle id=\"99999999999\"/></Scenario>",
         "1:24: '99999999999' is not a valid int value for 'id'"},
        {"<Scenario><BooleanParameter default=\"yes\"/></Scenario>",
         "1:38: 'yes' is not a valid bool value for 'default'"},
        {"<Scenario><RealRange minimum=\"1,5\"/></Scenario>",
         "1:31: '1,5' is not a valid real value for 'minimum'"},
        {"<Scenario>\n<Parameter name=\"v\" type=\"vector\">1 2</Parameter></Scenario>",
         "2:35: '1 2' is not a valid vector value for 'v'"},
        {"<Scenario>\n<Parameter name=\"v\" type=\"int\"/></Scenario>",
         "2:1: '' is not a valid int value for 'v'"},
        {"<Scenario>\n<Parameter name=\"v\" type=\"double\">1</Parameter></Scenario>",
         "2:27: unknown parameter type 'double'"},
        {"<Scenario>\n<Parameter name=\"v\" type=\"real\" unit=\"furlong\">1</Parameter></Scenario>",
         "2:39: unknown unit 'furlong'"},
        {"<Scenario>\n<Parameter type=\"real\">1</Parameter></Scenario>", "2:1: Parameter without 'name'"},
        {"<Scenario>\n<Parameter name=\"x\">1</Parameter></Scenario>", "2:1: Parameter without 'type'"},
        {"<Scenario>\n<Parameter name=\"x\" type=\"int\" size=\"2\">1</Parameter></Scenario>",
         "2:32: attribute 'size' is not declared by 'Parameter'"},
        {"<Scenario>\n<Parameter name=\"x\" type=\"int\" type=\"real\">1</Parameter></Scenario>",
         "2:32: duplicate attribute 'type'"},
        {"<Scenario>\n<Parameter name=\"x\" type=\"int\" options=\"a|b\">1</Parameter></Scenario>",
         "2:32: attribute 'options' is only allowed for a choice"},
        {"<Scenario>\n<Parameter name=\"name\" type=\"int\">1</Parameter></Scenario>",
         "2:18: parameter 'name' is defined twice in 'Scenario'"},
        {"<Scenario>\n<Parameter name=\"x\" type=\"int\"><Vehicle/></Parameter></Scenario>",
         "2:32: unexpected element 'Vehicle' in 'Parameter'"},
        {"<Scenario>\n  <Driver>Bob</Driver>\n</Scenario>", "2:11: unexpected text in 'Driver'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(loadError(c.bytes), c.error) << c.bytes;
}

TEST_F(CfgScenarioTest, UnreadableFilesAndHostileInputFailCleanly) {
    cfg::CfgScenario scenario;
    const std::string missing = t.path("missing.sce");
    EXPECT_FALSE(load(scenario, missing));
    EXPECT_EQ(scenario.errorMessage, missing + ":1:1: cannot read the file");
    EXPECT_FALSE(load(scenario, t.root()));
    EXPECT_EQ(scenario.errorMessage, t.root() + ":1:1: cannot read the file");
    EXPECT_FALSE(scenario.load(nullptr, Commons::Encoding::Utf8, nullptr, nullptr, false, true, true));

    std::string deep;
    for (int i = 0; i < 2000; ++i)
        deep += "<A>";
    std::string nested = "<Scenario>" + deep;
    for (int i = 0; i < 2000; ++i)
        nested += "</A>";
    EXPECT_EQ(loadError(nested + "</Scenario>"), "1:1547: sections are nested too deeply");

    // Every prefix of a real file fails or loads, without crashing.
    const std::string whole = readFile(TAVREL_TEST_DATA "/scenario/complete.sce");
    for (size_t size = 0; size < whole.size(); size += 11)
        loadError(whole.substr(0, size));
    EXPECT_EQ(loadError("<Scenario name=\"\xff\xfe\x01\"/>"), "loaded");
}

TEST_F(CfgScenarioTest, AFailedLoadKeepsThePreviousTreeAndNeverReplacesTheFile) {
    cfg::CfgScenario scenario;
    ASSERT_TRUE(load(scenario, TAVREL_TEST_DATA "/scenario/complete.sce"));
    EXPECT_FALSE(load(scenario, t.write("bad.sce", "<Scenario>")));
    EXPECT_EQ(scenario.getRootSection()->name, "Motorway merge");

    const std::string broken = "<Scenario name=\"half\">\n  <Vehicle id=\"1\"";
    const std::string path = t.write("broken.sce", broken);
    cfg::CfgScenario failed;
    EXPECT_FALSE(load(failed, path));
    EXPECT_FALSE(save(failed, path));
    EXPECT_EQ(failed.errorMessage, path + ": not replaced, since it could not be loaded");
    EXPECT_EQ(t.read("broken.sce"), broken);
    EXPECT_TRUE(save(failed, t.path("elsewhere.sce")));
}

TEST_F(CfgScenarioTest, AFailedSaveLeavesTheOldFileIntact) {
    const std::string old = "<Scenario name=\"old\" />\n";
    const std::string path = t.write("keep.sce", old);
    cfg::CfgScenario scenario;
    scenario.getRootSection()->name = "new";

    EXPECT_FALSE(save(scenario, t.path("no/such/folder.sce")));
    EXPECT_FALSE(save(scenario, t.root()));
    EXPECT_EQ(scenario.errorMessage, t.root() + ": not a file");
    t.makeFolder("sub.sce");
    EXPECT_FALSE(save(scenario, t.path("sub.sce")));
    EXPECT_TRUE(fs::is_directory(t.path("sub.sce")));

    // A tree that can't be written as XML is refused before the file is touched.
    cfg::Section* bad = scenario.getRootSection()->createSubSection("two words");
    EXPECT_FALSE(save(scenario, path));
    EXPECT_EQ(scenario.errorMessage, path + ": cannot write a section named 'two words'");
    EXPECT_EQ(t.read("keep.sce"), old);
    scenario.getRootSection()->removeSubSection(bad);
    scenario.getRootSection()->createSubSection("Parameter");
    EXPECT_FALSE(save(scenario, path));
    EXPECT_EQ(t.read("keep.sce"), old);
    EXPECT_EQ(fileCount(), 2u); // keep.sce and sub.sce: no temporary left behind

    scenario.getRootSection()->removeSubSections("Parameter");
    EXPECT_TRUE(save(scenario, path)) << scenario.errorMessage;
    EXPECT_NE(t.read("keep.sce").find("name=\"new\""), std::string::npos);
}

TEST_F(CfgScenarioTest, SaveFollowsLinksKeepsABackupAndTakesBackslashes) {
    const std::string old = "<Scenario name=\"old\" />\n";
    const std::string path = t.write("real.sce", old);
    cfg::CfgScenario scenario;
    ASSERT_TRUE(load(scenario, path));
    scenario.getRootSection()->name = "new";
    ASSERT_TRUE(scenario.save(path.c_str(), Commons::Encoding::Utf8, true)) << scenario.errorMessage;
    EXPECT_EQ(t.read("real.sce.bak"), old);
    EXPECT_NE(t.read("real.sce").find("name=\"new\""), std::string::npos);

    fs::create_symlink("real.sce", t.path("link.sce"));
    scenario.getRootSection()->name = "linked";
    ASSERT_TRUE(save(scenario, t.path("link.sce"))) << scenario.errorMessage;
    EXPECT_TRUE(fs::is_symlink(t.path("link.sce")));
    cfg::CfgScenario again;
    ASSERT_TRUE(load(again, path));
    EXPECT_EQ(again.getRootSection()->name, "linked");
    fs::create_symlink("nowhere.sce", t.path("dangling.sce"));
    EXPECT_FALSE(save(scenario, t.path("dangling.sce")));

    t.write("sub/x.sce", "<Scenario name=\"x\"/>");
    const std::string windowsStyle = t.root() + "\\sub\\x.sce";
    ASSERT_TRUE(load(scenario, windowsStyle)) << scenario.errorMessage;
    EXPECT_EQ(scenario.getRootSection()->name, "x");
    EXPECT_TRUE(save(scenario, windowsStyle));
}

} // namespace

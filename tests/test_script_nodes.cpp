// The nodes of a scenario's scripts: which scripts get one, the variables they
// show (and those they don't), the typed readers and every failure with its
// text, code and form.
#include <TavrelScenarioTemplateDb/ScriptNode.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioNode.h>

#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetCfg/Sections.h>
#include <scenario/ScenarioModel.h>

#include "ExceptionCapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

using namespace TavrelScenarioTemplateDb;
using namespace testing_support;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;

namespace {

std::string VariableBlock(const std::string& name, const std::string& label, const std::string& value,
                          const std::string& interactiveType = "") {
    std::string text = "TYPEOF VARIABLE (" + name + ")\n{\nLABEL=\"" + label +
                       "\"\nTYPE=\"FLOAT\"\nVALUE=\"" + value + "\"\n";
    if (!interactiveType.empty())
        text += "INTERACTIVE_TYPE=\"" + interactiveType + "\"\n";
    return text + "}\n";
}

// A scenario whose scripts are given as (name, type, text), over a root model
// without definitions.
class ScriptNodes : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string model = "TYPEOF FOLDER (NURO)\n{\nLABEL=\"m\"\n}\n";
        ScenarioTextStream stream(model.c_str(), model.size() + 1);
        ItemLoadContext context;
        rootModel.reset(LoadScenarioText(stream, nullptr, &context, nullptr, false));
        scenarioRootModel = dynamic_cast<Folders*>(rootModel.get());
        root.reset(new cfg::Scenario());
    }
    void TearDown() override { scenarioRootModel = nullptr; }

    void addScript(const std::string& name, const std::string& type, const std::string& text) {
        cfg::ScenarioScript* script = add<cfg::ScenarioScript>(root.get());
        script->name = name;
        script->scriptType = type;
        script->text = text;
    }
    TavrelScenarioNode& tree() {
        if (!built)
            built.reset(new TavrelScenarioNode(root.get(), nullptr));
        return *built;
    }

    std::unique_ptr<ScenarioItem> rootModel;
    std::unique_ptr<cfg::Scenario> root;
    std::unique_ptr<TavrelScenarioNode> built;
};

} // namespace

TEST_F(ScriptNodes, EligibleScriptsGetANodeWithTheirOwnVariables) {
    const std::string task = "TYPEOF TASK (0)\n{\nLABEL=\"t\"\n" + VariableBlock("12abc", "speed", "1.50") +
                             "TYPEOF INCLUDE (I)\n{\nFILE=\"i.inc\"\n" + VariableBlock("7", "included", "1") +
                             "}\n}\n";
    addScript("empty", "", "");
    addScript("python", "python", task);
    addScript("NURO", "NURO", task);
    addScript("main", "", task);
    addScript("typed", "nuro", "TYPEOF TASK (0)\n{\n}\n");
    ASSERT_EQ(tree().getChildNumber(), 2u);

    ScenarioNode* main = tree().getChild(0);
    EXPECT_EQ(main->getId(), "ScenarioScript[scriptName=\"main\"]");
    EXPECT_EQ(main->getName(), "ScenarioScript - main");
    EXPECT_EQ(main->getNodeId(), "/sce/Scenario/ScenarioScript[scriptName=\"main\"]");
    EXPECT_EQ(main->getIndex(), 0u);
    EXPECT_EQ(main->getDescription(), "");
    EXPECT_EQ(tree().getChild("ScenarioScript[scriptName=\"typed\"]")->getParameterNumber(), 0u);

    // The included variable stays out; "12abc" is the id 12.
    ASSERT_EQ(main->getParameterNumber(), 1u);
    ScenarioParameter* speed = main->getParameter("Variable[name=12]/value");
    EXPECT_EQ(speed, main->getParameter(size_t{0}));
    EXPECT_EQ(speed->getParameterId(),
              "/sce/Scenario/ScenarioScript[scriptName=\"main\"]/Variable[name=12]/value");
    EXPECT_EQ(speed->getName(), "speed");
    EXPECT_EQ(speed->getIndex(), 0u);
    // No INTERACTIVE_TYPE: real, and the text stays as written.
    EXPECT_TRUE(speed->isReal());
    EXPECT_EQ(speed->getValueAsString(), "1.50");
    EXPECT_DOUBLE_EQ(speed->getRealValue(), 1.5);
    EXPECT_FALSE(speed->hasParameterUnit());
    EXPECT_EQ(speed->getParameterUnit(), "-");

    // Every child operation but the count refuses.
    std::vector<ScenarioNode*> children;
    const std::string never = "Scenario script <main> never has children node!";
    EXPECT_EQ(caught("pointer", [&] { main->getChildren(children); }).message, never);
    EXPECT_EQ(caught("pointer", [&] { main->getChild(size_t{0}); }).message, never);
    EXPECT_EQ(caught("pointer", [&] { main->getChild("x"); }).message, never);
    EXPECT_EQ(caught("pointer", [&] { main->getChildIndex(main); }).message,
              "Script nodes cannot have children nodes.");
    EXPECT_EQ(caught("pointer", [&] { main->getParameter(size_t{1}); }).message,
              "Out of bound child index of the scenario parameter : main");
    EXPECT_EQ(caught("pointer", [&] { main->getParameter("Variable[name=7]/value"); }).message,
              "No child parameter with id=Variable[name=7]/value in scenario node : ScenarioScript - main");
    ScriptVariableParameter stranger(1, "x", "", "", nullptr);
    EXPECT_EQ(caught("pointer", [&] { main->getParameterIndex(&stranger); }).message,
              "The child node x was not found in parent script node main");
}

TEST_F(ScriptNodes, TypedReadersFollowTheInteractiveType) {
    struct Case {
        const char* type;
        const char* value;
        const char* kinds; // i r l b: the predicates that hold
    };
    const Case cases[] = {{"INTEGER", "7", "i"},    {"FLOAT", "2.5", "r"}, {"VOID", "3", "r"},
                          {"STRING", "42 km", "l"}, {"BOOL", "0", "b"},    {"bool", "1", ""}};
    std::string text = "TYPEOF TASK (0)\n{\n";
    for (size_t i = 0; i < std::size(cases); ++i)
        text += VariableBlock(std::to_string(i), cases[i].type, cases[i].value, cases[i].type);
    addScript("s", "", text + "}\n");
    ScenarioNode* node = tree().getChild(0);
    for (size_t i = 0; i < std::size(cases); ++i) {
        const ScenarioParameter* p = node->getParameter("Variable[name=" + std::to_string(i) + "]/value");
        const std::string kinds = cases[i].kinds;
        EXPECT_EQ(p->isInteger(), kinds == "i") << cases[i].type;
        EXPECT_EQ(p->isReal(), kinds == "r") << cases[i].type;
        EXPECT_EQ(p->isLiteral(), kinds == "l") << cases[i].type;
        EXPECT_EQ(p->isBoolean(), kinds == "b") << cases[i].type;
    }
    const ScenarioParameter* literal = node->getParameter("Variable[name=3]/value");
    EXPECT_EQ(literal->getLiteralValue(), "42 km");
    EXPECT_EQ(literal->getIntegerValue(), 42); // the type isn't asked
    EXPECT_FALSE(node->getParameter("Variable[name=4]/value")->getBooleanValue());

    const auto failure = [&](size_t index, auto read) {
        const Exception e = caught("pointer", [&] { read(node->getParameter(index)); });
        EXPECT_EQ(e.code, 32);
        return e.message;
    };
    EXPECT_EQ(failure(0, [](const ScenarioParameter* p) { p->getLiteralValue(); }),
              "Parameter type is not a string");
    EXPECT_EQ(failure(5, [](const ScenarioParameter* p) { p->getBooleanValue(); }),
              "Parameter type is not a boolean");

    ScriptVariableParameter word(1, "w", "no", "BOOL", nullptr);
    EXPECT_TRUE(word.getBooleanValue());
    EXPECT_EQ(word.getParameterId(), "Variable[name=1]/value");
    EXPECT_EQ(caught("pointer", [&] { word.getIntegerValue(); }).message, "Parameter type is not an integer");
    EXPECT_EQ(caught("pointer", [&] { word.getRealValue(); }).message, "Parameter type is not a real");
    EXPECT_THROW(ScriptVariableParameter(1, "w", "99999999999999999999", "", nullptr).getIntegerValue(),
                 std::out_of_range);
    EXPECT_TRUE(ScriptVariableParameter(1, "w", "", "BOOL", nullptr).getBooleanValue());
    // A negative id prints as unsigned.
    EXPECT_EQ(ScriptVariableParameter(-1, "w", "", "", nullptr).getId(),
              "Variable[name=18446744073709551615]/value");
}

TEST_F(ScriptNodes, AScriptThatDoesNotReadFailsTheWholeTree) {
    addScript("bad", "", "TYPEOF TASK (0)\n{\n" + VariableBlock("abc", "x", "1") + "}\n");
    Exception e = caught("value", [&] { tree(); });
    EXPECT_EQ(e.message, "Unable to convert variable id : abc in script bad");
    EXPECT_EQ(e.code, -1);

    root.reset(new cfg::Scenario());
    addScript("broken", "", "TYPEOF TASK (0)\n{\nLABEL=\"x\"\n");
    e = caught("value", [&] { tree(); });
    EXPECT_EQ(e.message.rfind("Unable to parse script broken :\n", 0), 0u) << e.message;
    EXPECT_EQ(scenarioLog, nullptr);
}

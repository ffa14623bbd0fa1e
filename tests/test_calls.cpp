// Parameters and calls read against a root model: links, checks, upgrades,
// nested calls, display texts, values handed to the run-time tables.
#include "ModelTestSupport.h"

#include <cmath>

using namespace modeltest;

namespace {

// A parameter definition of PARAMETER_LIST: `attributes` hold the model's
// lines (TYPE, KINDLIST, ...), one per line.
std::string ParameterDefinition(const std::string& name, const std::string& attributes) {
    return "TYPEOF PARAMETER (" + name + ")\n{\n" + attributes + "}\n";
}

// An instance of parameter `name` with KIND and VALUE (or a nested call).
std::string Argument(const std::string& name, const std::string& kind, const std::string& value) {
    return "TYPEOF PARAMETER (" + name + ")\n{\nKIND=\"" + kind + "\"\n" +
           (kind == "FUNCTION" ? value : "VALUE=\"" + value + "\"\n") + "}\n";
}

std::string Call(const std::string& name, const std::string& arguments) {
    return "TYPEOF FUNCTION (" + name + ")\n{\n" + arguments + "}\n";
}

std::string CallDefinition(const std::string& name, const std::string& attributes,
                           const std::string& arguments) {
    return "TYPEOF FUNCTION (" + name + ")\n{\n" + attributes + arguments + "}\n";
}

const std::string kNumber =
    "TYPE=\"FLOAT\"\nENUMTAB=\"GEAR\"\nKINDLIST=\"USER VARIABLE FUNCTION PICK VEHICLE ENUM\"\n";

// The root model of these tests: an enumeration, parameters of every type, and
// calls of every kind the tests need, the upgrade names among them.
std::string TestModel() {
    std::string parameters =
        ParameterDefinition("A", "LABEL=\"a\"\n" + kNumber) + ParameterDefinition("B", kNumber) +
        ParameterDefinition("COUNT", "TYPE=\"INTEGER\"\nKINDLIST=\"USER FUNCTION\"\n"
                                     "MINVALUE=\"0\"\nMAXVALUE=\"10\"\n") +
        ParameterDefinition("FLAG", "TYPE=\"BOOL\"\nKINDLIST=\"USER FUNCTION\"\n") +
        ParameterDefinition("TEXT", "TYPE=\"STRING\"\nENUMTAB=\"GEAR\"\n"
                                    "KINDLIST=\"USER ENUM FUNCTION VARIABLE\"\n") +
        ParameterDefinition("GEAR", "TYPE=\"INTEGER\"\nENUMTAB=\"GEAR\"\nKINDLIST=\"ENUM\"\n") +
        ParameterDefinition("REF", "TYPE=\"FLOAT\"\nUSAGE=\"BY_ADDRESS\"\nKINDLIST=\"VARIABLE\"\n") +
        ParameterDefinition("NAME", "TYPE=\"STRING\"\nUSAGE=\"BY_ADDRESS\"\nKINDLIST=\"VARIABLE\"\n");
    // The parameters that the upgrades of old calls move around.
    for (const char* name : {"USER_DATA_ID",
                             "CHANNEL_ID",
                             "VEHICLE",
                             "POSITION",
                             "MAP_RADIUS",
                             "CHANNEL_NAME",
                             "IMAGE",
                             "X",
                             "Y",
                             "SIZE",
                             "DISPLAY_TIME",
                             "SUFFIX",
                             "MARKER_NOTE",
                             "MARKER_KEYWORDS",
                             "VHL_NUMBER_PLUS",
                             "OLD_MODE",
                             "OLD_SPEED",
                             "OLD_FILE",
                             "OBJECT",
                             "ANIMATION",
                             "START",
                             "OBJECT_TYPE",
                             "OBJECT_NUMBER"})
        parameters +=
            ParameterDefinition(name, "TYPE=\"STRING\"\nKINDLIST=\"USER\"\nKIND=\"USER\"\nVALUE=\"d\"\n");

    const std::string ab = Argument("A", "USER", "0") + Argument("B", "USER", "0");
    auto plain = [](std::initializer_list<const char*> names) {
        std::string text;
        for (const char* name : names)
            text += Argument(name, "USER", std::string("d") + name);
        return text;
    };
    const std::string functions =
        CallDefinition("PLUS", "LABEL=\"Plus\"\nCODE=\"1\"\n", ab) +
        CallDefinition("MULTIPLY", "LABEL=\"Times\"\nCODE=\"3\"\n", ab) +
        CallDefinition("ABS", "LABEL=\"Absolute\"\nCODE=\"5\"\nSEE_ALSO=\"PLUS  MULTIPLY\"\n",
                       Argument("A", "USER", "0")) +
        CallDefinition("LIMIT", "LABEL=\"Limit\"\nCODE=\"6\"\n", Argument("COUNT", "USER", "5")) +
        CallDefinition("SAY", "LABEL=\"Say\"\nIS_OVERLOADABLE=\"1\"\nCODE=\"7\"\nWIZARD=\"MAPTOOL\"\n",
                       Argument("TEXT", "USER", "hi") + Argument("A", "USER", "1")) +
        CallDefinition("COUNTER", "LABEL=\"Counter\"\nCODE=\"8\"\n",
                       "TYPEOF RETURN (COUNT)\n{\nKIND=\"USER\"\nVALUE=\"0\"\n}\n") +
        CallDefinition("IS_ON", "LABEL=\"Is on\"\nCODE=\"9\"\n",
                       "TYPEOF RETURN (FLAG)\n{\nKIND=\"USER\"\nVALUE=\"0\"\n}\n") +
        CallDefinition("NOTHING", "LABEL=\"Nothing\"\n", "") +
        CallDefinition("EVALUATION_SCORE", "LABEL=\"Score\"\nCODE=\"0\"\n", "") +
        CallDefinition("GET_EXPORTED_CHANNEL", "LABEL=\"Channel\"\n", plain({"VEHICLE", "CHANNEL_ID"})) +
        CallDefinition("IS_VHL_AT_POSITION", "LABEL=\"At\"\n", plain({"VEHICLE", "POSITION", "MAP_RADIUS"})) +
        CallDefinition("SET_IMAGE", "LABEL=\"Image\"\n",
                       plain({"CHANNEL_NAME", "IMAGE", "X", "Y", "SIZE", "VEHICLE", "DISPLAY_TIME"})) +
        CallDefinition("INIT_ANIMATION", "LABEL=\"Animation\"\n",
                       plain({"OBJECT", "ANIMATION", "START", "OBJECT_TYPE", "OBJECT_NUMBER"})) +
        CallDefinition("SNAPSHOT", "LABEL=\"Snapshot\"\n", plain({"CHANNEL_NAME", "SUFFIX"})) +
        CallDefinition("ADD_TIME_MARKER", "LABEL=\"Marker\"\n", plain({"MARKER_NOTE", "MARKER_KEYWORDS"}));
    return "TYPEOF FOLDER (MODEL)\n{\n"
           "TYPEOF FOLDER (ENUMTAB_LIST)\n{\nTYPEOF ENUMTAB (GEAR)\n{\n"
           "TYPEOF ENUM (D)\n{\nLABEL=\"drive\"\nTYPE=\"INTEGER\"\nVALUE=\"4\"\n}\n"
           "TYPEOF ENUM (MSG)\n{\nLABEL=\"message\"\nTYPE=\"STRING\"\nVALUE=\"hello\"\n}\n}\n}\n"
           "TYPEOF FOLDER (PARAMETER_LIST)\n{\n" +
           parameters + "}\nTYPEOF FOLDER (FUNCTION_LIST)\n{\n" + functions + "}\n}\n";
}

class Calls : public ModelTest {
protected:
    void SetUp() override {
        std::ostringstream log;
        model = Parse<Folders>(WithCrLf(TestModel()), &log);
        ASSERT_NE(model, nullptr) << log.str();
        scenarioRootModel = model.get();
    }
    void TearDown() override {
        ResetRuntimeTables();
        ModelTest::TearDown();
    }

    // A script: a folder holding `body`, read against the model. `row` gets the
    // row on which the reader stopped when it fails.
    std::unique_ptr<Folders> Script(const std::string& body, int* row = nullptr) {
        const std::string text = WithCrLf("TYPEOF FOLDER (SCRIPT)\n{\n" + body + "}\n");
        ScenarioTextStream stream(text.c_str(), text.size() + 1);
        ItemLoadContext context;
        std::unique_ptr<ScenarioItem> item(LoadScenarioText(stream, nullptr, &context, nullptr, false));
        if (row != nullptr)
            *row = item ? 0 : static_cast<int>(stream.line);
        return std::unique_ptr<Folders>(dynamic_cast<Folders*>(item.release()));
    }
    // The one call of a script made of `call`.
    Function* OnlyCall(Folders& script) {
        EXPECT_EQ(script.children.size(), 1u);
        return script.children.empty() ? nullptr : dynamic_cast<Function*>(script.children[0]);
    }
    Function* Definition(const std::string& name) {
        return dynamic_cast<Function*>(model->FindItem(ITEM_FUNCTION, name, ""));
    }

    std::unique_ptr<Folders> model;
};

std::string Names(const Function& call) {
    std::string names;
    for (const Parameter* parameter : call.parameters)
        names += parameter->name + "=" + parameter->value + " ";
    return names;
}

} // namespace

TEST_F(Calls, DefinitionsAndInstancesLinkAndRoundTrip) {
    Function* plus = Definition("PLUS");
    ASSERT_NE(plus, nullptr);
    EXPECT_EQ(plus->model, plus);
    EXPECT_EQ(plus->codeNumber, 1);
    EXPECT_EQ(plus->returnType, "FLOAT");
    EXPECT_EQ(Definition("NOTHING")->codeNumber, -1);
    EXPECT_EQ(Definition("ABS")->seeAlso, (std::vector<std::string>{"PLUS", "MULTIPLY"}));
    // A RETURN leaves the parameters and gives the definition its type.
    Function* counter = Definition("COUNTER");
    EXPECT_TRUE(counter->parameters.empty());
    ASSERT_NE(counter->returnParameter, nullptr);
    EXPECT_EQ(counter->returnType, "INTEGER");
    // The parameters of a call definition are instances of PARAMETER_LIST.
    const Parameter* a = plus->parameters[0];
    EXPECT_EQ(a->model, model->FindItem(ITEM_PARAMETER, "A", ""));
    EXPECT_EQ(a->GetType(), "FLOAT");

    auto script =
        Script(Call("PLUS", Argument("A", "USER", "2") +
                                Argument("B", "FUNCTION", Call("ABS", Argument("A", "USER", "-4")))));
    ASSERT_NE(script, nullptr);
    Function* call = OnlyCall(*script);
    ASSERT_NE(call, nullptr);
    EXPECT_EQ(call->model, plus);
    ASSERT_NE(call->parameters[1]->functionValue, nullptr);
    EXPECT_EQ(call->parameters[1]->functionValue->model, Definition("ABS"));

    // Saved, read again and saved: the same text, written in the writer's order.
    const std::string saved = SaveText(*script);
    auto again = Parse<Folders>(WithCrLf(saved));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(SaveText(*again), saved);
    EXPECT_NE(saved.find("\t\t\tKIND=\"FUNCTION\"\n\n\t\t\tTYPEOF FUNCTION (ABS)\n\t\t\t{\n"
                         "\n\t\t\t\tTYPEOF PARAMETER (A)\n\t\t\t\t{\n\t\t\t\t\tKIND=\"USER\"\n"
                         "\t\t\t\t\tVALUE=\"-4\"\n\t\t\t\t\tOWNER_FILE=\"\"\n\t\t\t\t}\n\t\t\t}\n"
                         "\t\t\tOWNER_FILE=\"\"\n"),
              std::string::npos)
        << saved;
    const std::string definition = SaveText(*model->FindItem(ITEM_PARAMETER, "COUNT", ""));
    EXPECT_EQ(definition, "\nTYPEOF PARAMETER (COUNT)\n{\n\tLABEL=\"\"\n\tUNIT=\"\"\n\tTYPE=\"INTEGER\"\n"
                          "\tUSAGE=\"\"\n\tENUMTAB=\"\"\n\tFILEDIR=\"\"\n\tFILEEXT=\"\"\n"
                          "\tKINDLIST=\"USER FUNCTION\"\n\tMINVALUE=\"0\"\n\tMAXVALUE=\"10\"\n"
                          "\tKIND=\"\"\n\tVALUE=\"\"\n\tOWNER_FILE=\"\"\n}\n");
    const std::string say = SaveText(*Definition("SAY"));
    EXPECT_EQ(say.substr(0, say.find("\n\n\tTYPEOF")),
              "\nTYPEOF FUNCTION (SAY)\n{\n\tLABEL=\"Say\"\n\tIS_OVERLOADABLE=\"1\"\n\tCODE=\"7\"\n"
              "\tWIZARD=\"MAPTOOL\"\n\tSEE_ALSO=\"\"");
    // A return parameter is written back as a plain parameter, after the others.
    EXPECT_NE(SaveText(*counter).find("\n\tTYPEOF PARAMETER (COUNT)\n"), std::string::npos);
}

TEST_F(Calls, RefusedTextsFailAtTheirRow) {
    struct Case {
        const char* what;
        std::string body;
        int row; // where the reader stopped in the script; 0: it loads
    };
    const std::string plusArgs = Argument("A", "USER", "1") + Argument("B", "USER", "2");
    const std::vector<Case> cases = {
        {"unknown call", Call("MINUS", plusArgs), 5},
        {"unknown parameter", Call("ABS", Argument("Z", "USER", "1")), 7},
        {"too few parameters", Call("PLUS", Argument("A", "USER", "1")), 10},
        {"names differ", Call("PLUS", Argument("B", "USER", "1") + Argument("A", "USER", "2")), 15},
        {"names differ, overloadable", Call("SAY", Argument("A", "USER", "1") + Argument("B", "USER", "2")),
         0},
        {"second return",
         Call("COUNTER", "TYPEOF RETURN (COUNT)\n{\nKIND=\"USER\"\nVALUE=\"1\"\n}\n"
                         "TYPEOF RETURN (COUNT)\n{\nKIND=\"USER\"\nVALUE=\"1\"\n}\n"),
         15},
        {"kind outside the list", Call("LIMIT", Argument("COUNT", "ENUM", "D")), 7},
        {"kind missing", Call("ABS", "TYPEOF PARAMETER (A)\n{\nVALUE=\"1\"\n}\n"), 8},
        {"no float", Call("ABS", Argument("A", "USER", "abc")), 8},
        {"integer with a tail", Call("LIMIT", Argument("COUNT", "USER", "12abc")), 0},
        {"script value beyond the limits", Call("LIMIT", Argument("COUNT", "USER", "99")), 0},
        {"unknown enumeration entry", Call("SAY", Argument("TEXT", "ENUM", "X") + Argument("A", "USER", "1")),
         8},
        {"second value", Call("ABS", "TYPEOF PARAMETER (A)\n{\nKIND=\"USER\"\nVALUE=\"1\"\nVALUE=\"2\"\n}\n"),
         9},
        {"label in an instance", Call("ABS", "TYPEOF PARAMETER (A)\n{\nLABEL=\"x\"\nKIND=\"USER\"\n}\n"), 7},
        {"a kind of the list", Call("PLUS", Argument("A", "USER", "1") + Argument("B", "PICK", "")), 0},
    };
    for (const Case& c : cases) {
        int row = -1;
        Script(c.body, &row);
        EXPECT_EQ(row, c.row) << c.what;
    }
}

TEST_F(Calls, DefinitionsAreCheckedAgainstTheVocabularyAndTheLimits) {
    // Each definition is read in a fresh model holding the enumeration table.
    auto read = [](const std::string& attributes) {
        std::ostringstream log;
        scenarioRootModel = nullptr;
        auto loaded = Parse<Folders>(WithCrLf("TYPEOF FOLDER (M)\n{\nTYPEOF FOLDER (ENUMTAB_LIST)\n{\n"
                                              "TYPEOF ENUMTAB (GEAR)\n{\n}\n}\n"
                                              "TYPEOF FOLDER (PARAMETER_LIST)\n{\n" +
                                              ParameterDefinition("P", attributes) + "}\n}\n"),
                                     &log);
        return loaded != nullptr;
    };
    const std::string list = "KINDLIST=\"USER\"\n";
    EXPECT_TRUE(read("TYPE=\"FLOAT\"\n" + list));
    EXPECT_FALSE(read("TYPE=\"DOUBLE\"\n" + list));
    EXPECT_FALSE(read("TYPE=\"\"\n" + list));
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\n"));                          // no KINDLIST
    EXPECT_FALSE(read("KINDLIST=\"USER\"\n"));                       // no TYPE
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\nKINDLIST=\"USER SPEED\"\n")); // outside the vocabulary
    EXPECT_FALSE(read("TYPE=\"INTEGER\"\nKINDLIST=\"ENUM\"\n"));
    EXPECT_FALSE(read("TYPE=\"INTEGER\"\nKINDLIST=\"ENUM\"\nENUMTAB=\"GEAR\"\n"));
    EXPECT_TRUE(read("TYPE=\"INTEGER\"\nENUMTAB=\"GEAR\"\nKINDLIST=\"ENUM\"\n"));
    EXPECT_FALSE(read("TYPE=\"INTEGER\"\nENUMTAB=\"NONE\"\nKINDLIST=\"USER\"\n"));
    EXPECT_FALSE(read("TYPE=\"STRING\"\nKINDLIST=\"FILE\"\n"));
    EXPECT_TRUE(read("TYPE=\"STRING\"\nFILEDIR=\"images\"\nKINDLIST=\"FILE\"\n"));
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\nUSAGE=\"BY_ADDRESS\"\nKINDLIST=\"VARIABLE USER\"\n"));
    EXPECT_TRUE(read("TYPE=\"FLOAT\"\nUSAGE=\"BY_ADDRESS\"\nKINDLIST=\"VARIABLE\"\n"));
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\nUSAGE=\"BY_NAME\"\n" + list));
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\n" + list + "MINVALUE=\"1\"\nMAXVALUE=\"1\"\n"));
    EXPECT_TRUE(read("TYPE=\"FLOAT\"\n" + list + "MINVALUE=\"1\"\nMAXVALUE=\"1.5\"\n"));
    EXPECT_TRUE(read("TYPE=\"FLOAT\"\n" + list + "MINVALUE=\"-1\"\nMAXVALUE=\"\"\n"));
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\n" + list + "MINVALUE=\"0\"\nMAXVALUE=\"\"\n"));
    EXPECT_TRUE(read("TYPE=\"STRING\"\n" + list + "KIND=\"USER\"\nVALUE=\"\"\nVALUE=\"7\"\n"));
    EXPECT_FALSE(read("TYPE=\"FLOAT\"\n" + list + "KIND=\"USER\"\nVALUE=\"\"\n"));
    EXPECT_TRUE(read("TYPE=\"FLOAT\"\n" + list + "KIND=\"USER\"\nOWNER_FILE=\"x.sc\"\n"));

    // A default of a call definition must lie within its parameter's limits.
    auto call = [&](const std::string& value) {
        scenarioRootModel = nullptr;
        return Parse<Folders>(
                   WithCrLf("TYPEOF FOLDER (M)\n{\nTYPEOF FOLDER (PARAMETER_LIST)\n{\n" +
                            ParameterDefinition("C", "TYPE=\"INTEGER\"\nKINDLIST=\"USER\"\nMINVALUE=\"-1\"\n"
                                                     "MAXVALUE=\"10\"\n") +
                            "}\nTYPEOF FOLDER (FUNCTION_LIST)\n{\n" +
                            CallDefinition("F", "", Argument("C", "USER", value)) + "}\n}\n")) != nullptr;
    };
    EXPECT_TRUE(call("10"));
    EXPECT_TRUE(call("-1"));
    EXPECT_FALSE(call("11"));
    EXPECT_FALSE(call("-2"));
    // Only the two map tools are known wizards.
    for (const auto& [wizard, loads] : std::vector<std::pair<std::string, bool>>{
             {"MAPTOOL", true}, {"MAPTOOLRECT", true}, {"", false}, {"MAP", false}}) {
        scenarioRootModel = nullptr;
        auto loaded =
            Parse<Folders>(WithCrLf("TYPEOF FOLDER (M)\n{\nTYPEOF FOLDER (FUNCTION_LIST)\n{\n" +
                                    CallDefinition("F", "WIZARD=\"" + wizard + "\"\n", "") + "}\n}\n"));
        EXPECT_EQ(loaded != nullptr, loads) << wizard;
    }
}

TEST_F(Calls, OldCallsAreUpgradedToTheirDefinitions) {
    struct Case {
        std::string call;
        std::string parameters;
        std::string expected;
    };
    auto plain = [](std::initializer_list<std::pair<const char*, const char*>> values) {
        std::string text;
        for (const auto& [name, value] : values)
            text += Argument(name, "USER", value);
        return text;
    };
    const std::vector<Case> cases = {
        {"GET_EXPORTED_CHANNEL", plain({{"VEHICLE", "1"}, {"USER_DATA_ID", "speed"}}),
         "VEHICLE=1 CHANNEL_ID=speed "},
        {"IS_VHL_AT_POSITION", plain({{"VEHICLE", "1"}, {"POSITION", "p"}}),
         "VEHICLE=1 POSITION=p MAP_RADIUS=dMAP_RADIUS "},
        {"SET_IMAGE",
         plain({{"CHANNEL_NAME", "c"},
                {"IMAGE", "i"},
                {"X", "1"},
                {"Y", "2"},
                {"SIZE", "3"},
                {"VEHICLE", "4"}}),
         "CHANNEL_NAME=c IMAGE=i X=1 Y=2 SIZE=3 VEHICLE=4 DISPLAY_TIME=dDISPLAY_TIME "},
        {"SNAPSHOT", plain({{"CHANNEL_NAME", "c"}}), "CHANNEL_NAME=c SUFFIX=dSUFFIX "},
        {"ADD_TIME_MARKER", plain({{"MARKER_NOTE", "n"}}), "MARKER_NOTE=n MARKER_KEYWORDS=dMARKER_KEYWORDS "},
        // The old animation call named a vehicle or, with -1, the database.
        {"INIT_ANIMATION",
         plain({{"OBJECT", "o"},
                {"OLD_MODE", "m"},
                {"OLD_SPEED", "s"},
                {"OLD_FILE", "walk.anim"},
                {"START", "0.5"},
                {"VHL_NUMBER_PLUS", "-1"}}),
         "OBJECT=o ANIMATION=walk.anim START=0.5 OBJECT_TYPE=ANIMATED_OBJECT_TYPE_DATABASE OBJECT_NUMBER=0 "},
        {"INIT_ANIMATION",
         plain({{"OBJECT", "o"},
                {"OLD_MODE", "m"},
                {"OLD_SPEED", "s"},
                {"OLD_FILE", "walk.anim"},
                {"START", "0.5"},
                {"VHL_NUMBER_PLUS", "3"}}),
         "OBJECT=o ANIMATION=walk.anim START=0.5 OBJECT_TYPE=ANIMATED_OBJECT_TYPE_VEHICLE OBJECT_NUMBER=3 "},
    };
    for (const Case& c : cases) {
        int row = 0;
        auto script = Script(Call(c.call, c.parameters), &row);
        ASSERT_NE(script, nullptr) << c.call << " row " << row;
        Function* call = OnlyCall(*script);
        EXPECT_EQ(Names(*call), c.expected) << c.call;
        // The new parameters are instances of their definitions, and write back.
        for (const Parameter* parameter : call->parameters)
            EXPECT_EQ(parameter->model, model->FindItem(ITEM_PARAMETER, parameter->model->name, ""));
        auto again = Parse<Folders>(WithCrLf(SaveText(*script)));
        ASSERT_NE(again, nullptr) << c.call;
        EXPECT_EQ(Names(*OnlyCall(*again)), c.expected);
    }
    // A call that is already new is left alone.
    auto current = Script(Call("SNAPSHOT", plain({{"CHANNEL_NAME", "c"}, {"SUFFIX", "s"}})));
    ASSERT_NE(current, nullptr);
    EXPECT_EQ(Names(*OnlyCall(*current)), "CHANNEL_NAME=c SUFFIX=s ");
}

TEST_F(Calls, DisplayTextsAndValidity) {
    auto script =
        Script(Call("PLUS",
                    Argument("A", "USER", "2") +
                        Argument("B", "FUNCTION",
                                 Call("MULTIPLY", Argument("A", "USER", "3") + Argument("B", "PICK", "x")))) +
               Call("ABS", Argument("A", "FUNCTION", Call("COUNTER", ""))) +
               Call("SAY", Argument("TEXT", "ENUM", "D") + Argument("A", "USER", "-1.5")) +
               Call("SAY", Argument("TEXT", "USER", "") + Argument("A", "VARIABLE", "1")) +
               Call("NOTHING", "") + Call("LIMIT", Argument("COUNT", "USER", "11")) +
               Call("SAY", Argument("TEXT", "FUNCTION", Call("IS_ON", "")) +
                               Argument("A", "FUNCTION", Call("IS_ON", ""))));
    ASSERT_NE(script, nullptr);
    script->UpdateDisplayTextTree();
    std::vector<std::string> texts;
    for (ScenarioItem* child : script->children)
        texts.push_back(child->displayText + (child->IsValid() ? "" : " [invalid]"));
    EXPECT_EQ(texts, (std::vector<std::string>{
                         // A call standing in a folder fills no parameter, so it is never valid.
                         "2 + 3 x ? [invalid]",
                         // An INTEGER result fits a FLOAT parameter.
                         "Absolute  (Counter  ()) [invalid]",
                         "Say  (drive,  -1.5) [invalid]",
                         // Nothing to show: two quotes; an unknown variable: invalid.
                         "Say  (\"\",  ?) [invalid]",
                         "Nothing  () [invalid]",
                         // Out of the definition's limits: invalid, marked "?".
                         "Limit  (11?) [invalid]",
                         // A BOOL result fits a STRING parameter, not a FLOAT one.
                         "Say  (Is on  (),  Is on  ()?) [invalid]",
                     }));
    Function* plus = dynamic_cast<Function*>(script->children[0]);
    EXPECT_TRUE(plus->parameters[1]->IsValid());
    EXPECT_TRUE(plus->parameters[1]->functionValue->IsValid()) << "a nested call needs no bound parameter";

    EXPECT_EQ(model->FindItem(ITEM_PARAMETER, "A", "")->displayText, "");
    model->UpdateDisplayTextTree();
    EXPECT_EQ(model->FindItem(ITEM_PARAMETER, "A", "")->displayText, "A    (a)");
    EXPECT_EQ(Definition("PLUS")->displayText, "PLUS    (Plus)    (1)");
    // An evaluation call means something only within criteria.
    EXPECT_FALSE(Definition("EVALUATION_SCORE")->IsValid());
}

TEST_F(Calls, NestedCallsArePlacedIntoParametersByKindThenByType) {
    // A call holder whose children are calls beside its parameters, as a condition's are.
    struct Holder : Function {
        ~Holder() override {
            for (ScenarioItem* call : calls)
                delete call;
        }
        void GetChildren(std::vector<ScenarioItem*>& out, uint32_t filter = 0) const override {
            for (ScenarioItem* call : calls)
                if (filter == 0 || filter == call->kind)
                    out.push_back(call);
            Function::GetChildren(out, filter);
        }
        void RemoveChild(ScenarioItem* child) override {
            auto it = std::find(calls.begin(), calls.end(), child);
            if (it == calls.end())
                return Function::RemoveChild(child);
            calls.erase(it);
            if (child->parent == this)
                delete child;
        }
        std::vector<ScenarioItem*> calls;
    };
    auto script = Script(Call("SAY", Argument("TEXT", "USER", "t") + Argument("A", "USER", "1")) +
                         Call("COUNTER", "") + Call("IS_ON", "") + Call("ABS", Argument("A", "USER", "1")));
    ASSERT_NE(script, nullptr);
    Function* say = dynamic_cast<Function*>(script->children[0]);
    Holder holder;
    holder.kind = ITEM_FUNCTION;
    holder.name = "SAY";
    holder.model = say->model;
    for (Parameter* parameter : say->parameters)
        holder.AddChild(parameter, nullptr, true);
    say->DetachChildren();
    holder.parameters[1]->SetKind("FUNCTION"); // waits for a call
    for (size_t i = 1; i < 4; ++i) {
        holder.calls.push_back(script->children[i]);
        script->children[i]->parent = &holder;
    }
    script->children.resize(1);

    holder.UpdateDisplayTextTree();
    // The explicit place takes the first call; the INTEGER counter can't go into
    // TEXT by type (only STRING may take anything, and only through its KIND), the
    // BOOL one doesn't fit either; the third call stays beside.
    Function* counter = holder.parameters[1]->functionValue;
    ASSERT_NE(counter, nullptr);
    EXPECT_EQ(counter->name, "COUNTER");
    EXPECT_EQ(counter->boundParameter, holder.parameters[1]);
    EXPECT_EQ(counter->parent, holder.parameters[1]);
    EXPECT_EQ(holder.parameters[0]->functionValue, nullptr);
    ASSERT_EQ(holder.calls.size(), 2u);
    EXPECT_EQ(dynamic_cast<Function*>(holder.calls[0])->boundParameter, nullptr);
    EXPECT_FALSE(holder.calls[0]->IsValid());
    EXPECT_EQ(holder.displayText, "Say  (t,  Counter  ())");

    // By type: a FLOAT parameter that allows calls takes one returning INTEGER.
    holder.parameters[1]->SetFunction(nullptr);
    delete counter;
    holder.parameters[1]->SetKind("USER");
    std::unique_ptr<Folders> more = Script(Call("COUNTER", ""));
    holder.calls.insert(holder.calls.begin(), more->children[0]);
    more->children[0]->parent = &holder;
    more->children.clear();
    holder.UpdateDisplayTextTree();
    ASSERT_NE(holder.parameters[1]->functionValue, nullptr);
    EXPECT_EQ(holder.parameters[1]->functionValue->name, "COUNTER");
    EXPECT_EQ(holder.parameters[1]->valueKind, "FUNCTION");
}

TEST_F(Calls, ValuesFilledForTheRunTimeTables) {
    auto script =
        Script("TYPEOF VARIABLE (3)\n{\nTYPE=\"FLOAT\"\nVALUE=\"2.5\"\n}\n"
               "TYPEOF VARIABLE (4)\n{\nTYPE=\"STRING\"\nVALUE=\"text\"\n}\n" +
               Call("PLUS", Argument("A", "USER", "1.5") + Argument("B", "VARIABLE", "3")) +
               Call("SAY", Argument("TEXT", "ENUM", "MSG") + Argument("A", "PICK", "x")) +
               Call("SAY", Argument("TEXT", "FUNCTION", Call("ABS", Argument("A", "USER", "-2"))) +
                               Argument("A", "FUNCTION", Call("LIMIT", Argument("COUNT", "USER", "3")))) +
               Call("SAY", Argument("TEXT", "VARIABLE", "4") + Argument("A", "ENUM", "D")) +
               Call("LIMIT", Argument("COUNT", "USER", "7")) + Call("IS_ON", "") + Call("COUNTER", "") +
               Call("SAY", Argument("TEXT", "USER", "t") + Argument("A", "VARIABLE", "9")));
    ASSERT_NE(script, nullptr);

    // Every entry records what it was given, and answers with its CODE.
    std::string seen;
    for (int32_t code : {1, 3, 5, 6, 7, 8, 9}) {
        SetFunctionEntry(code, [&seen, code](const ParameterValue* values) {
            seen += std::to_string(code) + ":";
            for (size_t i = 0; i < kRuntimeValueCount; ++i) {
                char text[64];
                std::snprintf(text, sizeof(text), "%d/%g/%s ", values[i].tag, values[i].number,
                              values[i].text.c_str());
                seen += values[i].tag == 4 && values[i].text.empty() ? "" : text;
            }
            seen += "; ";
            return static_cast<float>(code);
        });
    }
    std::vector<float> results;
    for (ScenarioItem* child : script->children)
        if (Function* call = AsFunction(child))
            results.push_back(call->Evaluate());
    EXPECT_EQ(results, (std::vector<float>{1, 7, 7, 7, 6, 9, 8, 7}));
    EXPECT_EQ(seen, "1:1/1.5/1.5 1/2.5/ ; "  // USER FLOAT, a FLOAT variable
                    "7:3/0/hello ; "         // ENUM of a STRING entry; PICK gives nothing
                    "5:1/-2/-2 ; 6:1/3/3 ; " // the nested calls first
                    "7:4/0/5.000000 1/6/ ; " // STRING from a call: the text only
                    "7:3/0/text 1/4/ ; "     // a STRING variable; ENUM of an INTEGER entry
                    "6:1/7/7 ; "             // INTEGER travels as FLOAT
                    "9:; 8:; "               // no parameters
                    "7:3/0/t 1/0/ ; ");      // no variable 9: only the tag
}

TEST_F(Calls, FillValueByKindAndUsage) {
    auto script = Script("TYPEOF VARIABLE (5)\n{\nTYPE=\"INTEGER\"\nVALUE=\"8\"\n}\n" +
                         Call("PLUS", Argument("A", "USER", "1") + Argument("B", "USER", "2")));
    ASSERT_NE(script, nullptr);
    Parameter* a = dynamic_cast<Function*>(script->children[1])->parameters[0];
    struct Case {
        const char* definition;
        const char* kind;
        const char* value;
        const char* ownerFile;
        int tag;
        float number;
        const char* text;
    };
    const std::vector<Case> cases = {
        {"FLAG", "USER", "1", "", 1, 1.0f, "1"},
        {"FLAG", "USER", "true", "", 1, 0.0f, "true"}, // numbers come from atof
        {"A", "PICK", "1", "", 4, 0.0f, ""},
        {"A", "SOMETHING", "1", "", 4, 0.0f, ""},
        {"REF", "VARIABLE", "5", "f.sc", 3, 0.0f, "5 f.sc"}, // by address: where the variable is
        {"NAME", "VARIABLE", "5", "f.sc", 3, 5.0f, ""},      // a STRING by address: its number
        {"A", "VARIABLE", "5", "", 1, 0.0f, ""},             // an INTEGER variable doesn't fill a FLOAT
        {"TEXT", "VARIABLE", "5", "", 3, 0.0f, "8"},         // but any variable fills a STRING
        {"TEXT", "VARIABLE", "5", "other.sc", 3, 0.0f, ""},  // of another file: nothing
    };
    for (const Case& c : cases) {
        a->SetModel(dynamic_cast<Token*>(model->FindItem(ITEM_PARAMETER, c.definition, "")));
        a->SetKind(c.kind);
        a->SetOwnerFile(c.ownerFile);
        a->value = c.value;
        ParameterValue value;
        a->FillValue(value);
        EXPECT_EQ(value.tag, c.tag) << c.definition << " " << c.kind;
        EXPECT_EQ(value.number, c.number) << c.definition << " " << c.kind;
        EXPECT_EQ(value.text, c.text) << c.definition << " " << c.kind;
    }
}

TEST_F(Calls, TheTablesGrowAndGuardTheirBounds) {
    auto script = Script(Call("ABS", Argument("A", "USER", "-3")) + Call("NOTHING", "") +
                         Call("SAY", Argument("TEXT", "USER", "t") + Argument("A", "USER", "1")));
    ASSERT_NE(script, nullptr);
    Function* abs = dynamic_cast<Function*>(script->children[0]);
    Function* nothing = dynamic_cast<Function*>(script->children[1]);
    Function* say = dynamic_cast<Function*>(script->children[2]);
    // The default table: CODE -1 gives 0 without a call, CODE 0 gives 0, any
    // other CODE is a fault of the model.
    EXPECT_EQ(nothing->Evaluate(), 0.0f);
    EXPECT_EQ(AssertionAt([&] { abs->Evaluate(); }), "function:920");
    SetFunctionEntry(5, [](const ParameterValue* values) { return std::fabs(values[0].number); });
    EXPECT_EQ(abs->Evaluate(), 3.0f);
    // Codes between the default and the one set are gaps.
    EXPECT_EQ(AssertionAt([&] { say->Evaluate(); }), "function:920");
    EXPECT_NE(FindFunctionEntry(0), nullptr);
    EXPECT_EQ(FindFunctionEntry(4), nullptr);
    EXPECT_EQ(FindFunctionEntry(-1), nullptr);
    EXPECT_EQ(AssertionAt([] { SetFunctionEntry(-2, nullptr); }), "function:910");
    EXPECT_EQ(AssertionAt([] { SetConditionEntry(-2, nullptr); }), "Condition:910");
    EXPECT_EQ(AssertionAt([] { SetActionEntry(-2, nullptr); }), "action:910");
    SetConditionEntry(3, [](const ParameterValue*) { return false; });
    SetActionEntry(2, [](const ParameterValue*) {});
    EXPECT_TRUE((*FindConditionEntry(0))(nullptr));
    EXPECT_FALSE((*FindConditionEntry(3))(nullptr));
    EXPECT_NE(FindActionEntry(2), nullptr);
    ResetRuntimeTables();
    EXPECT_EQ(FindFunctionEntry(5), nullptr);
    EXPECT_EQ(FindConditionEntry(3), nullptr);
    EXPECT_EQ(FindActionEntry(2), nullptr);

    // Twelve values at most: a thirteenth parameter is a fault of the model.
    SetFunctionEntry(5, [](const ParameterValue*) { return 1.0f; });
    for (int i = 0; i < 12; ++i)
        abs->AddChild(abs->parameters[0]->Clone(), nullptr, true);
    EXPECT_EQ(AssertionAt([&] { abs->Evaluate(); }), "function:918");
    abs->RemoveChild(abs->parameters.back());
    EXPECT_EQ(abs->Evaluate(), 1.0f);
}

TEST_F(Calls, DefinitionsAreFoundAsByASearchAndSeeEditsBetweenLoads) {
    // Duplicates and sub-folders: the first definition in the walk's order wins,
    // as a search of the model finds it, whether the model is indexed or not.
    Folders* functions = dynamic_cast<Folders*>(model->FindItem(ITEM_FOLDER, "FUNCTION_LIST", ""));
    Folders* more = static_cast<Folders*>(CreateItem(ITEM_FOLDER, "More", nullptr));
    functions->AddChild(more, Definition("PLUS"), false);
    for (const char* name : {"PLUS", "EXTRA"}) {
        Function* copy = static_cast<Function*>(Definition("NOTHING")->Clone());
        copy->SetName(name);
        copy->SetModel(copy);
        more->AddChild(copy, nullptr, true);
    }
    Function* earlyPlus = static_cast<Function*>(more->children[0]);
    Function* extra = static_cast<Function*>(more->children[1]);
    std::string body;
    for (int i = 0; i < 40; ++i) // enough calls for the model to be indexed
        body += Call(i % 2 ? "EXTRA" : "PLUS",
                     i % 2 ? "" : Argument("A", "USER", "1") + Argument("B", "USER", "2"));
    auto script = Script(body);
    EXPECT_EQ(script, nullptr) << "the first PLUS has no parameters";
    earlyPlus->SetName("EARLY");
    script = Script(body);
    ASSERT_NE(script, nullptr);
    for (size_t i = 0; i < script->children.size(); ++i)
        EXPECT_EQ(static_cast<Function*>(script->children[i])->model, i % 2 ? extra : Definition("PLUS"));
    // A name written straight into the field is seen too: the early definition
    // wins again, and loses again when renamed back.
    earlyPlus->name = "PLUS";
    EXPECT_EQ(Script(body), nullptr);
    earlyPlus->name = "EARLY";
    EXPECT_NE(Script(body), nullptr);
    // Removed between loads: not found any more; destroyed with its folder: the
    // same.
    more->RemoveChild(extra);
    EXPECT_EQ(Script(body), nullptr);
    functions->RemoveChild(more);
    EXPECT_EQ(Script(body), nullptr);
}

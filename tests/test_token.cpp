#include "ModelTestSupport.h"

using namespace modeltest;

namespace {

// A token with a plain store and a label, for the link and validity rules that
// every token class shares.
class StoreToken : public Token {
public:
    StoreToken(uint32_t itemKind, const std::string& itemName) {
        kind = itemKind;
        name = itemName;
    }
    ~StoreToken() override {
        for (ScenarioItem* child : children)
            delete child;
    }
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override {
        ScenarioItemStore::GetChildren(children, out, kindFilter);
    }
    void DetachChildren() override { children.clear(); }
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override {
        ScenarioItemStore::AddChild(children, this, child, reference, after);
    }
    void RemoveChild(ScenarioItem* child) override { ScenarioItemStore::RemoveChild(children, this, child); }
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override {
        ScenarioItemStore::ReplaceChild(children, this, newChild, oldChild);
    }
    void SwapChildren(ScenarioItem* a, ScenarioItem* b) override {
        ScenarioItemStore::SwapChildren(children, a, b);
    }
    void UpdateDisplayText() override { displayText = name + (valid ? "" : "!"); }

    std::vector<ScenarioItem*> children;
};

Folders* AddFolder(ScenarioItem* parent, const std::string& name) {
    ScenarioItem* folder = CreateItem(ITEM_FOLDER, name, nullptr);
    parent->AddChild(folder, nullptr, true);
    return static_cast<Folders*>(folder);
}

StoreToken* AddToken(ScenarioItem* parent, uint32_t kind, const std::string& name) {
    StoreToken* token = new StoreToken(kind, name);
    parent->AddChild(token, nullptr, true);
    return token;
}

class TokenTest : public ::testing::Test {
protected:
    void SetUp() override {
        root.reset(CreateItem(ITEM_FOLDER, "MODEL", nullptr));
        parameters = AddFolder(root.get(), "PARAMETER_LIST");
        Folders* actions = AddFolder(root.get(), "ACTION_LIST");
        speed = AddToken(parameters, ITEM_PARAMETER, "speed");
        nested = AddToken(AddFolder(parameters, "More"), ITEM_PARAMETER, "gear");
        brake = AddToken(actions, ITEM_ACTION, "Brake");
        scenarioRootModel = static_cast<Folders*>(root.get());
    }
    void TearDown() override {
        scenarioRootModel = nullptr;
        scenarioDepth = 0;
    }

    ItemPtr root;
    Folders* parameters = nullptr;
    StoreToken* speed = nullptr;
    StoreToken* nested = nullptr;
    StoreToken* brake = nullptr;
};

} // namespace

TEST_F(TokenTest, DefinitionsAreTheItemsOfTheListFolders) {
    LinkModel(speed, "PARAMETER_LIST");
    EXPECT_EQ(speed->model, speed);
    // An item in a sub-folder finds itself by name and so is a definition too.
    nested->SetModel(nullptr);
    LinkModel(nested, "PARAMETER_LIST");
    EXPECT_EQ(nested->model, nested);
    // Even inside a script, an item of a folder of that name is a definition.
    Folders script;
    StoreToken* local = AddToken(AddFolder(&script, "PARAMETER_LIST"), ITEM_PARAMETER, "local");
    local->SetModel(nullptr);
    LinkModel(local, "PARAMETER_LIST");
    EXPECT_EQ(local->model, local);
}

TEST_F(TokenTest, InstancesLinkByNameToTheRootModel) {
    Folders script;
    StoreToken* action = AddToken(&script, ITEM_ACTION, "Brake");
    StoreToken* argument = AddToken(action, ITEM_PARAMETER, "speed");
    StoreToken* otherwise = AddToken(&script, ITEM_ELSE_ACTION, "Brake");
    StoreToken* unknown = AddToken(action, ITEM_PARAMETER, "colour");
    LinkModel(action, "ACTION_LIST");
    LinkModel(argument, "PARAMETER_LIST");
    LinkModel(otherwise, "ACTION_LIST");
    LinkModel(unknown, "PARAMETER_LIST");
    EXPECT_EQ(action->model, brake);
    EXPECT_EQ(argument->model, speed);
    EXPECT_EQ(otherwise->model, brake);
    EXPECT_EQ(unknown->model, nullptr);

    // Without a root model the tree's own root serves.
    scenarioRootModel = nullptr;
    Folders* ownList = AddFolder(&script, "ACTION_LIST");
    StoreToken* ownBrake = AddToken(ownList, ITEM_ACTION, "Stop");
    StoreToken* stop = AddToken(&script, ITEM_ACTION, "Stop");
    LinkModel(stop, "ACTION_LIST");
    EXPECT_EQ(stop->model, ownBrake);

    EXPECT_ASSERTION(LinkModel(stop, "CONDITION_LIST"), "token", 275);
}

TEST_F(TokenTest, InstancesReadAndWriteNoModelAttributes) {
    auto load = [](Token& token, const std::string& line) {
        ScenarioTextStream stream(line.c_str(), line.size() + 1);
        return token.LoadAttribute(stream);
    };
    StoreToken definition(ITEM_PARAMETER, "d");
    EXPECT_TRUE(load(definition, "IS_SELECTED=\"1\""));
    EXPECT_TRUE(load(definition, "LABEL=\"Speed\""));
    EXPECT_EQ(definition.label, "Speed");
    EXPECT_FALSE(load(definition, "LABEL=\"Again\""));
    EXPECT_EQ(SaveText(definition), "\nTYPEOF PARAMETER (d)\n{\n\tIS_SELECTED=\"1\"\n\tLABEL=\"Speed\"\n}\n");
    definition.isaIndex = "1";
    EXPECT_EQ(SaveText(definition), "\nTYPEOF PARAMETER (d)\n{\n\tIS_SELECTED=\"1\"\n\tISA_INDEX=\"1\"\n}\n");

    StoreToken instance(ITEM_PARAMETER, "i");
    instance.SetModel(&definition);
    EXPECT_FALSE(load(instance, "LABEL=\"Speed\""));
    EXPECT_EQ(instance.label, "");
    instance.label = "shown nowhere";
    EXPECT_EQ(SaveText(instance), "\nTYPEOF PARAMETER (i)\n{\n}\n");
}

TEST_F(TokenTest, ValidityComesFromTheChildrenBeforeTheDisplayText) {
    StoreToken action(ITEM_ACTION, "a");
    StoreToken* first = AddToken(&action, ITEM_PARAMETER, "p");
    StoreToken* inner = AddToken(first, ITEM_FUNCTION, "f");
    AddToken(&action, ITEM_PARAMETER, "q");
    action.UpdateDisplayTextTree();
    EXPECT_TRUE(action.IsValid());
    EXPECT_EQ(action.displayText, "a");

    // A token class with its own rule: invalid as soon as it has no children.
    struct Picky : StoreToken {
        Picky() : StoreToken(ITEM_FUNCTION, "picky") {}
        void UpdateValidity() override { valid = !children.empty(); }
    };
    first->RemoveChild(inner);
    first->AddChild(new Picky(), nullptr, true);
    action.UpdateDisplayTextTree();
    EXPECT_FALSE(first->IsValid());
    EXPECT_FALSE(action.IsValid());
    EXPECT_EQ(action.displayText, "a!");

    StoreToken holder(ITEM_TASK, "t");
    holder.children.push_back(nullptr);
    EXPECT_ASSERTION(holder.UpdateValidity(), "token", 221);
    EXPECT_ASSERTION(holder.UpdateDisplayTextTree(), "token", 193);
    EXPECT_ASSERTION(ResetMarks(&holder), "token", 364);
    holder.children.clear();
    holder.AddChild(CreateItem(ITEM_FOLDER, "f", nullptr), nullptr, true);
    EXPECT_ASSERTION(holder.UpdateValidity(), "token", 222);
    EXPECT_ASSERTION(ResetMarks(&holder), "token", 365);
}

TEST_F(TokenTest, DuplicateDefinitionsTakeTheSmallestFreeNumber) {
    StoreToken* second = AddToken(parameters, ITEM_PARAMETER, "speed");
    StoreToken* third = AddToken(parameters, ITEM_PARAMETER, "speed");
    AddToken(parameters, ITEM_PARAMETER, "1x");
    second->MakeUniqueName();
    EXPECT_EQ(second->name, "0");
    third->MakeUniqueName();
    EXPECT_EQ(third->name, "1");
    speed->MakeUniqueName();
    EXPECT_EQ(speed->name, "speed");

    // An instance keeps its name, whatever the duplicates.
    StoreToken* instance = AddToken(parameters, ITEM_PARAMETER, "gear");
    instance->SetModel(nested);
    instance->MakeUniqueName();
    EXPECT_EQ(instance->name, "gear");

    StoreToken alone(ITEM_PARAMETER, "x");
    alone.MakeUniqueName();
    EXPECT_EQ(alone.name, "x");
}

TEST_F(TokenTest, CloneOfAVariableKeepsItsValuesButNotTheLink) {
    Folders task;
    ScenarioItem* original = CreateItem(ITEM_VARIABLE, "5", nullptr);
    task.AddChild(original, nullptr, true);
    Variable* variable = static_cast<Variable*>(original);
    variable->label = "v";
    variable->value = "3";
    variable->SetModel(speed);
    ItemPtr copy(variable->Clone());
    Variable* copied = dynamic_cast<Variable*>(copy.get());
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(copied->model, copied);
    EXPECT_EQ(copied->value, "3");
    EXPECT_EQ(copied->label, "v");
    EXPECT_TRUE(copied->valid);
}

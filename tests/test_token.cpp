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

template <typename T> T* Add(ScenarioItem* parent, T* child) {
    parent->AddChild(child, nullptr, true);
    return child;
}
Folders* AddFolder(ScenarioItem* parent, const std::string& name) {
    return Add(parent, static_cast<Folders*>(CreateItem(ITEM_FOLDER, name, nullptr)));
}
StoreToken* AddToken(ScenarioItem* parent, uint32_t kind, const std::string& name) {
    return Add(parent, new StoreToken(kind, name));
}

// A root model with a parameter list (one entry in a sub-folder) and an action list.
class TokenTest : public ModelTest {
protected:
    void SetUp() override {
        root.reset(CreateItem(ITEM_FOLDER, "MODEL", nullptr));
        parameters = AddFolder(root.get(), "PARAMETER_LIST");
        speed = AddToken(parameters, ITEM_PARAMETER, "speed");
        nested = AddToken(AddFolder(parameters, "More"), ITEM_PARAMETER, "gear");
        brake = AddToken(AddFolder(root.get(), "ACTION_LIST"), ITEM_ACTION, "Brake");
        scenarioRootModel = static_cast<Folders*>(root.get());
    }

    ItemPtr root;
    Folders* parameters = nullptr;
    StoreToken *speed = nullptr, *nested = nullptr, *brake = nullptr;
};

} // namespace

TEST_F(TokenTest, DefinitionsLinkToThemselvesAndInstancesByNameToTheRootModel) {
    LinkModel(speed, "PARAMETER_LIST");
    EXPECT_EQ(speed->model, speed);
    // An item in a sub-folder finds itself by name and so is a definition too;
    // so is an item of a folder of that name inside a script.
    Folders script;
    StoreToken* local = AddToken(AddFolder(&script, "PARAMETER_LIST"), ITEM_PARAMETER, "local");
    for (StoreToken* definition : {nested, local}) {
        definition->SetModel(nullptr);
        LinkModel(definition, "PARAMETER_LIST");
        EXPECT_EQ(definition->model, definition);
    }

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
    StoreToken* ownStop = AddToken(AddFolder(&script, "ACTION_LIST"), ITEM_ACTION, "Stop");
    StoreToken* stop = AddToken(&script, ITEM_ACTION, "Stop");
    LinkModel(stop, "ACTION_LIST");
    EXPECT_EQ(stop->model, ownStop);
    EXPECT_EQ(AssertionAt([&] { LinkModel(stop, "CONDITION_LIST"); }), "token:275");
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

    // A null child or one that is no token ends the process.
    StoreToken holder(ITEM_TASK, "t");
    holder.children.push_back(nullptr);
    EXPECT_EQ(AssertionAt([&] { holder.UpdateValidity(); }), "token:221");
    EXPECT_EQ(AssertionAt([&] { holder.UpdateDisplayTextTree(); }), "token:193");
    EXPECT_EQ(AssertionAt([&] { ResetMarks(&holder); }), "token:364");
    holder.children.clear();
    holder.AddChild(CreateItem(ITEM_FOLDER, "f", nullptr), nullptr, true);
    EXPECT_EQ(AssertionAt([&] { holder.UpdateValidity(); }), "token:222");
    EXPECT_EQ(AssertionAt([&] { ResetMarks(&holder); }), "token:365");
}

TEST_F(TokenTest, DuplicateDefinitionsTakeTheSmallestFreeNumber) {
    StoreToken* second = AddToken(parameters, ITEM_PARAMETER, "speed");
    StoreToken* third = AddToken(parameters, ITEM_PARAMETER, "speed");
    AddToken(parameters, ITEM_PARAMETER, "1x");
    // An instance keeps its name, whatever the duplicates; so does a lone token.
    StoreToken* instance = AddToken(parameters, ITEM_PARAMETER, "gear");
    instance->SetModel(nested);
    StoreToken alone(ITEM_PARAMETER, "x");
    std::string names;
    for (StoreToken* token : {second, third, speed, instance, &alone}) {
        token->MakeUniqueName();
        names += token->name + " ";
    }
    EXPECT_EQ(names, "0 1 speed gear x ");
}

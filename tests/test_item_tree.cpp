#include "ModelTestSupport.h"

using namespace modeltest;

namespace {

// A folder standing in for the kinds whose classes are not part of this test:
// the walks look at `kind` only.
Folders* MakeNode(uint32_t kind, const std::string& name, const std::string& label = "") {
    Folders* node = new Folders();
    node->kind = kind;
    node->name = name;
    node->label = label;
    return node;
}

Folders* Add(ScenarioItem* parent, Folders* child) {
    parent->AddChild(child, nullptr, true);
    return child;
}

std::string Names(const std::vector<ScenarioItem*>& items) {
    std::string out;
    for (const ScenarioItem* item : items)
        out += (out.empty() ? "" : " ") + item->name;
    return out;
}

struct RecordingObserver : ScenarioItemObserver {
    std::vector<std::pair<ScenarioItemObservable*, uint32_t>> events;
    std::string tag;
    std::string* journal = nullptr;
    void OnItemEvent(ScenarioItemObservable* source, uint32_t event) override {
        events.emplace_back(source, event);
        if (journal)
            *journal += tag;
    }
};

class ItemTree : public ::testing::Test {
protected:
    void TearDown() override { scenarioRootModel = nullptr; }
};

} // namespace

TEST_F(ItemTree, KeywordsAndKinds) {
    EXPECT_STREQ(KindKeyword(18), "MODIFIER");
    EXPECT_STREQ(KindKeyword(1), "ACTION");
    EXPECT_STREQ(KindKeyword(27), "VARIABLE");
    EXPECT_STREQ(KindKeyword(0), "");
    EXPECT_STREQ(KindKeyword(28), "");
    EXPECT_STREQ(KindKeyword(0xFFFFFFFFu), "");
    for (uint32_t kind = 1; kind <= 27; ++kind)
        EXPECT_EQ(KindFromKeyword(KindKeyword(kind)), kind);
    EXPECT_EQ(KindFromKeyword("action"), 0u);
    EXPECT_EQ(KindFromKeyword(""), 0u);
    EXPECT_EQ(KindFromKeyword(nullptr), 0u);
    EXPECT_EQ(KindFromKeyword("ACTIONS"), 0u);
}

TEST_F(ItemTree, FactoryMakesEachClassAndAssertsForKindsWithoutOne) {
    struct Made {
        uint32_t kind;
        bool (*is)(ScenarioItem*);
    };
    const std::vector<Made> made = {
        {ITEM_CONFIG, [](ScenarioItem* i) { return dynamic_cast<Config*>(i) != nullptr; }},
        {ITEM_ENUM, [](ScenarioItem* i) { return dynamic_cast<Enum*>(i) != nullptr; }},
        {ITEM_ENUMTAB, [](ScenarioItem* i) { return dynamic_cast<EnumTab*>(i) != nullptr; }},
        {ITEM_FOLDER, [](ScenarioItem* i) { return typeid(*i) == typeid(Folders); }},
        {ITEM_GROUP, [](ScenarioItem* i) { return dynamic_cast<Group*>(i) != nullptr; }},
        {ITEM_PROGRAM, [](ScenarioItem* i) { return dynamic_cast<Program*>(i) != nullptr; }},
        {ITEM_VARIABLE, [](ScenarioItem* i) { return typeid(*i) == typeid(Variable); }},
    };
    for (const Made& m : made) {
        ItemPtr item(CreateItem(m.kind, "n", nullptr));
        ASSERT_NE(item, nullptr);
        EXPECT_TRUE(m.is(item.get())) << m.kind;
        EXPECT_EQ(item->kind, m.kind);
        EXPECT_EQ(item->name, "n");
        EXPECT_EQ(item->parent, nullptr);
    }
    for (uint32_t kind : {0u, 3u, 10u, 11u, 16u, 18u, 24u, 26u, 28u})
        EXPECT_ASSERTION(CreateItem(kind, "n", nullptr), "ScenarioItem", 122);
}

TEST_F(ItemTree, ObserversAreCalledInOrderAndRemovedOnceEach) {
    Folders item;
    EXPECT_EQ(item.GetObservableId(), 0xFFFFFFFFu);
    item.SetObservableId(7);
    EXPECT_EQ(item.GetObservableId(), 7u);

    std::string journal;
    RecordingObserver a, b;
    a.tag = "a";
    b.tag = "b";
    a.journal = b.journal = &journal;
    item.AddObserver(&a);
    item.AddObserver(&b);
    item.AddObserver(&a);
    item.NotifyObservers(2);
    EXPECT_EQ(journal, "aba");
    EXPECT_EQ(a.events.front().first, &item);
    EXPECT_EQ(a.events.front().second, 2u);

    item.RemoveObserver(&a);
    journal.clear();
    item.NotifyObservers(0);
    EXPECT_EQ(journal, "ba");
    RecordingObserver stranger;
    item.RemoveObserver(&stranger);
    EXPECT_EQ(item.observers.size(), 2u);
}

TEST_F(ItemTree, StorePlacesReplacesSwapsAndDestroysOnlyItsOwnChildren) {
    Folders root;
    Folders* a = Add(&root, MakeNode(ITEM_FOLDER, "a"));
    Folders* b = Add(&root, MakeNode(ITEM_FOLDER, "b"));
    root.AddChild(MakeNode(ITEM_FOLDER, "before-b"), b, false);
    root.AddChild(MakeNode(ITEM_FOLDER, "after-a"), a, true);
    Folders stranger;
    root.AddChild(MakeNode(ITEM_FOLDER, "first"), &stranger, false);
    root.AddChild(MakeNode(ITEM_FOLDER, "last"), &stranger, true);
    EXPECT_EQ(Names(root.children), "first a after-a before-b b last");
    for (ScenarioItem* child : root.children)
        EXPECT_EQ(child->parent, &root);

    root.SwapChildren(a, b);
    EXPECT_EQ(Names(root.children), "first b after-a before-b a last");
    root.SwapChildren(a, &stranger);
    EXPECT_EQ(Names(root.children), "first b after-a before-b a last");

    // An item whose parent is elsewhere is taken out but not destroyed.
    Folders* borrowed = MakeNode(ITEM_FOLDER, "borrowed");
    root.children.push_back(borrowed);
    borrowed->parent = &stranger;
    root.RemoveChild(borrowed);
    EXPECT_EQ(borrowed->name, "borrowed");
    delete borrowed;

    Folders* replacement = MakeNode(ITEM_FOLDER, "new");
    root.ReplaceChild(replacement, a);
    EXPECT_EQ(Names(root.children), "first b after-a before-b new last");
    EXPECT_EQ(replacement->parent, &root);
    delete a;
    Folders outsider;
    Folders* unplaced = MakeNode(ITEM_FOLDER, "unplaced");
    outsider.ReplaceChild(unplaced, &stranger);
    EXPECT_EQ(unplaced->parent, &outsider);
    EXPECT_TRUE(outsider.children.empty());
    delete unplaced;

    EXPECT_EQ(root.GetFirstChild()->name, "first");
    std::vector<ScenarioItem*> folders;
    root.GetChildren(folders, ITEM_FOLDER);
    EXPECT_EQ(folders.size(), 6u);
    folders.clear();
    root.GetChildren(folders, ITEM_ENUM);
    EXPECT_TRUE(folders.empty());

    root.RemoveAllChildren();
    EXPECT_TRUE(root.children.empty());
    EXPECT_EQ(root.GetFirstChild(), nullptr);
    EXPECT_ASSERTION(root.AddChild(nullptr, nullptr, true), "core/include/scenario/ScenarioItem", 251);
}

TEST_F(ItemTree, ScopedFindStaysInItsFile) {
    ItemPtr scenario(MakeNode(ITEM_SCENARIO, "sce"));
    scenario->fileName = "main.sce";
    Folders* task = Add(scenario.get(), MakeNode(ITEM_TASK, "t"));
    Add(task, MakeNode(ITEM_VARIABLE, "1"));
    Folders* include = Add(scenario.get(), MakeNode(ITEM_INCLUDE, "inc"));
    include->fileName = "lib.inc";
    Folders* included = Add(include, MakeNode(ITEM_VARIABLE, "2"));
    Folders* rule = Add(include, MakeNode(ITEM_RULE, "r"));
    Add(rule, MakeNode(ITEM_VARIABLE, "3"));

    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "2", ""), included);
    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "2", "lib.inc"), included);
    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "2", "other.inc"), nullptr);
    EXPECT_EQ(include->FindItem(ITEM_VARIABLE, "2", "other.inc"), nullptr);
    EXPECT_NE(scenario->FindItem(ITEM_VARIABLE, "1", "main.sce"), nullptr);
    // A rule keeps its variables to itself.
    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "3", ""), nullptr);
    EXPECT_EQ(rule->FindItem(ITEM_RULE, "r", ""), rule);
    const ScenarioItem* constScenario = scenario.get();
    EXPECT_EQ(constScenario->FindItem(ITEM_VARIABLE, "2", "lib.inc"), included);

    EXPECT_EQ(FindFileScope(rule), include);
    EXPECT_EQ(FindFileScope(task), scenario.get());
    EXPECT_EQ(FindFileScope(nullptr), nullptr);
    EXPECT_EQ(GetTreeRoot(rule), scenario.get());
    EXPECT_EQ(GetModelRoot(rule), scenario.get());
    EXPECT_EQ(GetModelRoot(scenario.get()), scenario.get());
    Folders model;
    scenarioRootModel = &model;
    EXPECT_EQ(GetModelRoot(rule), &model);
    EXPECT_EQ(FindOwningUnit(nullptr), nullptr);
}

TEST_F(ItemTree, UpwardFindSeesOnlySiblingsSubtrees) {
    ItemPtr root(MakeNode(ITEM_FOLDER, "root"));
    Folders* uncle = Add(root.get(), MakeNode(ITEM_FOLDER, "uncle"));
    Folders* parent = Add(root.get(), MakeNode(ITEM_FOLDER, "parent"));
    Folders* child = Add(parent, MakeNode(ITEM_FOLDER, "child"));
    Folders* sibling = Add(parent, MakeNode(ITEM_FOLDER, "sibling"));
    Folders* nephew = Add(sibling, MakeNode(ITEM_ENUM, "x"));
    EXPECT_EQ(child->FindItemUpward(ITEM_ENUM, "x"), nephew);
    EXPECT_EQ(child->FindItemUpward(ITEM_FOLDER, "child"), child);
    EXPECT_EQ(child->FindItemUpward(ITEM_FOLDER, "uncle"), nullptr);
    EXPECT_EQ(parent->FindItemUpward(ITEM_FOLDER, "uncle"), uncle);
    const ScenarioItem* constChild = child;
    EXPECT_EQ(constChild->FindItemUpward(ITEM_ENUM, "x"), nephew);
    EXPECT_EQ(root->FindItemUpward(ITEM_ENUM, "x"), nullptr);
}

TEST_F(ItemTree, CollectionsKeepDuplicatesSortByLabelAndStopAtIncludes) {
    ItemPtr root(MakeNode(ITEM_FOLDER, "root"));
    Add(root.get(), MakeNode(ITEM_VARIABLE, "v", "c"));
    Folders* function = Add(root.get(), MakeNode(ITEM_FUNCTION, "f", "b"));
    Add(function, MakeNode(ITEM_PARAMETER, "p1", "z"));
    Add(function, MakeNode(ITEM_PARAMETER, "p2", "y"));
    Folders* include = Add(root.get(), MakeNode(ITEM_INCLUDE, "inc", "a"));
    Add(include, MakeNode(ITEM_VARIABLE, "v", "d"));

    std::vector<ScenarioItem*> found;
    root->CollectItems(ITEM_VARIABLE, "v", found, true, true);
    EXPECT_EQ(found.size(), 2u);
    found.clear();
    root->CollectItems(ITEM_VARIABLE, "v", found, true, false);
    EXPECT_EQ(found.size(), 1u);
    found.clear();
    root->CollectItems(ITEM_FOLDER, "root", found, false, true);
    EXPECT_TRUE(found.empty());

    found.clear();
    root->CollectItemsOfKind(found, ITEM_VARIABLE, false, true);
    EXPECT_EQ(Names(found), "v v");
    EXPECT_EQ(found[0]->label, "d");
    // Each parameter of a callable comes twice, in label order first.
    found.clear();
    root->CollectItemsOfKind(found, ITEM_PARAMETER, true, true);
    EXPECT_EQ(Names(found), "p2 p1 p1 p2");
    // Self is taken for its kind whatever includeSelf says.
    found.clear();
    function->CollectItemsOfKind(found, ITEM_FUNCTION, false, true);
    EXPECT_EQ(Names(found), "f");
    found.clear();
    root->CollectItemsOfKind(found, ITEM_NONE, true, false);
    EXPECT_EQ(Names(found), "root f p2 p1 v");

    std::vector<const ScenarioItem*> constFound;
    const ScenarioItem* constRoot = root.get();
    constRoot->CollectItemsOfKind(constFound, ITEM_VARIABLE, true, false);
    EXPECT_EQ(constFound.size(), 1u);
    constFound.clear();
    constRoot->CollectItems(ITEM_VARIABLE, "v", constFound, true, true);
    EXPECT_EQ(constFound.size(), 2u);
}

TEST_F(ItemTree, VisibleItemsComeOutermostFirstAndStopAtAnInclude) {
    ItemPtr scenario(MakeNode(ITEM_SCENARIO, "sce"));
    scenario->fileName = "s.sce";
    Add(scenario.get(), MakeNode(ITEM_VARIABLE, "1"));
    Add(scenario.get(), MakeNode(ITEM_VARIABLE, "2"));
    Folders* task = Add(scenario.get(), MakeNode(ITEM_TASK, "t"));
    Add(task, MakeNode(ITEM_VARIABLE, "3"));
    Folders* include = Add(task, MakeNode(ITEM_INCLUDE, "inc"));
    include->fileName = "i.inc";
    Folders* inner = Add(include, MakeNode(ITEM_TASK, "it"));
    Add(inner, MakeNode(ITEM_VARIABLE, "4"));

    std::vector<ScenarioItem*> visible;
    task->CollectVisibleItems(ITEM_VARIABLE, visible, "", "");
    EXPECT_EQ(Names(visible), "1 2 3");
    visible.clear();
    inner->CollectVisibleItems(ITEM_VARIABLE, visible, "", "");
    EXPECT_EQ(Names(visible), "4");
    visible.clear();
    task->CollectVisibleItems(ITEM_VARIABLE, visible, "2", "s.sce");
    EXPECT_EQ(Names(visible), "2");
    visible.clear();
    task->CollectVisibleItems(ITEM_VARIABLE, visible, "", "i.inc");
    EXPECT_TRUE(visible.empty());
    visible.clear();
    task->CollectVisibleItems(ITEM_NONE, visible, "", "");
    EXPECT_TRUE(visible.empty());
}

TEST_F(ItemTree, UniqueLabelsGrowLeadingUnderscores) {
    Folders task;
    task.kind = ITEM_TASK;
    auto variable = [&](const std::string& label) {
        ScenarioItem* v = CreateItem(ITEM_VARIABLE, "", nullptr);
        v->label = label;
        task.AddChild(v, nullptr, true);
        return v;
    };
    variable("a");
    variable("_a");
    ScenarioItem* third = variable("a");
    EXPECT_FALSE(third->MakeUniqueLabel());
    EXPECT_EQ(third->label, "__a");
    ScenarioItem* fresh = variable("b");
    EXPECT_TRUE(fresh->MakeUniqueLabel());
    EXPECT_EQ(fresh->label, "b");
}

TEST_F(ItemTree, CloneNormalisesFlagsAndCopiesTheSubtree) {
    ItemPtr root(CreateItem(ITEM_FOLDER, "root", nullptr));
    root->label = "L";
    root->isSelected = "yes";
    root->isExpanded = "1";
    root->fileName = "a/b";
    root->resolvedPath = "x//y/z";
    root->hostWord = 42;
    root->reservedWord = 7;
    ScenarioItem* child = CreateItem(ITEM_ENUMTAB, "tab", nullptr);
    root->AddChild(child, nullptr, true);
    child->AddChild(CreateItem(ITEM_ENUM, "0", nullptr), nullptr, true);

    ItemPtr copy(root->Clone());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->label, "L");
    EXPECT_EQ(copy->isSelected, "0");
    EXPECT_EQ(copy->isExpanded, "1");
    EXPECT_EQ(copy->isaIndex, "0");
    EXPECT_EQ(copy->fileName, "a/b");
    EXPECT_EQ(copy->resolvedPath, "x\\y\\z");
    EXPECT_EQ(copy->hostWord, 42u);
    EXPECT_EQ(copy->reservedWord, 0u);
    EXPECT_EQ(DumpTree(*copy), DumpTree(*root));
    ScenarioItem* copiedTab = copy->GetFirstChild();
    EXPECT_NE(copiedTab, child);
    EXPECT_EQ(copiedTab->parent, copy.get());
    EXPECT_NE(dynamic_cast<Enum*>(copiedTab->GetFirstChild()), nullptr);
    // Only flags equal to "1" are written.
    EXPECT_EQ(SaveText(*copy).find("IS_SELECTED"), std::string::npos);
}

TEST_F(ItemTree, DepthFirstSearchesAndDisplayTexts) {
    ItemPtr root(MakeNode(ITEM_FOLDER, "root", "R"));
    Folders* a = Add(root.get(), MakeNode(ITEM_FOLDER, "a", "A"));
    Folders* deep = Add(a, MakeNode(ITEM_ENUM, "deep", "X"));
    Folders* later = Add(root.get(), MakeNode(ITEM_ENUM, "later", "X"));
    EXPECT_EQ(root->FindFirstOfKind(ITEM_ENUM), deep);
    EXPECT_EQ(root->FindFirstOfKind(ITEM_FOLDER), root.get());
    EXPECT_EQ(root->FindFirstOfKind(ITEM_RULE), nullptr);
    EXPECT_EQ(root->FindByLabel("X"), deep);
    EXPECT_EQ(root->FindByLabel("x"), nullptr);
    EXPECT_TRUE(root->ContainsItem(later));
    EXPECT_TRUE(a->ContainsItem(a));
    EXPECT_FALSE(a->ContainsItem(later));
    EXPECT_TRUE(root->IsValid());

    root->UpdateDisplayTextTree();
    EXPECT_EQ(root->displayText, "R");
    EXPECT_EQ(deep->displayText, "X");
}

TEST_F(ItemTree, NullChildrenEndTheProcessAtEachWalk) {
    // A folder whose store hands out a null entry, whatever the filter.
    struct HoleyFolder : Folders {
        void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const override {
            Folders::GetChildren(out, kindFilter);
            out.push_back(nullptr);
        }
    };
    ItemPtr root(new HoleyFolder());
    root->kind = ITEM_FOLDER;
    Folders* child = Add(root.get(), MakeNode(ITEM_FOLDER, "child"));
    const ScenarioItem* constRoot = root.get();
    std::vector<ScenarioItem*> out;
    std::vector<const ScenarioItem*> constOut;
    std::ostringstream sink;

    EXPECT_ASSERTION(root->Clone(), "ScenarioItem", 445);
    EXPECT_ASSERTION(root->SaveChildren(sink), "ScenarioItem", 757);
    EXPECT_ASSERTION(root->UpdateDisplayTextTree(), "ScenarioItem", 779);
    EXPECT_ASSERTION(root->FindItem(ITEM_ENUM, "x", ""), "ScenarioItem", 862);
    EXPECT_ASSERTION(constRoot->FindItem(ITEM_ENUM, "x", ""), "ScenarioItem", 909);
    EXPECT_ASSERTION(child->FindItemUpward(ITEM_ENUM, "x"), "ScenarioItem", 957);
    EXPECT_ASSERTION(static_cast<const ScenarioItem*>(child)->FindItemUpward(ITEM_ENUM, "x"), "ScenarioItem",
                     996);
    EXPECT_ASSERTION(root->CollectItemsOfKind(out, ITEM_ENUM, true, true), "ScenarioItem", 1050);
    EXPECT_ASSERTION(constRoot->CollectItemsOfKind(constOut, ITEM_ENUM, true, true), "ScenarioItem", 1086);
    EXPECT_ASSERTION(root->CollectItems(ITEM_ENUM, "x", out, true, true), "ScenarioItem", 1129);
    EXPECT_ASSERTION(constRoot->CollectItems(ITEM_ENUM, "x", constOut, true, true), "ScenarioItem", 1152);
    EXPECT_ASSERTION(root->FindFirstOfKind(ITEM_ENUM), "ScenarioItem", 1183);
    EXPECT_ASSERTION(root->ContainsItem(nullptr), "ScenarioItem", 1366);
    EXPECT_ASSERTION(root->FindByLabel("none"), "ScenarioItem", 1422);
    EXPECT_ASSERTION(root->CollectVisibleItems(ITEM_VARIABLE, out, "", ""), "ScenarioItem", 1442);
    // Without a kind there is no walk over the children.
    EXPECT_ASSERTION(root->CollectVisibleItems(ITEM_NONE, out, "", ""), "", -1);
}

TEST_F(ItemTree, PathHelpers) {
    struct Case {
        std::string in, out;
    };
    for (const Case& c : std::vector<Case>{{"a/b//c", "a\\b\\c"},
                                           {"/root/x", "/root\\x"},
                                           {"\\\\server\\\\share", "\\\\server\\share"},
                                           {"//server/share", "/\\server\\share"},
                                           {"a\\\\\\b", "a\\b"},
                                           {"", ""}}) {
        std::string path = c.in;
        NormalizePath(path);
        EXPECT_EQ(path, c.out) << c.in;
    }
    std::string longPath(3000, 'p');
    longPath += "//end";
    NormalizePath(longPath);
    EXPECT_EQ(longPath, std::string(3000, 'p') + "\\end");

    EXPECT_STREQ(FileNameOf("data\\images/car.png"), "car.png");
    EXPECT_STREQ(FileNameOf("plain"), "plain");
    EXPECT_STREQ(FileNameOf("dir/"), "");
    EXPECT_STREQ(FileNameOf(nullptr), "");

    EXPECT_EQ(ParameterFileOf("x.sc"), "x.par");
    EXPECT_EQ(ParameterFileOf("scene.xyz"), "scene.xpar");
    EXPECT_EQ(ParameterFileOf("a"), "par");
    EXPECT_EQ(ParameterFileOf(""), "");
}

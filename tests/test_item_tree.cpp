#include "ModelTestSupport.h"

#include <functional>
#include <typeindex>

using namespace modeltest;

namespace {

// A folder standing in for the kinds whose classes are not part of this test
// (the walks look at `kind` only), added under `parent` when one is given.
Folders* Node(ScenarioItem* parent, uint32_t kind, const std::string& name, const std::string& label = "") {
    Folders* node = new Folders();
    node->kind = kind;
    node->name = name;
    node->label = label;
    if (parent)
        parent->AddChild(node, nullptr, true);
    return node;
}

std::string Names(const std::vector<ScenarioItem*>& items) {
    std::string out;
    for (const ScenarioItem* item : items)
        out += (out.empty() ? "" : " ") + item->name;
    return out;
}

using ItemTree = ModelTest;

} // namespace

TEST_F(ItemTree, KeywordsKindsAndTheFactory) {
    for (uint32_t kind = 1; kind <= 27; ++kind)
        EXPECT_EQ(KindFromKeyword(KindKeyword(kind)), kind);
    EXPECT_STREQ(KindKeyword(1), "ACTION");
    EXPECT_STREQ(KindKeyword(18), "MODIFIER");
    EXPECT_STREQ(KindKeyword(27), "VARIABLE");
    for (uint32_t kind : {0u, 28u, 0xFFFFFFFFu})
        EXPECT_STREQ(KindKeyword(kind), "");
    for (const char* keyword : {"action", "", static_cast<const char*>(nullptr), "ACTIONS"})
        EXPECT_EQ(KindFromKeyword(keyword), 0u);

    const std::vector<std::pair<uint32_t, std::type_index>> made = {
        {ITEM_CONFIG, typeid(Config)},    {ITEM_ENUM, typeid(Enum)},   {ITEM_ENUMTAB, typeid(EnumTab)},
        {ITEM_FOLDER, typeid(Folders)},   {ITEM_GROUP, typeid(Group)}, {ITEM_PROGRAM, typeid(Program)},
        {ITEM_VARIABLE, typeid(Variable)}};
    for (const auto& [kind, type] : made) {
        ItemPtr item(CreateItem(kind, "n", nullptr));
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(std::type_index(typeid(*item)), type) << kind;
        EXPECT_EQ(item->kind, kind);
    }
    for (uint32_t kind : {0u, 3u, 10u, 11u, 16u, 18u, 24u, 26u, 28u})
        EXPECT_EQ(AssertionAt([&] { CreateItem(kind, "n", nullptr); }), "ScenarioItem:122");
}

TEST_F(ItemTree, ObserversAreCalledInOrderAndRemovedOnceEach) {
    struct Recorder : ScenarioItemObserver {
        Recorder(const char* name, std::string* into) : tag(name), journal(into) {}
        std::string tag;
        std::string* journal;
        ScenarioItemObservable* source = nullptr;
        void OnItemEvent(ScenarioItemObservable* from, uint32_t event) override {
            *journal += tag + std::to_string(event);
            source = from;
        }
    };
    Folders item;
    EXPECT_EQ(item.GetObservableId(), 0xFFFFFFFFu);
    std::string journal;
    Recorder a("a", &journal), b("b", &journal), stranger("s", &journal);
    item.AddObserver(&a);
    item.AddObserver(&b);
    item.AddObserver(&a);
    item.NotifyObservers(2);
    EXPECT_EQ(journal, "a2b2a2");
    EXPECT_EQ(a.source, &item);
    item.RemoveObserver(&a);
    item.RemoveObserver(&stranger);
    journal.clear();
    item.NotifyObservers(0);
    EXPECT_EQ(journal, "b0a0");
    EXPECT_EQ(item.observers.size(), 2u);
}

TEST_F(ItemTree, StorePlacesReplacesSwapsAndDestroysOnlyItsOwnChildren) {
    Folders root, stranger;
    Folders* a = Node(&root, ITEM_FOLDER, "a");
    Folders* b = Node(&root, ITEM_FOLDER, "b");
    root.AddChild(Node(nullptr, ITEM_FOLDER, "before-b"), b, false);
    root.AddChild(Node(nullptr, ITEM_FOLDER, "after-a"), a, true);
    root.AddChild(Node(nullptr, ITEM_FOLDER, "first"), &stranger, false);
    root.AddChild(Node(nullptr, ITEM_FOLDER, "last"), &stranger, true);
    EXPECT_EQ(Names(root.children), "first a after-a before-b b last");
    for (ScenarioItem* child : root.children)
        EXPECT_EQ(child->parent, &root);
    root.SwapChildren(a, b);
    root.SwapChildren(a, &stranger);
    EXPECT_EQ(Names(root.children), "first b after-a before-b a last");

    // An item whose parent is elsewhere is taken out but not destroyed.
    std::unique_ptr<Folders> borrowed(Node(nullptr, ITEM_FOLDER, "borrowed"));
    root.children.push_back(borrowed.get());
    borrowed->parent = &stranger;
    root.RemoveChild(borrowed.get());
    EXPECT_EQ(borrowed->name, "borrowed");

    Folders* replacement = Node(nullptr, ITEM_FOLDER, "new");
    root.ReplaceChild(replacement, a);
    EXPECT_EQ(Names(root.children), "first b after-a before-b new last");
    EXPECT_EQ(replacement->parent, &root);
    delete a;
    Folders outsider;
    std::unique_ptr<Folders> unplaced(Node(nullptr, ITEM_FOLDER, "unplaced"));
    outsider.ReplaceChild(unplaced.get(), &stranger);
    EXPECT_EQ(unplaced->parent, &outsider);
    EXPECT_TRUE(outsider.children.empty());

    EXPECT_EQ(root.GetFirstChild()->name, "first");
    std::vector<ScenarioItem*> folders, enums;
    root.GetChildren(folders, ITEM_FOLDER);
    root.GetChildren(enums, ITEM_ENUM);
    EXPECT_EQ(folders.size(), 6u);
    EXPECT_TRUE(enums.empty());
    root.RemoveAllChildren();
    EXPECT_TRUE(root.children.empty());
    EXPECT_EQ(root.GetFirstChild(), nullptr);
    EXPECT_EQ(AssertionAt([&] { root.AddChild(nullptr, nullptr, true); }),
              "core/include/scenario/ScenarioItem:251");
}

TEST_F(ItemTree, FindsStayInTheirFileScopeAndOrder) {
    ItemPtr scenario(Node(nullptr, ITEM_SCENARIO, "sce"));
    scenario->fileName = "main.sce";
    Folders* task = Node(scenario.get(), ITEM_TASK, "t");
    Node(task, ITEM_VARIABLE, "1");
    Folders* include = Node(scenario.get(), ITEM_INCLUDE, "inc");
    include->fileName = "lib.inc";
    Folders* included = Node(include, ITEM_VARIABLE, "2");
    Folders* rule = Node(include, ITEM_RULE, "r");
    Node(rule, ITEM_VARIABLE, "3");

    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "2", ""), included);
    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "2", "lib.inc"), included);
    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "2", "other.inc"), nullptr);
    EXPECT_EQ(include->FindItem(ITEM_VARIABLE, "2", "other.inc"), nullptr);
    EXPECT_NE(scenario->FindItem(ITEM_VARIABLE, "1", "main.sce"), nullptr);
    // A rule keeps its variables to itself.
    EXPECT_EQ(scenario->FindItem(ITEM_VARIABLE, "3", ""), nullptr);
    EXPECT_EQ(rule->FindItem(ITEM_RULE, "r", ""), rule);
    EXPECT_EQ(static_cast<const ScenarioItem*>(scenario.get())->FindItem(ITEM_VARIABLE, "2", "lib.inc"),
              included);

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

    // Upward, an item sees the subtrees of its siblings but not its uncles;
    // depth first, the first branch is searched to its end before the next.
    ItemPtr root(Node(nullptr, ITEM_FOLDER, "root"));
    Folders* uncle = Node(root.get(), ITEM_FOLDER, "uncle");
    Folders* parent = Node(root.get(), ITEM_FOLDER, "parent");
    Folders* child = Node(parent, ITEM_FOLDER, "child");
    Folders* nephew = Node(Node(parent, ITEM_FOLDER, "sibling"), ITEM_ENUM, "x", "X");
    Folders* later = Node(root.get(), ITEM_ENUM, "later", "X");
    EXPECT_EQ(child->FindItemUpward(ITEM_ENUM, "x"), nephew);
    EXPECT_EQ(static_cast<const ScenarioItem*>(child)->FindItemUpward(ITEM_ENUM, "x"), nephew);
    EXPECT_EQ(child->FindItemUpward(ITEM_FOLDER, "child"), child);
    EXPECT_EQ(child->FindItemUpward(ITEM_FOLDER, "uncle"), nullptr);
    EXPECT_EQ(parent->FindItemUpward(ITEM_FOLDER, "uncle"), uncle);
    EXPECT_EQ(root->FindItemUpward(ITEM_ENUM, "x"), nullptr);
    EXPECT_EQ(root->FindFirstOfKind(ITEM_ENUM), nephew);
    EXPECT_EQ(root->FindFirstOfKind(ITEM_FOLDER), root.get());
    EXPECT_EQ(root->FindFirstOfKind(ITEM_RULE), nullptr);
    EXPECT_EQ(root->FindByLabel("X"), nephew);
    EXPECT_EQ(root->FindByLabel("x"), nullptr);
    EXPECT_TRUE(root->ContainsItem(later));
    EXPECT_TRUE(parent->ContainsItem(parent));
    EXPECT_FALSE(parent->ContainsItem(later));
    // An item shows its label unless its class says otherwise.
    root->UpdateDisplayTextTree();
    EXPECT_EQ(nephew->displayText, "X");
}

TEST_F(ItemTree, CollectionsKeepDuplicatesSortByLabelAndStopAtIncludes) {
    ItemPtr root(Node(nullptr, ITEM_FOLDER, "root"));
    Node(root.get(), ITEM_VARIABLE, "v", "c");
    Folders* function = Node(root.get(), ITEM_FUNCTION, "f", "b");
    Node(function, ITEM_PARAMETER, "p1", "z");
    Node(function, ITEM_PARAMETER, "p2", "y");
    Node(Node(root.get(), ITEM_INCLUDE, "inc", "a"), ITEM_VARIABLE, "v", "d");

    auto collect = [&](ScenarioItem* from, uint32_t kind, bool self, bool includes) {
        std::vector<ScenarioItem*> found;
        from->CollectItemsOfKind(found, kind, self, includes);
        return Names(found);
    };
    auto byName = [&](uint32_t kind, const char* name, bool self, bool includes) {
        std::vector<ScenarioItem*> found;
        root->CollectItems(kind, name, found, self, includes);
        return Names(found);
    };
    EXPECT_EQ(byName(ITEM_VARIABLE, "v", true, true), "v v");
    EXPECT_EQ(byName(ITEM_VARIABLE, "v", true, false), "v");
    EXPECT_EQ(byName(ITEM_FOLDER, "root", false, true), "");
    std::vector<ScenarioItem*> variables;
    root->CollectItemsOfKind(variables, ITEM_VARIABLE, false, true);
    ASSERT_EQ(Names(variables), "v v");
    EXPECT_EQ(variables[0]->label, "d");
    // Each parameter of a callable comes twice, in label order first.
    EXPECT_EQ(collect(root.get(), ITEM_PARAMETER, true, true), "p2 p1 p1 p2");
    // Self is taken for its kind whatever includeSelf says.
    EXPECT_EQ(collect(function, ITEM_FUNCTION, false, true), "f");
    EXPECT_EQ(collect(root.get(), ITEM_NONE, true, false), "root f p2 p1 v");

    std::vector<const ScenarioItem*> constFound;
    const ScenarioItem* constRoot = root.get();
    constRoot->CollectItemsOfKind(constFound, ITEM_VARIABLE, true, false);
    EXPECT_EQ(constFound.size(), 1u);
    constFound.clear();
    constRoot->CollectItems(ITEM_VARIABLE, "v", constFound, true, true);
    EXPECT_EQ(constFound.size(), 2u);
}

TEST_F(ItemTree, VisibleItemsComeOutermostFirstAndStopAtAnInclude) {
    ItemPtr scenario(Node(nullptr, ITEM_SCENARIO, "sce"));
    scenario->fileName = "s.sce";
    Node(scenario.get(), ITEM_VARIABLE, "1");
    Node(scenario.get(), ITEM_VARIABLE, "2");
    Folders* task = Node(scenario.get(), ITEM_TASK, "t");
    Node(task, ITEM_VARIABLE, "3");
    Folders* include = Node(task, ITEM_INCLUDE, "inc");
    include->fileName = "i.inc";
    Folders* inner = Node(include, ITEM_TASK, "it");
    Node(inner, ITEM_VARIABLE, "4");

    auto visible = [](ScenarioItem* from, uint32_t kind, const char* name, const char* file) {
        std::vector<ScenarioItem*> found;
        from->CollectVisibleItems(kind, found, name, file);
        return Names(found);
    };
    EXPECT_EQ(visible(task, ITEM_VARIABLE, "", ""), "1 2 3");
    EXPECT_EQ(visible(inner, ITEM_VARIABLE, "", ""), "4");
    EXPECT_EQ(visible(task, ITEM_VARIABLE, "2", "s.sce"), "2");
    EXPECT_EQ(visible(task, ITEM_VARIABLE, "", "i.inc"), "");
    EXPECT_EQ(visible(task, ITEM_NONE, "", ""), "");
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
    EXPECT_EQ(copy->label + copy->isSelected + copy->isExpanded + copy->isaIndex, "L010");
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
    Folders* child = Node(root.get(), ITEM_FOLDER, "child");
    const ScenarioItem* constRoot = root.get();
    const ScenarioItem* constChild = child;
    std::vector<ScenarioItem*> out;
    std::vector<const ScenarioItem*> constOut;
    std::ostringstream sink;
    const std::vector<std::pair<std::function<void()>, std::string>> walks = {
        {[&] { root->Clone(); }, "ScenarioItem:445"},
        {[&] { root->SaveChildren(sink); }, "ScenarioItem:757"},
        {[&] { root->UpdateDisplayTextTree(); }, "ScenarioItem:779"},
        {[&] { root->FindItem(ITEM_ENUM, "x", ""); }, "ScenarioItem:862"},
        {[&] { constRoot->FindItem(ITEM_ENUM, "x", ""); }, "ScenarioItem:909"},
        {[&] { child->FindItemUpward(ITEM_ENUM, "x"); }, "ScenarioItem:957"},
        {[&] { constChild->FindItemUpward(ITEM_ENUM, "x"); }, "ScenarioItem:996"},
        {[&] { root->CollectItemsOfKind(out, ITEM_ENUM, true, true); }, "ScenarioItem:1050"},
        {[&] { constRoot->CollectItemsOfKind(constOut, ITEM_ENUM, true, true); }, "ScenarioItem:1086"},
        {[&] { root->CollectItems(ITEM_ENUM, "x", out, true, true); }, "ScenarioItem:1129"},
        {[&] { constRoot->CollectItems(ITEM_ENUM, "x", constOut, true, true); }, "ScenarioItem:1152"},
        {[&] { root->FindFirstOfKind(ITEM_ENUM); }, "ScenarioItem:1183"},
        {[&] { root->ContainsItem(nullptr); }, "ScenarioItem:1366"},
        {[&] { root->FindByLabel("none"); }, "ScenarioItem:1422"},
        {[&] { root->CollectVisibleItems(ITEM_VARIABLE, out, "", ""); }, "ScenarioItem:1442"},
        // Without a kind there is no walk over the children.
        {[&] { root->CollectVisibleItems(ITEM_NONE, out, "", ""); }, "none"}};
    for (const auto& [walk, where] : walks)
        EXPECT_EQ(AssertionAt(walk), where);
}

TEST_F(ItemTree, PathHelpers) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a/b//c", "a\\b\\c"},
        {"/root/x", "/root\\x"},
        {"\\\\server\\\\share", "\\\\server\\share"},
        {"//server/share", "/\\server\\share"},
        {"a\\\\\\b", "a\\b"},
        {"", ""},
        {std::string(3000, 'p') + "//end", std::string(3000, 'p') + "\\end"}};
    for (const auto& [in, expected] : cases) {
        std::string path = in;
        NormalizePath(path);
        EXPECT_EQ(path, expected) << in;
    }
    EXPECT_STREQ(FileNameOf("data\\images/car.png"), "car.png");
    EXPECT_STREQ(FileNameOf("plain"), "plain");
    EXPECT_STREQ(FileNameOf("dir/"), "");
    EXPECT_STREQ(FileNameOf(nullptr), "");
    EXPECT_EQ(ParameterFileOf("x.sc"), "x.par");
    EXPECT_EQ(ParameterFileOf("scene.xyz"), "scene.xpar");
    EXPECT_EQ(ParameterFileOf("a"), "par");
    EXPECT_EQ(ParameterFileOf(""), "");
}

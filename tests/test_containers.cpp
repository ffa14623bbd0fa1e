#include "ModelTestSupport.h"

using namespace modeltest;

namespace {

std::unique_ptr<Config> ParseConfig(const std::string& attributes) {
    return ParseBlock<Config>("CONFIG", attributes);
}

using Containers = ModelTest;

} // namespace

TEST_F(Containers, ConfigFillsItsDefaultsAtTheEndAndWritesEverySetting) {
    auto config = ParseConfig("");
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(SaveText(*config), "\nTYPEOF CONFIG\n{\n"
                                 "\tREQUEST_DELAY=\"1\"\n"
                                 "\tWAITMSG_DELAY=\"500\"\n"
                                 "\tUPDATE_DELAY=\"1\"\n"
                                 "\tNUMOF_UNDOS=\"5\"\n"
                                 "\tSTUDENT=\"\"\n"
                                 "\tTRAINING=\"\"\n"
                                 "\tEVALUATION=\"\"\n"
                                 "\tSESSION=\"\"\n"
                                 "\tHISTORY=\"\"\n"
                                 "}\n");

    auto given = ParseConfig("\tWAITMSG_DELAY=\"20\"\n\tREQUEST_DELAY=\"\"\n\tLABEL=\"settings\"\n"
                             "\tGENERAL_PARAMETERS_ACTIVE=\"1\"\n");
    ASSERT_NE(given, nullptr);
    EXPECT_EQ(given->waitMsgDelay, "20");
    EXPECT_EQ(given->requestDelay, "1");
    EXPECT_EQ(given->label, "settings");
    EXPECT_TRUE(given->generalParametersActive);
    // Label and flags are read but never written.
    const std::string saved = SaveText(*given);
    EXPECT_EQ(saved.find("LABEL"), std::string::npos);
    EXPECT_EQ(saved.find("ACTIVE"), std::string::npos);
}

TEST_F(Containers, ConfigKeysMatchByPrefixSoEvaluationMustComeFirst) {
    auto early = ParseConfig("\tEVALUATION_ACTIVE=\"1\"\n");
    ASSERT_NE(early, nullptr);
    EXPECT_EQ(early->evaluation, "CTIVE=");
    EXPECT_FALSE(early->evaluationActive);

    auto ordered = ParseConfig("\tEVALUATION=\"e.ev\"\n\tEVALUATION_ACTIVE=\"1\"\n");
    ASSERT_NE(ordered, nullptr);
    EXPECT_EQ(ordered->evaluation, "e.ev");
    EXPECT_TRUE(ordered->evaluationActive);
    auto reloaded = Parse<Config>(WithCrLf(SaveText(*ordered)));
    ASSERT_NE(reloaded, nullptr);
    EXPECT_FALSE(reloaded->evaluationActive);

    // Only "1" sets a flag, and a later line may still set it.
    auto wordy = ParseConfig("\tEVALUATION=\"e\"\n\tEVALUATION_ACTIVE=\"true\"\n\tEVALUATION_ACTIVE=\"1\"\n");
    ASSERT_NE(wordy, nullptr);
    EXPECT_TRUE(wordy->evaluationActive);
    auto falseOnly = ParseConfig("\tEVALUATION=\"e\"\n\tEVALUATION_ACTIVE=\"true\"\n");
    ASSERT_NE(falseOnly, nullptr);
    EXPECT_FALSE(falseOnly->evaluationActive);

    // A key whose field is filled finds no test any more.
    EXPECT_EQ(ParseConfig("\tSTUDENT=\"a\"\n\tSTUDENT=\"b\"\n"), nullptr);
    EXPECT_NE(ParseConfig("\tSTUDENT=\"\"\n\tSTUDENT=\"b\"\n"), nullptr);
}

TEST_F(Containers, ConfigAcceptsAnyChildAndCloneCarriesNoSettings) {
    auto config = ParseConfig("\tSTUDENT=\"s\"\n\tTYPEOF FOLDER (f)\n\t{\n\t}\n");
    ASSERT_NE(config, nullptr);
    ASSERT_EQ(config->children.size(), 1u);
    EXPECT_EQ(config->children[0]->parent, config.get());
    std::unique_ptr<Config> clone(dynamic_cast<Config*>(config->Clone()));
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->student, "");
    ASSERT_EQ(clone->children.size(), 1u);
    // The children of a config are not destroyed with it.
    std::unique_ptr<ScenarioItem> child(clone->children[0]);
    clone.reset();
    config->RemoveChild(config->children[0]);
    EXPECT_TRUE(config->children.empty());
}

TEST_F(Containers, ChildKindsThatEachContainerAccepts) {
    struct Case {
        uint32_t container, child;
        bool accepted;
    };
    const std::vector<Case> cases = {
        {ITEM_ENUMTAB, ITEM_ENUM, true},     {ITEM_ENUMTAB, ITEM_VARIABLE, false},
        {ITEM_ENUMTAB, ITEM_FOLDER, false},  {ITEM_GROUP, ITEM_GROUP, true},
        {ITEM_GROUP, ITEM_SCENARIO, true},   {ITEM_GROUP, ITEM_PROGRAM, false},
        {ITEM_GROUP, ITEM_FOLDER, false},    {ITEM_PROGRAM, ITEM_GROUP, true},
        {ITEM_PROGRAM, ITEM_SCENARIO, true}, {ITEM_PROGRAM, ITEM_PROGRAM, false},
        {ITEM_FOLDER, ITEM_PROGRAM, true},   {ITEM_FOLDER, ITEM_VARIABLE, true},
        {ITEM_CONFIG, ITEM_ENUMTAB, true},   {ITEM_VARIABLE, ITEM_VARIABLE, false},
    };
    for (const Case& c : cases) {
        ItemPtr container(CreateItem(c.container, "c", nullptr));
        EXPECT_EQ(container->AcceptsChildKind(c.child), c.accepted)
            << KindKeyword(c.container) << " " << KindKeyword(c.child);
    }
    EXPECT_EQ(ParseBlock("PROGRAM (p)", "\tTYPEOF PROGRAM (q)\n\t{\n\t}\n"), nullptr);
}

TEST_F(Containers, FoldersTakeOneLabelAndAlwaysWriteIt) {
    ItemPtr folder = ParseBlock("FOLDER (f)", "\tLABEL=\"\"\n\tLABEL=\"second\"\n");
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(folder->label, "second");

    ItemPtr program = ParseBlock("PROGRAM (p)", "\tIS_EXPANDED=\"1\"\n\tLABEL=\"P\"\n");
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(SaveText(*program), "\nTYPEOF PROGRAM (p)\n{\n\tIS_EXPANDED=\"1\"\n\tLABEL=\"P\"\n}\n");
    ItemPtr copy(program->Clone());
    EXPECT_NE(dynamic_cast<Program*>(copy.get()), nullptr);
    EXPECT_EQ(copy->label, "P");
}

TEST_F(Containers, EnumTabFindsEntriesByNameAndShowsNameAndLabel) {
    auto table =
        ParseBlock<EnumTab>("ENUMTAB (A)", "\tLABEL=\"B\"\n\tTYPEOF ENUM (0)\n\t{\n\t\tLABEL=\"left\"\n\t}\n"
                                           "\tTYPEOF ENUM (1)\n\t{\n\t\tLABEL=\"right\"\n\t}\n");
    ASSERT_NE(table, nullptr);
    ASSERT_NE(table->FindEntry("1"), nullptr);
    EXPECT_EQ(table->FindEntry("1")->label, "right");
    EXPECT_EQ(table->FindEntry("right"), nullptr);
    EXPECT_EQ(table->FindEntry(""), nullptr);
    table->UpdateDisplayTextTree();
    EXPECT_EQ(table->displayText, "A    (B)");
    EXPECT_EQ(table->FindEntry("0")->displayText, "0    (left)");
}

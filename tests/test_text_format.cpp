#include "ModelTestSupport.h"

#include <fstream>
#include <iterator>

using namespace modeltest;

namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

const std::string kEveryClass = std::string(TAVREL_TEST_DATA) + "/model/every_class.mdl";

class TextFormat : public TempFolder {
protected:
    void TearDown() override {
        scenarioDepth = 0;
        TempFolder::TearDown();
    }

    /// Loads `content` from a file and returns what the log received.
    std::string LoadFailure(const std::string& content, const std::string& name = "bad.mdl") {
        std::string path = WriteFile(name, content);
        std::ostringstream log;
        ItemPtr item(LoadScenarioFile(path.c_str(), &log, false));
        EXPECT_EQ(item, nullptr);
        return log.str();
    }

    std::string RowMessage(const std::string& name, int row, const std::string& rest) {
        return "\x04" + folder + "/" + name + " - row " + std::to_string(row) + ":\n" + rest + "\n";
    }
};

} // namespace

TEST_F(TextFormat, FileOfEveryClassLoadsSavesAndReloadsToTheSameBytes) {
    std::ostringstream log;
    ItemPtr root(LoadScenarioFile(kEveryClass.c_str(), &log, false));
    ASSERT_NE(root, nullptr) << log.str();
    EXPECT_EQ(log.str(), "");
    EXPECT_EQ(DumpTree(*root), "FOLDER (ROOT) Every class\n"
                               " CONFIG () \n"
                               " ENUMTAB (Colors) Traffic light colours\n"
                               "  ENUM (0) red\n"
                               "  ENUM (1) amber\n"
                               " VARIABLE (3) speed limit\n"
                               " VARIABLE (4) greeting\n"
                               " PROGRAM (Main) Main program\n"
                               "  GROUP (G1) Group one\n"
                               "   GROUP (G2) \n"
                               " FOLDER (Index) An index entry\n");
    EXPECT_TRUE(root->IsSelected());
    EXPECT_EQ(scenarioLog, &log);

    // The file is in the writer's own form: saving gives it back byte for byte.
    const std::string saved = WithCrLf(SaveText(*root));
    EXPECT_EQ(saved, ReadAll(kEveryClass));
    EXPECT_EQ(scenarioDepth, 0);

    ItemPtr again = Parse(saved, &log);
    ASSERT_NE(again, nullptr) << log.str();
    EXPECT_EQ(DumpTree(*again), DumpTree(*root));
    EXPECT_EQ(WithCrLf(SaveText(*again)), saved);
}

TEST_F(TextFormat, WriterPutsAnEmptyLineBeforeHeadersAndTabsForDepth) {
    ItemPtr root(CreateItem(ITEM_FOLDER, "F", nullptr));
    root->label = "top";
    ScenarioItem* inner = CreateItem(ITEM_FOLDER, "", nullptr);
    inner->isExpanded = "1";
    inner->isSelected = "0";
    root->AddChild(inner, nullptr, true);
    EXPECT_EQ(SaveText(*root), "\nTYPEOF FOLDER (F)\n{\n\tLABEL=\"top\"\n"
                               "\n\tTYPEOF FOLDER\n\t{\n\t\tIS_EXPANDED=\"1\"\n\t\tLABEL=\"\"\n\t}\n}\n");

    std::ostringstream out;
    WriteAttribute(out, "KEY", nullptr);
    WriteAttribute(out, "KEY", "has \"quote\"");
    EXPECT_EQ(out.str(), "KEY=\"has \"quote\"\"\n");
}

TEST_F(TextFormat, NamelessHeaderReadsBackOnlyWithCarriageReturns) {
    ItemPtr config(CreateItem(ITEM_CONFIG, "", nullptr));
    const std::string bare = SaveText(*config);
    std::ostringstream log;
    EXPECT_NE(Parse(WithCrLf(bare), &log), nullptr);
    // With a bare line feed the keyword runs on, to the first blank of a later line.
    EXPECT_EQ(Parse("TYPEOF CONFIG\n{\nSTUDENT=\"a b\"\n}\n", &log), nullptr);
}

TEST_F(TextFormat, SyntaxErrorsAreReportedWithTheirRow) {
    struct Case {
        const char* what;
        std::string text;
        int row;
        std::string rest;
    };
    const std::vector<Case> cases = {
        {"only white space", "\r\n\t\r\n\r\n", 4, ""},
        {"blank-indented attribute", "TYPEOF FOLDER (a)\r\n{\r\n  LABEL=\"x\"\r\n}\r\n", 3, "  LABEL=\"x\""},
        {"header without block at the end", "TYPEOF FOLDER (a)\r\n{\r\n\tTYPEOF FOLDER (b)\r\n", 4, ""},
        {"no opening brace", "\r\nTYPEOF FOLDER (a)\r\nLABEL=\"x\"\r\n}\r\n", 3, "LABEL=\"x\""},
        {"unknown keyword", "TYPEOF FOLDERS (a)\r\n{\r\n}\r\n", 1, "TYPEOF FOLDERS (a)"},
        {"modifier", "TYPEOF FOLDER (a)\r\n{\r\n\tTYPEOF MODIFIER (m)\r\n\t{\r\n\t}\r\n}\r\n", 3,
         "TYPEOF MODIFIER (m)"},
        {"refused child", "TYPEOF ENUMTAB (e)\r\n{\r\n\tTYPEOF VARIABLE (1)\r\n\t{\r\n\t}\r\n}\r\n", 5, "}"},
        {"text cut short", "TYPEOF FOLDER (a)\r\n{\r\n\tLABEL=\"x\"\r\n", 4, ""},
        {"unclosed value", "TYPEOF FOLDER (a)\r\n{\r\n\tLABEL=\"x\r\n}\r\n", 3, "LABEL=\"x"},
        {"value stops at apostrophe in the report", "TYPEOF FOLDER (a)\r\n{\r\n\tNOTE=\"it's\"\r\n}\r\n", 3,
         "NOTE=\"it"},
        {"bad variable type", "TYPEOF VARIABLE (1)\r\n{\r\n\tTYPE=\"DOUBLE\"\r\n}\r\n", 3, "TYPE=\"DOUBLE\""},
        {"second label of a folder", "TYPEOF FOLDER (a)\r\n{\r\n\tLABEL=\"x\"\r\n\tLABEL=\"y\"\r\n}\r\n", 4,
         "LABEL=\"y\""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(LoadFailure(c.text), RowMessage("bad.mdl", c.row, c.rest)) << c.what;
}

TEST_F(TextFormat, DeepErrorUnwindsAndLeavesNothingBehindInTheParent) {
    Folders parent;
    const std::string text =
        "TYPEOF FOLDER (a)\r\n{\r\n\tTYPEOF FOLDER (b)\r\n\t{\r\n\t\tBAD\r\n\t}\r\n}\r\n";
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    std::ostringstream log;
    EXPECT_EQ(LoadScenarioText(stream, &parent, nullptr, &log, false), nullptr);
    EXPECT_TRUE(parent.children.empty());
    EXPECT_EQ(stream.line, 5u);
}

TEST_F(TextFormat, UnopenableAndEmptyFilesAreReportedWithTheirSeverity) {
    std::ostringstream log;
    const std::string missing = folder + "/missing.mdl";
    EXPECT_EQ(LoadScenarioFile(missing.c_str(), &log, false), nullptr);
    EXPECT_EQ(log.str(), "\x01Unable to open file " + missing + "\n");

    log.str("");
    EXPECT_EQ(LoadScenarioFile(folder.c_str(), &log, false), nullptr);
    EXPECT_EQ(log.str(), "\x01Unable to open file " + folder + "\n");

    log.str("");
    const std::string empty = WriteFile("empty.mdl", "");
    EXPECT_EQ(LoadScenarioFile(empty.c_str(), &log, false), nullptr);
    EXPECT_EQ(log.str(), "\x03"
                         "File " +
                             empty + " is empty.\n");
}

TEST_F(TextFormat, BackslashPathsAndLongPathsOpen) {
    std::string path = WriteFile("f.mdl", "TYPEOF FOLDER (a)\r\n{\r\n}\r\n");
    std::string windows = path;
    for (char& c : windows)
        if (c == '/')
            c = '\\';
    std::ostringstream log;
    ItemPtr item(LoadScenarioFile(windows.c_str(), &log, false));
    ASSERT_NE(item, nullptr) << log.str();
    EXPECT_EQ(item->name, "a");

    std::string deep = folder;
    while (deep.size() < 1100) {
        deep += "/" + std::string(200, 'd');
        std::filesystem::create_directory(deep);
    }
    std::filesystem::copy_file(path, deep + "/f.mdl");
    const std::string longPath = deep + "/f.mdl";
    ItemPtr far(LoadScenarioFile(longPath.c_str(), &log, false));
    EXPECT_NE(far, nullptr) << log.str();
}

TEST_F(TextFormat, HeaderOnlyReadsTheAttributesAndSkipsTheRest) {
    const std::string text =
        "TYPEOF CONFIG\r\n{\r\n\tIS_SELECTED=\"1\"\r\n\tSTUDENT=\"s\"\r\n"
        "\tTYPEOF FOLDER (x)\r\n\t{\r\n\t\tTYPEOF FOLDER (y)\r\n\t\t{\r\n\t\t}\r\n\t}\r\n"
        "\tHISTORY=\"h\"\r\n}\r\n";
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    ItemPtr item(LoadScenarioText(stream, nullptr, nullptr, nullptr, true));
    ASSERT_NE(item, nullptr);
    Config* config = dynamic_cast<Config*>(item.get());
    ASSERT_NE(config, nullptr);
    EXPECT_TRUE(config->IsSelected());
    EXPECT_EQ(config->student, "s");
    EXPECT_EQ(config->history, "");
    EXPECT_TRUE(config->children.empty());
    // OnLoadEnd isn't reached, so no default is filled in.
    EXPECT_EQ(config->requestDelay, "");
    EXPECT_EQ(*stream.cursor, '}');
    EXPECT_EQ(stream.line, 12u);
    EXPECT_EQ(scenarioDepth, 0);

    const std::string open = "TYPEOF FOLDER (a)\r\n{\r\n\tTYPEOF FOLDER (x)\r\n\t{\r\n\t\tLABEL=\"z\"\r\n";
    EXPECT_EQ(Parse(open, nullptr, true), nullptr);
    EXPECT_EQ(scenarioDepth, 0);
}

TEST_F(TextFormat, HeaderNamesAndKeywords) {
    uint32_t kind = 99;
    std::string name;
    auto header = [&](const std::string& text) {
        ScenarioTextStream stream(text.c_str(), text.size() + 1);
        const char* before = stream.cursor;
        bool ok = ReadHeader(stream, kind, name);
        EXPECT_EQ(stream.cursor, before);
        return ok;
    };
    EXPECT_TRUE(header("TYPEOF RULE (a)"));
    EXPECT_EQ(kind, ITEM_RULE);
    EXPECT_EQ(name, "a");
    EXPECT_TRUE(header("TYPEOF FOLDER (a b\tc)"));
    EXPECT_EQ(name, "a b\tc");
    // "()" isn't an empty name: its ")" is taken unseen and the name runs on.
    EXPECT_TRUE(header("TYPEOF FOLDER ()x)"));
    EXPECT_EQ(name, ")x");
    EXPECT_TRUE(header("TYPEOF FOLDER [n) trailing"));
    EXPECT_EQ(name, "n");
    EXPECT_TRUE(header("TYPEOF CONFIG\r\n"));
    EXPECT_EQ(kind, ITEM_CONFIG);
    EXPECT_EQ(name, "");
    EXPECT_TRUE(header("TYPEOF action (a)"));
    EXPECT_EQ(kind, ITEM_NONE);

    EXPECT_FALSE(header("TYPEOF CONFIG\n"));
    EXPECT_FALSE(header("TYPEOF FOLDER (a"));
    EXPECT_FALSE(header("TYPEOF "));
    EXPECT_FALSE(header("TYPEOF FOLDER "));
    EXPECT_FALSE(header("TYPEOFFOLDER (a)"));
    EXPECT_FALSE(header(" TYPEOF FOLDER (a)"));

    EXPECT_TRUE(header("TYPEOF FOLDER (" + std::string(511, 'n') + ")"));
    EXPECT_EQ(name.size(), 511u);
    EXPECT_FALSE(header("TYPEOF FOLDER (" + std::string(512, 'n') + ")"));

    EXPECT_TRUE(header("TYPEOF " + std::string(255, 'K') + " (a)"));
    EXPECT_EQ(kind, ITEM_NONE);
    EXPECT_ASSERTION(header("TYPEOF " + std::string(256, 'K') + " (a)"), "ScenarioItem", 0);
}

TEST_F(TextFormat, AttributeKeysMatchByPrefixAndValuesMayBeEmpty) {
    std::string value = "unchanged";
    auto attribute = [&](const std::string& text, const char* key) {
        ScenarioTextStream stream(text.c_str(), text.size() + 1);
        return ReadStringAttribute(stream, key, value);
    };
    EXPECT_TRUE(attribute("KEY=\"\"", "KEY"));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(attribute("FILEDIR=\"x\"", "FILE"));
    EXPECT_EQ(value, "R=");
    EXPECT_TRUE(attribute("KEY:'v w'\"tail", "KEY"));
    EXPECT_EQ(value, "v w'");
    EXPECT_TRUE(attribute("KEY=\"a\r\nb\"", "KEY"));
    EXPECT_EQ(value, "a\r\nb");
    value = "kept";
    EXPECT_FALSE(attribute("KEY=\"open", "KEY"));
    EXPECT_FALSE(attribute("KE", "KEY"));
    EXPECT_FALSE(attribute("KEY=", "KEY"));
    EXPECT_FALSE(attribute("OTHER=\"v\"", "KEY"));
    EXPECT_EQ(value, "kept");
}

TEST_F(TextFormat, LinesEndAtTheFirstSeparatorAndCountLineFeeds) {
    const std::string text = "\n\r\nA=\"x y\"\tB\r\n\f\nC";
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    EXPECT_EQ(*stream.cursor, 'A');
    EXPECT_EQ(stream.line, 3u);
    NextLine(stream);
    EXPECT_EQ(*stream.cursor, 'B');
    EXPECT_EQ(stream.line, 3u);
    NextLine(stream);
    EXPECT_EQ(*stream.cursor, 'C');
    EXPECT_EQ(stream.line, 5u);
    NextLine(stream);
    EXPECT_EQ(stream.cursor, stream.end);
    EXPECT_EQ(stream.Peek(), '\0');
    NextLine(stream);
    EXPECT_EQ(stream.cursor, stream.end);
}

TEST_F(TextFormat, SkipBlockBalancesBracesAndStopsAtTheEnd) {
    const std::string text = "x\n{\n{\n}\ny\n}\nz";
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    scenarioDepth = 1;
    EXPECT_FALSE(SkipBlock(stream));

    ScenarioTextStream again(text.c_str(), text.size() + 1);
    scenarioDepth = 0;
    EXPECT_TRUE(SkipBlock(again));
    NextLine(again);
    scenarioDepth = 1;
    EXPECT_TRUE(SkipBlock(again));
    EXPECT_EQ(*again.cursor, '}');
    EXPECT_EQ(again.line, 6u);
}

TEST_F(TextFormat, ReaderAssertions) {
    EXPECT_ASSERTION(ScenarioTextStream(nullptr, 16), "core/include/scenario/ScenarioItem", 394);
    EXPECT_ASSERTION(LoadScenarioFile(nullptr, nullptr, false), "ScenarioItem", 466);
    // TOKEN has a keyword but no class.
    EXPECT_ASSERTION(Parse("TYPEOF TOKEN (t)\r\n{\r\n}\r\n"), "ScenarioItem", 122);
}

TEST_F(TextFormat, NestingBeyondTheReadersDepthIsRefused) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "TYPEOF FOLDER (f)\r\n{\r\n";
    EXPECT_EQ(Parse(text), nullptr);
}

TEST_F(TextFormat, WordListsSplitOnWhiteSpaceAndJoinWithinTheBuffer) {
    std::vector<std::string> words{"kept"};
    SplitWords("  USER\tVARIABLE  FILE ", words);
    EXPECT_EQ(words, (std::vector<std::string>{"kept", "USER", "VARIABLE", "FILE"}));

    char buffer[1024];
    JoinWords(words, buffer);
    EXPECT_STREQ(buffer, "kept USER VARIABLE FILE");
    char small[8];
    JoinWords(words, small, sizeof(small));
    EXPECT_STREQ(small, "kept US");
    JoinWords({}, buffer);
    EXPECT_STREQ(buffer, "");
}

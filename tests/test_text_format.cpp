#include "ModelTestSupport.h"

#include <algorithm>
#include <random>

using namespace modeltest;

namespace {

const std::string kEveryClass = std::string(TAVREL_TEST_DATA) + "/model/every_class.mdl";

using TextFormat = TempFolder;

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

    // A nameless header reads back only with carriage returns: with a bare
    // line feed the keyword runs on, to the first blank of a later line.
    ItemPtr config(CreateItem(ITEM_CONFIG, "", nullptr));
    std::ostringstream log;
    EXPECT_NE(Parse(WithCrLf(SaveText(*config)), &log), nullptr);
    EXPECT_EQ(Parse("TYPEOF CONFIG\n{\nSTUDENT=\"a b\"\n}\n", &log), nullptr);
}

TEST_F(TextFormat, LoadFailuresAreLoggedWithTheirSeverityAndRow) {
    struct Case {
        const char* what;
        std::string text;
        int row;
        std::string rest;
    };
    const std::vector<Case> cases = {
        {"only white space", "\n\t\n\n", 4, ""},
        {"blank-indented attribute", "TYPEOF FOLDER (a)\n{\n  LABEL=\"x\"\n}\n", 3, "  LABEL=\"x\""},
        {"header without block at the end", "TYPEOF FOLDER (a)\n{\n\tTYPEOF FOLDER (b)\n", 4, ""},
        {"no opening brace", "\nTYPEOF FOLDER (a)\nLABEL=\"x\"\n}\n", 3, "LABEL=\"x\""},
        {"unknown keyword", "TYPEOF FOLDERS (a)\n{\n}\n", 1, "TYPEOF FOLDERS (a)"},
        {"modifier", "TYPEOF FOLDER (a)\n{\n\tTYPEOF MODIFIER (m)\n\t{\n\t}\n}\n", 3, "TYPEOF MODIFIER (m)"},
        {"refused child", "TYPEOF ENUMTAB (e)\n{\n\tTYPEOF VARIABLE (1)\n\t{\n\t}\n}\n", 5, "}"},
        {"text cut short", "TYPEOF FOLDER (a)\n{\n\tLABEL=\"x\"\n", 4, ""},
        {"unclosed value", "TYPEOF FOLDER (a)\n{\n\tLABEL=\"x\n}\n", 3, "LABEL=\"x"},
        {"value stops at apostrophe in the report", "TYPEOF FOLDER (a)\n{\n\tNOTE=\"it's\"\n}\n", 3,
         "NOTE=\"it"},
        {"bad variable type", "TYPEOF VARIABLE (1)\n{\n\tTYPE=\"DOUBLE\"\n}\n", 3, "TYPE=\"DOUBLE\""},
        {"second label of a folder", "TYPEOF FOLDER (a)\n{\n\tLABEL=\"x\"\n\tLABEL=\"y\"\n}\n", 4,
         "LABEL=\"y\""},
    };
    auto failure = [](const std::string& path) {
        std::ostringstream log;
        EXPECT_EQ(ItemPtr(LoadScenarioFile(path.c_str(), &log, false)), nullptr) << path;
        return log.str();
    };
    for (const Case& c : cases)
        EXPECT_EQ(failure(WriteFile("bad.mdl", WithCrLf(c.text))),
                  "\x04" + folder + "/bad.mdl - row " + std::to_string(c.row) + ":\n" + c.rest + "\n")
            << c.what;
    // A file that doesn't open, or is empty, is reported with its own severity.
    const std::string missing = folder + "/missing.mdl", empty = WriteFile("empty.mdl", "");
    EXPECT_EQ(failure(missing), "\x01Unable to open file " + missing + "\n");
    EXPECT_EQ(failure(folder), "\x01Unable to open file " + folder + "\n");
    EXPECT_EQ(failure(empty), std::string(1, '\x03') + "File " + empty + " is empty.\n");

    // An error deep down unwinds and leaves nothing behind in the parent.
    Folders parent;
    const std::string text = WithCrLf("TYPEOF FOLDER (a)\n{\n\tTYPEOF FOLDER (b)\n\t{\n\t\tBAD\n\t}\n}\n");
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    std::ostringstream log;
    EXPECT_EQ(LoadScenarioText(stream, &parent, nullptr, &log, false), nullptr);
    EXPECT_TRUE(parent.children.empty());
    EXPECT_EQ(stream.line, 5u);
}

TEST_F(TextFormat, BackslashPathsAndLongPathsOpen) {
    std::string path = WriteFile("f.mdl", "TYPEOF FOLDER (a)\r\n{\r\n}\r\n");
    std::string windows = path;
    std::replace(windows.begin(), windows.end(), '/', '\\');
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
    EXPECT_NE(ItemPtr(LoadScenarioFile((deep + "/f.mdl").c_str(), &log, false)), nullptr) << log.str();
}

TEST_F(TextFormat, HeaderOnlyReadsTheAttributesAndSkipsTheRest) {
    const std::string text = WithCrLf("TYPEOF CONFIG\n{\n\tIS_SELECTED=\"1\"\n\tSTUDENT=\"s\"\n"
                                      "\tTYPEOF FOLDER (x)\n\t{\n\t\tTYPEOF FOLDER (y)\n\t\t{\n\t\t}\n\t}\n"
                                      "\tHISTORY=\"h\"\n}\n");
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    ItemPtr item(LoadScenarioText(stream, nullptr, nullptr, nullptr, true));
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

    EXPECT_EQ(
        Parse(WithCrLf("TYPEOF FOLDER (a)\n{\n\tTYPEOF FOLDER (x)\n\t{\n\t\tLABEL=\"z\"\n"), nullptr, true),
        nullptr);
    EXPECT_EQ(scenarioDepth, 0);
}

TEST_F(TextFormat, HeaderNamesAndKeywords) {
    // A header is read where it stands: the cursor doesn't move.
    struct Read {
        std::string text;
        bool ok;
        uint32_t kind = ITEM_NONE;
        std::string name = "";
    };
    const std::string n511(511, 'n');
    for (const Read& r :
         std::vector<Read>{{"TYPEOF RULE (a)", true, ITEM_RULE, "a"},
                           {"TYPEOF FOLDER (a b\tc)", true, ITEM_FOLDER, "a b\tc"},
                           // "()" isn't an empty name: its ")" is taken unseen and the name runs on.
                           {"TYPEOF FOLDER ()x)", true, ITEM_FOLDER, ")x"},
                           {"TYPEOF FOLDER [n) trailing", true, ITEM_FOLDER, "n"},
                           {"TYPEOF CONFIG\r\n", true, ITEM_CONFIG, ""},
                           {"TYPEOF action (a)", true, ITEM_NONE, "a"},
                           {"TYPEOF FOLDER (" + n511 + ")", true, ITEM_FOLDER, n511},
                           {"TYPEOF " + std::string(255, 'K') + " (a)", true, ITEM_NONE, "a"},
                           {"TYPEOF FOLDER (" + n511 + "n)", false},
                           {"TYPEOF CONFIG\n", false},
                           {"TYPEOF FOLDER (a", false},
                           {"TYPEOF ", false},
                           {"TYPEOF FOLDER ", false},
                           {"TYPEOFFOLDER (a)", false},
                           {" TYPEOF FOLDER (a)", false}}) {
        ScenarioTextStream stream(r.text.c_str(), r.text.size() + 1);
        const char* before = stream.cursor;
        uint32_t kind = 99;
        std::string name;
        EXPECT_EQ(ReadHeader(stream, kind, name), r.ok) << r.text;
        EXPECT_EQ(stream.cursor, before) << r.text;
        if (r.ok) {
            EXPECT_EQ(kind, r.kind) << r.text;
            EXPECT_EQ(name, r.name) << r.text;
        }
    }
    const std::string longKeyword = "TYPEOF " + std::string(256, 'K') + " (a)";
    ScenarioTextStream stream(longKeyword.c_str(), longKeyword.size() + 1);
    uint32_t kind;
    std::string name;
    EXPECT_EQ(AssertionAt([&] { ReadHeader(stream, kind, name); }), "ScenarioItem:0");
}

TEST_F(TextFormat, AttributeKeysMatchByPrefixAndValuesMayBeEmpty) {
    struct Case {
        const char *text, *key;
        bool ok;
        const char* value;
    };
    for (const Case& c : std::vector<Case>{{"KEY=\"\"", "KEY", true, ""},
                                           {"FILEDIR=\"x\"", "FILE", true, "R="},
                                           {"KEY:'v w'\"tail", "KEY", true, "v w'"},
                                           {"KEY=\"a\r\nb\"", "KEY", true, "a\r\nb"},
                                           {"KEY=\"open", "KEY", false, "kept"},
                                           {"KE", "KEY", false, "kept"},
                                           {"KEY=", "KEY", false, "kept"},
                                           {"OTHER=\"v\"", "KEY", false, "kept"}}) {
        const std::string text = c.text;
        ScenarioTextStream stream(text.c_str(), text.size() + 1);
        std::string value = "kept";
        EXPECT_EQ(ReadStringAttribute(stream, c.key, value), c.ok) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

TEST_F(TextFormat, LinesEndAtTheFirstSeparatorAndBlocksAreSkippedWhole) {
    const std::string text = "\n\r\nA=\"x y\"\tB\r\n\f\nC";
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    std::string seen = std::string(1, *stream.cursor) + std::to_string(stream.line);
    for (int i = 0; i < 2; ++i) {
        NextLine(stream);
        seen += std::string(1, *stream.cursor) + std::to_string(stream.line);
    }
    EXPECT_EQ(seen, "A3B3C5");
    for (int i = 0; i < 2; ++i) {
        NextLine(stream);
        EXPECT_EQ(stream.cursor, stream.end);
    }
    EXPECT_EQ(stream.Peek(), '\0');

    // A skip balances the braces and fails when the text ends first.
    const std::string block = "x\n{\n{\n}\ny\n}\nz";
    ScenarioTextStream unbalanced(block.c_str(), block.size() + 1);
    scenarioDepth = 1;
    EXPECT_FALSE(SkipBlock(unbalanced));
    ScenarioTextStream skipped(block.c_str(), block.size() + 1);
    scenarioDepth = 0;
    EXPECT_TRUE(SkipBlock(skipped));
    NextLine(skipped);
    scenarioDepth = 1;
    EXPECT_TRUE(SkipBlock(skipped));
    EXPECT_EQ(*skipped.cursor, '}');
    EXPECT_EQ(skipped.line, 6u);
}

TEST_F(TextFormat, LongLinesAndRunsOfSeparatorsAcrossAnyPosition) {
    // Lines and runs of separators of every length from every starting point, so
    // that each lies across the reader's blocks in every way; the line and the
    // count of line feeds are what a byte-by-byte walk gives.
    const std::string alphabet = std::string("ab \"'=", 6) + std::string(1, '\0') + "\t\n\r\f";
    std::mt19937 random(7);
    auto isSeparator = [](char c) { return c == '\t' || c == '\n' || c == '\f' || c == '\r'; };
    for (int round = 0; round < 400; ++round) {
        std::string text;
        const size_t length = random() % 90;
        // Long runs of one kind, as lines and indentation are.
        while (text.size() < length) {
            const char c = alphabet[random() % alphabet.size()];
            text.append(1 + random() % (isSeparator(c) ? 8 : 40), c);
        }
        ScenarioTextStream stream(text.data(), text.size());
        const char* p = text.data();
        const char* const end = p + text.size();
        uint32_t line = 1;
        auto skip = [&] {
            for (; p < end && isSeparator(*p); ++p)
                line += *p == '\n' ? 1 : 0;
        };
        skip();
        ASSERT_EQ(stream.cursor, p);
        while (p < end) {
            while (p < end && !isSeparator(*p))
                ++p;
            skip();
            NextLine(stream);
            ASSERT_EQ(stream.cursor - text.data(), p - text.data()) << round;
            ASSERT_EQ(stream.line, line) << round;
        }
    }
}

TEST_F(TextFormat, ValuesOfEveryLengthEndAtTheirQuoteOrFail) {
    for (size_t length = 0; length < 40; ++length) {
        const std::string value(length, 'v');
        const std::string line = "KEY=\"" + value + "\"";
        // The quote found, whatever follows it; a NUL or the end before it fails.
        for (const std::string& text : {line, line + "\ttail\"", line + std::string(20, 'x')}) {
            ScenarioTextStream stream(text.c_str(), text.size());
            std::string read;
            ASSERT_TRUE(ReadStringAttribute(stream, "KEY", read)) << length;
            EXPECT_EQ(read, value);
        }
        for (const std::string& text : {line.substr(0, line.size() - 1), "KEY=\"" + value + '\0' + "\""}) {
            ScenarioTextStream stream(text.c_str(), text.size());
            std::string read = "kept";
            EXPECT_FALSE(ReadStringAttribute(stream, "KEY", read)) << length;
            EXPECT_EQ(read, "kept");
        }
        // A key longer than what is left of the text is turned down.
        const std::string key(length + 1, 'K');
        const std::string keys(length, 'K');
        ScenarioTextStream stream(keys.c_str(), keys.size());
        std::string read = "kept";
        EXPECT_FALSE(ReadStringAttributeOfLength(stream, key.c_str(), key.size(), read));
    }
}

TEST_F(TextFormat, ReaderAssertionsAndTheNestingLimit) {
    EXPECT_EQ(AssertionAt([&] { ScenarioTextStream(nullptr, 16); }),
              "core/include/scenario/ScenarioItem:394");
    EXPECT_EQ(AssertionAt([&] { LoadScenarioFile(nullptr, nullptr, false); }), "ScenarioItem:466");
    // TOKEN has a keyword but no class.
    EXPECT_EQ(AssertionAt([&] { Parse("TYPEOF TOKEN (t)\r\n{\r\n}\r\n"); }), "ScenarioItem:122");

    std::string deep;
    for (int i = 0; i < 5000; ++i)
        deep += "TYPEOF FOLDER (f)\r\n{\r\n";
    EXPECT_EQ(Parse(deep), nullptr);
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

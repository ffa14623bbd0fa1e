#include "ModelTestSupport.h"

#include <boost/lexical_cast.hpp>

#include <cmath>

using namespace modeltest;

namespace {

std::unique_ptr<Variable> ParseVariable(const std::string& attributes, const char* keyword = "VARIABLE") {
    ItemPtr item = Parse(std::string("TYPEOF ") + keyword + " (7)\r\n{\r\n" + attributes + "}\r\n");
    return std::unique_ptr<Variable>(dynamic_cast<Variable*>(item.release()));
}

class VariableTest : public ::testing::Test {
protected:
    void TearDown() override {
        scenarioLog = nullptr;
        scenarioDepth = 0;
    }
};

} // namespace

TEST_F(VariableTest, EmptyBlockGivesTheDefaultsAndIsWrittenInFull) {
    auto variable = ParseVariable("");
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(variable->type, "");
    EXPECT_EQ(variable->category, "INTERNAL");
    EXPECT_EQ(variable->interactiveType, "VOID");
    EXPECT_EQ(variable->value, "");
    EXPECT_EQ(variable->spare, "0");
    EXPECT_FALSE(variable->isInitializationNeededAtStart);
    EXPECT_EQ(variable->interactiveMinValue, 0.0);
    EXPECT_EQ(variable->interactiveMaxValue, 9999.0);
    EXPECT_EQ(variable->interactiveStepValue, 1.0);
    EXPECT_EQ(variable->model, variable.get());
    EXPECT_EQ(SaveText(*variable), "\nTYPEOF VARIABLE (7)\n{\n"
                                   "\tLABEL=\"\"\n"
                                   "\tTYPE=\"\"\n"
                                   "\tVALUE=\"\"\n"
                                   "\tINTERACTIVE_TYPE=\"VOID\"\n"
                                   "\tIS_INITIALIZATION_NEEDED_AT_START=\"0\"\n"
                                   "\tINTERACTIVE_MIN_VALUE=\"0\"\n"
                                   "\tINTERACTIVE_MAX_VALUE=\"9999\"\n"
                                   "\tINTERACTIVE_STEP_VALUE=\"1\"\n"
                                   "\tCATEGORY=\"INTERNAL\"\n"
                                   "}\n");
    // An empty TYPE read back is refused as no type word, and leaves the field
    // open for a later line; so a variable saved without a type doesn't load again.
    Variable again;
    const std::string lines = "TYPE=\"\"\tTYPE=\"FLOAT\"";
    ScenarioTextStream stream(lines.c_str(), lines.size() + 1);
    EXPECT_FALSE(again.LoadAttribute(stream));
    EXPECT_EQ(again.type, "");
    NextLine(stream);
    EXPECT_TRUE(again.LoadAttribute(stream));
    EXPECT_EQ(again.type, "FLOAT");
    EXPECT_EQ(Parse(WithCrLf(SaveText(*variable))), nullptr);
}

TEST_F(VariableTest, FirstTypeAndValueStandOtherKeysTakeTheLast) {
    auto variable =
        ParseVariable("\tLABEL=\"speed\"\r\n\tTYPE=\"FLOAT\"\r\n\tVALUE=\"\"\r\n\tVALUE=\"2.5\"\r\n"
                      "\tINTERACTIVE_TYPE=\"BOOL\"\r\n\tINTERACTIVE_TYPE=\"FLOAT\"\r\n"
                      "\tCATEGORY=\"a\"\r\n\tCATEGORY=\"b\"\r\n"
                      "\tINTERACTIVE_MIN_VALUE=\"1\"\r\n\tINTERACTIVE_MIN_VALUE=\"-2.5e3\"\r\n");
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(variable->label, "speed");
    EXPECT_EQ(variable->value, "2.5");
    EXPECT_EQ(variable->initialValue, "2.5");
    EXPECT_EQ(variable->interactiveType, "FLOAT");
    EXPECT_EQ(variable->category, "b");
    EXPECT_EQ(variable->interactiveMinValue, -2500.0);

    EXPECT_EQ(ParseVariable("\tTYPE=\"FLOAT\"\r\n\tTYPE=\"BOOL\"\r\n"), nullptr);
    EXPECT_EQ(ParseVariable("\tVALUE=\"1\"\r\n\tVALUE=\"2\"\r\n"), nullptr);
    EXPECT_EQ(ParseVariable("\tTYPE=\"float\"\r\n"), nullptr);
    for (const char* type : {"BOOL", "FLOAT", "INTEGER", "STRING", "VOID"})
        EXPECT_NE(ParseVariable(std::string("\tTYPE=\"") + type + "\"\r\n"), nullptr) << type;
    // A variable has no children.
    EXPECT_EQ(ParseVariable("\tTYPEOF VARIABLE (8)\r\n\t{\r\n\t}\r\n"), nullptr);
}

TEST_F(VariableTest, BoolsAndNumbersConvertAsLexicalCastDoes) {
    for (const char* text : {"1", "+1", "001", "0", "-0", "00"}) {
        auto variable =
            ParseVariable(std::string("\tIS_INITIALIZATION_NEEDED_AT_START=\"") + text + "\"\r\n");
        ASSERT_NE(variable, nullptr) << text;
        EXPECT_EQ(variable->isInitializationNeededAtStart, std::string(text).find('1') != std::string::npos);
    }
    auto infinite =
        ParseVariable("\tINTERACTIVE_MIN_VALUE=\"-inf\"\r\n\tINTERACTIVE_MAX_VALUE=\"INFINITY\"\r\n"
                      "\tINTERACTIVE_STEP_VALUE=\"NAN\"\r\n");
    ASSERT_NE(infinite, nullptr);
    EXPECT_TRUE(std::isinf(infinite->interactiveMinValue) && infinite->interactiveMinValue < 0);
    EXPECT_TRUE(std::isinf(infinite->interactiveMaxValue));
    EXPECT_TRUE(std::isnan(infinite->interactiveStepValue));
    EXPECT_NE(SaveText(*infinite).find("\tINTERACTIVE_MIN_VALUE=\"-inf\"\n\tINTERACTIVE_MAX_VALUE=\"inf\"\n"
                                       "\tINTERACTIVE_STEP_VALUE=\"nan\"\n"),
              std::string::npos);

    for (const char* line :
         {"\tIS_INITIALIZATION_NEEDED_AT_START=\"true\"\r\n", "\tIS_INITIALIZATION_NEEDED_AT_START=\"2\"\r\n",
          "\tINTERACTIVE_MIN_VALUE=\"1e\"\r\n", "\tINTERACTIVE_MAX_VALUE=\"1-\"\r\n",
          "\tINTERACTIVE_STEP_VALUE=\"\"\r\n"}) {
        try {
            ParseVariable(line);
            ADD_FAILURE() << "no exception for " << line;
        } catch (const boost::bad_lexical_cast& e) {
            EXPECT_STREQ(e.what(), "bad lexical cast: source type value could not be interpreted as target");
        }
    }
}

TEST_F(VariableTest, NumbersAndBoolsConvertExactlyAsLexicalCast) {
    // Whatever path a text takes inside the variable, the outcome is lexical_cast's.
    auto exact = [](double number) {
        char text[64];
        std::snprintf(text, sizeof(text), "%a", number);
        return std::string(text);
    };
    for (const char* text : {"0",        "1",      "-0",
                             "12",       "-12.5",  "1e5",
                             "1E-5",     "2.5e+3", "0.1",
                             "1e400",    "1.",     ".5",
                             "+1",       "01",     "-",
                             "1e",       "1-",     "e5",
                             " 1",       "1 ",     "0x10",
                             "inf",      "-INF",   "nan",
                             "1,5",      "",       "123456789012345678901234567890",
                             "4.9e-324", "1e-400"}) {
        for (const char* key : {"INTERACTIVE_MAX_VALUE", "IS_INITIALIZATION_NEEDED_AT_START"}) {
            const bool isBool = std::string(key)[0] == 'I' && std::string(key)[1] == 'S';
            std::string expected, actual;
            try {
                expected = isBool ? std::to_string(boost::lexical_cast<bool>(std::string(text)))
                                  : exact(boost::lexical_cast<double>(std::string(text)));
            } catch (const boost::bad_lexical_cast&) {
                expected = "throws";
            }
            try {
                auto variable = ParseVariable(std::string("\t") + key + "=\"" + text + "\"\r\n");
                ASSERT_NE(variable, nullptr);
                actual = isBool ? std::to_string(variable->isInitializationNeededAtStart)
                                : exact(variable->interactiveMaxValue);
            } catch (const boost::bad_lexical_cast&) {
                actual = "throws";
            }
            EXPECT_EQ(actual, expected) << key << "=" << text;
        }
    }
}

TEST_F(VariableTest, BadNumberInAFileGoesUpToTheCaller) {
    std::string path = ::testing::TempDir() + "tavrel_bad_number.mdl";
    {
        std::ofstream out(path, std::ios::binary);
        out << "TYPEOF FOLDER (f)\r\n{\r\n\tTYPEOF VARIABLE (1)\r\n\t{\r\n\t\tINTERACTIVE_MIN_VALUE=\"x\"\r\n"
               "\t}\r\n}\r\n";
    }
    std::ostringstream log;
    EXPECT_THROW(LoadScenarioFile(path.c_str(), &log, false), boost::bad_lexical_cast);
    EXPECT_EQ(log.str(), "");
    std::remove(path.c_str());
}

TEST_F(VariableTest, DoublesAreWrittenWithSeventeenDigitsAndReadBackExactly) {
    auto variable = ParseVariable("\tINTERACTIVE_MIN_VALUE=\"0.1\"\r\n\tINTERACTIVE_STEP_VALUE=\"1e-300\"\r\n"
                                  "\tIS_INITIALIZATION_NEEDED_AT_START=\"1\"\r\n\tVALUE=\"a b\"\r\n"
                                  "\tTYPE=\"STRING\"\r\n");
    ASSERT_NE(variable, nullptr);
    const std::string saved = SaveText(*variable);
    EXPECT_NE(saved.find("\tINTERACTIVE_MIN_VALUE=\"0.10000000000000001\"\n"), std::string::npos);
    EXPECT_NE(saved.find("\tIS_INITIALIZATION_NEEDED_AT_START=\"1\"\n"), std::string::npos);
    ItemPtr again = Parse(saved);
    Variable* reread = dynamic_cast<Variable*>(again.get());
    ASSERT_NE(reread, nullptr);
    EXPECT_EQ(reread->interactiveMinValue, 0.1);
    EXPECT_EQ(reread->interactiveStepValue, 1e-300);
    EXPECT_TRUE(reread->isInitializationNeededAtStart);
    EXPECT_EQ(reread->value, "a b");
    EXPECT_EQ(SaveText(*reread), saved);
}

TEST_F(VariableTest, CloneCopiesEveryValueAndAnEnumStaysAnEnum) {
    auto variable =
        ParseVariable("\tLABEL=\"l\"\r\n\tTYPE=\"INTEGER\"\r\n\tVALUE=\"4\"\r\n"
                      "\tINTERACTIVE_TYPE=\"INTEGER\"\r\n\tIS_INITIALIZATION_NEEDED_AT_START=\"1\"\r\n"
                      "\tINTERACTIVE_MIN_VALUE=\"-1\"\r\n\tINTERACTIVE_MAX_VALUE=\"9\"\r\n"
                      "\tINTERACTIVE_STEP_VALUE=\"2\"\r\n\tCATEGORY=\"c\"\r\n");
    ASSERT_NE(variable, nullptr);
    variable->value = "5";
    variable->spare = "s";
    ItemPtr copy(variable->Clone());
    Variable* clone = dynamic_cast<Variable*>(copy.get());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->name, "7");
    EXPECT_EQ(clone->label, "l");
    EXPECT_EQ(clone->type, "INTEGER");
    EXPECT_EQ(clone->value, "5");
    EXPECT_EQ(clone->initialValue, "4");
    EXPECT_EQ(clone->interactiveType, "INTEGER");
    EXPECT_TRUE(clone->isInitializationNeededAtStart);
    EXPECT_EQ(clone->interactiveMinValue, -1.0);
    EXPECT_EQ(clone->interactiveMaxValue, 9.0);
    EXPECT_EQ(clone->interactiveStepValue, 2.0);
    EXPECT_EQ(clone->spare, "s");
    EXPECT_EQ(clone->category, "c");

    auto entry = ParseVariable("\tLABEL=\"left\"\r\n", "ENUM");
    ASSERT_NE(entry, nullptr);
    ItemPtr entryCopy(entry->Clone());
    EXPECT_NE(dynamic_cast<Enum*>(entryCopy.get()), nullptr);
}

TEST_F(VariableTest, DisplayTexts) {
    Variable variable;
    variable.label = "speed";
    variable.value = "3";
    variable.UpdateDisplayTextTree();
    EXPECT_EQ(variable.displayText, "speed=3");
    Enum entry;
    entry.name = "2";
    entry.label = "left";
    entry.value = "ignored";
    entry.UpdateDisplayText();
    EXPECT_EQ(entry.displayText, "2    (left)");
}

TEST_F(VariableTest, FillValueHonoursTheCallersTag) {
    std::ostringstream log;
    scenarioLog = &log;
    Variable variable;
    variable.name = "12";
    variable.type = "FLOAT";
    variable.value = "2.5";

    ParameterValue number;
    number.tag = 1;
    variable.FillValue(number);
    EXPECT_EQ(number.number, 2.5f);
    ParameterValue text;
    text.tag = 3;
    variable.FillValue(text);
    EXPECT_EQ(text.text, "2.5");
    ParameterValue integer;
    integer.tag = 0;
    integer.number = 9.0f;
    variable.FillValue(integer);
    EXPECT_EQ(integer.number, 9.0f);
    EXPECT_EQ(log.str(), "\x03Var 12: types INTEGER and FLOAT are different\n");
    log.str("");
    ParameterValue unknownTag;
    unknownTag.tag = 9;
    variable.FillValue(unknownTag);
    EXPECT_EQ(log.str(), "\x03Var 12: types  and FLOAT are different\n");

    log.str("");
    variable.type = "unknown";
    ParameterValue none;
    variable.FillValue(none);
    EXPECT_EQ(none.number, 0.0f);
    EXPECT_EQ(none.text, "");
    EXPECT_EQ(log.str(), "");

    variable.type = "BOOL";
    variable.value = "true";
    ParameterValue flag;
    flag.tag = 2;
    flag.number = 5.0f;
    variable.FillValue(flag);
    EXPECT_EQ(flag.number, 0.0f);
}

#include "ModelTestSupport.h"

#include <boost/lexical_cast.hpp>

#include <random>

using namespace modeltest;

namespace {

// A variable "7" read from a block holding `attributes` (bare line feeds).
std::unique_ptr<Variable> ParseVariable(const std::string& attributes, const char* keyword = "VARIABLE") {
    return ParseBlock<Variable>(std::string(keyword) + " (7)", attributes);
}

using VariableTest = TempFolder;

} // namespace

TEST_F(VariableTest, EmptyBlockGivesTheDefaultsAndIsWrittenInFull) {
    auto variable = ParseVariable("");
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(variable->spare, "0");
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
    auto variable = ParseVariable("\tLABEL=\"speed\"\n\tTYPE=\"FLOAT\"\n\tVALUE=\"\"\n\tVALUE=\"2.5\"\n"
                                  "\tINTERACTIVE_TYPE=\"BOOL\"\n\tINTERACTIVE_TYPE=\"FLOAT\"\n"
                                  "\tCATEGORY=\"a\"\n\tCATEGORY=\"b\"\n"
                                  "\tINTERACTIVE_MIN_VALUE=\"1\"\n\tINTERACTIVE_MIN_VALUE=\"-2.5e3\"\n");
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(variable->label, "speed");
    EXPECT_EQ(variable->value, "2.5");
    EXPECT_EQ(variable->initialValue, "2.5");
    EXPECT_EQ(variable->interactiveType, "FLOAT");
    EXPECT_EQ(variable->category, "b");
    EXPECT_EQ(variable->interactiveMinValue, -2500.0);

    for (const char* refused :
         {"\tTYPE=\"FLOAT\"\n\tTYPE=\"BOOL\"\n", "\tVALUE=\"1\"\n\tVALUE=\"2\"\n", "\tTYPE=\"float\"\n",
          // A variable has no children.
          "\tTYPEOF VARIABLE (8)\n\t{\n\t}\n"})
        EXPECT_EQ(ParseVariable(refused), nullptr) << refused;
    for (const char* type : {"BOOL", "FLOAT", "INTEGER", "STRING", "VOID"})
        EXPECT_NE(ParseVariable(std::string("\tTYPE=\"") + type + "\"\n"), nullptr) << type;
}

TEST_F(VariableTest, NumbersAndBoolsConvertExactlyAsLexicalCast) {
    // Whatever path a text takes inside the variable, the outcome is lexical_cast's.
    auto exact = [](double number) {
        char text[64];
        std::snprintf(text, sizeof(text), "%a", number);
        return std::string(text);
    };
    const std::vector<std::pair<std::string, double Variable::*>> keys = {
        {"INTERACTIVE_MIN_VALUE", &Variable::interactiveMinValue},
        {"INTERACTIVE_MAX_VALUE", &Variable::interactiveMaxValue},
        {"INTERACTIVE_STEP_VALUE", &Variable::interactiveStepValue},
        {"IS_INITIALIZATION_NEEDED_AT_START", nullptr}};
    std::istringstream texts(
        "0|1|-0|00|001|12|-12.5|1e5|1E-5|2.5e+3|0.1|1e400|1.|.5|+1|01|-|1e|1-|e5| 1|1 |0x10|"
        "inf|-INF|-inf|INFINITY|nan|NAN|1,5||true|2|x|123456789012345678901234567890|"
        "4.9e-324|1e-400|9007199254740992|9007199254740993|-9007199254740993.5|1e22|1e23|1e-22|"
        "1e-23|0.0000000000000000000001|0.00000000000000000000001|123.456e-20|-0.0|1e0010|"
        "1e00001|1234567890.0987654321|100000000000000000000000|2.5e-3|-1.5E+2|0.30000000000000004");
    for (std::string text; std::getline(texts, text, '|');) {
        for (const auto& [key, field] : keys) {
            std::string expected, actual;
            try {
                expected = field ? exact(boost::lexical_cast<double>(text))
                                 : std::to_string(boost::lexical_cast<bool>(text));
            } catch (const boost::bad_lexical_cast&) {
                expected = "throws";
            }
            try {
                auto variable = ParseVariable("\t" + key + "=\"" + text + "\"\n");
                ASSERT_NE(variable, nullptr);
                actual = field ? exact((*variable).*field)
                               : std::to_string(variable->isInitializationNeededAtStart);
            } catch (const boost::bad_lexical_cast& e) {
                EXPECT_STREQ(e.what(),
                             "bad lexical cast: source type value could not be interpreted as target");
                actual = "throws";
            }
            EXPECT_EQ(actual, expected) << key << "=" << text;
        }
    }
    auto infinite = ParseVariable("\tINTERACTIVE_MIN_VALUE=\"-inf\"\n\tINTERACTIVE_MAX_VALUE=\"INFINITY\"\n"
                                  "\tINTERACTIVE_STEP_VALUE=\"NAN\"\n");
    ASSERT_NE(infinite, nullptr);
    EXPECT_NE(SaveText(*infinite).find("\tINTERACTIVE_MIN_VALUE=\"-inf\"\n\tINTERACTIVE_MAX_VALUE=\"inf\"\n"
                                       "\tINTERACTIVE_STEP_VALUE=\"nan\"\n"),
              std::string::npos);

    // In a file, the conversion error goes up to the caller, nothing logged.
    const std::string path =
        WriteFile("number.mdl", WithCrLf("TYPEOF FOLDER (f)\n{\n\tTYPEOF VARIABLE (1)\n\t{\n"
                                         "\t\tINTERACTIVE_MIN_VALUE=\"x\"\n\t}\n}\n"));
    std::ostringstream log;
    EXPECT_THROW(LoadScenarioFile(path.c_str(), &log, false), boost::bad_lexical_cast);
    EXPECT_EQ(log.str(), "");
}

TEST_F(VariableTest, RandomDecimalsConvertAsLexicalCast) {
    // Numbers of every size of mantissa, point and exponent, around the limits
    // within which a conversion needs no more than one multiplication.
    std::mt19937 random(11);
    auto digits = [&](size_t count) {
        std::string text;
        for (size_t i = 0; i < count; ++i)
            text.push_back(static_cast<char>('0' + random() % 10));
        return text;
    };
    for (int round = 0; round < 3000; ++round) {
        std::string text = random() % 4 == 0 ? "-" : "";
        text += digits(1 + random() % 18);
        if (random() % 2 != 0)
            text += "." + digits(1 + random() % 18);
        if (random() % 3 == 0)
            text += std::string(random() % 2 ? "e" : "E") + (random() % 2 ? "-" : "") +
                    std::to_string(random() % 30);
        auto variable = ParseVariable("\tINTERACTIVE_MAX_VALUE=\"" + text + "\"\n");
        ASSERT_NE(variable, nullptr);
        ASSERT_EQ(variable->interactiveMaxValue, boost::lexical_cast<double>(text)) << text;
    }
}

TEST_F(VariableTest, DoublesAreWrittenWithSeventeenDigitsAndReadBackExactly) {
    auto variable =
        ParseVariable("\tINTERACTIVE_MIN_VALUE=\"0.1\"\n\tINTERACTIVE_STEP_VALUE=\"1e-300\"\n"
                      "\tIS_INITIALIZATION_NEEDED_AT_START=\"1\"\n\tVALUE=\"a b\"\n\tTYPE=\"STRING\"\n");
    ASSERT_NE(variable, nullptr);
    const std::string saved = SaveText(*variable);
    EXPECT_NE(saved.find("\tINTERACTIVE_MIN_VALUE=\"0.10000000000000001\"\n"), std::string::npos);
    EXPECT_NE(saved.find("\tIS_INITIALIZATION_NEEDED_AT_START=\"1\"\n"), std::string::npos);
    auto reread = Parse<Variable>(saved);
    ASSERT_NE(reread, nullptr);
    EXPECT_EQ(reread->interactiveMinValue, 0.1);
    EXPECT_EQ(reread->interactiveStepValue, 1e-300);
    EXPECT_TRUE(reread->isInitializationNeededAtStart);
    EXPECT_EQ(reread->value, "a b");
    EXPECT_EQ(SaveText(*reread), saved);
}

TEST_F(VariableTest, CloneCopiesEveryValueAndAnEnumStaysAnEnum) {
    auto variable =
        ParseVariable("\tLABEL=\"l\"\n\tTYPE=\"INTEGER\"\n\tVALUE=\"4\"\n\tINTERACTIVE_TYPE=\"INTEGER\"\n"
                      "\tIS_INITIALIZATION_NEEDED_AT_START=\"1\"\n\tINTERACTIVE_MIN_VALUE=\"-1\"\n"
                      "\tINTERACTIVE_MAX_VALUE=\"9\"\n\tINTERACTIVE_STEP_VALUE=\"2\"\n\tCATEGORY=\"c\"\n");
    ASSERT_NE(variable, nullptr);
    variable->value = "5";
    variable->spare = "s";
    // The written form holds name, label, type, value, the interactive settings and category.
    const std::string saved = SaveText(*variable);
    // A link to a definition isn't copied: the clone is a definition itself.
    Variable definition;
    variable->SetModel(&definition);
    std::unique_ptr<Variable> clone(dynamic_cast<Variable*>(variable->Clone()));
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->model, clone.get());
    EXPECT_TRUE(clone->valid);
    EXPECT_EQ(SaveText(*clone), saved);
    EXPECT_EQ(clone->value + clone->initialValue + clone->spare, "54s");

    auto entry = ParseVariable("\tLABEL=\"left\"\n", "ENUM");
    ASSERT_NE(entry, nullptr);
    EXPECT_NE(dynamic_cast<Enum*>(ItemPtr(entry->Clone()).get()), nullptr);
}

TEST_F(VariableTest, DisplayTextsAndFillValueHonoursTheCallersTag) {
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

    // The value is filled as the caller's tag asks; a tag that differs from
    // the variable's type is reported and leaves the value as it was.
    struct Fill {
        const char *type, *value;
        int32_t tag;
        float given, number;
        const char *text, *log;
    };
    for (const Fill& f : std::vector<Fill>{
             {"FLOAT", "2.5", 1, 0.0f, 2.5f, "", ""},
             {"FLOAT", "2.5", 3, 0.0f, 0.0f, "2.5", ""},
             {"FLOAT", "2.5", 0, 9.0f, 9.0f, "", "\x03Var 12: types INTEGER and FLOAT are different\n"},
             {"FLOAT", "2.5", 9, 0.0f, 0.0f, "", "\x03Var 12: types  and FLOAT are different\n"},
             {"unknown", "2.5", ParameterValue().tag, 0.0f, 0.0f, "", ""},
             {"BOOL", "true", 2, 5.0f, 0.0f, "", ""}}) {
        std::ostringstream log;
        scenarioLog = &log;
        variable.name = "12";
        variable.type = f.type;
        variable.value = f.value;
        ParameterValue out;
        out.tag = f.tag;
        out.number = f.given;
        variable.FillValue(out);
        EXPECT_EQ(out.number, f.number) << f.type << " " << f.tag;
        EXPECT_EQ(out.text, f.text) << f.type << " " << f.tag;
        EXPECT_EQ(log.str(), f.log) << f.type << " " << f.tag;
    }
}

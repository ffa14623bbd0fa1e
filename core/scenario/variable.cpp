#include <scenario/Variable.h>

#include <boost/lexical_cast.hpp>

#include <cfloat>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string_view>

namespace {

const char* const kSource = "variable";

bool IsTypeWord(std::string_view text) {
    return text == "BOOL" || text == "FLOAT" || text == "INTEGER" || text == "STRING" || text == "VOID";
}

// Seventeen significant digits bring every double back exactly. to_chars in the
// general format writes what printf's "%.*g" writes ("inf", "-nan" included).
std::string DoubleText(double number) {
    char text[64];
    const auto result = std::to_chars(text, text + sizeof(text), number, std::chars_format::general, 17);
    return std::string(text, result.ptr);
}

// The plain forms "0" and "1", and decimal numbers such as "-12.5e3", are the
// common case; they are converted directly, with the result that lexical_cast
// gives for them. Every other text goes through lexical_cast, which decides
// whether it converts or raises bad_lexical_cast.
bool ToBool(std::string_view text) {
    if (text == "0")
        return false;
    if (text == "1")
        return true;
    return boost::lexical_cast<bool>(std::string(text));
}

bool IsPlainDecimal(std::string_view text) {
    size_t i = 0;
    const size_t n = text.size();
    auto digits = [&]() {
        const size_t start = i;
        while (i < n && text[i] >= '0' && text[i] <= '9')
            ++i;
        return i > start;
    };
    if (i < n && text[i] == '-')
        ++i;
    if (!digits())
        return false;
    if (i < n && text[i] == '.') {
        ++i;
        if (!digits())
            return false;
    }
    if (i < n && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < n && (text[i] == '-' || text[i] == '+'))
            ++i;
        if (!digits())
            return false;
    }
    return i == n;
}

// A decimal number whose digits, the point left out, make an integer of at most
// 2^53, and whose point and exponent shift it by at most 22 places, is one
// multiplication or division of two exact doubles, which rounds correctly: the
// double that a full conversion gives. Such texts are most of what the files
// hold; false for any other, which is left to the full conversion.
bool ToShortDecimal(std::string_view text, double& number) {
#if FLT_EVAL_METHOD == 0
    constexpr uint64_t kExactLimit = uint64_t(1) << 53;
    static const double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const char* p = text.data();
    const char* const end = p + text.size();
    const bool negative = p < end && *p == '-';
    if (negative)
        ++p;
    uint64_t digits = 0;
    int scale = 0;
    auto take = [&](bool fraction) {
        const char* start = p;
        for (; p < end && *p >= '0' && *p <= '9'; ++p) {
            digits = digits * 10 + static_cast<uint64_t>(*p - '0');
            if (digits > kExactLimit)
                return false;
            scale -= fraction ? 1 : 0;
        }
        return p > start;
    };
    if (!take(false))
        return false;
    if (p < end && *p == '.' && !(++p, take(true)))
        return false;
    if (p < end && (*p == 'e' || *p == 'E')) {
        ++p;
        const bool negativeExponent = p < end && *p == '-';
        if (p < end && (*p == '-' || *p == '+'))
            ++p;
        const char* start = p;
        int exponent = 0;
        for (; p < end && *p >= '0' && *p <= '9' && p - start < 4; ++p)
            exponent = exponent * 10 + (*p - '0');
        if (p == start)
            return false;
        scale += negativeExponent ? -exponent : exponent;
    }
    if (p != end || scale < -22 || scale > 22)
        return false;
    number = static_cast<double>(digits);
    number = scale < 0 ? number / kPowersOfTen[-scale] : number * kPowersOfTen[scale];
    if (negative)
        number = -number;
    return true;
#else
    (void)text;
    (void)number;
    return false;
#endif
}

double ToDouble(std::string_view text) {
    double number = 0.0;
    if (ToShortDecimal(text, number))
        return number;
    if (IsPlainDecimal(text)) {
        const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
        if (result.ec == std::errc() && result.ptr == text.data() + text.size())
            return number;
    }
    return boost::lexical_cast<double>(std::string(text));
}

} // namespace

int TypeTagOf(const std::string& type) {
    if (type == "INTEGER")
        return 0;
    if (type == "FLOAT")
        return 1;
    if (type == "BOOL")
        return 2;
    if (type == "STRING")
        return 3;
    return 4;
}

std::string TypeNameOf(int tag) {
    switch (tag) {
    case 0:
        return "INTEGER";
    case 1:
        return "FLOAT";
    case 2:
        return "BOOL";
    case 3:
        return "STRING";
    case 4:
        return "VOID";
    default:
        return "";
    }
}

Variable::Variable() = default;

Variable::~Variable() = default;

void Variable::DetachChildren() {}

void Variable::AddChild(ScenarioItem* child, ScenarioItem*, bool) {
    // Nothing is stored; the child only learns where it stands, so that its
    // OnLoadBegin asks this variable and is refused.
    if (child != nullptr)
        child->parent = this;
}

void Variable::RemoveChild(ScenarioItem*) {}

void Variable::ReplaceChild(ScenarioItem*, ScenarioItem*) {}

void Variable::SwapChildren(ScenarioItem*, ScenarioItem*) {}

bool Variable::LoadAttribute(ScenarioTextStream& stream) {
    if (Token::LoadAttribute(stream))
        return true;
    // A line can only match the keys of its first letter, which are tried in their
    // order; the others are not looked at.
    std::string_view text;
    switch (stream.Peek()) {
    case 'T':
        if (type.empty() && ReadStringAttribute(stream, "TYPE", type))
            return IsTypeWord(type);
        return false;
    case 'V':
        if (value.empty() && ReadStringAttribute(stream, "VALUE", value)) {
            initialValue = value;
            return true;
        }
        return false;
    case 'I':
        // The flag and the numbers are converted straight from the text.
        if (ReadStringAttribute(stream, "INTERACTIVE_TYPE", interactiveType))
            return true;
        if (ReadAttributeText(stream, "IS_INITIALIZATION_NEEDED_AT_START", text)) {
            isInitializationNeededAtStart = ToBool(text);
            return true;
        }
        if (ReadAttributeText(stream, "INTERACTIVE_MIN_VALUE", text)) {
            interactiveMinValue = ToDouble(text);
            return true;
        }
        if (ReadAttributeText(stream, "INTERACTIVE_MAX_VALUE", text)) {
            interactiveMaxValue = ToDouble(text);
            return true;
        }
        if (ReadAttributeText(stream, "INTERACTIVE_STEP_VALUE", text)) {
            interactiveStepValue = ToDouble(text);
            return true;
        }
        return false;
    case 'C':
        return ReadStringAttribute(stream, "CATEGORY", category);
    default:
        return false;
    }
}

void Variable::SaveAttributes(std::ostream& out) {
    Token::SaveAttributes(out);
    WriteAttribute(out, "TYPE", type.c_str());
    WriteAttribute(out, "VALUE", value.c_str());
    WriteAttribute(out, "INTERACTIVE_TYPE", interactiveType.c_str());
    WriteAttribute(out, "IS_INITIALIZATION_NEEDED_AT_START",
                   boost::lexical_cast<std::string>(isInitializationNeededAtStart).c_str());
    WriteAttribute(out, "INTERACTIVE_MIN_VALUE", DoubleText(interactiveMinValue).c_str());
    WriteAttribute(out, "INTERACTIVE_MAX_VALUE", DoubleText(interactiveMaxValue).c_str());
    WriteAttribute(out, "INTERACTIVE_STEP_VALUE", DoubleText(interactiveStepValue).c_str());
    WriteAttribute(out, "CATEGORY", category.c_str());
}

bool Variable::AcceptsChildKind(uint32_t) {
    return false;
}

ScenarioItem* Variable::Clone() {
    ScenarioItem* copy = Token::Clone();
    if (copy == nullptr)
        AssertAbort(kSource, 101);
    if (Variable* variable = dynamic_cast<Variable*>(copy)) {
        variable->label = label;
        variable->type = type;
        variable->value = value;
        variable->initialValue = initialValue;
        variable->interactiveType = interactiveType;
        variable->isInitializationNeededAtStart = isInitializationNeededAtStart;
        variable->interactiveMinValue = interactiveMinValue;
        variable->interactiveMaxValue = interactiveMaxValue;
        variable->interactiveStepValue = interactiveStepValue;
        variable->spare = spare;
        variable->category = category;
    }
    return copy;
}

void Variable::UpdateDisplayText() {
    displayText = label + "=" + value;
}

void Variable::FillValue(ParameterValue& out) const {
    // The tag says what the caller expects; any value reads as a string.
    const int tag = out.tag;
    if (tag != 3 && tag != TypeTagOf(type)) {
        if (scenarioLog != nullptr) {
            scenarioLog->put('\x03');
            *scenarioLog << "Var " << name << ": types " << TypeNameOf(tag) << " and " << type
                         << " are different" << std::endl;
        }
        return;
    }
    if (tag == 0 || tag == 1 || tag == 2)
        out.number = static_cast<float>(std::atof(value.c_str()));
    else if (tag == 3)
        out.text = value;
}

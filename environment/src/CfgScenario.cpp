#include <environment/SheetCfg/CfgScenario.h>

#include <environment/Commons/FileUtils.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <new>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cfg {

namespace {

// Element that carries a parameter which the section's class doesn't declare.
constexpr char parameterElement[] = "Parameter";

// Whether `text` is exactly `literal`. Inlined and unrolled: it runs for every
// element and attribute of a file.
template <size_t N> bool is(const char* text, const char (&literal)[N]) {
    for (size_t i = 0; i < N; ++i) // the terminating NUL included
        if (text[i] != literal[i])
            return false;
    return true;
}

// Deeper trees than this are refused: nothing real comes close, and the
// readers and the destructors of the tree recurse.
const int maximumDepth = 512;

// Keep CDATA and decode entities, but do not normalise line ends or attribute
// whitespace: script text must come back byte for byte. A lone whitespace text
// (a string parameter of blanks) is kept too. The first text of an element,
// when no child comes before it, is held as the element's value rather than as
// a node of its own: every parameter of a file carries its value that way,
// which spares the parser a node and the reader a step per parameter.
const unsigned int parseOptions =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata_single | pugi::parse_embed_pcdata;

struct TypeName {
    t_ParameterType type;
    const char* text;
};

const TypeName typeNames[] = {
    {ParameterBool, "bool"},     {ParameterInt, "int"},       {ParameterReal, "real"},
    {ParameterFloat, "float"},   {ParameterVector, "vector"}, {ParameterChoice, "choice"},
    {ParameterString, "string"},
};

const char* typeText(t_ParameterType type) {
    for (const TypeName& entry : typeNames)
        if (entry.type == type)
            return entry.text;
    return "string";
}

bool typeFromText(const char* text, t_ParameterType& type) {
    // The type names differ in their first letter: most entries are turned down
    // without a call.
    for (const TypeName& entry : typeNames)
        if (entry.text[0] == text[0] && std::strcmp(entry.text, text) == 0) {
            type = entry.type;
            return true;
        }
    return false;
}

std::string quoted(const char* text) {
    return std::string("'") + text + "'";
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isBlankText(const char* text) {
    for (; *text; ++text)
        if (!isBlank(*text))
            return false;
    return true;
}

// Numbers and flags may be surrounded by blanks (hand-formatted files); the
// text in between must be consumed whole.
template <class T> bool parseNumber(const char*& begin, const char* end, T& value) {
    while (begin < end && isBlank(*begin))
        ++begin;
    const char* numberBegin = begin;
    if (begin < end && *begin == '+') // from_chars refuses an explicit plus
        ++numberBegin;
    auto result = std::from_chars(numberBegin, end, value);
    if (result.ec != std::errc() || result.ptr == numberBegin)
        return false;
    begin = result.ptr;
    return true;
}

bool onlyBlanksLeft(const char* begin, const char* end) {
    for (; begin < end; ++begin)
        if (!isBlank(*begin))
            return false;
    return true;
}

template <class T> bool parseWhole(const char* text, T& value) {
    const char* end = text + std::strlen(text);
    T parsed{};
    if (!parseNumber(text, end, parsed) || !onlyBlanksLeft(text, end))
        return false;
    value = parsed;
    return true;
}

bool parseBool(const char* text, bool& value) {
    const char* begin = text;
    const char* end = text + std::strlen(text);
    while (begin < end && isBlank(*begin))
        ++begin;
    while (end > begin && isBlank(end[-1]))
        --end;
    const std::string word(begin, end);
    if (word == "true" || word == "1")
        value = true;
    else if (word == "false" || word == "0")
        value = false;
    else
        return false;
    return true;
}

bool parseVector(const char* text, lmk::Vector3& value) {
    const char* end = text + std::strlen(text);
    double x = 0, y = 0, z = 0;
    if (!parseNumber(text, end, x) || text == end || !isBlank(*text) || !parseNumber(text, end, y) ||
        text == end || !isBlank(*text) || !parseNumber(text, end, z) || !onlyBlanksLeft(text, end))
        return false;
    value = lmk::Vector3(x, y, z);
    return true;
}

// Stores the text as the parameter's value; false if it isn't of the type.
bool parseValue(const char* text, const Section::ParameterIterator& it) {
    switch (it.getType()) {
    case ParameterBool:
        return parseBool(text, it.getBool());
    case ParameterInt:
        return parseWhole(text, it.getInt());
    case ParameterReal:
        return parseWhole(text, it.getDouble());
    case ParameterFloat:
        return parseWhole(text, it.getFloat());
    case ParameterVector:
        return parseVector(text, it.getVector());
    case ParameterChoice:
    case ParameterString:
        it.getString() = text;
        return true;
    }
    return false;
}

template <class T> void appendNumber(std::string& out, T value) {
    char buffer[64];
    auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value); // shortest text that reads back exactly
    out.append(buffer, result.ptr);
}

std::string formatValue(const Section::ParameterIterator& it) {
    std::string text;
    switch (it.getType()) {
    case ParameterBool:
        text = it.getBool() ? "true" : "false";
        break;
    case ParameterInt:
        appendNumber(text, it.getInt());
        break;
    case ParameterReal:
        appendNumber(text, it.getDouble());
        break;
    case ParameterFloat:
        appendNumber(text, it.getFloat());
        break;
    case ParameterVector: {
        const lmk::Vector3& v = it.getVector();
        appendNumber(text, v.x);
        text += ' ';
        appendNumber(text, v.y);
        text += ' ';
        appendNumber(text, v.z);
        break;
    }
    case ParameterChoice:
    case ParameterString:
        text = it.getString();
        break;
    }
    return text;
}

// An element name that reads back as the same section.
bool isWritableName(const char* name) {
    auto startChar = [](unsigned char c) { return c >= 0x80 || std::isalpha(c) || c == '_' || c == ':'; };
    auto nameChar = [&](unsigned char c) { return startChar(c) || std::isdigit(c) || c == '-' || c == '.'; };
    if (!*name || !startChar(static_cast<unsigned char>(*name)))
        return false;
    for (const char* c = name; *c; ++c)
        if (!nameChar(static_cast<unsigned char>(*c)))
            return false;
    return !is(name, parameterElement);
}

// The section as a script, if it is one. The name is tested first: a run-time
// cast across the library boundary compares type names, and this runs for
// every section of a file.
ScenarioScript* scriptOf(Section& section) {
    if (!is(section.getName(), "ScenarioScript"))
        return nullptr;
    return dynamic_cast<ScenarioScript*>(&section);
}

std::string normalisedPath(const char* path) {
    std::string text = path ? path : "";
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

// Turns the file into sections. A failure is kept as an offset into `buffer`,
// the in-place parsed file: the parser shortens strings where it decodes them,
// but every string still starts where it did in the file.
class Reader {
public:
    Reader(const char* buffer, size_t size) : buffer(buffer), size(size) {}

    size_t errorOffset = 0;
    std::string errorText;

    bool fail(const void* where, const std::string& what) {
        const char* at = static_cast<const char*>(where);
        errorOffset = (at >= buffer && at < buffer + size) ? static_cast<size_t>(at - buffer) : 0;
        errorText = what;
        return false;
    }

    // The element's position is that of its '<'.
    static const char* at(const pugi::xml_node& node) { return node.name() - 1; }

    // The loops below walk pugixml's lists by first/next rather than through
    // its ranges: fewer calls into the parser's library for every node.
    bool readSection(const pugi::xml_node& node, Section& section, int depth) {
        if (depth > maximumDepth)
            return fail(at(node), "sections are nested too deeply");
        // Every attribute names a declared parameter, so a repeated attribute
        // is a parameter met twice.
        constexpr size_t seenLimit = 16;
        Section::ParameterIterator seen[seenLimit];
        size_t seenCount = 0;
        for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
             attribute = attribute.next_attribute()) {
            const char* key = attribute.name();
            Section::ParameterIterator it = section.findParameter(key);
            if (it == section.endParameter() || !section.isDeclared(it))
                return fail(key,
                            "attribute " + quoted(key) + " is not declared by " + quoted(section.getName()));
            if (std::find(seen, seen + std::min(seenCount, seenLimit), it) !=
                seen + std::min(seenCount, seenLimit))
                return fail(key, "duplicate attribute " + quoted(key));
            if (seenCount >= seenLimit) // more than any class declares: compare by name
                for (pugi::xml_attribute before = attribute.previous_attribute(); before;
                     before = before.previous_attribute())
                    if (std::strcmp(before.name(), key) == 0)
                        return fail(key, "duplicate attribute " + quoted(key));
            if (seenCount < seenLimit)
                seen[seenCount] = it;
            ++seenCount;
            const char* value = attribute.value();
            if (!parseValue(value, it))
                return fail(value, badValue(value, it));
        }
        ScenarioScript* script = scriptOf(section);
        // Text that comes before any child element is the element's value.
        if (!readText(node.value(), false, section, script))
            return false;
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            const pugi::xml_node_type type = child.type();
            if (type == pugi::node_element) {
                const char* name = child.name();
                if (is(name, parameterElement)) {
                    if (!readParameter(child, section))
                        return false;
                } else if (!readSection(child, *section.createSubSection(name), depth + 1))
                    return false;
            } else if (type == pugi::node_pcdata || type == pugi::node_cdata) {
                if (!readText(child.value(), type == pugi::node_cdata, section, script))
                    return false;
            }
        }
        return true;
    }

private:
    // Text directly in a section: script text, or layout between elements.
    bool readText(const char* text, bool cdata, Section& section, ScenarioScript* script) {
        if (!cdata && isBlankText(text))
            return true;
        if (!script)
            return fail(text, "unexpected text in " + quoted(section.getName()));
        script->text += text;
        return true;
    }

    static std::string badValue(const char* text, const Section::ParameterIterator& it) {
        return quoted(text) + " is not a valid " + typeText(it.getType()) + " value for " +
               quoted(it.getCName().c_str());
    }

    bool readParameter(const pugi::xml_node& node, Section& section) {
        const char* name = nullptr;
        const char* type = nullptr;
        const char* unit = nullptr;
        const char* verbose = nullptr;
        const char* options = nullptr;
        const char* optionsKey = nullptr;
        for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
             attribute = attribute.next_attribute()) {
            const char* key = attribute.name();
            // Tested in the order in which the writer puts them, so the branches
            // are predictable: this runs for every parameter of a file.
            const char** slot = nullptr;
            if (is(key, "name"))
                slot = &name;
            else if (is(key, "type"))
                slot = &type;
            else if (is(key, "unit"))
                slot = &unit;
            else if (is(key, "verbose"))
                slot = &verbose;
            else if (is(key, "options")) {
                slot = &options;
                optionsKey = key;
            }
            if (!slot)
                return fail(key,
                            "attribute " + quoted(key) + " is not declared by " + quoted(parameterElement));
            if (*slot)
                return fail(key, "duplicate attribute " + quoted(key));
            *slot = attribute.value();
        }
        if (!name || !*name)
            return fail(at(node), "Parameter without 'name'");
        if (!type || !*type)
            return fail(at(node), "Parameter without 'type'");
        t_ParameterType parameterType = ParameterString;
        if (!typeFromText(type, parameterType))
            return fail(type, "unknown parameter type " + quoted(type));
        const lmk::t_unit parameterUnit = unit ? unitOf(unit) : lmk::U_NONE;
        if (parameterUnit == lmk::U_NONE && unit && *unit)
            return fail(unit, "unknown unit " + quoted(unit));
        if (options && parameterType != ParameterChoice)
            return fail(optionsKey, "attribute 'options' is only allowed for a choice");
        if (section.findParameter(name) != section.endParameter())
            return fail(name,
                        "parameter " + quoted(name) + " is defined twice in " + quoted(section.getName()));

        // The value is usually one piece of text, the element's own value, used
        // where it stands; pieces split by CDATA sections are joined.
        const char* value = node.value();
        const char* valueAt = *value ? value : at(node);
        std::string joined;
        size_t pieces = *value ? 1 : 0;
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            const pugi::xml_node_type childType = child.type();
            if (childType == pugi::node_pcdata || childType == pugi::node_cdata) {
                const char* text = child.value();
                if (pieces == 0)
                    value = valueAt = text;
                else {
                    if (pieces == 1)
                        joined = value;
                    joined += text;
                }
                ++pieces;
            } else if (childType == pugi::node_element)
                return fail(at(child), "unexpected element " + quoted(child.name()) + " in 'Parameter'");
        }
        if (pieces > 1)
            value = joined.c_str();
        Section::ParameterIterator it = section.addParameter(name, parameterType, parameterUnit, verbose);
        if (options)
            it.getOptions() = options;
        if (!parseValue(value, it))
            return fail(valueAt, badValue(value, it));
        return true;
    }

    // A file names the same few units over and over: the last ones met are
    // remembered while the file is read, rather than looked up again.
    lmk::t_unit unitOf(const char* text) {
        for (const KnownUnit& known : knownUnits)
            if (known.text && std::strcmp(known.text, text) == 0)
                return known.unit;
        const lmk::t_unit unit = lmk::toTUnit(text);
        if (unit != lmk::U_NONE) {
            knownUnits[nextKnownUnit] = {text, unit};
            nextKnownUnit = (nextKnownUnit + 1) % knownUnitCount;
        }
        return unit;
    }

    const char* buffer;
    size_t size;
    struct KnownUnit {
        const char* text = nullptr; // in the parsed file
        lmk::t_unit unit = lmk::U_NONE;
    };
    static constexpr size_t knownUnitCount = 4;
    KnownUnit knownUnits[knownUnitCount];
    size_t nextKnownUnit = 0;
};

// "PATH:LINE:COLUMN: what", line and column from 1 counted in `bytes`.
std::string located(const std::string& path, const char* bytes, size_t size, size_t offset,
                    const std::string& what) {
    offset = std::min(offset, size);
    size_t line = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < offset; ++i)
        if (bytes[i] == '\n') {
            ++line;
            lineStart = i + 1;
        }
    return path + ":" + std::to_string(line) + ":" + std::to_string(offset - lineStart + 1) + ": " + what;
}

// A whole file. Not a vector: zero-filling a large buffer before reading
// into it costs as much as the read.
struct FileBytes {
    std::unique_ptr<char[]> data;
    size_t size = 0;
};

bool readFile(const std::string& path, FileBytes& bytes) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat status;
    bool ok = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    // One byte more than the size, to notice a file that grew since fstat.
    size_t capacity = ok ? static_cast<size_t>(status.st_size) + 1 : 0;
    bytes.data.reset(ok ? new char[capacity] : nullptr);
    bytes.size = 0;
    while (ok) {
        if (bytes.size == capacity) {
            std::unique_ptr<char[]> larger(new char[capacity * 2]);
            std::memcpy(larger.get(), bytes.data.get(), bytes.size);
            bytes.data = std::move(larger);
            capacity *= 2;
        }
        const ssize_t got = ::read(fd, bytes.data.get() + bytes.size, capacity - bytes.size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            ok = got == 0;
            break;
        }
        bytes.size += static_cast<size_t>(got);
    }
    ::close(fd);
    return ok;
}

std::string formatEdit(const WriteEdits::Value& value) {
    std::string text;
    if (const bool* flag = std::get_if<bool>(&value))
        text = *flag ? "true" : "false";
    else if (const int* integer = std::get_if<int>(&value))
        appendNumber(text, *integer);
    else if (const double* real = std::get_if<double>(&value))
        appendNumber(text, *real);
    else
        text = std::get<std::string>(value);
    return text;
}

// A parameter's value as written: the edit's when there is one.
std::string valueText(const Section& section, const Section::ParameterIterator& it, const WriteEdits* edits) {
    if (edits && !edits->values.empty()) {
        const auto edit = edits->values.find({&section, it.getCName()});
        if (edit != edits->values.end())
            return formatEdit(edit->second);
    }
    return formatValue(it);
}

void writeSection(pugi::xml_node parent, Section& section, const WriteEdits* edits) {
    if (edits && edits->omitted.count(&section))
        return;
    pugi::xml_node element = parent.append_child(section.getName());
    for (auto it = section.beginParameter(); it != section.endParameter(); ++it)
        if (section.isDeclared(it))
            element.append_attribute(it.getCName().c_str()).set_value(valueText(section, it, edits).c_str());
    for (auto it = section.beginParameter(); it != section.endParameter(); ++it) {
        if (section.isDeclared(it))
            continue;
        pugi::xml_node parameter = element.append_child(parameterElement);
        parameter.append_attribute("name").set_value(it.getCName().c_str());
        parameter.append_attribute("type").set_value(typeText(it.getType()));
        if (it.getUnit() != lmk::U_NONE)
            parameter.append_attribute("unit").set_value(lmk::toText(it.getUnit()));
        if (!it.getVerboseName().empty())
            parameter.append_attribute("verbose").set_value(it.getVerboseName().c_str());
        if (it.getType() == ParameterChoice && !it.getOptions().empty())
            parameter.append_attribute("options").set_value(it.getOptions().c_str());
        const std::string value = valueText(section, it, edits);
        if (!value.empty())
            parameter.append_child(pugi::node_pcdata).set_value(value.c_str());
    }
    if (ScenarioScript* script = scriptOf(section)) {
        const std::string* text = &script->text;
        if (edits && !edits->scriptTexts.empty()) {
            const auto edit = edits->scriptTexts.find(&section);
            if (edit != edits->scriptTexts.end())
                text = &edit->second;
        }
        if (!text->empty())
            element.append_child(pugi::node_cdata).set_value(text->c_str());
    }
    for (size_t i = 0; i < section.getSubSectionCount(); ++i)
        writeSection(element, *section.getSubSection(i), edits);
}

// The first section whose name can't stand as an element, or null.
Section* unwritableSection(Section& section, int depth) {
    if (!isWritableName(section.getName()) || depth > maximumDepth)
        return &section;
    for (size_t i = 0; i < section.getSubSectionCount(); ++i)
        if (Section* bad = unwritableSection(*section.getSubSection(i), depth + 1))
            return bad;
    return nullptr;
}

} // namespace

CfgScenario::CfgScenario() : root(std::make_unique<Scenario>()) {}

CfgScenario::~CfgScenario() = default;

bool CfgScenario::load(const char* path, Commons::Encoding::Mode, Orbe::Network*,
                       ScenarioConvertion::CallBack*, bool, bool, bool) {
    const std::string shownPath = path ? path : "";
    try {
        failedLoadPath = normalisedPath(path);
        FileBytes buffer;
        if (!readFile(failedLoadPath, buffer)) {
            struct stat status;
            if (::stat(failedLoadPath.c_str(), &status) != 0)
                failedLoadPath.clear(); // nothing there to protect
            errorMessage = shownPath + ":1:1: cannot read the file";
            return false;
        }
        // The buffer is parsed in place; lines are counted in a fresh copy of
        // the file, read again only when there is an error to place.
        auto failure = [&](size_t offset, const std::string& what) {
            FileBytes original;
            const bool reread = readFile(failedLoadPath, original);
            const FileBytes& bytes = reread ? original : buffer;
            errorMessage = located(shownPath, bytes.data.get(), bytes.size, offset, what);
            return false;
        };
        Reader reader(buffer.data.get(), buffer.size);
        pugi::xml_document document;
        const pugi::xml_parse_result result =
            document.load_buffer_inplace(buffer.data.get(), buffer.size, parseOptions, pugi::encoding_utf8);
        if (!result)
            return failure(static_cast<size_t>(std::max<ptrdiff_t>(result.offset, 0)), result.description());
        const pugi::xml_node top = document.document_element();
        if (std::strcmp(top.name(), Scenario::sectionName()) != 0) {
            reader.fail(Reader::at(top), "the root element is " + quoted(top.name()) + ", not 'Scenario'");
            return failure(reader.errorOffset, reader.errorText);
        }
        auto loaded = std::make_unique<Scenario>();
        if (!reader.readSection(top, *loaded, 0))
            return failure(reader.errorOffset, reader.errorText);
        root = std::move(loaded);
        failedLoadPath.clear();
        errorMessage.clear();
        return true;
    } catch (const std::bad_alloc&) {
        errorMessage = shownPath + ":1:1: out of memory";
    } catch (const std::exception& e) {
        errorMessage = shownPath + ":1:1: " + e.what();
    }
    return false;
}

bool CfgScenario::save(const char* path, Commons::Encoding::Mode mode, bool backup) {
    static const WriteEdits none;
    return save(path, mode, backup, none);
}

bool CfgScenario::save(const char* path, Commons::Encoding::Mode, bool backup, const WriteEdits& edits) {
    const std::string target = normalisedPath(path);
    const std::string shownPath = path ? path : "";
    try {
        if (Section* bad = unwritableSection(*root, 0)) {
            errorMessage = shownPath + ": cannot write a section named " + quoted(bad->getName());
            return false;
        }
        if (!failedLoadPath.empty() && target == failedLoadPath) {
            // The tree is what a failed load left: writing it would lose the file.
            errorMessage = shownPath + ": not replaced, since it could not be loaded";
            return false;
        }
        pugi::xml_document document;
        const bool editing = !edits.omitted.empty() || !edits.values.empty() || !edits.scriptTexts.empty();
        writeSection(document, *root, editing ? &edits : nullptr);
        std::ostringstream text;
        document.save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
        std::string reason;
        // The backup is replaced as the file is, so that a failure never leaves a
        // half-written backup of a file that is still whole.
        if (backup && Commons::FileUtils::DoesFileExist(target) &&
            !Commons::FileUtils::CopyFile(target, target + ".bak", &reason)) {
            errorMessage = shownPath + ": cannot write the backup: " + reason;
            return false;
        }
        if (!Commons::FileUtils::ReplaceFile(target, text.str(), &reason)) {
            errorMessage = shownPath + ": " + reason;
            return false;
        }
        errorMessage.clear();
        return true;
    } catch (const std::exception& e) {
        errorMessage = shownPath + ": cannot write: " + e.what();
    }
    return false;
}

const char* parameterTypeText(t_ParameterType type) {
    return typeText(type);
}

std::string parameterValueText(const Section::ParameterIterator& parameter) {
    return formatValue(parameter);
}

} // namespace cfg

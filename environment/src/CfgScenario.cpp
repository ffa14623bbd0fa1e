#include <environment/SheetCfg/CfgScenario.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cfg {

namespace {

// Element that carries a parameter which the section's class doesn't declare.
const char* const parameterElement = "Parameter";

// Deeper trees than this are refused: nothing real comes close, and the
// readers and the destructors of the tree recurse.
const int maximumDepth = 512;

// Keep CDATA and decode entities, but do not normalise line ends or attribute
// whitespace: script text must come back byte for byte. A lone whitespace text
// (a string parameter of blanks) is kept too.
const unsigned int parseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata_single;

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
    for (const TypeName& entry : typeNames)
        if (std::strcmp(entry.text, text) == 0) {
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
    return std::strcmp(name, parameterElement) != 0;
}

std::string normalisedPath(const char* path) {
    std::string text = path ? path : "";
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

// Turns the file into sections. Positions are offsets into `buffer`, the
// in-place parsed copy whose string starts stay where they were in `original`.
class Reader {
public:
    Reader(const std::string& path, const std::vector<char>& original, const char* buffer)
        : path(path), original(original), buffer(buffer) {}

    std::string error;

    bool fail(const void* where, const std::string& what) {
        size_t offset = 0;
        const char* at = static_cast<const char*>(where);
        if (at >= buffer && at < buffer + original.size())
            offset = static_cast<size_t>(at - buffer);
        error = position(offset) + what;
        return false;
    }

    // "PATH:LINE:COLUMN: " for a byte offset, line and column from 1.
    std::string position(size_t offset) const {
        offset = std::min(offset, original.size());
        size_t line = 1;
        size_t lineStart = 0;
        for (size_t i = 0; i < offset; ++i)
            if (original[i] == '\n') {
                ++line;
                lineStart = i + 1;
            }
        return path + ":" + std::to_string(line) + ":" + std::to_string(offset - lineStart + 1) + ": ";
    }

    // The element's position is that of its '<'.
    static const char* at(const pugi::xml_node& node) { return node.name() - 1; }

    bool readSection(const pugi::xml_node& node, Section& section, int depth) {
        if (depth > maximumDepth)
            return fail(at(node), "sections are nested too deeply");
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            Section::ParameterIterator it = section.findParameter(attribute.name());
            if (it == section.endParameter() || !section.isDeclared(it))
                return fail(attribute.name(), "attribute " + quoted(attribute.name()) +
                                                  " is not declared by " + quoted(section.getName()));
            if (!parseValue(attribute.value(), it))
                return fail(attribute.value(), badValue(attribute.value(), it));
        }
        ScenarioScript* script = dynamic_cast<ScenarioScript*>(&section);
        for (const pugi::xml_node& child : node.children()) {
            switch (child.type()) {
            case pugi::node_element:
                if (std::strcmp(child.name(), parameterElement) == 0) {
                    if (!readParameter(child, section))
                        return false;
                } else if (!readSection(child, *section.createSubSection(child.name()), depth + 1))
                    return false;
                break;
            case pugi::node_cdata:
            case pugi::node_pcdata:
                if (child.type() == pugi::node_pcdata && isBlankText(child.value()))
                    break; // layout between elements
                if (!script)
                    return fail(child.value(), "unexpected text in " + quoted(section.getName()));
                script->text += child.value();
                break;
            default:
                break;
            }
        }
        return true;
    }

private:
    static std::string badValue(const char* text, const Section::ParameterIterator& it) {
        return quoted(text) + " is not a valid " + typeText(it.getType()) + " value for " +
               quoted(it.getCName().c_str());
    }

    bool readParameter(const pugi::xml_node& node, Section& section) {
        pugi::xml_attribute name, type, unit, verbose, options;
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            const char* key = attribute.name();
            pugi::xml_attribute* slot = std::strcmp(key, "name") == 0      ? &name
                                        : std::strcmp(key, "type") == 0    ? &type
                                        : std::strcmp(key, "unit") == 0    ? &unit
                                        : std::strcmp(key, "verbose") == 0 ? &verbose
                                        : std::strcmp(key, "options") == 0 ? &options
                                                                           : nullptr;
            if (!slot)
                return fail(key,
                            "attribute " + quoted(key) + " is not declared by " + quoted(parameterElement));
            *slot = attribute;
        }
        if (!name || !*name.value())
            return fail(at(node), "Parameter without 'name'");
        if (!type || !*type.value())
            return fail(at(node), "Parameter without 'type'");
        t_ParameterType parameterType = ParameterString;
        if (!typeFromText(type.value(), parameterType))
            return fail(type.value(), "unknown parameter type " + quoted(type.value()));
        const lmk::t_unit parameterUnit = lmk::toTUnit(unit.value());
        if (parameterUnit == lmk::U_NONE && *unit.value())
            return fail(unit.value(), "unknown unit " + quoted(unit.value()));
        if (options && parameterType != ParameterChoice)
            return fail(options.name(), "attribute 'options' is only allowed for a choice");
        if (section.findParameter(name.value()) != section.endParameter())
            return fail(name.value(), "parameter " + quoted(name.value()) + " is defined twice in " +
                                          quoted(section.getName()));

        std::string value;
        const char* valueAt = at(node);
        for (const pugi::xml_node& child : node.children()) {
            if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
                if (value.empty())
                    valueAt = child.value();
                value += child.value();
            } else if (child.type() == pugi::node_element)
                return fail(at(child), "unexpected element " + quoted(child.name()) + " in 'Parameter'");
        }
        Section::ParameterIterator it =
            section.addParameter(name.value(), parameterType, parameterUnit, verbose.value());
        it.getOptions() = options.value();
        if (!parseValue(value.c_str(), it))
            return fail(valueAt, badValue(value.c_str(), it));
        return true;
    }

    const std::string& path;
    const std::vector<char>& original;
    const char* buffer;
};

bool readFile(const std::string& path, std::vector<char>& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        return false;
    struct stat status;
    bool ok = fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode);
    if (ok) {
        bytes.resize(static_cast<size_t>(status.st_size));
        ok = bytes.empty() || std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
        // The size may have changed since fstat: read whatever follows.
        char chunk[4096];
        size_t got;
        while (ok && (got = std::fread(chunk, 1, sizeof chunk, file)) > 0)
            bytes.insert(bytes.end(), chunk, chunk + got);
        ok = ok && !std::ferror(file);
    }
    std::fclose(file);
    return ok;
}

void writeSection(pugi::xml_node parent, Section& section) {
    pugi::xml_node element = parent.append_child(section.getName());
    for (auto it = section.beginParameter(); it != section.endParameter(); ++it)
        if (section.isDeclared(it))
            element.append_attribute(it.getCName().c_str()).set_value(formatValue(it).c_str());
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
        const std::string value = formatValue(it);
        if (!value.empty())
            parameter.append_child(pugi::node_pcdata).set_value(value.c_str());
    }
    if (ScenarioScript* script = dynamic_cast<ScenarioScript*>(&section))
        if (!script->text.empty())
            element.append_child(pugi::node_cdata).set_value(script->text.c_str());
    for (size_t i = 0; i < section.getSubSectionCount(); ++i)
        writeSection(element, *section.getSubSection(i));
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

class FileWriter : public pugi::xml_writer {
public:
    explicit FileWriter(int fd) : fd(fd) {}
    void write(const void* data, size_t size) override {
        const char* bytes = static_cast<const char*>(data);
        while (size > 0 && ok) {
            const ssize_t written = ::write(fd, bytes, size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0) {
                ok = false;
                error = errno;
                break;
            }
            bytes += written;
            size -= static_cast<size_t>(written);
        }
    }
    bool ok = true;
    int error = 0;

private:
    int fd;
};

mode_t creationMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

CfgScenario::CfgScenario() : root(std::make_unique<Scenario>()) {}

CfgScenario::~CfgScenario() = default;

bool CfgScenario::load(const char* path, Commons::Encoding::Mode, Orbe::Network*,
                       ScenarioConvertion::CallBack*, bool, bool, bool) {
    const std::string shownPath = path ? path : "";
    try {
        failedLoadPath = normalisedPath(path);
        std::vector<char> original;
        if (!readFile(normalisedPath(path), original)) {
            errorMessage = shownPath + ":1:1: cannot read the file";
            return false;
        }
        std::vector<char> buffer(original);
        buffer.push_back('\0');
        Reader reader(shownPath, original, buffer.data());

        pugi::xml_document document;
        const pugi::xml_parse_result result =
            document.load_buffer_inplace(buffer.data(), original.size(), parseOptions, pugi::encoding_utf8);
        if (!result) {
            errorMessage = reader.position(static_cast<size_t>(std::max<ptrdiff_t>(result.offset, 0))) +
                           result.description();
            return false;
        }
        const pugi::xml_node top = document.document_element();
        if (std::strcmp(top.name(), Scenario::sectionName()) != 0) {
            reader.fail(Reader::at(top), "the root element is " + quoted(top.name()) + ", not 'Scenario'");
            errorMessage = reader.error;
            return false;
        }
        auto loaded = std::make_unique<Scenario>();
        if (!reader.readSection(top, *loaded, 0)) {
            errorMessage = reader.error;
            return false;
        }
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

bool CfgScenario::save(const char* path, Commons::Encoding::Mode, bool backup) {
    const std::string target = normalisedPath(path);
    const std::string shownPath = path ? path : "";
    int fd = -1;
    std::string temporary;
    try {
        if (Section* bad = unwritableSection(*root, 0)) {
            errorMessage = shownPath + ": cannot write a section named " + quoted(bad->getName());
            return false;
        }
        if (!failedLoadPath.empty() && target == failedLoadPath) {
            errorMessage = shownPath + ": not replaced, since it could not be loaded";
            return false;
        }
        struct stat status;
        const bool targetExists = ::stat(target.c_str(), &status) == 0;
        if (target.empty() || target.back() == '/' || (targetExists && !S_ISREG(status.st_mode))) {
            errorMessage = shownPath + ": not a file";
            return false;
        }
        pugi::xml_document document;
        writeSection(document, *root);

        // Write beside the target and rename over it, so that readers see
        // either the old file or the whole new one, never a part.
        const size_t slash = target.rfind('/');
        const std::string folder = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
        const std::string file = slash == std::string::npos ? target : target.substr(slash + 1);
        temporary = folder + "." + file + ".XXXXXX";
        fd = ::mkstemp(&temporary[0]);
        if (fd < 0) {
            errorMessage = shownPath + ": cannot create a file beside it: " + std::strerror(errno);
            temporary.clear();
            return false;
        }
        FileWriter writer(fd);
        document.save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
        const mode_t mode = targetExists ? (status.st_mode & 07777) : creationMode();
        bool ok = writer.ok && ::fchmod(fd, mode) == 0 && ::fsync(fd) == 0;
        int error = writer.ok ? errno : writer.error;
        ok = (::close(fd) == 0) && ok;
        fd = -1;
        if (ok && backup && targetExists) {
            std::error_code code;
            std::filesystem::copy_file(target, target + ".bak",
                                       std::filesystem::copy_options::overwrite_existing, code);
            ok = !code;
            error = code.value();
        }
        if (ok && ::rename(temporary.c_str(), target.c_str()) != 0) {
            ok = false;
            error = errno;
        }
        if (!ok) {
            errorMessage = shownPath + ": cannot write: " + std::strerror(error);
            ::unlink(temporary.c_str());
            return false;
        }
        errorMessage.clear();
        return true;
    } catch (const std::exception& e) {
        errorMessage = shownPath + ": cannot write: " + e.what();
    }
    if (fd >= 0)
        ::close(fd);
    if (!temporary.empty())
        ::unlink(temporary.c_str());
    return false;
}

} // namespace cfg

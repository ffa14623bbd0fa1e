#pragma once

// What the benchmark programs of the item model share: text in the writer's form
// and its reading.

#include <scenario/ScenarioModel.h>

#include <Poco/File.h>
#include <Poco/Path.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace benchtext {

/// Text in the writer's form (tabs, CR LF), so that the reader does what it does
/// with real files.
class Writer {
public:
    void Open(const char* keyword, const std::string& name) {
        text += "\r\n" + Tabs() + "TYPEOF " + keyword + " (" + name + ")\r\n" + Tabs() + "{\r\n";
        ++depth;
    }
    void Attribute(const char* key, const std::string& value) {
        text += Tabs() + key + "=\"" + value + "\"\r\n";
    }
    void Close() {
        --depth;
        text += Tabs() + "}\r\n";
    }
    /// A parameter instance of KIND "USER".
    void UserValue(const char* name, const std::string& value) {
        Open("PARAMETER", name);
        Attribute("KIND", "USER");
        Attribute("VALUE", value);
        Attribute("OWNER_FILE", "");
        Close();
    }
    std::string text;

private:
    std::string Tabs() const { return std::string(static_cast<size_t>(depth), '\t'); }
    int depth = 0;
};

/// Writes a file of the benchmark's data, making its folders; the program stops
/// when it can't.
inline void WriteFile(const std::string& path, const std::string& text) {
    Poco::File(Poco::Path(path).parent()).createDirectories();
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out)
        std::abort();
}

/// The top item of `text`, or null.
inline ScenarioItem* Read(const std::string& text) {
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    ItemLoadContext context;
    return LoadScenarioText(stream, nullptr, &context, nullptr, false);
}

} // namespace benchtext

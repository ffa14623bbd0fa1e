#pragma once

// Helpers shared by the tests of the item model: observing assertions, reading
// text, writing an item, and a fresh temporary folder.

#include <scenario/ScenarioModel.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>

namespace modeltest {

/// What the throwing assertion handler raises.
struct AssertionSeen {
    std::string source;
    int line;
};

inline void ThrowOnAssertion(const char* source, int line) {
    throw AssertionSeen{source, line};
}

/// Makes AssertAbort throw AssertionSeen for the life of the object.
class AssertionTrap {
public:
    AssertionTrap() : former(SetAssertAbortHandler(ThrowOnAssertion)) {}
    ~AssertionTrap() { SetAssertAbortHandler(former); }

private:
    AssertAbortHandler former;
};

/// Runs `body` and returns the assertion it raised, or {"", -1} when none.
template <typename Body> AssertionSeen AssertionOf(Body body) {
    AssertionTrap trap;
    try {
        body();
    } catch (const AssertionSeen& seen) {
        return seen;
    }
    return AssertionSeen{"", -1};
}

#define EXPECT_ASSERTION(statement, expectedSource, expectedLine)                                            \
    do {                                                                                                     \
        ::modeltest::AssertionSeen seen_ = ::modeltest::AssertionOf([&] { statement; });                     \
        EXPECT_EQ(seen_.source, expectedSource);                                                             \
        EXPECT_EQ(seen_.line, expectedLine);                                                                 \
    } while (0)

using ItemPtr = std::unique_ptr<ScenarioItem>;

/// Reads one item from text (the NUL counted, as a file is), logging to `log`.
inline ItemPtr Parse(const std::string& text, std::ostream* log = nullptr, bool headerOnly = false) {
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    ItemLoadContext context;
    return ItemPtr(LoadScenarioText(stream, nullptr, &context, log, headerOnly));
}

/// The text that Save writes for the item at depth 0.
inline std::string SaveText(ScenarioItem& item) {
    std::ostringstream out;
    scenarioDepth = 0;
    item.Save(out);
    return out.str();
}

/// Bare line feeds made into CR LF, as a stream opened in text mode on the
/// installation's home system writes them.
inline std::string WithCrLf(const std::string& text) {
    std::string result;
    for (char c : text) {
        if (c == '\n')
            result.push_back('\r');
        result.push_back(c);
    }
    return result;
}

/// One line per item: depth, kind keyword, name and label.
inline void DumpTree(const ScenarioItem& item, std::string& out, int depth = 0) {
    out += std::string(static_cast<size_t>(depth), ' ') + KindKeyword(item.kind) + " (" + item.name + ") " +
           item.label + "\n";
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        DumpTree(*child, out, depth + 1);
}

inline std::string DumpTree(const ScenarioItem& item) {
    std::string out;
    DumpTree(item, out);
    return out;
}

/// A fresh folder under the system's temporary folder, removed at the end.
class TempFolder : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = ::testing::TempDir() + "tavrel_model_XXXXXX";
        char* made = mkdtemp(&pattern[0]);
        ASSERT_NE(made, nullptr);
        folder = made;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    /// Writes `content` to `name` in the folder and returns the full path.
    std::string WriteFile(const std::string& name, const std::string& content) {
        std::string path = folder + "/" + name;
        std::ofstream out(path, std::ios::binary);
        out << content;
        return path;
    }

    std::string folder;
};

} // namespace modeltest

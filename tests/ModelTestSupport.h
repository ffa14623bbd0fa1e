#pragma once

// Helpers shared by the tests of the item model: observing assertions, reading
// and writing items, and a fixture that resets the model's globals.

#include <scenario/ScenarioModel.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace modeltest {

/// What AssertAbort throws while AssertionAt runs: "source:line".
struct AssertionRaised {
    std::string where;
};

/// Runs `body` with AssertAbort made to throw, and returns where the assertion
/// it raised stands ("source:line"), or "none". Other exceptions pass through.
template <typename Body> std::string AssertionAt(Body body) {
    struct Trap {
        AssertAbortHandler former = SetAssertAbortHandler([](const char* source, int line) {
            throw AssertionRaised{std::string(source) + ":" + std::to_string(line)};
        });
        ~Trap() { SetAssertAbortHandler(former); }
    } trap;
    try {
        body();
    } catch (const AssertionRaised& raised) {
        return raised.where;
    }
    return "none";
}

using ItemPtr = std::unique_ptr<ScenarioItem>;

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

/// Reads one item from text (the NUL counted, as a file is), logging to `log`;
/// null when it fails or is not a T.
template <typename T = ScenarioItem>
std::unique_ptr<T> Parse(const std::string& text, std::ostream* log = nullptr, bool headerOnly = false) {
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    ItemLoadContext context;
    ItemPtr item(LoadScenarioText(stream, nullptr, &context, log, headerOnly));
    T* typed = dynamic_cast<T*>(item.get());
    if (typed)
        item.release();
    return std::unique_ptr<T>(typed);
}

/// Parse of one block "TYPEOF header" holding `body`, both written with bare
/// line feeds.
template <typename T = ScenarioItem>
std::unique_ptr<T> ParseBlock(const std::string& header, const std::string& body) {
    return Parse<T>(WithCrLf("TYPEOF " + header + "\n{\n" + body + "}\n"));
}

/// The text that Save writes for the item at depth 0.
inline std::string SaveText(ScenarioItem& item) {
    std::ostringstream out;
    scenarioDepth = 0;
    item.Save(out);
    return out.str();
}

/// One line per item: depth, kind keyword, name and label.
inline std::string DumpTree(const ScenarioItem& item, int depth = 0) {
    std::string out = std::string(static_cast<size_t>(depth), ' ') + KindKeyword(item.kind) + " (" +
                      item.name + ") " + item.label + "\n";
    std::vector<ScenarioItem*> children;
    item.GetChildren(children);
    for (ScenarioItem* child : children)
        out += DumpTree(*child, depth + 1);
    return out;
}

/// What a shell command gave: its exit status (-1 when it didn't exit) and its
/// standard output.
struct CommandRun {
    int status = -1;
    std::string output;
};

/// Runs `command` through the shell.
inline CommandRun RunCommand(const std::string& command) {
    CommandRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr)
        return run;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        run.output.append(buffer.data(), n);
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

inline std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// Puts the model's globals back after each test, so that none leaks into the next.
class ModelTest : public ::testing::Test {
protected:
    void TearDown() override {
        scenarioRootModel = nullptr;
        scenarioLog = nullptr;
        scenarioDepth = 0;
    }
};

/// A fresh folder under the system's temporary folder, removed at the end.
class TempFolder : public ModelTest {
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
        ModelTest::TearDown();
    }
    /// Writes `content` to `name` in the folder and returns the full path.
    std::string WriteFile(const std::string& name, const std::string& content) {
        std::string path = folder + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    std::string folder;
};

} // namespace modeltest

// The environment services: variables, files, the installation file and the
// configuration folders, paths, assertions.
#include "TempInstallation.h"

#include <environment/Commons/Commons.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using lmkUtils::EnvConfig;
using namespace std::string_literals;

namespace {

std::string expand(const std::string& in, const std::map<std::string, std::string>& variables = {}) {
    std::string out;
    Commons::System::ExpandLocalEnvironmentVariables(in, out, Commons::System::DaemonVariableMatchingPattern,
                                                     variables);
    return out;
}

// The message of the ConfigurationError that setting `content` as an installation
// file raises, or "" if it parses.
std::string parseError(const TempInstallation& installation, const std::string& content) {
    const std::string file = installation.write("broken.cfg", content);
    try {
        EnvConfig::setTavrelConfigFilePath(file);
    } catch (const lmkUtils::ConfigurationError& e) {
        std::string message = e.what();
        // Report the message relative to the file, which lives in a random folder.
        if (message.compare(0, file.size(), file) == 0)
            message = "FILE" + message.substr(file.size());
        return message;
    }
    return std::string();
}

} // namespace

TEST(Variables, ExpandFromMapThenEnvironmentAndKeepUnknown) {
    ::setenv("TAVREL_TEST_VAR", "env", 1);
    ::unsetenv("TAVREL_TEST_UNSET");
    EXPECT_EQ(expand("${TAVREL_TEST_VAR}/x"), "env/x");
    EXPECT_EQ(expand("${TAVREL_TEST_VAR}/x", {{"TAVREL_TEST_VAR", "map"}}), "map/x");
    EXPECT_EQ(expand("a${TAVREL_TEST_VAR}b${TAVREL_TEST_VAR}c"), "aenvbenvc");

    std::string out;
    EXPECT_FALSE(Commons::System::ExpandLocalEnvironmentVariables(
        "${TAVREL_TEST_UNSET}/${TAVREL_TEST_VAR}", out, Commons::System::DaemonVariableMatchingPattern, {}));
    EXPECT_EQ(out, "${TAVREL_TEST_UNSET}/env");
    // Not variables: a bare $NAME, a name starting with a digit, an unclosed brace.
    EXPECT_EQ(expand("$TAVREL_TEST_VAR ${1A} ${TAVREL_TEST_VAR"), "$TAVREL_TEST_VAR ${1A} ${TAVREL_TEST_VAR");

    std::string same = "${TAVREL_TEST_VAR}";
    EXPECT_TRUE(Commons::System::ExpandLocalEnvironmentVariables(
        same, same, Commons::System::DaemonVariableMatchingPattern, {}));
    EXPECT_EQ(same, "env");
}

TEST(Files, AcceptBothSeparatorsAndReadBytes) {
    TempInstallation t;
    const std::string binary("a\0b\r\n\xff", 6);
    t.write("sub/data.bin", binary);
    std::string windows = t.root() + "\\sub\\data.bin";

    EXPECT_TRUE(Commons::FileUtils::DoesFileExist(windows));
    EXPECT_FALSE(Commons::FileUtils::DoesFileExist(t.path("sub")));
    EXPECT_TRUE(Commons::FileUtils::IsFolder((t.root() + "\\sub").c_str()));
    EXPECT_FALSE(Commons::FileUtils::IsFolder(nullptr));
    EXPECT_FALSE(Commons::FileUtils::IsFolder(windows.c_str()));

    std::vector<unsigned char> bytes{1, 2, 3};
    ASSERT_TRUE(Commons::FileUtils::LoadFile(windows, bytes));
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), binary);
    EXPECT_FALSE(Commons::FileUtils::LoadFile(t.path("missing"), bytes));
    EXPECT_TRUE(bytes.empty());
    EXPECT_TRUE(lmkUtils::fileExist(windows, Commons::Encoding::Utf8));

    EXPECT_EQ(Commons::Encoding::Transcode("caf\xc3\xa9", Commons::Encoding::Utf8), L"caf\u00e9");
}

TEST(ConfigFile, ReadsWritesThroughAndCreates) {
    TempInstallation t;
    const std::string file = t.write("params.txt", "# comment\ndescription = old text\nother=1\n");
    Commons::ConfigFile config(file);
    EXPECT_EQ(config["description"], "old text");
    EXPECT_EQ(config["absent"], "");

    ASSERT_TRUE(config.modifyEntry("description", "C:\\data\\new text"));
    ASSERT_TRUE(config.modifyEntry("added", "yes"));
    Commons::ConfigFile reread(file);
    EXPECT_EQ(reread["description"], "C:\\data\\new text");
    EXPECT_EQ(reread["other"], "1");
    EXPECT_EQ(reread["added"], "yes");

    ASSERT_TRUE(config.create());
    EXPECT_EQ(reread["description"], "");
    EXPECT_EQ(Commons::ConfigFile(t.path("none/params.txt"))["x"], "");
    EXPECT_FALSE(Commons::ConfigFile(t.path("none/params.txt")).create());
}

TEST(ConfigFile, ValuesComeBackByteForByte) {
    TempInstallation t;
    const std::string file = t.path("scene.spar");
    std::string everyByte;
    for (int c = 0; c < 256; ++c)
        everyByte += static_cast<char>(c);
    // Blanks at the ends; separator and comment marks; quotes and escapes; line
    // breaks and NUL; bytes beyond ASCII.
    std::vector<std::string> values = {"  Clear evening ", "", " ", "\t", "tab\there"};
    values.insert(values.end(), {"a = b", "# not a comment", "; nor this", "!"});
    values.insert(values.end(), {"\"quoted\"", "\"", "\"open", "say \"hi\"", "\"\\n\"", "\"a\" # after"});
    values.insert(values.end(), {"C:\\data\\new", "ends in a backslash\\", "\\\"", "\\0"});
    values.insert(values.end(), {"line\nbreak", "\r\n", "cr\r", "nul\0byte"s, "\0"s});
    values.insert(values.end(), {"caf\xc3\xa9 \xe2\x80\x94 \xe6\x97\xa5\xe6\x9c\xac", "\xff\xfe", everyByte});
    for (const std::string& value : values) {
        ASSERT_TRUE(Commons::ConfigFile(file).create());
        ASSERT_TRUE(Commons::ConfigFile(file).modifyEntry("description", value));
        ASSERT_TRUE(Commons::ConfigFile(file).modifyEntry("after", value + "2"));
        EXPECT_EQ(Commons::ConfigFile(file)["description"], value) << value;
        EXPECT_EQ(Commons::ConfigFile(file)["after"], value + "2") << value;
        // Rewriting one entry must not disturb a neighbour holding awkward bytes.
        ASSERT_TRUE(Commons::ConfigFile(file).modifyEntry("description", value + value));
        EXPECT_EQ(Commons::ConfigFile(file)["description"], value + value) << value;
        EXPECT_EQ(Commons::ConfigFile(file)["after"], value + "2") << value;
        const std::string text = readFile(file);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2) << text;
        EXPECT_EQ(text.find('\0'), std::string::npos) << value;
    }
    // Texts that read back as they are stay unquoted, paths with their single backslashes.
    ASSERT_TRUE(Commons::ConfigFile(file).create());
    ASSERT_TRUE(Commons::ConfigFile(file).modifyEntry("path", "C:\\data\\new"));
    ASSERT_TRUE(Commons::ConfigFile(file).modifyEntry("description", " Clear\tevening\n"));
    EXPECT_EQ(readFile(file), "path = C:\\data\\new\ndescription = \" Clear\\tevening\\n\"\n");
}

TEST(ConfigFile, HandWrittenFilesReadAsBefore) {
    TempInstallation t;
    const std::string original =
        "# comment\r\n; other = 1\r\n! bang = 2\r\n\r\n  spaced\t=\t two  words \r\n"
        "tight=x=y\r\npath = C:\\data\\n\r\ninline = a # b\r\nunclosed = \"abc\r\n"
        "after = \"a\" b\r\nunknown = \"C:\\data\"\r\nquoted = \"  padded \\\" \"\r\n"
        "no equal sign\r\n= orphan\r\ntight = second\r\n";
    const std::string file = t.write("params.txt", original);
    Commons::ConfigFile config(file);
    const std::map<std::string, std::string> expected = {
        {"spaced", "two  words"}, {"tight", "x=y"}, {"path", "C:\\data\\n"}, {"inline", "a # b"}};
    // Only a whole, well-formed quoted text is unquoted; anything else reads as it stands.
    const std::map<std::string, std::string> quotes = {
        {"unclosed", "\"abc"}, {"after", "\"a\" b"}, {"unknown", "\"C:\\data\""}, {"quoted", "  padded \" "}};
    const std::map<std::string, std::string> absent = {
        {"other", ""}, {"bang", ""}, {"", ""}, {"no equal sign", ""}};
    for (const auto& entries : {expected, quotes, absent})
        for (const auto& entry : entries)
            EXPECT_EQ(config[entry.first], entry.second) << entry.first;

    // Changing one entry keeps every other line, comments included.
    ASSERT_TRUE(config.modifyEntry(" spaced ", "new"));
    std::string rewritten = original;
    rewritten.erase(std::remove(rewritten.begin(), rewritten.end(), '\r'), rewritten.end());
    rewritten.replace(rewritten.find("  spaced"), std::strlen("  spaced\t=\t two  words "), "spaced = new");
    EXPECT_EQ(readFile(file), rewritten);
}

TEST(ConfigFile, FailuresLeaveTheFileAsItWas) {
    TempInstallation t;
    const std::string old = "description = old\n";
    const std::string file = t.write("scene/params.txt", old);
    Commons::ConfigFile config(file);
    const auto onlyTheFile = [&] {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(t.path("scene")))
            count += entry.path().filename() == "params.txt" ? 1 : 100;
        return count == 1 && readFile(file) == old;
    };

    for (const std::string& key : {""s, "  "s, "a=b"s, "#x"s, ";x"s, "!x"s, "a\nb"s, "a\rb"s, "a\0b"s})
        EXPECT_FALSE(config.modifyEntry(key, "x")) << key;
    EXPECT_TRUE(onlyTheFile());

    const std::string folder = t.makeFolder("folder.par");
    EXPECT_FALSE(Commons::ConfigFile(folder).create());
    EXPECT_FALSE(Commons::ConfigFile(folder).modifyEntry("description", "x"));
    EXPECT_TRUE(Commons::FileUtils::IsFolder(folder.c_str()));

    // A write that fails midway: the file-size limit stops it, even for root.
    rlimit former;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
    rlimit small = former;
    small.rlim_cur = 16;
    auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = config.modifyEntry("description", std::string(4096, 'x'));
    ::setrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_FALSE(written);
    EXPECT_TRUE(onlyTheFile());

    if (::geteuid() == 0)
        return; // permissions don't stop root
    ::chmod(t.path("scene").c_str(), 0555);
    EXPECT_FALSE(config.modifyEntry("description", "new"));
    EXPECT_FALSE(config.create());
    ::chmod(t.path("scene").c_str(), 0755);
    EXPECT_TRUE(onlyTheFile());
    // Unreadable: rewriting it from nothing would lose its other entries.
    ::chmod(file.c_str(), 0200);
    EXPECT_FALSE(config.modifyEntry("added", "x"));
    ::chmod(file.c_str(), 0644);
    EXPECT_TRUE(onlyTheFile());
}

TEST(InstallationFile, SyntaxErrorsNameFileAndLine) {
    TempInstallation t;
    const std::string good = "[configuration A]\npath = a\n";
    struct Case {
        std::string content;
        std::string message;
    } cases[] = {
        {"just text\n", "FILE:1: expected '[section]' or 'key = value'"},
        {"# c\n; c\n\npath = a\n", "FILE:4: key 'path' outside a section"},
        {"[profile x]\n", "FILE:1: unknown section [profile x]"},
        {good + "[configuration A]\npath = b\n", "FILE:3: configuration 'A' already declared at line 1"},
        {good + "[configuration B]\n\n[configuration C]\npath = c\n",
         "FILE:3: configuration 'B' has no path"},
        {good + "[configuration B]\n", "FILE:3: configuration 'B' has no path"},
        {"[configuration A\n", "FILE:1: missing ']' at the end of the section header"},
        {"[configuration ]\n", "FILE:1: configuration without a name"},
        {good + "[installation]\ncurrent = Z\n", "FILE:4: current configuration 'Z' is not declared"},
        {good + "colour = red\n", "FILE:3: unknown key 'colour' in [configuration A]"},
        {good + " = a\n", "FILE:3: missing key before '='"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(parseError(t, c.content), c.message) << c.content;

    EXPECT_THROW(EnvConfig::setTavrelConfigFilePath(t.path("missing.cfg")), lmkUtils::ConfigurationError);
}

TEST(InstallationFile, FailureKeepsThePreviousInstallation) {
    TempInstallation t;
    t.addConfiguration("Main", "1.0", {"p"});
    const std::string file = t.writeInstallationFile();
    EnvConfig::setTavrelConfigFilePath(file);
    EXPECT_STREQ(std::getenv("TAVREL_HOME"), t.root().c_str());

    TempInstallation other;
    other.write("tavrel.cfg", "nonsense\n");
    EXPECT_THROW(EnvConfig::setTavrelConfigFilePath(other.path("tavrel.cfg")), lmkUtils::ConfigurationError);
    EXPECT_EQ(EnvConfig::ourConfigCfgFile, file);
    EXPECT_EQ(EnvConfig::getConfigurationsList(), std::vector<std::string>{"Main"});
    EXPECT_STREQ(std::getenv("TAVREL_HOME"), t.root().c_str());
}

TEST(InstallationFile, ConfigurationsKeepFileOrderNamesAndCurrent) {
    TempInstallation t;
    t.write("tavrel.cfg", "[installation]\r\ncurrent = Night Drive\r\n"
                          "[configuration Zeta]\r\npath = z\r\n"
                          "[configuration Night Drive]\r\npath = ${TAVREL_HOME}/n\r\n"
                          "[configuration alpha]\r\npath = /abs/a\r\n");
    EnvConfig::setTavrelConfigFilePath(t.path("tavrel.cfg"));
    EXPECT_EQ(EnvConfig::getConfigurationsList(), (std::vector<std::string>{"Zeta", "Night Drive", "alpha"}));
    EXPECT_EQ(EnvConfig::getCurrentConfiguration(), "Night Drive");
    EXPECT_EQ(EnvConfig::getConfigPath("Zeta"), t.path("z"));
    EXPECT_EQ(EnvConfig::getConfigPath("Night Drive"), t.path("n"));
    EXPECT_EQ(EnvConfig::getConfigPath("alpha"), "/abs/a");
    EXPECT_EQ(EnvConfig::getConfigPath("zeta"), "");

    EXPECT_FALSE(EnvConfig::setConfig("zeta", false));
    EXPECT_EQ(EnvConfig::getCurrentConfiguration(), "Night Drive");
    EXPECT_TRUE(EnvConfig::setConfig("alpha", false));
    EXPECT_EQ(EnvConfig::getCurrentConfiguration(), "alpha");

    t.write("second.cfg", "[configuration B]\npath = b\n[configuration A]\npath = a\n");
    EnvConfig::setTavrelConfigFilePath(t.path("second.cfg"));
    EXPECT_EQ(EnvConfig::getCurrentConfiguration(), "B");
}

TEST(InstallationFile, ReReadWhenChangedOnDisk) {
    TempInstallation t;
    const std::string file = t.write("tavrel.cfg", "[configuration A]\npath = a\n");
    EnvConfig::setTavrelConfigFilePath(file);
    t.write("tavrel.cfg", "[configuration A]\npath = a\n[configuration B]\npath = b\n");
    EXPECT_EQ(EnvConfig::getConfigurationsList().size(), 1u);
    { EnvConfig reread; }
    EXPECT_EQ(EnvConfig::getConfigurationsList(), (std::vector<std::string>{"A", "B"}));

    t.write("tavrel.cfg", "[configuration A]\npath = a\ngarbage\n");
    try {
        EnvConfig failing;
        FAIL() << "no error";
    } catch (const lmkUtils::ConfigurationError& e) {
        EXPECT_EQ(std::string(e.what()), file + ":3: expected '[section]' or 'key = value'");
    }
    EXPECT_EQ(EnvConfig::getConfigurationsList().size(), 2u);
}

// The file in force at start comes from $TAVREL_CONFIG: observed in a fresh
// process, which re-runs this test with the variable inherited.
TEST(InstallationFileDeathTest, EnvironmentNamesTheFileInForceAtStart) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::unique_ptr<TempInstallation> t;
    if (!std::getenv("TAVREL_TEST_CHILD")) {
        t = std::make_unique<TempInstallation>();
        t->addConfiguration("FromEnvironment", "1.0", {"p"});
        ::setenv("TAVREL_CONFIG", t->writeInstallationFile().c_str(), 1);
        ::setenv("TAVREL_TEST_CHILD", "1", 1);
    }
    EXPECT_EXIT(
        {
            bool inForce = EnvConfig::ourConfigCfgFile == std::getenv("TAVREL_CONFIG") &&
                           EnvConfig::getConfigurationsList() == std::vector<std::string>{"FromEnvironment"};
            std::exit(inForce ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    ::unsetenv("TAVREL_CONFIG");
    ::unsetenv("TAVREL_TEST_CHILD");
}

TEST(Versions, ParseOneToFourComponents) {
    TempInstallation t;
    struct Case {
        std::string text;
        bool valid;
        std::string shown;
    } cases[] = {
        {"2.4.1", true, "2.4.1"}, {"7", true, "7"},         {"1.02.003.65534", true, "1.2.3.65534"},
        {" 3.0 ", true, "3.0"},   {"1.2.3.4.5", false, ""}, {"65535", false, ""},
        {"2.x", false, ""},       {"1..2", false, ""},      {"1.", false, ""},
        {".1", false, ""},        {"", false, ""},          {"-1", false, ""},
    };
    for (const Case& c : cases) {
        t.write("config/configuration.ini", "[configuration]\nversion = " + c.text + "\n");
        EnvConfig::Version version;
        std::memset(&version, 0xFF, sizeof(version));
        EXPECT_EQ(EnvConfig::getConfigVersion(t.path("config"), version), c.valid) << c.text;
        if (c.valid) {
            EXPECT_EQ(version.toString(), c.shown);
        }
    }
    EnvConfig::Version version;
    t.write("config/configuration.ini", "[configuration]\ndatapath = x\n");
    EXPECT_FALSE(EnvConfig::getConfigVersion(t.path("config"), version));
    EXPECT_FALSE(EnvConfig::getConfigVersion(t.path("nowhere"), version));
    EXPECT_FALSE(EnvConfig::getConfigVersion("", version));
}

TEST(DataPath, RootsInOrderConcreteAndLookups) {
    TempInstallation t;
    t.write("tavrel.cfg", "[configuration Main]\npath = config\\main\n[configuration Other]\npath = other\n");
    t.write("config/main/configuration.ini",
            "[configuration]\nversion = 1\ndatapath = ../../p/one ; ${TAVREL_HOME}/p/two;;/abs/three\n");
    t.write("p/two/data/tools/nuro/nuro.mdl", "model");
    t.write("p/one/data/script/x.txt", "x");
    EnvConfig::setTavrelConfigFilePath(t.path("tavrel.cfg"));

    EXPECT_EQ(EnvConfig::getSeparatedPathForConfiguration("Main", "data/scenario"),
              (std::vector<std::string>{t.path("p/one/data/scenario"), t.path("p/two/data/scenario"),
                                        "/abs/three/data/scenario"}));
    EXPECT_TRUE(EnvConfig::getSeparatedPathForConfiguration("Other", "data").empty());
    EXPECT_TRUE(EnvConfig::getSeparatedPathForConfiguration("Unknown", "data").empty());
    EXPECT_EQ(EnvConfig::getSeparatedPath("data"),
              EnvConfig::getSeparatedPathForConfiguration("Main", "data"));

    EXPECT_EQ(EnvConfig::findInPath("data/tools/nuro", "nuro.mdl"), t.path("p/two/data/tools/nuro/nuro.mdl"));
    EXPECT_EQ(EnvConfig::findInPath("data\\tools\\nuro", "nuro.mdl"),
              t.path("p/two/data/tools/nuro/nuro.mdl"));
    EXPECT_EQ(EnvConfig::findInPath("data/tools", "missing.mdl"), "");

    EnvConfig environment;
    EXPECT_EQ(environment["data\\script\\x.txt"], t.path("p/one/data/script/x.txt"));
    EXPECT_EQ(environment["${TAVREL_HOME}/p"], t.path("p"));

    EXPECT_EQ(EnvConfig::transformInGenericPath(t.path("p/one"), false), "${TAVREL_HOME}/p/one");
    EXPECT_EQ(EnvConfig::transformInGenericPath(t.root() + "x/p", false), t.root() + "x/p");
    EXPECT_EQ(EnvConfig::transformInGenericPath("/elsewhere/p", false), "/elsewhere/p");
    EXPECT_EQ(lmkUtils::resolveGenericPath("${TAVREL_HOME}/p/one", Commons::Encoding::Utf8), t.path("p/one"));
}

TEST(DataPath, RemovePathDropsTheLastElement) {
    for (const auto& c : std::vector<std::pair<std::string, std::string>>{
             {"/a/b/data", "/a/b"}, {"C:\\a\\data", "C:\\a"}, {"data", ""}}) {
        std::string path = c.first;
        lmkUtils::removePath(path);
        EXPECT_EQ(path, c.second);
    }
}

TEST(AssertAbortDeathTest, PrintsAndAbortsUnlessAHandlerObservesIt) {
    EXPECT_DEATH(AssertAbort("token", 42), "token:42: internal assertion failed");
    static std::string seen;
    AssertAbortHandler observer = [](const char* source, int line) {
        seen = std::string(source) + ":" + std::to_string(line);
        throw 0;
    };
    AssertAbortHandler former = SetAssertAbortHandler(observer);
    EXPECT_THROW(AssertAbort("Parameter", 7), int);
    EXPECT_EQ(seen, "Parameter:7");
    EXPECT_EQ(SetAssertAbortHandler(former), observer);
}

// Resolving the files that items name through the installation's data path.
#include "ModelTestSupport.h"
#include "TempInstallation.h"

#include <environment/lmkUtils/EnvConfig.h>

using namespace modeltest;

namespace {

// The form NormalizePath gives: backslashes but for a leading slash.
std::string Windows(std::string path) {
    NormalizePath(path);
    return path;
}

} // namespace

TEST(DataPath, FilesResolveToTheFirstRootHoldingThemInBackslashForm) {
    TempInstallation t;
    t.write("tavrel.cfg", "[configuration Main]\npath = config\\main\n");
    t.write("config/main/configuration.ini",
            "[configuration]\nversion = 1\ndatapath = ../../p/one ; ../../p/two\n");
    t.write("p/two/data/images/car.png", "png");
    const std::string script =
        t.write("p/two/data/script/include/lib.inc", "TYPEOF FOLDER (lib)\r\n{\r\n}\r\n");
    lmkUtils::EnvConfig::setTavrelConfigFilePath(t.path("tavrel.cfg"));

    std::string directory = "data/images";
    ResolveDataPath("car.png", directory);
    EXPECT_EQ(directory, Windows(t.path("p/two/data/images/car.png")));
    EXPECT_EQ(directory.find('/', 1), std::string::npos);

    // A file found nowhere is placed in the first root.
    directory = "data/images";
    ResolveDataPath("none.png", directory);
    EXPECT_EQ(directory, Windows(t.path("p/one/data/images/none.png")));

    directory = "${TAVREL_HOME}/p/two//data";
    ResolveDataPath(nullptr, directory);
    EXPECT_EQ(directory, Windows(t.path("p/two/data")));

    // What the resolution gives opens on this system as it is.
    directory = "data/script/include";
    ResolveDataPath("lib.inc", directory);
    std::ostringstream log;
    ItemPtr item(LoadScenarioFile(directory.c_str(), &log, false));
    ASSERT_NE(item, nullptr) << log.str();
    EXPECT_EQ(item->name, "lib");
    EXPECT_STREQ(FileNameOf(directory.c_str()), "lib.inc");
}

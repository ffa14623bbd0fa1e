// Fuzz target of the installation reader: an installation file and the
// configuration.ini of its configuration folder "config", in any bytes, must
// be read or refused with a ConfigurationError that names the file, and
// whatever reads must answer every listing: configurations, versions, data
// paths.
//
// The input holds both files, the installation file first, cut at the line
// "%%"; without it there is no configuration.ini.
#include "FuzzReplay.h"
#include "FuzzSupport.h"

#include <environment/lmkUtils/EnvConfig.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>

using lmkUtils::EnvConfig;

namespace {

constexpr std::string_view kSeparator = "\n%%\n";
// Listing one configuration walks all of them: a bound keeps a long file cheap.
constexpr size_t kMaxConfigurations = 32;

struct Files {
    Files() : work("fuzz-installation") {
        // An installation without configurations, set before each run: a run
        // then starts from no configuration chosen by the one before.
        fuzz_support::writeFile(empty, "");
    }
    fuzz_support::WorkFolder work;
    const std::string installation = work.file("tavrel.cfg");
    const std::string ini = work.file("config/configuration.ini");
    const std::string empty = work.file("empty.cfg");
};

// The reader keeps the data path of a configuration.ini while the file keeps
// its size and time; files written in quick succession may share a time, so
// each run's file gets one of its own, and no run sees the roots of the last.
void giveTimeOfItsOwn(const std::string& path) {
    static time_t run = 0;
    const struct timespec times[2] = {{0, UTIME_OMIT}, {++run, 0}};
    ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

void require(bool condition) {
    if (!condition)
        std::abort();
}

void exercise(const std::string& name) {
    const std::string folder = EnvConfig::getConfigPath(name);
    require(!folder.empty() && folder[0] == '/'); // a declared configuration has a concrete folder
    EnvConfig::Version version{};
    if (EnvConfig::getConfigVersion(folder, version))
        require(!version.toString().empty());
    EnvConfig::getSeparatedPathForConfiguration(name, "data/scenario");
    EnvConfig::transformInGenericPath(folder, false);
    require(EnvConfig::setConfig(name, false) && EnvConfig::getCurrentConfiguration() == name);
    EnvConfig::getSeparatedPath(std::string());
    EnvConfig::findInPath("data/tools/nuro", "nuro.mdl");
    const std::string model = EnvConfig()["data/tools/nuro/nuro.mdl"];
    lmkUtils::fileExist(model, Commons::Encoding::Utf8);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Files files;
    EnvConfig::setTavrelConfigFilePath(files.empty);

    const std::vector<std::string_view> parts = fuzz_support::split(data, size, kSeparator, 2);
    fuzz_support::writeFile(files.installation, parts[0]);
    if (parts.size() > 1) {
        fuzz_support::writeFile(files.ini, parts[1]);
        giveTimeOfItsOwn(files.ini);
    } else {
        std::remove(files.ini.c_str());
    }

    try {
        EnvConfig::setTavrelConfigFilePath(files.installation);
    } catch (const lmkUtils::ConfigurationError& error) {
        // "FILE:LINE: what", and the former installation stays in force.
        const std::string what = error.what();
        require(what.compare(0, files.installation.size() + 1, files.installation + ":") == 0);
        require(EnvConfig::ourConfigCfgFile == files.empty && EnvConfig::getConfigurationsList().empty());
        return 0;
    }
    const std::vector<std::string> names = EnvConfig::getConfigurationsList();
    const std::string current = EnvConfig::getCurrentConfiguration();
    require(names.empty() ? current.empty() : std::find(names.begin(), names.end(), current) != names.end());
    for (size_t i = 0; i < names.size() && i < kMaxConfigurations; ++i)
        exercise(names[i]);
    require(!EnvConfig::setConfig("\n", false)); // no header holds a line end
    return 0;
}

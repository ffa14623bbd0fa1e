#pragma once

#include <environment/Commons/Encoding.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace lmkUtils {

/// Raised when the installation file can't be read or doesn't parse. what() is
/// "FILE:LINE: what".
class ConfigurationError : public std::runtime_error {
public:
    explicit ConfigurationError(const std::string& what) : std::runtime_error(what) {}
};

/// A scoped handle on the process-wide installation: the installation file, its
/// configurations, their versions and data paths, and the current configuration.
class EnvConfig {
public:
    /// A configuration's version: 1 to 4 components of 0 to 65534. A component of
    /// 0xFFFF is absent.
    struct Version {
        uint16_t components[4];
        /// The given components joined with ".", without leading zeros.
        std::string toString() const;
    };

    /// Re-reads the installation file in force if it changed on disk since it was
    /// read; raises ConfigurationError if it no longer parses.
    EnvConfig();
    ~EnvConfig();

    /// The installation file in use; at start the value of $TAVREL_CONFIG, if set.
    static std::string ourConfigCfgFile;

    /// Parses `path` and makes it the installation file in use; sets TAVREL_HOME to
    /// its folder. Raises ConfigurationError and keeps the former installation on failure.
    static void setTavrelConfigFilePath(const std::string& path);
    /// Makes a configuration current; false if there is no such configuration.
    static bool setConfig(const std::string& name, bool persist);
    /// The current configuration; empty when there is none.
    static const std::string& getCurrentConfiguration();
    /// All configuration names, in the order of the installation file.
    static std::vector<std::string> getConfigurationsList();
    /// The folder of a configuration, concrete; empty for an unknown one.
    static std::string getConfigPath(const std::string& name);
    /// Reads `configuration.ini` in the folder `path`; false if the version can't be read.
    static bool getConfigVersion(const std::string& path, Version& version);
    /// root + "/" + relative for each data-path root of the configuration, in order,
    /// in concrete form; empty for an unknown configuration.
    static std::vector<std::string> getSeparatedPathForConfiguration(const std::string& name,
                                                                     const std::string& relative);
    /// The same for the current configuration.
    static std::vector<std::string> getSeparatedPath(const std::string& relative);
    /// Replaces a leading "$TAVREL_HOME/" folder prefix by "${TAVREL_HOME}/".
    static std::string transformInGenericPath(const std::string& path, bool keepConcrete);
    /// The first root/directory/file of the current data path that exists, else empty.
    static std::string findInPath(const std::string& directory, const std::string& file);

    /// Expands variables and joins a relative result to the first data-path root
    /// of the current configuration.
    std::string operator[](const std::string& path) const;
};

/// Whether a file exists at the path.
bool fileExist(const std::string& path, Commons::Encoding::Mode mode);
/// The path with its variables expanded.
std::string resolveGenericPath(const std::string& path, Commons::Encoding::Mode mode);
/// Drops the last element of the path and the separator before it, in place.
void removePath(std::string& path);

} // namespace lmkUtils

#include <environment/lmkUtils/AssertAbort.h>

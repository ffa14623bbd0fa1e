#pragma once

#include <string>

namespace Commons {

/// A file of `key = value` lines. Reads lazily from disk; every modification is
/// written through at once.
class ConfigFile {
public:
    /// Binds the object to a path; touches no file.
    explicit ConfigFile(const std::string& path);
    ~ConfigFile();
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

    /// The text of an entry; the empty text for an absent key or an unreadable file.
    std::string operator[](const std::string& key) const;
    /// Creates the file, or truncates it to no entry. False if it can't be written.
    bool create();
    /// Sets an entry and writes the file; false if it can't be written.
    bool modifyEntry(const std::string& key, const std::string& value);

private:
    std::string path;
};

} // namespace Commons

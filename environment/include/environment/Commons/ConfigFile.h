#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Commons {

/// A file of `key = value` lines (format in docs/parameters-file.md). Reads
/// lazily from disk; every modification is written through at once, all or
/// nothing: a failed write leaves the file as it was.
class ConfigFile {
public:
    /// Binds the object to a path; touches no file.
    explicit ConfigFile(const std::string& path);
    ~ConfigFile();
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

    /// The text of an entry, byte for byte as modifyEntry set it; the empty text
    /// for an absent key or an unreadable file.
    std::string operator[](const std::string& key) const;
    /// Creates the file, or replaces it by one without entries. False if it can't be written.
    bool create();
    /// Creates the file, or replaces it, by one holding `entries` in their order (a
    /// key given twice keeps the later value), in one write. False, with the file
    /// untouched, if it can't be written or a key can't be (as for modifyEntry).
    bool create(const std::vector<std::pair<std::string, std::string>>& entries);
    /// Sets an entry (any bytes) and writes the file. The key is taken without
    /// its outer blanks. False, with the file untouched, if it can't be written, if
    /// it exists but can't be read, or if the key couldn't be found again: empty,
    /// holding '=', a line break or NUL, or starting with '#', ';' or '!'.
    bool modifyEntry(const std::string& key, const std::string& value);

private:
    std::string path;
};

} // namespace Commons

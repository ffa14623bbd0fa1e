#pragma once

#include <string>
#include <vector>

namespace Commons {
namespace FileUtils {

/// Whether a regular file exists at the path ('\' or '/' separators).
bool DoesFileExist(const std::string& path);
/// Whether the path is a folder ('\' or '/' separators); false for null.
bool IsFolder(const char* path);
/// The whole file, byte for byte, in `bytes` (emptied first); false if it can't be read.
bool LoadFile(const std::string& path, std::vector<unsigned char>& bytes);
/// Replaces the file at `path` ('\' or '/' separators) by `content`, all or
/// nothing: writes a temporary file beside it with the old file's permissions,
/// flushes it to disk and renames it over the target; through a link, the linked
/// file is replaced. Returns false, with the reason in `error` when given and any
/// old file left as it was, when the path is a folder, its folder is missing or
/// a write fails.
bool ReplaceFile(const std::string& path, const std::string& content, std::string* error = nullptr);

} // namespace FileUtils
} // namespace Commons

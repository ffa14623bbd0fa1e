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

} // namespace FileUtils
} // namespace Commons

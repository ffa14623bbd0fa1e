#pragma once

#include <cstddef>
#include <functional>
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
/// old file left as it was and no temporary left behind, when the path is a
/// folder, its folder is missing or a step fails. The temporary is named
/// ".NAME.saving.PID.XXXXXX"; one left by a process killed in mid-save is removed
/// by the next save of the same file once that process is gone.
bool ReplaceFile(const std::string& path, const std::string& content, std::string* error = nullptr);
/// Replaces the file at `to` by the bytes of the file at `from`, all or nothing as
/// ReplaceFile does, with the permissions of `from`. Returns false, with the
/// reason in `error` when given and `to` left as it was, when `from` can't be read
/// or `to` can't be written.
bool CopyFile(const std::string& from, const std::string& to, std::string* error = nullptr);

/// A step of ReplaceFile, as a fault hook sees it.
enum class ReplaceStep {
    Create, ///< creating the temporary file beside the target
    Write,  ///< one write of content into the temporary; a long or short-written content takes several
    Sync,   ///< flushing the temporary to disk
    Close,  ///< closing the temporary
    Rename, ///< renaming the temporary over the target
};

/// What a fault hook is told of a step of ReplaceFile.
struct ReplaceFault {
    ReplaceStep step;
    const std::string& target;    ///< the file being replaced, links followed, '/' separators
    const std::string& temporary; ///< the temporary file; empty at Create
    std::size_t size;             ///< at Write: the bytes to write; lowered, the write is short
};

/// Called before each step of every ReplaceFile of the process. Returns 0 to let
/// the step run, or an errno value to make it fail with that error without
/// running it. At Write it may lower `size` (to 1 at least) to make that write
/// short. It must not throw; it may end the process, as a crash would.
using ReplaceFaultHook = std::function<int(ReplaceFault& fault)>;

/// Installs the process-wide fault hook for tests and returns the one it replaces;
/// an empty function, the default, injects nothing. Not synchronised: set it
/// while no file is being saved.
ReplaceFaultHook SetReplaceFaultHook(ReplaceFaultHook hook);

} // namespace FileUtils
} // namespace Commons

#pragma once

#include <string>
#include <string_view>

#include "corelib/base/files.h"

/// What FILES asks of the platform. For files.cpp and its platforms alone.
namespace FILESPLATFORM {

/// A file that is being written has its future name, the mark, six letters and digits (sixteen on Windows), and the
/// end. By that alone it is told from a user's files, also by the other platform.
inline constexpr const char* TEMPORARY_MARK = ".velmora-";
inline constexpr size_t TEMPORARY_LENGTHS[] = {6, 16};
inline constexpr const char* TEMPORARY_END = ".tmp";

/// Appends the first bytes of a regular file to content, `most` of them or all; false if it cannot be read.
[[nodiscard]] bool ReadBytes(const char* path, int most, std::string& content);
/// The same with the last bytes, of a file that others may be writing.
[[nodiscard]] bool ReadLastBytes(const char* path, int most, std::string& content);
/// Writes beside the file, flushes to the disk and renames over it; false, and the old file as it was, on failure.
[[nodiscard]] bool ReplaceBytes(const char* path, std::string_view bytes, FILES::LINKS links);
/// Whether files can be made in a directory; in those of the system, which packages fill, never.
[[nodiscard]] bool CanMakeFiles(const char* directory);

}  // namespace FILESPLATFORM

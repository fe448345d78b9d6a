#pragma once

#include <string_view>

#include "corelib/base/strings.h"

/// Whole files. Paths are in the system's form, with `\` between their parts, on every platform; NativePath is the one
/// place that turns them round. All operations return false on failure and then leave the target as it was.
namespace FILES {

/// The path as the platform's own calls take it: unchanged on Windows, with `/` for each `\` elsewhere.
STRING NativePath(const char* path);
/// The way back, for paths that the platform gives us.
STRING SystemPath(const char* nativePath);

/// Reads a file into out. text: CR LF becomes "\n" and byte 26 ends the text.
bool ReadAll(const char* path, bool text, STRING& out);
/// Writes a file whole: beside the old one, flushed to the disk, renamed over it, so that a crash leaves the old or the
/// new file and nothing between. text: "\n" becomes CR LF.
bool ReplaceAll(const char* path, std::string_view bytes, bool text);
/// Adds bytes at the end of a file, which is made if it is missing.
bool AppendBytes(const char* path, std::string_view bytes);
/// Copies a file over another one (or makes it), whole or not at all.
bool Copy(const char* from, const char* to);
bool Remove(const char* path);
bool Rename(const char* from, const char* to);

}  // namespace FILES

#pragma once

#include <string_view>

#include "corelib/base/strings.h"

/// What FILES asks of the platform. For files.cpp alone.
namespace FILESPLATFORM {

/// Appends all bytes of a regular file to content; false if it cannot be read.
bool ReadBytes(const char* path, STRING& content);
/// Writes beside the file, flushes to the disk and renames over it; false, and the old file as it was, on failure.
bool ReplaceBytes(const char* path, std::string_view bytes);

}  // namespace FILESPLATFORM

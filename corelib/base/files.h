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

/// What becomes of a link at the place that is written: the file that it leads to is, and it stays a link, or the file
/// takes its place. On Windows the file always does.
enum class LINKS { Follow, Replace };

/// Reads a file into out. text: CR LF becomes "\n" and byte 26 ends the text.
[[nodiscard]] bool ReadAll(const char* path, bool text, STRING& out);
/// Reads no more than the first bytes of a file of any size, as they are; all if it has fewer.
[[nodiscard]] bool ReadHead(const char* path, int bytes, STRING& out);
/// Reads no more than the last bytes of a file of any size, also while it is being written; all if it has fewer.
[[nodiscard]] bool ReadTail(const char* path, int bytes, STRING& out);
/// Writes a file whole: beside the old one, flushed to the disk, renamed over it, so that a crash leaves the old or the
/// new file and nothing between. text: "\n" becomes CR LF.
[[nodiscard]] bool ReplaceAll(const char* path, std::string_view bytes, bool text);
/// Copies a file over another one (or makes it), whole or not at all. False for a file and itself, however the two
/// paths are spelt: who moves files would delete the only one.
[[nodiscard]] bool Copy(const char* from, const char* to, LINKS links = LINKS::Follow);
[[nodiscard]] bool Remove(const char* path);
[[nodiscard]] bool Rename(const char* from, const char* to);
/// True if the names of the files that were made and renamed in a folder so far outlive a crash of the machine.
[[nodiscard]] bool FlushFolder(const char* folder);

/// Whether both paths lead to the same file or directory, whatever their spelling and the links on the way. False if
/// one of them leads nowhere.
bool SamePlace(const char* first, const char* second);
/// Whether the path itself is a link (on Windows any reparse point), wherever that leads.
bool IsLink(const char* path);
/// Takes the rights of all others off a file, where the platform has such rights: for files that hold passwords. The
/// owner's own stay. False if there is no such file, or it is not ours.
[[nodiscard]] bool MakePrivate(const char* path);
/// Whether a file of this name is what a killed run leaves when it was writing a file whole.
bool IsLeftover(std::string_view name);

/// Logs and reports, which go where anybody may have laid a link: those are refused, so that nobody has the program
/// write over a file of his choice. AppendLog adds bytes at the end of a file, which is made if it is missing;
/// ReplaceLog is ReplaceAll.
[[nodiscard]] bool AppendLog(const char* path, std::string_view bytes);
[[nodiscard]] bool ReplaceLog(const char* path, std::string_view bytes, bool text);

/// Where a file lies that the program writes beside itself (a log, a report, the last popup): in the current directory,
/// which is the program's own, or, if no file can be made there, in the data directory. So name alone, or a full path.
/// Any thread.
STRING OwnFile(const char* name);
/// Tells OwnFile the data directory, and has it look now whether it must use that: the answer stays for the run.
void SetDataDirectory(const char* directory);

}  // namespace FILES

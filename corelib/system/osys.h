#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "corelib/base/dynarray.h"
#include "corelib/base/locks.h"
#include "corelib/base/strings.h"

struct THREADSTATE;

/// Files, paths, threads, dates and the few other things of the operating system that the program needs. Paths have `\`
/// between their parts on every platform.
namespace OSYS {

// Files and paths.
bool FileExists(const char* name);
bool FileIsDirectory(const char* name);
/// Where the program keeps what is of this user and machine alone, apart from the data directory: `tarnwick` in the
/// user's configuration directory, or what TARNWICK_REGISTRY names. Posix only.
STRING ProgramConfigDirectory();
/// The text before the last of `\`, `:` and `/`; "." if there is none.
STRING FileDirectory(const char* path);
/// dir, a `\` unless dir ends in one, then name. A null or empty dir stands for the current directory.
STRING FilePath(const char* dir, const char* name);
/// Creates each missing part of path; true if path is a directory in the end.
[[nodiscard]] bool MakeDirectories(const char* path);
/// Creates one directory below an existing one.
[[nodiscard]] bool MakeDirectory(const char* path);
/// Null on failure.
STRING GetCurrentDir();
bool SetCurrentDir(const char* path);
/// The full path of the running program; null if the system does not tell.
STRING ProgramPath();
/// Last write time, UTC, as "%04d-%02d-%02d %02d:%02d:%02d"; null if the file cannot be read.
STRING FileTime(const char* name);
/// Counts the files that match pattern in dir (and below it, if recurse, where directories match too), and
/// adds their full paths to array if it is set. A directory is counted and added after its contents.
int CollectFiles(const char* dir, const char* pattern, DYNARRAY<STRING>* array, bool recurse);
/// A file open for reading or writing on its own, closed when the object goes; mode begins with 'r' (read, existing
/// only) or 'w' (write, open or create); a '+' asks for writing as well. IsOpen() tells whether it worked.
class FILEHANDLE {
 public:
    FILEHANDLE() = default;
    ~FILEHANDLE();
    FILEHANDLE(FILEHANDLE&& other) noexcept;
    FILEHANDLE& operator=(FILEHANDLE&& other) noexcept;
    bool IsOpen() const { return Handle != -1; }
    /// Bytes read or written, -1 on error.
    [[nodiscard]] int Read(char* buffer, int length);
    [[nodiscard]] int Write(const char* buffer, int length);

 private:
    friend FILEHANDLE OpenFile(const char* name, const char* mode);
    intptr_t Handle = -1;
};
FILEHANDLE OpenFile(const char* name, const char* mode);

// Time. See CLOCK for the readings themselves.
/// A stopwatch with one stored start for the whole process: with reset not 0, or at the first call, it starts and gives
/// 0; otherwise the milliseconds since then. Breaks over the turn of a month.
int64_t MilliSeconds(int reset);
int64_t Seconds();
void Sleep(int ms);
STRING DateIso();   // today as "%04d-%02d-%02d"
STRING DateText();  // today in the user's date format
STRING TimeText();  // now as "HH:mm:ss"
STRING TimeIso();   // now as "%H:%M:%S"

// Threads.
using THREADHANDLE = std::shared_ptr<THREADSTATE>;
/// Starts a thread; its number goes to id if that is set. A null handle on failure.
THREADHANDLE CreateThread(unsigned (*routine)(void*), void* argument, uint32_t* id);
/// Waits timeout ms (WAIT_FOREVER: no limit) for the end of a thread: true, and the handle is closed and cleared, or
/// false on time-out. A timeout of 0 is a silent poll.
bool WaitThread(THREADHANDLE& thread, int timeout);
/// Runs work in a thread that nobody waits for, so work owns all that it touches. False if no thread is to be had.
bool RunAlone(std::function<void()> work);
/// Raises the calling thread a step above normal, where the system lets a program do that.
void RaiseThreadPriority();

// The machine and the user.
/// 0 not of the NT family (which every posix system is), 2 NT with major version 5, 1 any other NT.
int GetOsType();
/// The operating system with its version, for a person.
STRING SystemName();
/// The machine's name, or "<N/A>".
STRING ComputerName();
/// The value of an environment variable; null if it is not set.
STRING Environment(const char* name);
/// The language number of the user's locale: 7 German, 9 English, others as the platform counts them (9 if unknown).
int UserLanguage();
/// The user's thousands separator and decimal separator; at least one byte each.
STRING ThousandsSeparator();
STRING DecimalSeparator();
bool LibraryExists(const char* name);
/// Hands memory that this process has freed back to the system, where the platform lets a program do that. For the end
/// of work that needed much of it, as it looks at the whole heap.
void ReleaseFreeMemory();
/// The Scroll Lock light: 0 off, 1 on, 2 toggle. Without such a light it does nothing.
void ScrollLock(int mode);
/// Makes the program start with the user's session: value NULL removes the entry `name`, "<self>" (or AUTOSTART_SELF)
/// writes the program's own path, any other text is written as it is. True on success.
[[nodiscard]] bool AutoStart(const char* name, const char* value);
/// The command of that entry; null if there is none.
STRING AutoStartCommand(const char* name);
inline constexpr const char* AUTOSTART_SELF = "<self>";
/// The two halves of AutoStart on the platform, and the program's own path as such a command; null if unknown.
STRING ProgramCommand();
[[nodiscard]] bool WriteAutoStart(const char* name, const STRING& command);
[[nodiscard]] bool RemoveAutoStart(const char* name);

}  // namespace OSYS

/// A folder of the system, with a `\` at its end: 0 programs menu, 1 start-up, 2 program files, 5 application data,
/// 6 documents, 7 pictures, 8 desktop, 10 common programs, 11 common start menu. An unknown or missing one is a failed
/// assertion and gives a null string.
STRING GetWin32SystemPath(int kind);

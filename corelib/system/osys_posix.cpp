#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>
#include <utility>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

namespace {

STRING Native(const char* path) {
    return FILES::NativePath(path);
}

// Null for one that is empty, too.
STRING Variable(const char* name) {
    STRING value = OSYS::Environment(name);
    return value.Length() > 0 ? value : STRING();
}

// A separator of numbers in the user's locale, without touching the process's own.
STRING Separator(nl_item item, const char* otherwise) {
    STRING text;
    if (locale_t user = newlocale(LC_NUMERIC_MASK, "", nullptr)) {
        text = nl_langinfo_l(item, user);
        freelocale(user);
    }
    // Of locales that are not UTF-8 the blank that does not break is the same in nearly all.
    return text.Length() > 0 ? CODEPAGE::ToUtf8(text) : STRING(otherwise);
}

STRING HomeDirectory() {
    STRING home = Variable("HOME");
    return home.NotNull() ? FILES::SystemPath(home.Text()) : STRING();
}

// A directory that a variable names, or one below the home directory.
STRING UserDirectory(const char* variable, const char* belowHome) {
    STRING value = Variable(variable);
    if (value.NotNull())
        return FILES::SystemPath(value.Text());
    STRING home = HomeDirectory();
    return home.NotNull() ? OSYS::FilePath(home.Text(), belowHome) : STRING();
}

STRING ConfigDirectory() {
    return UserDirectory("XDG_CONFIG_HOME", ".config");
}

// The value of `variable` in the file that holds the names of a user's folders, as the desktop's tools write it:
// NAME="$HOME/folder" or NAME="/folder". Null if it is not there.
STRING NamedFolder(const char* variable) {
    STRING content, config = ConfigDirectory(), home = HomeDirectory();
    if (!config.NotNull() || !FILES::ReadAll(OSYS::FilePath(config.Text(), "user-dirs.dirs").Text(), false, content))
        return STRING();
    const STRING begin = STRING(variable) || "=\"";
    WORDCURSOR lines(content, "\r\n");
    std::string_view line;
    while (lines.Next(line)) {
        line = ASCII::TrimLeft(line, " \t");
        if (!line.starts_with(begin.View()))
            continue;
        line.remove_prefix(begin.View().size());
        STRING folder("");
        if (line.starts_with("$HOME") && home.NotNull()) {
            folder = FILES::NativePath(home.Text());
            line.remove_prefix(5);
        }
        for (size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
            if (line[i] == '\\' && i + 1 < line.size())
                ++i;
            folder.AppendBytes(&line[i], 1);
        }
        return folder.Length() > 0 && folder[0] == '/' ? FILES::SystemPath(folder.Text()) : STRING();
    }
    return STRING();
}

STRING UserFolder(const char* variable, const char* belowHome) {
    STRING named = Variable(variable).NotNull() ? STRING() : NamedFolder(variable);
    return named.NotNull() ? named : UserDirectory(variable, belowHome);
}

// A text as a value of a desktop entry.
STRING EntryValue(STRING text) {
    text.Replace("\\", "\\\\");
    text.Replace("\n", "\\n");
    text.Replace("\r", "\\r");
    return text;
}

// The text of such a value.
STRING ReadEntryValue(std::string_view value) {
    std::string text;
    for (size_t i = 0; i < value.size(); ++i) {
        const bool escaped = value[i] == '\\' && i + 1 < value.size();
        const char c = escaped ? value[++i] : value[i];
        text += escaped && c == 'n' ? '\n' : escaped && c == 'r' ? '\r' : c;
    }
    return STRING(std::string_view(text));
}

STRING AutoStartFile(const char* name) {
    STRING config = ConfigDirectory();
    if (!config.NotNull())
        return STRING();
    return OSYS::FilePath(config.Text(), (STRING("autostart\\") || name || ".desktop").Text());
}

}  // namespace

namespace OSYS {

bool FileExists(const char* name) {
    return access(Native(name).Text(), F_OK) == 0;
}

bool FileIsDirectory(const char* name) {
    struct stat status;
    return stat(Native(name).Text(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool MakeDirectory(const char* path) {
    return mkdir(Native(path).Text(), 0700) == 0;
}

STRING GetCurrentDir() {
    // It makes the room itself. NOLINTNEXTLINE(clang-analyzer-unix.StdCLibraryFunctions)
    std::unique_ptr<char, decltype(&free)> path(getcwd(nullptr, 0), &free);
    return path ? FILES::SystemPath(path.get()) : STRING();
}

bool SetCurrentDir(const char* path) {
    return chdir(Native(path).Text()) == 0;
}

STRING ProgramPath() {
    std::unique_ptr<char, decltype(&free)> path(realpath("/proc/self/exe", nullptr), &free);
    return path ? FILES::SystemPath(path.get()) : STRING();
}

STRING FileTime(const char* name) {
    struct stat status;
    if (stat(Native(name).Text(), &status) != 0)
        return STRING();
    tm t{};
    gmtime_r(&status.st_mtime, &t);
    STRING result;
    result.Format("%04d-%02d-%02d %02d:%02d:%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min,
                  t.tm_sec);
    return result;
}

FILEHANDLE::~FILEHANDLE() {
    if (IsOpen())
        close(static_cast<int>(Handle));
}

int FILEHANDLE::Read(char* buffer, int length) {
    return static_cast<int>(read(static_cast<int>(Handle), buffer, static_cast<size_t>(length)));
}

int FILEHANDLE::Write(const char* buffer, int length) {
    return static_cast<int>(write(static_cast<int>(Handle), buffer, static_cast<size_t>(length)));
}

FILEHANDLE OpenFile(const char* name, const char* mode) {
    FILEHANDLE file;
    ASSERTION(mode[0] == 'r' || mode[0] == 'w', "mode[0]=='r' || mode[0]=='w'");
    if (!ASSERTION(mode[0] != 'a', "mode[0]!='a'"))
        return file;
    bool write = mode[0] == 'w' || strchr(mode, '+');
    int fd = open(Native(name).Text(), (write ? O_RDWR | O_CREAT : O_RDONLY) | O_CLOEXEC, 0600);
    // No sharing: a second opener is refused. Where the file system knows no locks, the file opens all the same.
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        close(fd);
        fd = -1;
    }
    file.Handle = fd;
    return file;
}

void RaiseThreadPriority() {
    // A program of a plain user may only lower its priority here.
}

int GetOsType() {
    return 0;
}

STRING ProgramConfigDirectory() {
    const STRING chosen = Variable("TARNWICK_REGISTRY"), config = ConfigDirectory();
    return chosen.NotNull() ? FILES::SystemPath(chosen.Text())
                            : FilePath((config.NotNull() ? config : STRING(".")).Text(), "tarnwick");
}

STRING Environment(const char* name) {
    return getenv(name);
}

STRING SystemName() {
    struct utsname about;
    STRING name =
        uname(&about) == 0 ? STRING(about.sysname) || " " || about.release || " " || about.machine : STRING("?");
    STRING file;
    constexpr int MOST = 8192;
    if (!FILES::ReadHead("\\etc\\os-release", MOST, file))
        return name;
    for (std::string_view rest = file.View(); !rest.empty();) {
        std::string_view line = ASCII::Take(rest, '\n');
        if (ASCII::Take(line, '=') == "PRETTY_NAME")
            name = name || ", " || STRING(ASCII::Trim(line, "\"'"));
    }
    return name;
}

STRING ComputerName() {
    char name[256] = "";
    if (gethostname(name, sizeof name - 1) != 0 || !*name)
        return STRING("<N/A>");
    return STRING(name);
}

int UserLanguage() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        STRING value = Variable(name);
        if (value.NotNull())
            return value.Left(2) == "de" ? 7 : 9;
    }
    return 9;
}

STRING ThousandsSeparator() {
    return Separator(THOUSEP, ",");
}

STRING DecimalSeparator() {
    return Separator(RADIXCHAR, ".");
}

bool LibraryExists(const char* name) {
    void* library = dlopen(Native(name).Text(), RTLD_LAZY);
    return library && dlclose(library) == 0;
}

void ReleaseFreeMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

void ScrollLock(int mode) {
    // A terminal has no such light that a plain user may switch.
    ASSERTION(mode >= 0 && mode <= 2, "FALSE");
}

STRING ProgramCommand() {
    STRING path = ProgramPath();
    if (!path.NotNull())
        return path;
    path = Native(path.Text());
    // Inside quotes these keep their meaning unless a backslash takes it away.
    for (const char* special : {"\"", "`", "$"})
        path.Replace(special, (STRING("\\") || special).Text());
    return STRING("\"") || path || "\"";
}

bool WriteAutoStart(const char* name, const STRING& command) {
    STRING file = AutoStartFile(name);
    if (!file.NotNull() || !MakeDirectories(FileDirectory(file.Text()).Text()))
        return false;
    STRING line = command;
    line.Replace("%", "%%");  // a single one would begin a field code
    STRING text = STRING("[Desktop Entry]\nType=Application\nName=") || EntryValue(STRING(name)) || "\nExec=" ||
                  EntryValue(line) || "\n";
    return FILES::ReplaceAll(file.Text(), text.View(), false);
}

STRING AutoStartCommand(const char* name) {
    const STRING file = AutoStartFile(name);
    STRING text;
    if (!file.NotNull() || !FILES::ReadAll(file.Text(), false, text))
        return STRING();
    for (std::string_view rest = text.View(), line; !rest.empty();) {
        line = ASCII::Take(rest, '\n');
        if (ASCII::Take(line, '=') != "Exec")
            continue;
        STRING command = ReadEntryValue(line);
        command.Replace("%%", "%");
        return command;
    }
    return STRING();
}

bool RemoveAutoStart(const char* name) {
    STRING file = AutoStartFile(name);
    return file.NotNull() && FILES::Remove(file.Text());
}

}  // namespace OSYS

STRING GetWin32SystemPath(int kind) {
    STRING path;
    switch (kind) {
        case 0:
            path = UserDirectory("XDG_DATA_HOME", ".local\\share");
            path = path.NotNull() ? OSYS::FilePath(path.Text(), "applications") : path;
            break;
        case 1:
            path = ConfigDirectory();
            path = path.NotNull() ? OSYS::FilePath(path.Text(), "autostart") : path;
            break;
        case 2:
            path = "\\usr\\local";
            break;
        case 5:
            path = UserDirectory("XDG_DATA_HOME", ".local\\share");
            break;
        case 6:
            path = UserFolder("XDG_DOCUMENTS_DIR", "Documents");
            break;
        case 7:
            path = UserFolder("XDG_PICTURES_DIR", "Pictures");
            break;
        case 8:
            path = UserFolder("XDG_DESKTOP_DIR", "Desktop");
            break;
        case 10:
        case 11:
            path = "\\usr\\share\\applications";
            break;
        default:
            ASSERTION(false, "FALSE");
            return STRING();
    }
    STRING info;
    info.Format("GetWin32SystemPath %d", kind);
    if (!ASSERTION_INFO(path.NotNull(), "rc==ERROR_SUCCESS", info.Text()))
        return STRING();
    if (path[path.Length() - 1] != '\\')
        path.Append("\\");
    return path;
}

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <utility>

#include "corelib/base/clock.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

namespace {

STRING Native(const char* path) {
    return FILES::NativePath(path);
}

STRING Variable(const char* name) {
    const char* value = getenv(name);
    return value && *value ? STRING(value) : STRING();
}

// The user's locale, without touching the process's own.
class USERLOCALE {
 public:
    explicit USERLOCALE(int mask) : Locale(newlocale(mask, "", nullptr)) {}
    ~USERLOCALE() {
        if (Locale)
            freelocale(Locale);
    }
    USERLOCALE(const USERLOCALE&) = delete;
    USERLOCALE& operator=(const USERLOCALE&) = delete;
    STRING Item(nl_item item, const char* otherwise) const {
        const char* text = Locale ? nl_langinfo_l(item, Locale) : "";
        return STRING(*text ? text : otherwise);
    }

 private:
    locale_t Locale;
};

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
    // No sharing: a second opener of ours is refused. A file system that knows no locks refuses nobody.
    struct flock lock {};
    lock.l_type = write ? F_WRLCK : F_RDLCK;
    if (fd >= 0 && fcntl(fd, F_OFD_SETLK, &lock) != 0 && (errno == EAGAIN || errno == EACCES)) {
        close(fd);
        fd = -1;
    }
    file.Handle = fd;
    return file;
}

STRING DateText() {
    CLOCK::LOCALTIME now = CLOCK::Local();
    tm t{};
    t.tm_year = now.Year - 1900;
    t.tm_mon = now.Month - 1;
    t.tm_mday = now.Day;
    USERLOCALE user(LC_TIME_MASK);
    char text[128];
    size_t length = strftime(text, sizeof text, user.Item(D_FMT, "%m/%d/%y").Text(), &t);
    return length ? STRING(text) : DateIso();
}

void RaiseThreadPriority() {
    // A program of a plain user may only lower its priority here.
}

int GetOsType() {
    return 0;
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
    return USERLOCALE(LC_NUMERIC_MASK).Item(THOUSEP, ",");
}

STRING DecimalSeparator() {
    return USERLOCALE(LC_NUMERIC_MASK).Item(RADIXCHAR, ".");
}

bool LibraryExists(const char* name) {
    void* library = dlopen(Native(name).Text(), RTLD_LAZY);
    return library && dlclose(library) == 0;
}

void ScrollLock(int mode) {
    // A terminal has no such light that a plain user may switch.
    ASSERTION(mode >= 0 && mode <= 2, "FALSE");
}

bool WriteAutoStart(const char* name, const STRING& command) {
    STRING file = AutoStartFile(name);
    if (!file.NotNull() || !MakeDirectories(FileDirectory(file.Text()).Text()))
        return false;
    // A path with a blank stands in quotes; the program's own path is in the platform's form there.
    STRING line = Native(command.Text());
    if (line.Pos(" ") != -1 && FileExists(command.Text()))
        line = STRING("\"") || line || "\"";
    STRING text = STRING("[Desktop Entry]\nType=Application\nName=") || name || "\nExec=" || line || "\n";
    return FILES::ReplaceAll(file.Text(), text.View(), false);
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
            path = UserDirectory("XDG_DOCUMENTS_DIR", "Documents");
            break;
        case 7:
            path = UserDirectory("XDG_PICTURES_DIR", "Pictures");
            break;
        case 8:
            path = UserDirectory("XDG_DESKTOP_DIR", "Desktop");
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

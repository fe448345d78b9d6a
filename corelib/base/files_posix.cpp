#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corelib/base/files.h"
#include "corelib/base/filesplatform.h"

namespace {

constexpr int LINKS_MAX = 40;           // as the system itself follows
constexpr mode_t NEW_FILE_MODE = 0600;  // data files hold passwords
constexpr mode_t OWNER_RIGHTS = 0600;

class DESCRIPTOR {
 public:
    explicit DESCRIPTOR(int fd) : Fd(fd) {}
    ~DESCRIPTOR() { Close(); }
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    int Get() const { return Fd; }
    bool IsOpen() const { return Fd >= 0; }
    bool Close() {
        int fd = std::exchange(Fd, -1);
        return fd < 0 || close(fd) == 0;
    }

 private:
    int Fd;
};

bool WriteBytes(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// Where a symbolic link leads, be it a file or not yet, so that the link stays one when its file is replaced. Null if
// it leads in a circle.
STRING LinkTarget(const STRING& path) {
    std::filesystem::path target = path.Text();
    std::error_code error;
    for (int links = 0; std::filesystem::is_symlink(std::filesystem::symlink_status(target, error)); ++links) {
        auto next = std::filesystem::read_symlink(target, error);
        if (error || links == LINKS_MAX)
            return STRING();
        target = target.parent_path() / next;  // which is `next` alone if that is absolute
    }
    return STRING(target.c_str());
}

// Opens a new file beside another one, whose native path is given; -1 on failure.
int MakeTemporary(const STRING& path, STRING& beside) {
    beside = path || FILESPLATFORM::TEMPORARY_MARK || "XXXXXX" || FILESPLATFORM::TEMPORARY_END;
    return mkostemps(beside.Data(), STRING(FILESPLATFORM::TEMPORARY_END).Length(), O_CLOEXEC);
}

}  // namespace

namespace FILES {

STRING NativePath(const char* path) {
    STRING result(path);
    if (result.NotNull())
        std::replace(result.Data(), result.Data() + result.Length(), '\\', '/');
    return result;
}

STRING SystemPath(const char* nativePath) {
    STRING result(nativePath);
    if (result.NotNull())
        std::replace(result.Data(), result.Data() + result.Length(), '/', '\\');
    return result;
}

bool AppendLog(const char* path, std::string_view bytes) {
    DESCRIPTOR file(
        open(NativePath(path).Text(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, NEW_FILE_MODE));
    return file.IsOpen() && WriteBytes(file.Get(), bytes) && file.Close();
}

bool Remove(const char* path) {
    return unlink(NativePath(path).Text()) == 0;
}

bool Rename(const char* from, const char* to) {
    return rename(NativePath(from).Text(), NativePath(to).Text()) == 0;
}

bool SamePlace(const char* first, const char* second) {
    struct stat one, other;
    return stat(NativePath(first).Text(), &one) == 0 && stat(NativePath(second).Text(), &other) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool IsLink(const char* path) {
    struct stat status;
    return lstat(NativePath(path).Text(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool MakePrivate(const char* path) {
    const STRING native = NativePath(path);
    struct stat status;
    if (stat(native.Text(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    return (status.st_mode & ~OWNER_RIGHTS & 07777) == 0 || chmod(native.Text(), status.st_mode & OWNER_RIGHTS) == 0;
}

bool FlushFolder(const char* folder) {
    const DESCRIPTOR directory(open(NativePath(folder).Text(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // EINVAL: some file systems know no such thing.
    return directory.IsOpen() && (fsync(directory.Get()) == 0 || errno == EINVAL);
}

}  // namespace FILES

namespace FILESPLATFORM {

namespace {

// From the beginning, or the last bytes.
bool ReadPart(const char* path, int most, bool last, std::string& content) {
    DESCRIPTOR file(open(FILES::NativePath(path).Text(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    if (last && status.st_size > most && lseek(file.Get(), status.st_size - most, SEEK_SET) == -1)
        return false;
    char buffer[65536];
    for (;;) {
        const size_t left = static_cast<size_t>(most) - content.size();
        ssize_t got = read(file.Get(), buffer, std::min(sizeof buffer, left));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 || (got > 0 && content.size() + static_cast<size_t>(got) > STRING::MAX_LENGTH))
            return false;
        if (got == 0)
            return true;
        content.append(buffer, static_cast<size_t>(got));
    }
}

}  // namespace

bool ReadBytes(const char* path, int most, std::string& content) {
    return ReadPart(path, most, false, content);
}

bool ReadLastBytes(const char* path, int most, std::string& content) {
    return ReadPart(path, most, true, content);
}

bool ReplaceBytes(const char* path, std::string_view bytes, FILES::LINKS links) {
    STRING target = FILES::NativePath(path);
    if (links == FILES::LINKS::Follow)
        target = LinkTarget(target);
    if (!target.NotNull())
        return false;
    // Keeps the permissions of the file that it replaces; something that is no file is not replaced. A link stands here
    // only if it is the one to go.
    struct stat status;
    bool exists = lstat(target.Text(), &status) == 0 && !S_ISLNK(status.st_mode);
    if (exists && (!S_ISREG(status.st_mode) || access(target.Text(), W_OK) != 0))
        return false;
    STRING beside;
    DESCRIPTOR file(MakeTemporary(target, beside));
    if (!file.IsOpen())
        return false;
    bool ok = fchmod(file.Get(), exists ? status.st_mode & 07777 : NEW_FILE_MODE) == 0 &&
              WriteBytes(file.Get(), bytes) && fsync(file.Get()) == 0;
    ok = file.Close() && ok;
    ok = ok && rename(beside.Text(), target.Text()) == 0;
    if (!ok)
        unlink(beside.Text());
    return ok;
}

bool CanMakeFiles(const char* directory) {
    // What packages have brought stays as it is, also when root runs the program: nobody would remove what it leaves.
    const std::unique_ptr<char, decltype(&free)> whole(realpath(FILES::NativePath(directory).Text(), nullptr), &free);
    if (whole && std::string_view(whole.get()).starts_with("/usr/") &&
        !std::string_view(whole.get()).starts_with("/usr/local/"))
        return false;
    // What the rights say is not all: the file system may be read-only.
    STRING inside;
    const DESCRIPTOR file(MakeTemporary(FILES::NativePath(directory) || "/try", inside));
    return file.IsOpen() && unlink(inside.Text()) == 0;
}

}  // namespace FILESPLATFORM

// Loaded in front of the C library, it lets a disk fail under a program: each call that changes something below one
// directory is a fault point, numbered from 1, and at one of them the disk is full, an error comes, or the program is
// killed in the middle. The environment says what:
//   FAULT_DIR    the directory; without it nothing happens
//   FAULT_LOG    a file that gets a line for each point: number, call, path
//   FAULT_POINT  the point at which it happens; 0: nowhere
//   FAULT_HOW    error: this call fails; full: from here on nothing can be made or written; kill: the program ends here

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

enum class HOW { ERROR, FULL, KILL };

struct PLAN {
    PLAN() {
        const auto text = [](const char* name) { return getenv(name) ? std::string(getenv(name)) : std::string(); };
        Directory = text("FAULT_DIR");
        Point = atoi(text("FAULT_POINT").c_str());
        How = text("FAULT_HOW") == "kill" ? HOW::KILL : text("FAULT_HOW") == "full" ? HOW::FULL : HOW::ERROR;
        const std::string log = text("FAULT_LOG");
        if (!log.empty())
            Log = static_cast<int>(
                syscall(SYS_openat, AT_FDCWD, log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    }
    std::string Directory;
    int Log = -1;
    int Point = 0;
    HOW How = HOW::ERROR;
    std::atomic<int> Count = 0;
};

PLAN& Plan() {
    static auto* plan = new PLAN;
    return *plan;
}

[[noreturn]] void Kill() {
    syscall(SYS_kill, getpid(), SIGKILL);
    for (;;)
        pause();
}

// Whether the call is to fail, with errno set. space: it needs some.
bool Fails(const char* call, const char* path, bool space) {
    PLAN& plan = Plan();
    if (plan.Directory.empty() || strncmp(path, plan.Directory.c_str(), plan.Directory.size()) != 0)
        return false;
    const int number = ++plan.Count;
    const std::string line = std::to_string(number) + " " + call + " " + path + "\n";
    if (plan.Log != -1)
        syscall(SYS_write, plan.Log, line.data(), line.size());
    if (plan.Point == 0 || number < plan.Point || (number > plan.Point && plan.How != HOW::FULL))
        return false;
    if (plan.How == HOW::KILL && strcmp(call, "write") != 0)
        Kill();
    errno = space ? ENOSPC : EIO;
    return plan.How != HOW::FULL || space;
}

std::string PathOf(int fd) {
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length = readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

template <class FUNCTION>
FUNCTION Next(const char* name) {
    return reinterpret_cast<FUNCTION>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    static const auto next = Next<int (*)(const char*, int, ...)>("open");
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    const bool changes = (flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0;
    return changes && Fails("open", path, true) ? -1 : next(path, flags, mode);
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int mkostemps(char* path, int suffix, int flags) {
    static const auto next = Next<int (*)(char*, int, int)>("mkostemps");
    return Fails("make", path, true) ? -1 : next(path, suffix, flags);
}

// Half of it comes through.
ssize_t write(int fd, const void* bytes, size_t count) {
    static const auto next = Next<ssize_t (*)(int, const void*, size_t)>("write");
    const int before = errno;
    if (!Fails("write", PathOf(fd).c_str(), true)) {
        errno = before;
        return next(fd, bytes, count);
    }
    const int fault = errno;
    const ssize_t written = next(fd, bytes, count / 2);
    if (Plan().How == HOW::KILL)
        Kill();
    errno = fault;
    return Plan().How == HOW::FULL && written > 0 ? written : -1;
}

int fsync(int fd) {
    static const auto next = Next<int (*)(int)>("fsync");
    return Fails("fsync", PathOf(fd).c_str(), false) ? -1 : next(fd);
}

int fdatasync(int fd) {
    static const auto next = Next<int (*)(int)>("fdatasync");
    return Fails("fsync", PathOf(fd).c_str(), false) ? -1 : next(fd);
}

int fchmod(int fd, mode_t mode) noexcept {
    static const auto next = Next<int (*)(int, mode_t)>("fchmod");
    return Fails("fchmod", PathOf(fd).c_str(), false) ? -1 : next(fd, mode);
}

int rename(const char* from, const char* to) noexcept {
    static const auto next = Next<int (*)(const char*, const char*)>("rename");
    return Fails("rename", to, false) ? -1 : next(from, to);
}

int unlink(const char* path) noexcept {
    static const auto next = Next<int (*)(const char*)>("unlink");
    return Fails("unlink", path, false) ? -1 : next(path);
}

int mkdir(const char* path, mode_t mode) noexcept {
    static const auto next = Next<int (*)(const char*, mode_t)>("mkdir");
    return Fails("mkdir", path, true) ? -1 : next(path, mode);
}

}  // extern "C"

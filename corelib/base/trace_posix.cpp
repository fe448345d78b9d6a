#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "corelib/base/files.h"
#include "corelib/base/traceplatform.h"

namespace TRACEPLATFORM {

intptr_t OpenLog(const char* path, bool hard) {
    // A log may hold passwords: nobody else reads it.
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | (hard ? O_DSYNC : 0);
    return open(FILES::NativePath(path).Text(), flags, 0600);
}

void WriteLog(intptr_t log, const char* text, int length) {
    while (length > 0) {
        ssize_t written = write(static_cast<int>(log), text, static_cast<size_t>(length));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text += written;
        length -= static_cast<int>(written);
    }
}

void CloseLog(intptr_t log) {
    close(static_cast<int>(log));
}

void DebugOutput(const char* text) {
    // What a server sent must not act on a terminal.
    std::string line;
    for (; *text; ++text) {
        if (*text == '\n' || *text == '\t' || (*text >= ' ' && *text <= '~'))
            line += *text;
        else if (*text != '\r')
            line += '?';
    }
    fputs(line.c_str(), stderr);
}

uint32_t ThreadNumber() {
    static thread_local const auto number = static_cast<uint32_t>(syscall(SYS_gettid));
    return number;
}

uint32_t LastSystemError() {
    return static_cast<uint32_t>(errno);
}

void DebugBreak() {
    raise(SIGTRAP);
}

}  // namespace TRACEPLATFORM

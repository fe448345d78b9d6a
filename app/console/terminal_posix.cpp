#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "app/console/terminal.h"

namespace TERMINAL {

namespace {

void (*Stop)() = nullptr;

void WriteAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text.remove_prefix(static_cast<size_t>(written));
    }
}

// Switches the echo off for the length of a scope.
class NOECHO {
 public:
    explicit NOECHO(bool wanted) : Active(wanted && tcgetattr(STDIN_FILENO, &Former) == 0) {
        if (!Active)
            return;
        termios silent = Former;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~NOECHO() {
        if (!Active)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &Former);
        WriteAll(STDERR_FILENO, "\n");
    }
    NOECHO(const NOECHO&) = delete;
    NOECHO& operator=(const NOECHO&) = delete;

 private:
    termios Former{};
    bool Active;
};

}  // namespace

void Prepare() {
    // A reader that has gone ends a write with an error, and not the program without its save.
    signal(SIGPIPE, SIG_IGN);
}

bool OutputIsTerminal() {
    return isatty(STDOUT_FILENO);
}

bool InputIsTerminal() {
    return isatty(STDIN_FILENO);
}

int Columns() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void Write(std::string_view text) {
    WriteAll(STDOUT_FILENO, text);
}

void WriteError(std::string_view text) {
    WriteAll(STDERR_FILENO, text);
}

bool ReadLine(std::string& line, bool hidden) {
    const NOECHO silence(hidden);
    line.clear();
    for (char c;;) {
        const ssize_t got = read(STDIN_FILENO, &c, 1);
        if (got <= 0)
            return !line.empty();
        if (c == '\n')
            return true;
        if (c != '\r')
            line += c;
    }
}

int ReadBytes(char* buffer, int bytes) {
    return static_cast<int>(read(STDIN_FILENO, buffer, static_cast<size_t>(bytes)));
}

int PressedKey() {
    static bool ended = false;
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (ended || poll(&input, 1, 0) != 1)
        return 0;
    std::string line;
    ended = !ReadLine(line, false);
    return line.empty() ? 0 : static_cast<unsigned char>(line[0]);
}

void OnStop(void (*stop)()) {
    Stop = stop;
    struct sigaction action {};
    action.sa_handler = [](int) { Stop(); };
    sigemptyset(&action.sa_mask);
    for (int number : {SIGINT, SIGTERM})
        sigaction(number, &action, nullptr);
    // Whoever started the program with hang-ups ignored wants it to outlive the terminal.
    struct sigaction former {};
    if (sigaction(SIGHUP, nullptr, &former) == 0 && former.sa_handler != SIG_IGN)
        sigaction(SIGHUP, &action, nullptr);
}

}  // namespace TERMINAL

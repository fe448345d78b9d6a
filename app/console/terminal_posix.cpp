#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <mutex>
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

// The terminal as it was before single keys; read by signal handlers, once KeysSet says so.
termios Lines{};
volatile sig_atomic_t KeysSet = 0;
std::mutex InputLock;

// In the background the terminal is somebody else's: whoever touches it is stopped.
bool HasTerminal() {
    const pid_t front = tcgetpgrp(STDIN_FILENO);
    return front == -1 || front == getpgrp();
}

void SetKeys() {
    termios now{};
    // Asked each time: a shell that has had the terminal in between gives it back as it likes it.
    if (tcgetattr(STDIN_FILENO, &now) != 0 || (now.c_lflag & ICANON) == 0)
        return;
    KeysSet = 0;
    Lines = now;
    KeysSet = 1;
    now.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    now.c_cc[VMIN] = 1;
    now.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &now);
}

void SetLines() {
    if (!KeysSet || !HasTerminal())
        return;
    tcsetattr(STDIN_FILENO, TCSANOW, &Lines);
    KeysSet = 0;
}

// Signal handler: the user stops the program (and may go on with it later), or throws it away.
void LeaveTerminal(int number) {
    const int error = errno;
    SetLines();
    if (number != SIGTSTP)
        signal(number, SIG_DFL);
    raise(number == SIGTSTP ? SIGSTOP : number);
    errno = error;
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
    const std::lock_guard hold(InputLock);
    SetLines();
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

SINGLEKEYS::SINGLEKEYS() {
    struct sigaction action{};
    action.sa_handler = LeaveTerminal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int number : {SIGTSTP, SIGQUIT}) {
        struct sigaction former{};
        if (sigaction(number, nullptr, &former) == 0 && former.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
}

SINGLEKEYS::~SINGLEKEYS() {
    SetLines();
}

int PressedKey() {
    const std::unique_lock hold(InputLock, std::try_to_lock);
    if (!hold || !HasTerminal())
        return 0;
    SetKeys();
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, 0) != 1)
        return 0;
    // Keys without a character send several bytes; an Enter after a key is a habit.
    char keys[64];
    ssize_t got = read(STDIN_FILENO, keys, sizeof keys);
    while (got > 0 && (keys[got - 1] == '\n' || keys[got - 1] == '\r'))
        --got;
    return got == 1 ? static_cast<unsigned char>(keys[0]) : 0;
}

void ForgetKeys() {
    if (HasTerminal())
        tcflush(STDIN_FILENO, TCIFLUSH);
}

void OnStop(void (*stop)()) {
    Stop = stop;
    struct sigaction action{};
    action.sa_handler = [](int) { Stop(); };
    sigemptyset(&action.sa_mask);
    for (int number : {SIGINT, SIGTERM})
        sigaction(number, &action, nullptr);
    // Whoever started the program with hang-ups ignored wants it to outlive the terminal.
    struct sigaction former{};
    if (sigaction(SIGHUP, nullptr, &former) == 0 && former.sa_handler != SIG_IGN)
        sigaction(SIGHUP, &action, nullptr);
}

}  // namespace TERMINAL

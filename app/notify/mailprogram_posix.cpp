#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "app/notify/mailprogram.h"
#include "corelib/base/files.h"

namespace {

/// The words of a command line, of which those in double quotes are one.
std::vector<std::string> Words(std::string_view command) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false;
    bool any = false;
    for (const char c : command) {
        if (c == '"') {
            quoted = !quoted;
            any = true;
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (any)
                words.push_back(std::exchange(word, {}));
            any = false;
        } else {
            word += c;
            any = true;
        }
    }
    if (any)
        words.push_back(word);
    return words;
}

/// Starts a program that goes on by itself; 0, or the system's number of what went wrong.
int Launch(const std::vector<std::string>& words, const std::string& directory) {
    int report[2];
    if (words.empty() || pipe2(report, O_CLOEXEC) != 0)
        return EINVAL;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        // A child of the child: nobody has to wait for its end.
        setsid();
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            if (directory.empty() || chdir(directory.c_str()) == 0)
                execvp(arguments[0], arguments.data());
        }
        if (grandchild <= 0) {
            const int error = errno;
            [[maybe_unused]] const ssize_t put = write(report[1], &error, sizeof error);
        }
        _exit(0);
    }
    close(report[1]);
    int error = child == -1 ? errno : 0;
    if (child != -1) {
        waitpid(child, nullptr, 0);
        int told = 0;
        if (read(report[0], &told, sizeof told) == sizeof told)
            error = told;
    }
    close(report[0]);
    return error;
}

class POSIXSTARTER : public PROGRAMSTARTER {
 public:
    // No window of another program can be looked for in a way that all desktops know.
    uintptr_t FindTitledWindow(const STRING& /*part*/) override { return 0; }
    int BringToFront(uintptr_t /*window*/) override { return 0; }
    bool OpenAddress(const STRING& address) override {
        return Launch({"xdg-open", std::string(address.View())}, "") == 0;
    }
    STRING Expand(const STRING& text) override { return text; }
    bool Start(const STRING& program, const STRING& arguments, const STRING& directory, STRING& error) override {
        std::vector<std::string> words = Words(program.View());
        if (!words.empty())
            words[0] = FILES::NativePath(words[0].c_str()).Text();
        for (std::string& word : Words(arguments.View()))
            words.push_back(std::move(word));
        const bool hasDirectory = program.Pos('\\') != -1 || program.Pos('/') != -1;
        const int number = Launch(words, hasDirectory ? std::string(FILES::NativePath(directory.Text()).View()) : "");
        error = number == 0 ? "" : strerror(number);
        return number == 0;
    }
};

}  // namespace

std::unique_ptr<PROGRAMSTARTER> MakeProgramStarter() {
    return std::make_unique<POSIXSTARTER>();
}

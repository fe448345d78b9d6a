#include "tests/servers/serverprocess.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <grp.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

template <class CHECK>
bool Calls(int port, CHECK check) {
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(port);
    const bool good = connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 && check(s);
    close(s);
    return good;
}

}  // namespace

void SERVERPROCESS::Start(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    // Servers are not on everybody's path.
    const char* path = getenv("PATH");
    setenv("PATH", ((path ? path : "/usr/bin:/bin") + std::string(":/usr/sbin:/sbin")).c_str(), 1);
    const pid_t parent = getpid();
    Process = fork();
    if (Process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() == parent)
            execvp(arguments[0], arguments.data());
        _exit(127);
    }
}

bool SERVERPROCESS::HasEnded() {
    if (Process != -1 && waitpid(Process, nullptr, WNOHANG) != 0)
        Process = -1;
    return Process == -1;
}

void SERVERPROCESS::Stop() {
    if (Process == -1 || kill(Process, SIGTERM) != 0 || Eventually([this] { return HasEnded(); }))
        return;
    kill(Process, SIGKILL);
    waitpid(Process, nullptr, 0);
    Process = -1;
}

int FreePort() {
    // The system gives out such ports in turn, so the next call does not get this one again.
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    if (bind(s, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(s, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        ADD_FAILURE() << "no free port on loopback";
    close(s);
    return ntohs(address.sin_port);
}

bool Greets(int port) {
    return Calls(port, [](int s) {
        char byte;
        return recv(s, &byte, 1, 0) == 1;
    });
}

bool Accepts(int port) {
    return Calls(port, [](int) { return true; });
}

std::string RunAsSelf(const char* before, const char* between, const char* after) {
    const passwd* self = getpwuid(geteuid());
    const group* ours = getgrgid(getegid());
    return self && ours ? std::string(before) + self->pw_name + between + ours->gr_name + after : "";
}

bool RunCommand(const std::string& command) {
    const int status = system(command.c_str());
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

STRING LoopbackAddress(int port) {
    return STRING("127.0.0.1:" + std::to_string(port));
}

void LOCALSERVER::Run(const std::vector<std::string>& words, const std::function<bool()>& ready) {
    Process.Start(words);
    if (!Eventually([&] { return Process.HasEnded() || ready(); }) || Process.HasEnded())
        Trouble = words[0] + " does not start: " + ReadFile(Directory.Native("log"));
}

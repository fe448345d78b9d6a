#pragma once

#include <sys/types.h>

#include "tests/support/testsupport.h"

/// A server that a test starts: a process of ours that ends with the object, and with the test whatever becomes of it.
/// Posix only.
class SERVERPROCESS {
 public:
    SERVERPROCESS() = default;
    ~SERVERPROCESS() { Stop(); }
    SERVERPROCESS(const SERVERPROCESS&) = delete;
    SERVERPROCESS& operator=(const SERVERPROCESS&) = delete;

    void Start(const std::vector<std::string>& words);
    /// True once it has ended, and before it was started.
    bool HasEnded();
    /// Asks it to end and waits for that; one that does not is killed.
    void Stop();

 private:
    pid_t Process = -1;
};

/// A loopback port that nobody uses at the moment, another one at each call for a while.
int FreePort();
/// Whether a server that greets has answered on the port.
bool Greets(int port);
/// Whether a server takes connections on the port.
bool Accepts(int port);
/// The setting that names whom a server runs as: before, our user, between, our group, after. A server of root that
/// changed to another user would forget that it has to end with the test. Empty if we have no name.
std::string RunAsSelf(const char* before, const char* between, const char* after);
/// Runs a command of the shell to its end; true if it says that it went well.
bool RunCommand(const std::string& command);
/// The bytes of a file under the platform's own name; none if it cannot be read.
std::string ReadFile(const std::string& path);
/// "127.0.0.1:port".
STRING LoopbackAddress(int port);

/// A private server on loopback with a folder of its own, as long as the object lives.
class LOCALSERVER {
 public:
    LOCALSERVER() = default;
    LOCALSERVER(const LOCALSERVER&) = delete;
    LOCALSERVER& operator=(const LOCALSERVER&) = delete;

    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    /// "127.0.0.1:port".
    STRING HostPort() const { return LoopbackAddress(Port); }

 protected:
    /// Starts the program, which logs into the file "log" of the folder, and waits until it is ready.
    void Run(const std::vector<std::string>& words, const std::function<bool()>& ready);

    TEMPDIR Directory;
    std::string Trouble;
    int Port = FreePort();

 private:
    SERVERPROCESS Process;
};

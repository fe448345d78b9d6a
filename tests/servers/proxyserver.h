#pragma once

#include <string>

#include "tests/servers/serverprocess.h"
#include "tests/support/testsupport.h"

/// A private Tinyproxy on loopback, as long as the object lives, for HTTP to any port. Runs as whoever runs the test.
/// Posix only.
class PROXYSERVER {
 public:
    /// asks: it lets only the user "p" with the password "q" through.
    explicit PROXYSERVER(bool asks);
    PROXYSERVER(const PROXYSERVER&) = delete;
    PROXYSERVER& operator=(const PROXYSERVER&) = delete;

    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    /// "127.0.0.1:port".
    std::string HostPort() const { return "127.0.0.1:" + std::to_string(Port); }

 private:
    TEMPDIR Directory;
    std::string Trouble;
    int Port = 0;
    SERVERPROCESS Process;
};

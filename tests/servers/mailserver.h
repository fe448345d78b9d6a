#pragma once

#include <cstdio>
#include <string>

#include "tests/servers/serverprocess.h"
#include "tests/support/testsupport.h"

/// A private Postfix on loopback, as long as the object lives, that takes mail for real@verified.example and refuses
/// all others with 550. It has to be root's: others use sudo, which must not ask.
class MAILSERVER {
 public:
    MAILSERVER();
    ~MAILSERVER();
    MAILSERVER(const MAILSERVER&) = delete;
    MAILSERVER& operator=(const MAILSERVER&) = delete;

    /// Empty if a mail server can be started here; else why not.
    const std::string& Obstacle() const { return Missing; }
    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    /// "127.0.0.1:port". The plain one does not tell of ESMTP in its greeting.
    STRING HostPort() const { return Address(Port); }
    STRING PlainHostPort() const { return Address(PlainPort); }
    /// What it has logged so far.
    std::string Log() const;

 private:
    static STRING Address(int port);
    void WriteConfiguration() const;

    TEMPDIR Directory;
    std::string Missing;
    std::string Trouble;
    int Port = 0;
    int PlainPort = 0;
    // The server runs until this end of a pipe is closed, be it by the system because the test has died.
    FILE* Keeper = nullptr;
};

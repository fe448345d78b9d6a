#pragma once

#include <cstdio>
#include <string>

#include "tests/servers/dovecot.h"
#include "tests/servers/serverprocess.h"
#include "tests/support/testsupport.h"

/// A private Postfix on loopback, as long as the object lives, that takes mail for real@verified.example, which reaches
/// nobody, and refuses all others with 550. It has to be root's: others use sudo, which must not ask.
class MAILSERVER {
 public:
    /// With a Dovecot, which has to live longer, mail for reader@ and second@delivered.example is put into the
    /// mailboxes of "reader" and "second" there.
    explicit MAILSERVER(const DOVECOT* boxes = nullptr);
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
    void WriteConfiguration(const DOVECOT* boxes) const;

    TEMPDIR Directory;
    std::string Missing;
    std::string Trouble;
    int Port = 0;
    int PlainPort = 0;
    // The server runs until this end of a pipe is closed, be it by the system because the test has died.
    FILE* Keeper = nullptr;
};

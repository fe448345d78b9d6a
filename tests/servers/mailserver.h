#pragma once

#include <cstdio>

#include "tests/servers/dovecot.h"
#include "tests/servers/serverprocess.h"

/// A private Postfix on loopback that takes mail for real@verified.example, which reaches
/// nobody, and refuses all others with 550. It has to be root's: others use sudo, which must not ask.
class MAILSERVER : public LOCALSERVER {
 public:
    /// With a Dovecot, which has to live longer, mail for reader@ and second@delivered.example is put into the
    /// mailboxes of "reader" and "second" there.
    explicit MAILSERVER(const DOVECOT* boxes = nullptr);
    ~MAILSERVER();
    /// Empty if a mail server can be started here; else why not.
    const std::string& Obstacle() const { return Missing; }
    /// A second address, whose greeting does not tell of ESMTP.
    STRING PlainHostPort() const { return LoopbackAddress(PlainPort); }
    /// What it has logged so far.
    std::string Log() const { return ReadFile(Directory.Native("log")); }

 private:
    void WriteConfiguration(const DOVECOT* boxes) const;

    std::string Missing;
    int PlainPort = FreePort();
    // The server runs until this end of a pipe is closed, be it by the system because the test has died.
    FILE* Keeper = nullptr;
};

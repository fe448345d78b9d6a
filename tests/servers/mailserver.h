#pragma once

#include <cstdio>

#include "tests/servers/dovecot.h"
#include "tests/servers/serverprocess.h"

/// A private Postfix on loopback that puts mail for reader@ and second@delivered.example into the mailboxes of "reader"
/// and "second" on a Dovecot. It has to be root's: others use sudo, which must not ask.
class MAILSERVER : public LOCALSERVER {
 public:
    /// The Dovecot has to live longer.
    explicit MAILSERVER(const DOVECOT* boxes);
    ~MAILSERVER();
    /// Empty if a mail server can be started here; else why not.
    const std::string& Obstacle() const { return Missing; }
    /// What it has logged so far.
    std::string Log() const { return ReadFile(Directory.Native("log")); }

 private:
    void WriteConfiguration(const DOVECOT* boxes) const;

    std::string Missing;
    // The server runs until this end of a pipe is closed, be it by the system because the test has died.
    FILE* Keeper = nullptr;
};

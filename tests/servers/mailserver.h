#pragma once

#include <cstdio>

#include "tests/servers/dovecot.h"
#include "tests/servers/serverprocess.h"

/// A private Postfix on loopback that puts mail for reader@ and second@delivered.example into the mailboxes of "reader"
/// and "second" on a Dovecot. Over TLS, for which it gets a certificate, it takes mail from those who log in as they do
/// there, and from nobody else. It has to be root's: others use sudo, which must not ask.
class MAILSERVER : public LOCALSERVER {
 public:
    /// The Dovecot has to live longer.
    MAILSERVER(const DOVECOT* boxes, const std::string& certificate);
    ~MAILSERVER();
    /// Empty if a mail server can be started here; else why not.
    const std::string& Obstacle() const { return Missing; }
    /// With TLS from the first byte; and where it is asked for.
    STRING TlsServer() const { return LoopbackAddress(TlsPort); }
    STRING SubmissionServer() const { return LoopbackAddress(SubmissionPort); }
    /// What it has logged so far.
    std::string Log() const { return ReadFile(Directory.Native("log")); }

 private:
    void WriteConfiguration(const DOVECOT* boxes, const std::string& certificate) const;

    std::string Missing;
    int TlsPort = FreePort(), SubmissionPort = FreePort();
    // The server runs until this end of a pipe is closed, be it by the system because the test has died.
    FILE* Keeper = nullptr;
};

#pragma once

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

    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    /// True if nobody here may start one.
    bool NeedsRoot() const { return !MayStart; }
    /// "127.0.0.1:port".
    STRING HostPort() const;
    /// What it has logged so far.
    std::string Log() const;

 private:
    std::string Root(const std::string& command) const;

    TEMPDIR Directory;
    std::string Trouble;
    bool MayStart = true;
    int Port = 0;
};

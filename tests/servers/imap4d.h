#pragma once

#include <string>

#include "tests/servers/maildir.h"
#include "tests/servers/serverprocess.h"
#include "tests/support/testsupport.h"

/// A private imap4d (GNU Mailutils) on a free loopback port, as long as the object lives. Its one user logs on with the
/// password "secret". Runs as whoever runs the test. Posix only.
class IMAP4D {
 public:
    static constexpr const char* USER = "joe@example.org";

    IMAP4D();
    IMAP4D(const IMAP4D&) = delete;
    IMAP4D& operator=(const IMAP4D&) = delete;

    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    /// The server as an item names it: host and port.
    STRING ImapServer() const;
    /// The user's inbox, or a folder beside it.
    MAILDIR Mailbox(const std::string& folder = "INBOX") const;

 private:
    TEMPDIR Directory;
    std::string Trouble;
    int Port;
    SERVERPROCESS Process;
};

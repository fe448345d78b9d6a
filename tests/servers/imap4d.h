#pragma once

#include "tests/servers/maildir.h"
#include "tests/servers/serverprocess.h"

/// A private imap4d (GNU Mailutils) on loopback. Its one user logs on with the
/// password "secret". Runs as whoever runs the test. Posix only.
class IMAP4D : public LOCALSERVER {
 public:
    static constexpr const char* USER = "joe@example.org";

    IMAP4D();
    /// The server as an item names it: host and port.
    STRING ImapServer() const { return HostPort(); }
    /// The user's inbox, or a folder beside it.
    MAILDIR Mailbox(const std::string& folder = "INBOX") const;
};

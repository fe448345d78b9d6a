#pragma once

#include <sys/types.h>

#include "tests/servers/maildir.h"
#include "tests/servers/serverprocess.h"

/// What logins a Dovecot takes.
struct DOVECOTLOGINS {
    std::string Certificate = {};  // key and chain in one file: it speaks TLS, too
    bool ClearToo = true;          // passwords on lines without TLS, but for those from its own address
    const char* Mechanisms = "plain";
};

/// A private Dovecot on loopback that speaks POP3 and, on another port, IMAP. Any user name logs on with the password
/// "secret" and has a mailbox of its own. Runs as whoever runs the test; for root, who gets no mail from a Dovecot, its
/// processes and mail belong to the package's own user. Posix only.
class DOVECOT : public LOCALSERVER {
 public:
    explicit DOVECOT(DOVECOTLOGINS logins = {});
    /// The servers as an item names them: host and port.
    STRING PopServer() const { return HostPort(); }
    STRING ImapServer() const { return LoopbackAddress(ImapPort); }
    /// With TLS from the first byte.
    STRING PopTlsServer() const { return LoopbackAddress(PopTlsPort); }
    STRING ImapTlsServer() const { return LoopbackAddress(ImapTlsPort); }
    /// What it has written into its log.
    std::string Log() const { return ReadFile(Directory.Native("log")); }

    /// A folder of the user's on the disk, the inbox without a name. It has to be there before the user sees it.
    MAILDIR Mailbox(const std::string& user, const std::string& folder = "") const;
    /// Puts a mail into the user's inbox, after those that are there. Lines of `text` end in "\n".
    void Deliver(const std::string& user, std::string_view text) { Mailbox(user).Deliver(text); }
    /// The texts of the inbox as they lie on the disk, in the order of their delivery.
    std::vector<std::string> Inbox(const std::string& user) const { return Mailbox(user).Texts(); }

    /// For another server that delivers into the mailboxes: the directory that holds one for each user, as maildirs,
    /// and whose they are.
    std::string Boxes() const { return Directory.Native("mail"); }
    uid_t BoxOwner() const { return Owner; }
    gid_t BoxGroup() const { return Group; }
    /// Where it proves the logins of another server.
    STRING LoginServer() const { return LoopbackAddress(LoginPort); }

 private:
    std::string Configuration() const;

    const DOVECOTLOGINS Logins;
    uid_t Owner;
    gid_t Group;
    int ImapPort = FreePort(), LoginPort = FreePort(), PopTlsPort = 0, ImapTlsPort = 0;
};

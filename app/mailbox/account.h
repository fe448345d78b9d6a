#pragma once

#include "app/mailbox/kinds.h"
#include "corelib/base/stringarray.h"

/// LastRC of an item whose last check failed.
inline constexpr const char* FAILED_COUNTS = "0E|0E";

/// Which mailbox an account watches, and as whom.
struct MAILADDRESS {
    int Type = 0;
    STRING User;    // empty for a kind that has none
    STRING Server;  // host, or host:port; empty for a kind that has none

    /// Where the mailbox is, for a person: the server, or the domain of the service.
    STRING Host() const;
    /// Hosts have no case, users may have.
    bool operator==(const MAILADDRESS& other) const;
};

/// How the line to a server is protected, as an item's Security has it.
enum SECURITY : int {
    SECURITY_NONE = 0,      // not at all
    SECURITY_TLS = 1,       // from the first byte, on a port of its own
    SECURITY_STARTTLS = 2,  // from the client's first wish on, which no server may refuse
};

/// How a conversation with a server begins.
struct MAILSECURITY {
    int Kind = SECURITY_NONE;
    /// Logs in as today's servers want it. Without it as ever, to the byte: accounts of old have no Security.
    bool IsModern = false;
    STRING TrustedCertificate;  // the SHA-256, in hexadecimal, of the only one that is taken unproved; or empty
};

/// How many mails a mailbox has, by the item's last check.
struct MAILCOUNTS {
    int Total = 0;
    int Unread = 0;
    bool UnreadKnown = true;  // by the server; else it is what its mails look like
    bool Failed = false;      // the check: no counts then
    bool operator==(const MAILCOUNTS& other) const = default;
};

/// After the key of a password in a file: the same sealed.
inline constexpr const char* SEALED_SUFFIX = "Sealed";

/// The keys of an item's record that tell what mailbox it is, how to get in and what is in it: Type, Source
/// ("server|user", in a form of its own for each kind), Source2 (the password, kept as Base64, or Source2Sealed in a
/// file), Security with
/// TrustedCertificate, and LastRC. Nothing else reads or writes any of them but Type.
namespace MAILACCOUNT {

inline constexpr const char* PASSWORD_KEY = "Source2";

const MAILBOXKIND& Kind(const STRINGARRAY& item);
MAILADDRESS Address(const STRINGARRAY& item);
STRING Password(const STRINGARRAY& item);
/// There is one that could not be opened, so that it has to be entered anew before anybody can log in. Of any record
/// that holds passwords.
bool IsPasswordLocked(const STRINGARRAY& record, const char* key = PASSWORD_KEY);

/// What is no UTF-8 is taken for code page 1252. For a kind without users there is no password, whatever comes.
void SetAddress(STRINGARRAY& item, const MAILADDRESS& address, const STRING& password);
void SetPassword(STRINGARRAY& item, STRING password);

/// Of a stored value. What nobody here has written is no wish for a line that others can read.
SECURITY ReadSecurity(const STRING& stored);
MAILSECURITY Security(const STRINGARRAY& item);
/// Makes the item's login a modern one.
void SetSecurity(STRINGARRAY& item, int kind);
/// The only certificate of its server that is taken unproved, by its SHA-256 in hexadecimal; an empty one takes that
/// back.
void SetTrustedCertificate(STRINGARRAY& item, const STRING& sha256);
/// How an address of such an account begins, such as "imaps://"; empty if it has no such addresses.
STRING Scheme(int type, int security);
/// Where a server is called: what it names itself, or the port that is usual for its kind and security.
STRING Destination(const STRING& server, int type, int security);

/// The server as it is to be called after a change of security: without the port that was the usual one before.
STRING FollowPort(const STRING& server, int type, int before, int after);

/// Of any text, also of one that nobody here has written.
MAILCOUNTS Counts(const STRINGARRAY& item);
void SetCounts(STRINGARRAY& item, const MAILCOUNTS& counts);

/// Without control characters, which would be commands of their own on the wire.
STRING Printable(const STRING& text);

}  // namespace MAILACCOUNT

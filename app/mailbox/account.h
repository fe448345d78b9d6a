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

/// How many mails a mailbox has, by the item's last check.
struct MAILCOUNTS {
    int Total = 0;
    int Unread = 0;
    bool UnreadKnown = true;  // by the server; else it is what its mails look like
    bool Failed = false;      // the check: no counts then
    bool operator==(const MAILCOUNTS& other) const = default;
};

/// The keys of an item's record that tell what mailbox it is, how to get in and what is in it: Type, Source
/// ("server|user", in a form of its own for each kind), Source2 (the password, kept as Base64) and LastRC. Nothing else
/// reads or writes the last three.
namespace MAILACCOUNT {

const MAILBOXKIND& Kind(const STRINGARRAY& item);
MAILADDRESS Address(const STRINGARRAY& item);
STRING Password(const STRINGARRAY& item);

/// What is no UTF-8 is taken for code page 1252. For a kind without users there is no password, whatever comes.
void SetAddress(STRINGARRAY& item, const MAILADDRESS& address, const STRING& password);
void SetPassword(STRINGARRAY& item, STRING password);

/// Of any text, also of one that nobody here has written.
MAILCOUNTS Counts(const STRINGARRAY& item);
void SetCounts(STRINGARRAY& item, const MAILCOUNTS& counts);

/// Without control characters, which would be commands of their own on the wire.
STRING Printable(const STRING& text);

}  // namespace MAILACCOUNT

#pragma once

#include <span>

#include "app/common/texts.h"

struct MAILHANDLER;

/// Kinds of mailbox, the value of an item's Type.
enum MAILBOXTYPE : int { ITEMTYPE_MAPI = 0, ITEMTYPE_POP3 = 1, ITEMTYPE_IMAP = 2, ITEMTYPE_HOTMAIL = 3 };

/// What there is to know of a kind of mailbox. Everything that depends on the kind asks its row.
struct MAILBOXKIND {
    int Type = -1;
    TEXTPART Name = {};                    // of TEXT_KINDS
    const MAILHANDLER* Handler = nullptr;  // null: its accounts are kept, and cannot be read
    const char* Scheme = nullptr;          // of its addresses, with "://"; null: it has none
    int Port = 0;                          // where a server is asked that names none
    int TlsPort = 0;                       // and over TLS from the first byte
    const char* Greeting = nullptr;        // how a server's first line begins; null: it does not speak first
    bool HasSession = false;               // of this machine, see MAPISTORE; no server
    const char* StoredServer = nullptr;    // fills the server's place in a record; null: each account has its server
    const char* StoredUser = nullptr;      // may stand in the user's place of a kind that has none
    const char* Domain = nullptr;     // of the service that all accounts are with, whose refusals are those of HTTP
    const char* StartPage = nullptr;  // where a person reads the mail; null: in the mail program
    int MinSeconds = 0;               // the shortest period
    bool HasUser = true;              // and a password
    bool CanDelete = false;           // by a verdict
    bool CanMove = false;
    bool HasFolders = false;  // of which another one than the inbox can be read
    bool CanPush = false;     // its servers may tell of news by themselves
    bool IsFiltered = false;
    bool HasNumberIds = false;  // "number|size", which other mails get when one goes
    int Successor = -1;         // what an account becomes when it is edited; -1: the same

    bool IsKnown() const { return Type >= 0; }
    bool HasServer() const { return !StoredServer; }
    /// Of which a person can add accounts.
    bool CanBeNew() const { return Scheme || HasSession; }
};

/// All kinds, with those of earlier versions' files.
std::span<const MAILBOXKIND> AllKinds();

/// The row of that Type; one that is not known, and can nothing, if there is none.
const MAILBOXKIND& KindOf(int type);

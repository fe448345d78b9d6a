#pragma once

#include <optional>
#include <string>

/// A message of the store that tests bring. Texts are in the machine's code page, as MAPI has them.
struct STOREDMAIL {
    std::string SenderName, SenderAddress, To, Subject, Body;
    std::optional<std::string> Transport;
    bool IsRead = false;
    bool HasId = true;
    bool Vanishes = false;     // from between the table of the inbox and its opening
    bool RowSaysLess = false;  // but for its id, the row has errors only
};

/// What the library of the tests can be made to do, by its export "TestStore". Rows cut texts at 255 bytes,
/// and do not have longer bodies; properties of more than 4096 bytes come in streams only. Nearly every call changes
/// the current directory. Two stores: "Personal" with Inbox, Deleted Items, Junk, Contacts and, below Junk, Old;
/// "Archive" with Junk and Kept.
class MAPISERVER {
 public:
    /// As at the beginning, with an empty inbox.
    virtual void Reset() = 0;
    /// Puts a mail into the inbox, and tells whoever has asked for that. It is created on 2026-03-03, 05:06:07 UTC.
    virtual void Add(const STOREDMAIL& mail) = 0;
    /// How many mails lie in a folder, "Personal/Junk"; and the subject of one.
    virtual int Count(const char* folder) = 0;
    /// Sinks that are installed.
    virtual int Sinks() = 0;

    /// The log-on stands still, until it is let go on.
    virtual void BlockLogOn(bool block) = 0;
    virtual bool IsBlocked() = 0;
    virtual int LogOns() = 0;
    /// The calls of that name fail from now on: "MAPILogonEx", "GetContentsTable" ...; null: none.
    virtual void Fail(const char* call) = 0;
    /// After so many messages have been opened all sessions are of no use any more; -1: never.
    virtual void ShutDownAfter(int opened) = 0;

    /// What the program has not given back, and what it has given back once too often: empty if all is well.
    virtual std::string Leftovers() = 0;
    /// Of the process, in bytes.
    virtual size_t MemoryInUse() = 0;

 protected:
    ~MAPISERVER() = default;
};

using MAPISERVERFUNCTION = MAPISERVER*();

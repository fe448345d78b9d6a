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

/// What goes wrong in a call.
enum class MAPIFAULT {
    FAILS,
    SHUTS_DOWN,     // from then on
    WARNS,          // and works
    GIVES_NOTHING,  // and tells of no error
    OTHER_TYPES,    // of the properties that it gives
    NULL_VALUES,    // in place of texts and bytes
    OTHER_WIDTHS,   // rows with a column too many or too few, more bytes than there was room for
};

/// What the library of the tests can be made to do, by its export "TestStore". Rows cut texts at 255 bytes,
/// and do not have longer bodies; properties of more than 4096 bytes come in streams only. Every call that can fail
/// changes the current directory. Two stores: "Personal" with Inbox, Deleted Items, Junk, Contacts and, below Junk,
/// Old; "Archive" with Junk and one whose name has an umlaut, a line end and a blank at its end.
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

    /// What goes wrong in the call with that number, from 0 on; and how many calls there have been since.
    virtual void FaultAt(int call, MAPIFAULT fault) = 0;
    virtual int Calls() = 0;
    /// Below Old and each folder below it lie so many others without an end; if negative, so many times itself.
    virtual void FoldersBelow(int folders) = 0;
    /// Sinks that are given back are kept from now on; false: they are told of a change at last, and freed.
    virtual void TellLate(bool late) = 0;

    /// What the program has not given back, and what it has given back once too often: empty if all is well.
    virtual std::string Leftovers() = 0;
    /// Of the process, in bytes.
    virtual size_t MemoryInUse() = 0;

 protected:
    ~MAPISERVER() = default;
};

using MAPISERVERFUNCTION = MAPISERVER*();

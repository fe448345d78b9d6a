#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/mailbox/login.h"
#include "app/mailbox/mailhandler.h"
#include "corelib/net/baseio.h"

/// One conversation with an IMAP server: commands and their replies, over a device that outlives it.
class IMAPCONVERSATION {
 public:
    /// Hears each line of a reply but the last one (see IMAPREPLY for its form).
    using LISTENER = std::function<void(std::string_view line)>;

    /// From now on the device asks the call's stop question.
    IMAPCONVERSATION(BASEIO& device, const MAILBOXCALL& call);

    /// Connects, over a line that is protected as the call's Security wants it, and hears the greeting; true if the
    /// server wants to talk to somebody who has yet to log on.
    [[nodiscard]] bool Connect();
    /// False, with the server's words, which hold what it wants a person to know.
    [[nodiscard]] bool LogIn();

    /// What goes with a command, and into no trace: directly after it, and at each "+" of the server.
    struct SECRET {
        STRING AtOnce;
        std::vector<STRING> Answers;
    };
    /// Sends a command with the next tag in front, and hears its reply up to the line with that tag; true if the server
    /// agrees. While the bytes of a literal pass, none of them is taken for anything else.
    bool Ask(const STRING& command, const LISTENER& hear = {}, const SECRET& secret = {});
    /// The same in two steps, of which the second may come after the first of other commands. The number of the command
    /// that is sent goes to Hear; what is said to commands that are heard later is heard by then, too.
    uint32_t Send(const STRING& command, std::string_view secret = {});
    bool Hear(uint32_t command, const LISTENER& hear = {});
    /// True if the last reply came to its end, whatever it said.
    bool IsAnswered() const { return Answered; }
    /// True if it did not, as the server hung up.
    bool IsLost() const { return Lost; }

    struct FOLDER {
        int Count = -1;         // mails; -1: the server does not tell
        uint32_t Validity = 0;  // under another one UIDs name other mails; 0: the server does not tell
        uint32_t UidNext = 0;   // 0: the server does not tell
        uint64_t ModSeq = 0;    // another one with each change (RFC 7162); 0: the server does not tell
    };
    /// Selects a folder, "" for the inbox. withModSeq: the server is asked for ModSeq if it has said that it knows it.
    [[nodiscard]] bool Select(const STRING& name, FOLDER& folder, bool withModSeq = false);
    /// The same only to look, which leaves even the marks of recent mails there as they are.
    [[nodiscard]] bool Examine(const STRING& name, FOLDER& folder);
    /// A folder's name as it stands in commands: nothing in it ends the argument or the line.
    static STRING FolderName(const STRING& name);

    /// True if the server takes the names of the mails that are to be expunged. Asks it at most once, after LogIn.
    bool CanExpungeByUid();

    /// Tells what has other flags since some ModSeq, or so it has said.
    bool CanAskChanges() const { return Has("CONDSTORE"); }
    /// True if the server tells of changes as they happen (RFC 2177). Asks it at most once, after LogIn.
    bool CanIdle();
    /// From now on it does so: false if it does not want to, or does not say so. What it tells is heard by each of
    /// these, without a tag.
    [[nodiscard]] bool BeginIdle(const LISTENER& hear);
    /// Hears the next line; false if there comes none, or the server has ended it.
    [[nodiscard]] bool HearIdle(const LISTENER& hear);
    /// Ends it; false if the server does not say so.
    [[nodiscard]] bool EndIdle(const LISTENER& hear);

    /// Puts an error of our own in the place of the last line; false.
    bool Fail(const char* text);
    /// The greeting, or the line with the last command's tag, at most 4095 bytes of it, or an error text in its place;
    /// empty if the server is silent.
    const STRING& LastLine() const { return Last; }
    /// The same from its n-th word on, unless it tells of the connection, which has no tag to leave out.
    STRING LastWords(int n) const { return OfConnection ? Last : Last.Word(n, " ", WORD_NEVERNULL | 1); }
    /// True if there never was a connection. The last line is the device's text then.
    bool IsUnconnected() const { return Unconnected; }

 private:
    // Each is false, with what has come in Line, if the rest did not come or would be too much.
    [[nodiscard]] bool ReadLine();
    [[nodiscard]] bool ReadLiteral(int64_t bytes, int64_t kept);
    bool IsWithinLimits();
    void Begin();
    std::string TagOf(uint32_t command) const;
    [[nodiscard]] bool End(bool whole, std::string_view tag);
    bool KeepEarlyEnd(uint32_t after);
    bool HearOut(bool whole, uint32_t command, const LISTENER& hear);
    void LearnCapability(std::string_view line);
    [[nodiscard]] bool Open(STRING command, const STRING& name, const char* end, FOLDER& folder);
    [[nodiscard]] bool DeviceFailed();
    [[nodiscard]] bool LogInAsOfOld(const STRING& password);
    [[nodiscard]] bool LogInByBestWay(const STRING& password);
    /// NONE: by LOGIN.
    [[nodiscard]] bool LogInBy(LOGIN::MECHANISM mechanism, const STRING& password);
    bool Has(std::string_view capability) const { return LOGIN::HoldsWord(CapabilityList, capability); }

    BASEIO& Device;
    const MAILBOXCALL& Call;
    std::string Line;  // the one that is read, or was read last
    STRING Last;
    int64_t Bytes = 0;                // of the present reply
    int64_t Start = 0;                // of the present reply, in s
    const char* TagName = "IMAPPRE";  // until the login
    uint32_t NextTag = 0;
    uint32_t Idling = 0;    // the command
    int64_t IdleBytes = 0;  // that it has brought
    std::map<uint32_t, std::string>
        EarlyEnds;  // of commands that are over, and have yet to be heard: the line that says so
    bool Answered = false;
    bool Lost = false;
    bool Endless = false;
    bool OfConnection = false;  // the last line
    bool Unconnected = false;
    bool CapabilityKnown = false;
    std::string CapabilityList;
};

#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "app/mailbox/listing.h"
#include "app/mailbox/login.h"
#include "app/mailbox/mailhandler.h"
#include "app/mailbox/pop3.h"
#include "corelib/base/ascii.h"

/// What the two ways to read a POP3 mailbox share: the conversation, and what makes a block of what a server shows.
namespace POP3 {

inline constexpr const char* ERROR_PREFIX = "-ERR ";

/// A mail as the server names it.
struct MAILNUMBER {
    int Number = 0;
    int64_t Size = 0;
    bool IsNamed = false;  // the server has told both
};

/// What STAT says, in its own words too.
struct MAILDROP {
    int Count = 0;
    STRING CountText, SizeText;
};

/// One conversation. Error() says why it has ended if something in it fails.
class TALK {
 public:
    TALK(BASEIO& device, const MAILBOXCALL& call) : Device(device), Call(call) {
        Device.SetStopQuestion(call.StopAsked);
    }

    bool LogOn();
    /// Sends a command and reads its one line of reply. True if the server agrees. What no trace shows stands after it.
    bool Ask(const STRING& command, std::string_view secret = {});
    /// Asks once what the server can do. False ends the conversation; a server that does not know the question can
    /// nothing of what it is about.
    bool LearnCapabilities() { return CapabilitiesAsked || AskCapabilities() || IsRefused(); }
    /// Takes commands ahead of its replies to others.
    bool CanPipeline() const { return Pipelines; }
    /// STAT, and what it says.
    bool AskState(MAILDROP& drop);
    /// LIST for a mail. True only if the answer is about this mail.
    bool AskSize(MAILNUMBER& mail);
    /// UIDL for a mail; without an id if the server does not tell one. True only if the answer is about this mail.
    bool AskId(int number, std::string& id);
    /// Several commands, one a line, whose replies are heard one after the other.
    void Send(const STRING& commands);
    /// The first line of the next reply. True if the server agrees.
    bool Hear();
    const char* Told() const { return Reply; }
    /// The lines of a reply of several, without their ends; those that are too long come in pieces.
    bool HearLines(const std::function<void(std::string_view line, bool whole)>& hear);
    /// What the reply to STAT, or to LIST for a mail, says: as AskState and AskSize. mustName: a reply that does not
    /// say what mail it is about is that to another command, too.
    bool TakeState(MAILDROP& drop);
    bool TakeSize(MAILNUMBER& mail, bool mustName = false);
    /// Reads what TOP shows, up to and with the line that ends it.
    bool ReadMail(LISTING::WRITER& listing);
    /// The server has said no to the last command, and only that: the conversation can go on.
    bool IsRefused() const { return !Fault && ASCII::BeginsWith(Reply, "-ERR"); }
    /// "-ERR " and the server's line or what has gone wrong; nothing after it if the server did not answer the log-on.
    STRING Error() const;

 private:
    bool IsStopped() const { return Call.StopAsked && Call.StopAsked(); }
    bool Connect();
    bool DeviceFailed();
    bool Authenticate(const STRING& user, const STRING& password);
    bool LeftOverProof();
    bool UseSasl(const STRING& user, const STRING& password);
    bool AskCapabilities();
    bool Fail(const char* reason);
    bool NoAnswer();
    bool Heed(bool whole);
    bool ReadPiece(int& length);

    BASEIO& Device;
    const MAILBOXCALL& Call;
    const char* Fault = nullptr;  // what ended the conversation, if it was not the server's word
    bool LoggedOn = false;
    bool ProofRefused = false;  // APOP
    bool CapabilitiesAsked = false;
    bool Pipelines = false;
    bool TakesUser = false;  // and PASS, or so it says
    LOGIN::MECHANISM Mechanism = LOGIN::MECHANISM::NONE;
    char Reply[POP_LINE] = "";
    char Line[POP_LINE];  // of a mail
};

STRING ListCommand(int number);
STRING TopCommand(int number, int lines);
/// The lines of ours at the top of a mail's block.
std::string HeadLines(const MAILNUMBER& mail);
/// A mail's block, after TOP has been agreed to.
bool AppendMail(TALK& talk, const MAILNUMBER& mail, LISTING::WRITER& listing);
/// LIST, TOP and the block.
bool ShowMail(TALK& talk, int number, int lines, LISTING::WRITER& listing);

/// Reads the mailbox into a listing: what the last one holds is taken from there, and commands go ahead of replies
/// where the server says that they may. What comes out is what comes out of asking for one mail after the other.
bool ShowAllFast(TALK& talk, const MAILBOXCALL& call, int lines, STRING& result);
/// The unique ids of the mails of the item's last listing, as far as a fast check has learnt them, by their head lines.
std::unordered_map<std::string, std::string> KnownIds(const MAILBOXCALL& call);

}  // namespace POP3

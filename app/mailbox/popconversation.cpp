#include "app/mailbox/popconversation.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "app/mailbox/account.h"
#include "app/mailbox/protection.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"

namespace {

constexpr const char* DISCONNECTED = "Remote disconnected";
constexpr const char* STOPPED = "Stopped";
constexpr const char* SILENT = "999 Read Timeout";
constexpr const char* NO_END = "999 TOP reply without end";
constexpr const char* NO_LIST_END = "999 LIST reply without end";
constexpr const char* BAD_STAT = "999 STAT result error";
constexpr const char* BAD_LIST = "999 LIST result error";
constexpr const char* BAD_UIDL = "999 UIDL result error";
constexpr const char* NO_CAPA_END = "999 CAPA reply without end";

constexpr int MOST_CAPABILITIES = 200;
constexpr int MOST_COMMAND_BYTES = 255;  // RFC 2449

STRING Join(const char* word, std::string_view argument) {
    STRING command = word;
    command.AppendBytes(argument);
    return command;
}

STRING Decimal(int64_t number) {
    return STRING(std::string_view(std::to_string(number)));
}

/// Cuts the next word off the text.
std::string_view NextWord(std::string_view& rest) {
    rest = ASCII::TrimLeft(rest, " \t");
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t"));
    rest.remove_prefix(word.size());
    return word;
}

/// A number that cannot be: below zero, or past all sizes. What is no number at all is not one.
bool IsAbsurd(std::string_view word) {
    int64_t number;
    const std::string_view digits = word.starts_with('-') ? word.substr(1) : word;
    return ASCII::IsNumber(digits) && !ASCII::ReadNumber(word, number);
}

}  // namespace

namespace POP3 {

bool TALK::Fail(const char* reason) {
    Fault = reason;
    return false;
}

STRING TALK::Error() const {
    return Fault ? STRING(ERROR_PREFIX) || Fault : LISTING::ErrorText(Reply);
}

bool TALK::NoAnswer() {
    if (IsStopped())
        return Fail(STOPPED);
    if (LISTING::IsEncrypted(Reply))
        return Fail(LISTING::ENCRYPTED);
    if (Device.GetInfo("ONLINE") == "0")
        return Fail(DISCONNECTED);
    return Fail(LoggedOn ? SILENT : "");
}

/// True if the reply agrees. A piece of one does not: a number in it would be another one.
bool TALK::Heed(bool whole) {
    if (!whole && !IsRefused())
        return NoAnswer();
    return ASCII::BeginsWith(Reply, "+OK");
}

bool TALK::Ask(const STRING& command, std::string_view secret) {
    if (IsStopped())
        return Fail(STOPPED);
    bool whole = false;
    if (secret.empty()) {
        TCP::WriteCommand(Device, command.Text(), Reply, sizeof Reply, PopTimes.ReplyMs, &whole);
    } else {
        TCP::WriteSecret(Device, command.Text(), secret);
        TCP::ReadLine(Device, Reply, sizeof Reply, PopTimes.ReplyMs, &whole);
    }
    return Heed(whole);
}

bool TALK::DeviceFailed() {
    const STRING error = Device.GetInfo("LastErrorString");
    Trace("TCP::PopGet error: %s\n", error.Text());
    snprintf(Reply, sizeof Reply, "%s%s", ERROR_PREFIX, error.Text());
    return false;
}

/// Up to the greeting, over a line that is protected as it has to be.
bool TALK::Connect() {
    if (!CallServer(Device, Call, ITEMTYPE_POP3))
        return DeviceFailed();
    bool whole = false;
    TCP::ReadLine(Device, Reply, sizeof Reply, PopTimes.GreetingMs, &whole);
    if (!Heed(whole))
        return false;
    if (Call.Security.Kind != SECURITY_STARTTLS)
        return true;
    if (!Ask("STLS"))
        return IsRefused() ? Fail(NO_STARTTLS) : false;
    return StartTls(Device, Call) || DeviceFailed();
}

void TALK::Send(const STRING& commands) {
    STRING bytes(commands);
    bytes.Replace("\n", "\r\n");
    Trace("TALK::Send %s\n", commands.Text());
    Device.Write(bytes.Text(), bytes.Length());
}

bool TALK::Hear() {
    if (IsStopped())
        return Fail(STOPPED);
    bool whole = false;
    TCP::ReadLine(Device, Reply, sizeof Reply, PopTimes.ReplyMs, &whole);
    return Heed(whole);
}

bool TALK::HearLines(const std::function<void(std::string_view line, bool whole)>& hear) {
    for (int64_t bytes = 0; bytes <= PopTimes.ListBytes;) {
        int length = 0;
        if (!ReadPiece(length))
            return false;
        const bool whole = Line[length - 1] == '\n';
        const std::string_view line = ASCII::TrimRight(std::string_view(Line, static_cast<size_t>(length)), "\r\n");
        if (whole && line == ".")
            return true;
        hear(line, whole);
        bytes += length;
    }
    return Fail(NO_LIST_END);
}

bool TALK::LogOn() {
    STRING user = Call.User, password = Call.Password;
    user.Strip('B', " ");
    password.Strip('B', " ");
    if (!Connect())
        return false;
    const bool good = Call.Security.IsModern ? Authenticate(user, password) ||
                                                   (LeftOverProof() && Connect() && Authenticate(user, password))
                                             : Ask(Join("USER ", MAILACCOUNT::Printable(user).View())) &&
                                                   Ask("PASS ", MAILACCOUNT::Printable(password).View());
    if (!good)
        snprintf(Reply, sizeof Reply, "%s", LOGIN::WithoutPassword(STRING(Reply), user, password).Text());
    return good;
}

/// True if the server has gone once APOP was refused, as some do that know no passwords to prove. There is nothing of
/// the conversation left then.
bool TALK::LeftOverProof() {
    if (!ProofRefused || Fault != DISCONNECTED)
        return false;
    Fault = nullptr;
    Device.DropCall();
    return true;
}

/// Each way to log in that there may be, the usual one as far as possible: whether there are others is asked only where
/// it matters.
bool TALK::Authenticate(const STRING& user, const STRING& password) {
    const bool provable = Call.Security.Kind == SECURITY_NONE && !ProofRefused;
    const std::string stamp(provable ? LOGIN::TimeStamp(Reply) : std::string_view());
    const std::string digest = stamp.empty() ? stamp : LOGIN::ApopDigest(stamp, password);
    if (!digest.empty()) {
        if (Ask("APOP ", (MAILACCOUNT::Printable(user) || " " || digest.c_str()).View()))
            return true;
        // Servers greet so whom they cannot prove a password to, too. A code other than that of bad words tells more.
        if (!IsRefused() || (strchr(Reply, '[') && !ASCII::Holds(Reply, "[AUTH]")))
            return false;
        ProofRefused = true;
    }
    const bool isForeign = LOGIN::HasOtherLetters(user) || LOGIN::HasOtherLetters(password);
    if (isForeign && AskCapabilities() && Mechanism != LOGIN::MECHANISM::NONE)
        return UseSasl(user, password);
    if (Fault)
        return false;
    const bool isUserTaken = Ask("USER ", MAILACCOUNT::Printable(user).View());
    if (isUserTaken && Ask("PASS ", MAILACCOUNT::Printable(password).View()))
        return true;
    if (isForeign || !IsRefused())
        return false;
    // The password may be good, and only the way wrong. USER and PASS are PLAIN to servers, which have USER on their
    // lists without it, too.
    const STRING refusal(Reply);
    const bool listed = AskCapabilities();
    const bool wasPlain = isUserTaken && TakesUser && Mechanism == LOGIN::MECHANISM::PLAIN;
    if (listed && Mechanism != LOGIN::MECHANISM::NONE && !wasPlain)
        return UseSasl(user, password);
    Fault = nullptr;
    snprintf(Reply, sizeof Reply, "%s", refusal.Text());
    return false;
}

bool TALK::UseSasl(const STRING& user, const STRING& password) {
    const std::vector<STRING> answers = LOGIN::Answers(Mechanism, user, password);
    const STRING command = Join("AUTH ", LOGIN::Name(Mechanism));
    // One answer can go at once, if the line does not get too long.
    const bool atOnce = answers.size() == 1 && answers[0].Length() + command.Length() < MOST_COMMAND_BYTES;
    bool good = atOnce ? Ask(command || " ", answers[0].View()) : Ask(command);
    // A server that does not know of that asks for it all the same.
    for (const STRING& answer : answers)
        good = good || (!Fault && Reply[0] == '+' && Ask("", answer.View()));
    return good;
}

/// CAPA, and what it says about logins and about commands ahead of replies (RFC 2449). Whoever does not know it says
/// nothing.
bool TALK::AskCapabilities() {
    CapabilitiesAsked = true;
    if (!Ask("CAPA"))
        return false;
    for (int lines = 0; lines < MOST_CAPABILITIES; ++lines) {
        bool whole = false;
        if (IsStopped() || !TCP::ReadLine(Device, Reply, sizeof Reply, PopTimes.ReplyMs, &whole) || !whole)
            return NoAnswer();
        std::string_view line = Reply;
        if (line == ".")
            return true;
        const std::string_view name = ASCII::Take(line, ' ');
        TakesUser = TakesUser || ASCII::Equal(name, "USER");
        Pipelines = Pipelines || ASCII::Equal(name, "PIPELINING");
        if (ASCII::Equal(name, "SASL"))
            Mechanism = LOGIN::Best(line);
    }
    return Fail(NO_CAPA_END);
}

bool TALK::AskState(MAILDROP& drop) {
    return Ask("STAT") && TakeState(drop);
}

bool TALK::TakeState(MAILDROP& drop) {
    LoggedOn = true;
    std::string_view rest = Reply;
    NextWord(rest);
    const std::string_view count = NextWord(rest), size = NextWord(rest);
    drop.CountText = STRING(count);
    drop.SizeText = STRING(size);
    int64_t bytes = 0;
    // A mail has a byte at least. Not every server knows its size: then it says 0, or nothing.
    const bool good = ASCII::ReadNumber(count, drop.Count) && !IsAbsurd(size) &&
                      (!ASCII::ReadNumber(size, bytes) || bytes == 0 || drop.Count <= bytes);
    return good || Fail(BAD_STAT);
}

bool TALK::AskSize(MAILNUMBER& mail) {
    return Ask(ListCommand(mail.Number)) && TakeSize(mail);
}

bool TALK::AskId(int number, std::string& id) {
    id.clear();
    if (!Ask(Join("UIDL ", Decimal(number).View())))
        return IsRefused();
    std::string_view rest = Reply;
    NextWord(rest);
    int told = 0;
    if (!ASCII::ReadNumber(NextWord(rest), told) || told != number)
        return Fail(BAD_UIDL);
    id = NextWord(rest);
    return true;
}

bool TALK::TakeSize(MAILNUMBER& mail, bool mustName) {
    std::string_view rest = Reply;
    NextWord(rest);
    const std::string_view first = NextWord(rest), size = NextWord(rest);
    int number = mail.Number;
    const bool isNumbered = ASCII::ReadNumber(first, number);
    mail.IsNamed = isNumbered && ASCII::ReadNumber(size, mail.Size);
    // A reply about another mail is that to another command.
    return ((isNumbered || !mustName) && number == mail.Number && !IsAbsurd(first) && !IsAbsurd(size)) ||
           Fail(BAD_LIST);
}

/// A line with its end, or as much of it as the buffer has room for.
bool TALK::ReadPiece(int& length) {
    length = 0;
    // The device stops at a zero byte and when the time is up, too: neither ends a line.
    do {
        int count = POP_LINE - 1 - length;
        if (!Device.Read(Line + length, &count, PopTimes.ReplyMs, "\n"))
            return NoAnswer();
        length += count;
    } while (length < POP_LINE - 1 && Line[length - 1] != '\n');
    return true;
}

bool TALK::ReadMail(LISTING::WRITER& listing) {
    bool atStart = true;  // of a line
    for (int64_t bytes = 0; bytes <= PopTimes.ListingBytes;) {
        int length = 0;
        if (!ReadPiece(length))
            return false;
        const bool whole = Line[length - 1] == '\n';
        const std::string_view raw(Line, static_cast<size_t>(whole ? length - 1 : length));
        // To the letter: a server puts a second point in front of a point that begins a line, and of no other.
        const bool isEnd = atStart && whole && (raw == "." || raw == ".\r");
        // The first line of a mail does not go on with the last one of ours.
        if (bytes == 0 && Line[0] == '\t')
            Line[0] = ' ';
        bytes += length;
        char* end = Line + raw.size();
        // Most lines have none of these within them, which is found out faster.
        for (const char ours : {'\0', LISTING::BLOCK_END})
            if (memchr(Line, ours, raw.size()))
                std::replace(Line, end, ours, ' ');
        if (char* first = static_cast<char*>(memchr(Line, '\r', raw.size())))
            end = std::remove(first, end, '\r');
        const bool isKept = (bytes <= PopTimes.MailBytes || isEnd) && (atStart || end != Line);
        *end++ = '\n';
        if (isKept)
            listing.Append(std::string_view(Line, static_cast<size_t>(end - Line)));
        if (isEnd)
            return true;
        atStart = whole;
    }
    return Fail(NO_END);
}

STRING ListCommand(int number) {
    return Join("LIST ", Decimal(number).View());
}

STRING TopCommand(int number, int lines) {
    STRING text;
    text.Format("TOP %d %d", number, lines);
    return text;
}

std::string HeadLines(const MAILNUMBER& mail) {
    const std::string size = std::to_string(mail.Size);
    return std::string(LISTING::SIZE_HEADER) + ": " + size + "\n" + LISTING::ID_HEADER + ": " +
           std::to_string(mail.Number) + "|" + size + "\n";
}

bool AppendMail(TALK& talk, const MAILNUMBER& mail, LISTING::WRITER& listing) {
    listing.Append(HeadLines(mail));
    if (!talk.ReadMail(listing))
        return false;
    listing.Append(std::string_view(&LISTING::BLOCK_END, 1));
    return true;
}

bool ShowMail(TALK& talk, int number, int lines, LISTING::WRITER& listing) {
    MAILNUMBER mail{.Number = number};
    return talk.AskSize(mail) && talk.Ask(TopCommand(number, lines)) && AppendMail(talk, mail, listing);
}

}  // namespace POP3

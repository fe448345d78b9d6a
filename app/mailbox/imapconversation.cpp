#include "app/mailbox/imapconversation.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "app/mailbox/account.h"
#include "app/mailbox/imap.h"
#include "app/mailbox/imapreply.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/protection.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/codepage.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/base/wipe.h"
#include "corelib/net/tcpline.h"

// No header of the program shows it: the tests alone write there (tests/support/times.h).
namespace SHRINKABLE {
IMAPTIMES ImapTimes;
}
constinit const IMAPTIMES& ImapTimes = SHRINKABLE::ImapTimes;

namespace {

constexpr int PIECE_BYTES = 4096;         // of a line
constexpr int64_t LITERAL_PIECE = 65536;  // of a literal that are waited for at once
constexpr size_t LAST_LINE_BYTES = 4095;

constexpr std::string_view GREETING_TAG = "* ";
constexpr const char* NO_END = "IMAP99 BAD reply without end";
constexpr const char* HUNG_UP = "Remote disconnected";

// In quotes, with a backslash in front of the bytes in `escaped`.
STRING Quoted(std::string_view text, std::string_view escaped) {
    STRING result = Secret("\"");  // it may be one
    for (const char& c : text) {
        if (escaped.find(c) != escaped.npos)
            result.AppendBytes("\\", 1);
        result.AppendBytes(&c, 1);
    }
    result.AppendBytes("\"", 1);
    return result;
}

// Letters outside ASCII stay as they are, and servers take them in quotes only.
STRING LoginName(const STRING& user) {
    if (LOGIN::HasOtherLetters(user))
        return Quoted(MAILACCOUNT::Printable(user).View(), "\"\\");
    return std::ranges::all_of(user.View(), ASCII::IsLetterOrDigit) ? user : Quoted(user.Escape("").View(), "\"");
}

// As an argument of LOGIN that the server takes in whatever bytes it holds. `secret` gets a piece more for each time
// that the server has to ask for it.
void AppendArgument(IMAPCONVERSATION::SECRET& secret, const STRING& text, bool unasked) {
    const auto last = [&]() -> STRING& { return secret.Answers.empty() ? secret.AtOnce : secret.Answers.back(); };
    const std::string_view bytes = text.View();
    if (std::ranges::all_of(bytes, [](char c) { return c >= ' ' && c < '\x7f'; })) {
        last() += STRING(" ") || Quoted(bytes, "\"\\");
        return;
    }
    last().AppendBytes(" {" + std::to_string(bytes.size()) + (unasked ? "+}\r\n" : "}"));
    if (unasked)
        last().AppendBytes(bytes);
    else
        secret.Answers.push_back(Secret(text));
}

STRING LoginPassword(const STRING& password) {
    const STRING plain = MAILACCOUNT::Printable(password);
    return LOGIN::HasOtherLetters(plain) ? Quoted(plain.View(), "\"\\") : plain;
}

// A folder's name as servers have it (RFC 3501, 5.1.3). A name of ASCII alone stands as the user has given it, which
// may be this form already.
STRING ModifiedUtf7(const STRING& name) {
    if (!LOGIN::HasOtherLetters(name))
        return name;
    const STRING utf8 = CODEPAGE::ToUtf8(name);
    std::string result;
    for (std::string_view rest = utf8.View(); !rest.empty();) {
        STRING units("");  // of UTF-16, up to the next byte of ASCII
        const auto put = [&units](char32_t unit) {
            const char bytes[] = {static_cast<char>(unit >> 8U), static_cast<char>(unit)};
            units.AppendBytes(bytes, 2);
        };
        while (!rest.empty() && (rest.front() & 0x80) != 0) {
            const char32_t c = UTF8::Take(rest);
            if (c >= 0x10000)
                put(0xd800 + ((c - 0x10000) >> 10U));
            put(c >= 0x10000 ? 0xdc00 + (c & 0x3ffU) : c);
        }
        if (units.Length() > 0) {
            STRING coded = units.ToBase64();
            coded.Replace("/", ",");
            coded.Strip('R', "=");
            result.append("&").append(coded.View()).append("-");
        } else {
            result += rest.front() == '&' ? "&-" : rest.substr(0, 1);
            rest.remove_prefix(1);
        }
    }
    return STRING(std::string_view(result));
}

// True for a text that stands in quotes already: so names with blanks had to be given once.
bool IsQuoted(std::string_view text) {
    if (text.size() < 2 || !text.starts_with('"'))
        return false;
    size_t at = 1;
    while (at < text.size() && text[at] != '"')
        at += text[at] == '\\' ? 2 : 1;
    return at == text.size() - 1;
}

}  // namespace

IMAPCONVERSATION::IMAPCONVERSATION(BASEIO& device, const MAILBOXCALL& call) : Device(device), Call(call) {
    Device.SetStopQuestion(call.StopAsked);
}

bool IMAPCONVERSATION::DeviceFailed() {
    Unconnected = OfConnection = true;
    Last = Device.GetInfo("LastErrorString");
    return false;
}

bool IMAPCONVERSATION::Connect() {
    if (!CallServer(Device, Call, ITEMTYPE_IMAP))
        return DeviceFailed();
    Begin();
    if (!End(ReadLine(), GREETING_TAG))
        return false;
    if (Call.Security.Kind != SECURITY_STARTTLS)
        return true;
    if (!Ask("STARTTLS"))
        return IsAnswered() ? Fail(NO_STARTTLS) : false;
    // What was said before may have been anybody's word.
    CapabilityKnown = false;
    CapabilityList.clear();
    return StartTls(Device, Call) || DeviceFailed();
}

bool IMAPCONVERSATION::LogIn() {
    STRING bare = Call.Password;
    bare.Strip('B', " ");
    const bool good = Call.Security.IsModern ? LogInByBestWay(bare) : LogInAsOfOld(bare);
    if (!good)
        Last = LOGIN::WithoutPassword(Last, Call.User, bare);
    return good;
}

bool IMAPCONVERSATION::LogInAsOfOld(const STRING& password) {
    TagName = "IMAPCMD";
    // What the server can do may be more once somebody has logged on.
    CapabilityKnown = Has("UIDPLUS");
    SECRET secret;
    secret.AtOnce = STRING(" ") || LoginName(Call.User) || " " || LoginPassword(password);
    return Ask("LOGIN", [this](std::string_view line) { LearnCapability(line); }, secret);
}

bool IMAPCONVERSATION::LogInByBestWay(const STRING& password) {
    const auto learn = [this](std::string_view line) { LearnCapability(line); };
    if (!CapabilityKnown && !Ask("CAPABILITY", learn) && !IsAnswered())
        return false;
    const LOGIN::MECHANISM mechanism = LOGIN::Best(CapabilityList, "AUTH=");
    const bool knowsLogin = !Has("LOGINDISABLED");
    if (mechanism == LOGIN::MECHANISM::NONE && !knowsLogin)
        return Fail(NO_LOGIN_WAY);
    TagName = "IMAPCMD";
    NextTag = 0;
    if (LogInBy(mechanism, password))
        return true;
    // Some servers do not know what they list.
    const bool isUnknown = Answered && ASCII::BeginsWith(Last.Word(1, " ", WORD_NEVERNULL).View(), "BAD");
    return isUnknown && knowsLogin && mechanism != LOGIN::MECHANISM::NONE && LogInBy(LOGIN::MECHANISM::NONE, password);
}

bool IMAPCONVERSATION::LogInBy(LOGIN::MECHANISM mechanism, const STRING& password) {
    SECRET secret{Secret(""), {}};
    STRING command("LOGIN");
    if (mechanism != LOGIN::MECHANISM::NONE) {
        command = STRING("AUTHENTICATE ") || LOGIN::Name(mechanism);
        secret.Answers = LOGIN::Answers(mechanism, Call.User, password);
        if (secret.Answers.size() == 1 && Has("SASL-IR")) {
            secret.AtOnce = STRING(" ") || secret.Answers[0];
            secret.Answers.clear();
        }
    } else {
        AppendArgument(secret, Call.User, Has("LITERAL+"));
        AppendArgument(secret, password, Has("LITERAL+"));
    }
    CapabilityKnown = Has("UIDPLUS");
    std::string alert, farewell;
    const bool good = Ask(
        command,
        [&](std::string_view line) {
            LearnCapability(line);
            if (alert.empty())
                alert = IMAPREPLY::Alert(line);
            if (ASCII::BeginsWith(line, "* BYE"))
                farewell = line.substr(0, LAST_LINE_BYTES);
        },
        secret);
    if (good)
        return true;
    if (Lost && !farewell.empty())
        Fail(farewell.c_str());
    else if (Answered && !alert.empty() && !ASCII::Holds(Last.View(), alert))
        Last = Last || " " || alert.substr(0, LAST_LINE_BYTES).c_str();
    return false;
}

bool IMAPCONVERSATION::Ask(const STRING& command, const LISTENER& hear, const SECRET& secret) {
    const uint32_t number = Send(command, secret.AtOnce.View());
    Begin();
    const bool whole = ReadLine();
    const bool isSecret = secret.AtOnce.Length() > 0 || !secret.Answers.empty();
    Trace("TCP::WriteCommand %s%s returned %s\n", TagOf(number).c_str(), command.Text(),
          isSecret ? "..." : Line.c_str());
    auto answer = secret.Answers.begin();
    return HearOut(whole, number, [&](std::string_view line) {
        if (answer != secret.Answers.end() && line.starts_with('+'))
            TCP::WriteSecret(Device, "", (answer++)->View());
        else if (hear)
            hear(line);
    });
}

uint32_t IMAPCONVERSATION::Send(const STRING& command, std::string_view secret) {
    const STRING line = STRING(TagOf(NextTag).c_str()) || command;
    if (secret.empty())
        TCP::WriteCommand(Device, line.Text(), nullptr, 0, 0);
    else
        TCP::WriteSecret(Device, line.Text(), secret);
    return NextTag++;
}

std::string IMAPCONVERSATION::TagOf(uint32_t command) const {
    return std::string(TagName) + "_" + std::to_string(command) + " ";
}

bool IMAPCONVERSATION::Hear(uint32_t command, const LISTENER& hear) {
    Begin();
    const auto early = EarlyEnds.find(command);
    if (early == EarlyEnds.end())
        return HearOut(ReadLine(), command, hear);
    Line = std::move(early->second);
    EarlyEnds.erase(early);
    return End(true, TagOf(command));
}

// True if the line ends the reply to a command that was sent after that one.
bool IMAPCONVERSATION::KeepEarlyEnd(uint32_t after) {
    if (!Line.starts_with(TagName))
        return false;
    for (uint32_t command = after + 1; command < NextTag; ++command) {
        if (Line.starts_with(TagOf(command))) {
            EarlyEnds[command] = Line;
            return true;
        }
    }
    return false;
}

bool IMAPCONVERSATION::HearOut(bool whole, uint32_t command, const LISTENER& hear) {
    const std::string tag = TagOf(command);
    while (whole && !Line.starts_with(tag)) {
        if (!KeepEarlyEnd(command) && hear)
            hear(Line);
        whole = ReadLine();
    }
    return End(whole, tag);
}

void IMAPCONVERSATION::Begin() {
    Bytes = 0;
    Start = CLOCK::Seconds();
    Endless = false;
}

bool IMAPCONVERSATION::End(bool whole, std::string_view tag) {
    const bool good = !Endless && IMAPREPLY::IsGood(Line, tag, whole);
    const bool last = !Line.empty() && (tag == GREETING_TAG || Line.starts_with(tag));
    // The rest of a line that has said what counts may be missing.
    Answered = !Endless && last && (whole || good);
    Lost = !Answered && !Endless && Device.GetInfo("ONLINE") == "0";
    const bool encrypted = LISTING::IsEncrypted(Line);
    OfConnection = Lost && !last && !encrypted;
    Last = Endless ? NO_END : encrypted ? LISTING::ENCRYPTED : OfConnection ? HUNG_UP : "";
    if (last && !Endless && !encrypted)
        Last = STRING(std::string_view(Line).substr(0, LAST_LINE_BYTES));
    if (good)
        LearnCapability(Line);
    return good;
}

bool IMAPCONVERSATION::ReadLine() {
    Line.clear();
    for (;;) {
        const size_t from = Line.size();
        for (bool whole = false; !whole;) {
            char piece[PIECE_BYTES];
            if (!TCP::ReadLine(Device, piece, sizeof piece, ImapTimes.LineMs, &whole))
                return false;
            const size_t length = strlen(piece);
            Line.append(piece, length);
            Bytes += static_cast<int64_t>(length) + 1;
            if (!IsWithinLimits())
                return false;
        }
        const int64_t literal = IMAPREPLY::LiteralAhead(Line, from);
        if (literal < 0)
            return true;
        const int64_t kept = std::min(literal, ImapTimes.LiteralBytes);
        Line.replace(Line.rfind('{'), Line.npos, "{" + std::to_string(kept) + "}\r\n");
        if (!ReadLiteral(literal, kept))
            return false;
    }
}

bool IMAPCONVERSATION::ReadLiteral(int64_t bytes, int64_t kept) {
    Endless = bytes >= ImapTimes.ListingBytes;
    Bytes += kept;
    std::string piece;
    while (bytes > 0 && IsWithinLimits()) {
        int count = static_cast<int>(std::min(bytes, LITERAL_PIECE));
        piece.resize(static_cast<size_t>(count));
        if (!Device.Read(piece.data(), &count, ImapTimes.LineMs, nullptr))
            return false;
        const int64_t taken = std::min<int64_t>(count, kept);
        Line.append(piece, 0, static_cast<size_t>(taken));
        kept -= taken;
        bytes -= count;
    }
    return !Endless;
}

bool IMAPCONVERSATION::IsWithinLimits() {
    Endless = Endless || Bytes > ImapTimes.ReplyBytes || CLOCK::Seconds() - Start > ImapTimes.ReplySeconds;
    return !Endless;
}

bool IMAPCONVERSATION::Select(const STRING& name, FOLDER& folder, bool withModSeq) {
    return Open("SELECT ", name, withModSeq && Has("CONDSTORE") ? " (CONDSTORE)" : "", folder);
}

bool IMAPCONVERSATION::Examine(const STRING& name, FOLDER& folder) {
    return Open("EXAMINE ", name, "", folder);
}

bool IMAPCONVERSATION::Open(STRING command, const STRING& name, const char* end, FOLDER& folder) {
    folder = {};
    command += (name.Length() > 0 ? FolderName(name) : STRING("INBOX")) || end;
    return Ask(command, [&](std::string_view line) {
        if (folder.Count < 0)
            IMAPREPLY::ReadExists(line, folder.Count);
        IMAPREPLY::ReadCode(line, "UIDVALIDITY", folder.Validity);
        IMAPREPLY::ReadCode(line, "UIDNEXT", folder.UidNext);
        IMAPREPLY::ReadCode(line, "HIGHESTMODSEQ", folder.ModSeq);
    });
}

STRING IMAPCONVERSATION::FolderName(const STRING& name) {
    STRING plain = ModifiedUtf7(MAILACCOUNT::Printable(name));
    const auto ordinary = [](char c) { return c > ' ' && !strchr("(){%*\"\\", c); };
    if (IsQuoted(plain.View()) || (plain.Length() > 0 && std::ranges::all_of(plain.View(), ordinary)))
        return plain;
    return Quoted(plain.View(), "\"\\");
}

bool IMAPCONVERSATION::CanExpungeByUid() {
    if (!CapabilityKnown)
        Ask("CAPABILITY", [this](std::string_view line) { LearnCapability(line); });
    CapabilityKnown = true;
    return Has("UIDPLUS");
}

bool IMAPCONVERSATION::CanIdle() {
    if (!Has("IDLE"))
        Ask("CAPABILITY", [this](std::string_view line) { LearnCapability(line); });
    return Has("IDLE");
}

bool IMAPCONVERSATION::BeginIdle(const LISTENER& hear) {
    Idling = Send("IDLE");
    IdleBytes = 0;
    const int64_t asked = CLOCK::Seconds();
    while (HearIdle(hear)) {
        if (Line.starts_with('+'))
            return true;
        Endless = CLOCK::Seconds() - asked > ImapTimes.ReplySeconds;
        if (Endless)
            return End(false, TagOf(Idling));
    }
    return false;
}

bool IMAPCONVERSATION::HearIdle(const LISTENER& hear) {
    // Each line has its own time: nobody knows when it comes.
    Begin();
    bool whole = ReadLine();
    IdleBytes += Bytes;
    Endless = Endless || IdleBytes > ImapTimes.ReplyBytes;
    whole = whole && !Endless;
    const std::string tag = TagOf(Idling);
    if (whole && !Line.starts_with(tag)) {
        hear(Line);
        return true;
    }
    (void)End(whole, tag);
    return false;
}

bool IMAPCONVERSATION::EndIdle(const LISTENER& hear) {
    TCP::WriteCommand(Device, "DONE", nullptr, 0, 0);
    return Hear(Idling, hear);
}

bool IMAPCONVERSATION::Fail(const char* text) {
    Last = text;
    OfConnection = false;
    return false;
}

void IMAPCONVERSATION::LearnCapability(std::string_view line) {
    if (const std::optional<std::string_view> list = IMAPREPLY::Capabilities(line)) {
        CapabilityKnown = true;
        CapabilityList = *list;
    }
}

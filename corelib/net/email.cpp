#include "corelib/net/email.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"

namespace {

// The same everywhere: the name of the user's machine is nobody's affair.
constexpr const char* HELO_NAME = "tarnwick.local";
constexpr int REPLY_BYTES = 256;
constexpr int LONG_REPLY_BYTES = 1024;
constexpr int MOST_REPLY_LINES = 100;

/// Nothing in an address may end the command that it stands in.
bool HasControlBytes(const STRING& address) {
    const std::string_view bytes = address.View();
    return std::any_of(bytes.begin(), bytes.end(),
                       [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
}

// As far as the call stands. False if it was ended from here: by a stop, or as the server was too slow.
bool WriteMessage(BASEIO& device, const STRING& message, const STOPQUESTION& stopAsked) {
    std::string_view rest = message.View();
    for (bool more = true; more;) {
        if (stopAsked && stopAsked())
            return false;
        const size_t end = std::min(rest.find('\n'), rest.size());
        STRING line(rest.substr(0, end));
        // After the last line end there is one more line, if only an empty one.
        more = end < rest.size();
        rest.remove_prefix(more ? end + 1 : end);
        if (rest.starts_with('\r'))
            rest.remove_prefix(1);
        line.Strip('R', " \r");
        line.Append("\r\n");
        more &= device.Write(line.Text(), line.Length()) > 0;
    }
    return !device.IsTooSlow();
}

// A reply with all of its lines, of which the last one comes back; `lines` gets each of them, with a line end, if it is
// given. Empty if it does not come to an end in time.
STRING TakeReply(BASEIO& device, int timeoutMs, STRING* lines = nullptr) {
    char line[LONG_REPLY_BYTES];
    for (int i = 0; i < MOST_REPLY_LINES; ++i) {
        if (!TCP::ReadLine(device, line, sizeof line, timeoutMs))
            return "";
        if (lines)
            *lines = *lines || line || "\n";
        if (strlen(line) < 4 || line[3] != '-')
            return STRING(line);
    }
    return "";
}

bool IsGood(const STRING& reply) {
    return atoi(reply) >= 200 && atoi(reply) <= 299;
}

// What a server has said of an extension in its answer to EHLO: what stands after the name, " " in front if anything
// does; null if it has not named it.
STRING Extension(const STRING& lines, std::string_view name) {
    WORDCURSOR cursor(lines, "\n");
    for (std::string_view line; cursor.Next(line);) {
        line.remove_prefix(std::min<size_t>(line.size(), 4));
        if (ASCII::Equal(line.substr(0, line.find_first_of(" =")), name))
            return STRING(line.substr(name.size()));
    }
    return {};
}

}  // namespace

EMAIL::EMAIL(const char* sender, const char* receiver, const char* subject, const char* extra, const char* smtpHost,
             const EMAILTIMES& times)
    : Sender(sender), Receiver(receiver), Subject(subject), SmtpHost(smtpHost), Extra(extra), Times(times) {
    Trace("EMAIL::Sender %s\n", Sender.Text());
    Trace("EMAIL::Receiver %s\n", Receiver.Text());
    Trace("EMAIL::Subject %s\n", Subject.Text());
    Trace("EMAIL::SmtpHost %s\n", SmtpHost.Text());
    for (STRING* text : {&Sender, &Receiver, &SmtpHost})
        text->Strip('B', " ");
    if (Sender.Length() == 0)
        Sender = "anonymous";
}

bool EMAIL::SendMail(const STRING& message, char* error, int errorSize) const {
    STRING last("");
    const bool sent = Deliver(message, last);
    if (error && errorSize > 0) {
        const int count = std::min(last.Length(), errorSize - 1);
        memset(error, 0, static_cast<size_t>(errorSize));
        memcpy(error, last.Text(), static_cast<size_t>(count));
    }
    return sent;
}

bool EMAIL::Deliver(const STRING& message, STRING& last) const {
    if (HasControlBytes(Sender) || HasControlBytes(Receiver)) {
        last = HasControlBytes(Sender) ? "The sender's address is not valid" : "The receiver's address is not valid";
        Trace("EMAIL::SendMail error: %s\n", last.Text());
        return false;
    }
    TCPIPIO device("", "", "");
    device.SetStopQuestion(StopAsked);
    // The first port of a destination counts, so that a host's own comes before this one. Without a host, the service's
    // name would be taken for one.
    const char* port = Access.Security == SMTPACCESS::TLS        ? ":465"
                       : Access.Security == SMTPACCESS::STARTTLS ? ":587"
                                                                 : ":smtp";
    if (SmtpHost.Length() == 0 || !device.MakeCall((SmtpHost || port).Text())) {
        last = SmtpHost.Length() == 0 ? STRING("Host not found") : device.GetInfo("LastErrorString");
        Trace("EMAIL::SendMail error: %s\n", last.Text());
        return false;
    }
    if (!UsesAccess())
        return Converse(device, message, last);
    if (!Enter(device, last)) {
        Trace("EMAIL::SendMail error: %s\n", last.Text());
        return false;
    }
    return HandOver(device, STRING("<") || Sender || ">", STRING("<") || Receiver || ">", message, last);
}

bool EMAIL::Enter(TCPIPIO& device, STRING& last) const {
    STRING extensions;
    const auto secure = [&] {
        if (device.StartTls({"", Access.Trusted}))
            return true;
        last = device.GetInfo("LastErrorString");
        return false;
    };
    const auto ask = [&](const STRING& command, STRING* lines = nullptr) {
        TCP::WriteCommand(device, command.Text(), nullptr, 0, 0);
        last = TakeReply(device, Times.ReplyMs, lines);
        return IsGood(last);
    };
    const auto greet = [&] {
        extensions = "";
        return ask(STRING("EHLO ") || HELO_NAME, &extensions);
    };
    if (Access.Security == SMTPACCESS::TLS && !secure())
        return false;
    last = TakeReply(device, Times.GreetingMs);
    if (!IsGood(last) || !greet())
        return false;
    if (Access.Security == SMTPACCESS::STARTTLS) {
        if (!Extension(extensions, "STARTTLS").NotNull()) {
            last = "The server does not offer STARTTLS";
            return false;
        }
        if (!ask("STARTTLS") || !secure() || !greet())
            return false;
    }
    return Access.User.Length() == 0 || LogIn(device, Extension(extensions, "AUTH"), last);
}

bool EMAIL::LogIn(BASEIO& device, const STRING& ways, STRING& last) const {
    const STRING password = Secret(Access.Password);
    STRING both = Secret(STRING(std::string_view("\0", 1)));
    both += Access.User;
    both.AppendBytes("", 1);
    both += password;
    // Past the trace, which shows commands as they are.
    const auto tell = [&](const STRING& secret, const char* expected) {
        const STRING line = secret || "\r\n";
        device.Write(line.Text(), line.Length());
        last = TCP::WithoutSecrets(TakeReply(device, Times.ReplyMs), {password, password.ToBase64(), both.ToBase64()});
        return last.View().starts_with(expected);
    };
    const auto knows = [&](std::string_view way) {
        WORDCURSOR words(ways, " =");
        for (std::string_view word; words.Next(word);)
            if (ASCII::Equal(word, way))
                return true;
        return false;
    };
    Trace("EMAIL::LogIn of %s, %s\n", ways.Text(), Access.User.Text());
    if (knows("PLAIN"))
        return tell(STRING("AUTH PLAIN ") || both.ToBase64(), "235");
    if (knows("LOGIN"))
        return tell("AUTH LOGIN", "334") && tell(Access.User.ToBase64(), "334") && tell(password.ToBase64(), "235");
    last = "The server knows no login that could be used";
    return false;
}

bool EMAIL::Converse(BASEIO& device, const STRING& message, STRING& last) const {
    char reply[REPLY_BYTES];
    TCP::ReadLine(device, reply, sizeof reply, Times.GreetingMs);
    TCP::WriteCommand(device, (STRING("HELO ") || HELO_NAME).Text(), reply, sizeof reply, Times.ReplyMs);
    last = reply;
    return IsGood(last) && HandOver(device, Sender, Receiver, message, last);
}

bool EMAIL::HandOver(BASEIO& device, const STRING& sender, const STRING& receiver, const STRING& message,
                     STRING& last) const {
    char reply[REPLY_BYTES];
    const auto ask = [&](const STRING& command, int highest) {
        TCP::WriteCommand(device, command.Text(), reply, sizeof reply, Times.ReplyMs);
        // Who was asked for no extension is taken by single lines.
        last = UsesAccess() && strlen(reply) > 3 && reply[3] == '-' ? TakeReply(device, Times.ReplyMs) : STRING(reply);
        return atoi(last) >= 200 && atoi(last) <= highest;
    };
    if (!ask(STRING("MAIL FROM:") += sender, 299) || !ask(STRING("RCPT TO:") += receiver, 299) || !ask("DATA", 399))
        return false;
    Trace("EMAIL::SendMail before writing the message\n");
    // Half a message is not handed over by the dot after it.
    if (!WriteMessage(device, message, StopAsked)) {
        last = device.GetInfo("LastErrorString");
        return false;
    }
    ask(".", 299);
    TCP::WriteCommand(device, "QUIT", reply, sizeof reply, Times.ReplyMs);
    device.DropCall();
    return true;
}

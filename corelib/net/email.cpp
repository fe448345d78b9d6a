#include "corelib/net/email.h"

#include <algorithm>
#include <cstring>

#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"

namespace {

// The same everywhere: the name of the user's machine is nobody's affair.
constexpr const char* HELO_NAME = "tarnwick.local";
constexpr int REPLY_BYTES = 256;

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
    if (SmtpHost.Length() == 0 || !device.MakeCall((SmtpHost || ":smtp").Text())) {
        last = SmtpHost.Length() == 0 ? STRING("Host not found") : device.GetInfo("LastErrorString");
        Trace("EMAIL::SendMail error: %s\n", last.Text());
        return false;
    }
    return Converse(device, message, last);
}

bool EMAIL::Converse(BASEIO& device, const STRING& message, STRING& last) const {
    char reply[REPLY_BYTES];
    TCP::ReadLine(device, reply, sizeof reply, Times.GreetingMs);
    const auto ask = [&](const STRING& command, int highest) {
        TCP::WriteCommand(device, command.Text(), reply, sizeof reply, Times.ReplyMs);
        last = reply;
        return atoi(last) >= 200 && atoi(last) <= highest;
    };
    if (!ask(STRING("HELO ") || HELO_NAME, 299) || !ask(STRING("MAIL FROM:") += Sender, 299) ||
        !ask(STRING("RCPT TO:") += Receiver, 299) || !ask("DATA", 399))
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

#pragma once

#include <utility>

#include "corelib/base/stopquestion.h"
#include "corelib/base/strings.h"

class BASEIO;

/// Time-outs of the dialogue, in ms.
struct EMAILTIMES {
    int GreetingMs = 5000;
    int ReplyMs = 5000;  // to each command
};

/// Sends one finished message by SMTP (RFC 5321), without extensions. Nothing is added to the message.
class EMAIL {
 public:
    /// Texts may be null. Blanks around the addresses and the host go; an empty sender becomes "anonymous". The subject
    /// is for the trace only, and nothing uses `extra`. smtpHost: a name, or name:port.
    EMAIL(const char* sender, const char* receiver, const char* subject, const char* extra, const char* smtpHost,
          const EMAILTIMES& times = {});

    /// True once the server has taken DATA: a refusal of the message, or a connection that is lost in it, then changes
    /// nothing; a stop does, and a server that takes the message too slowly. error (errorSize bytes) gets the server's
    /// last line before QUIT, also on success, or else why there was no connection; it is empty if the last reply did
    /// not come in time. Blocks for up to TcpTimes.ConnectMs, EMAILTIMES for each reply, and what TcpTimes gives a slow
    /// server; but no longer once the program is to end.
    ///
    /// The message goes out line by line, without blanks and carriage returns at the lines' ends, and with one line end
    /// more than it has. Mails that were read by POP3 still are in their form for the wire, so dots are not doubled: a
    /// line of "." ends the message, and the server takes what stands after it for commands. An address with control
    /// bytes could do the same, and is refused before a connection is made.
    [[nodiscard]] bool SendMail(const STRING& message, char* error, int errorSize) const;
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }

    /// The conversation over a call that is up, from the greeting on; `last` gets the server's last line.
    [[nodiscard]] bool Converse(BASEIO& device, const STRING& message, STRING& last) const;

 private:
    /// Call and conversation; `last` gets what SendMail puts into error.
    [[nodiscard]] bool Deliver(const STRING& message, STRING& last) const;

    STRING Sender;
    STRING Receiver;
    STRING Subject;
    STRING SmtpHost;
    STRING Extra;
    EMAILTIMES Times;
    STOPQUESTION StopAsked;
};

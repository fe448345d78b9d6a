#pragma once

#include <utility>

#include "corelib/base/stopquestion.h"
#include "corelib/base/strings.h"

class BASEIO;
class TCPIPIO;

/// Time-outs of the dialogue, in ms.
struct EMAILTIMES {
    int GreetingMs = 5000;
    int ReplyMs = 5000;  // to each command
};

/// How a server for outgoing mail wants to be called.
struct SMTPACCESS {
    enum SECURITY { CLEAR = 0, TLS = 1, STARTTLS = 2 };
    /// With TLS from the first byte on port 465 where the host names none; with STARTTLS, which is never left out, on
    /// 587; in clear on 25.
    SECURITY Security = CLEAR;
    /// Goes with the password as AUTH PLAIN, or LOGIN where the server knows no better; empty: no login.
    STRING User = "";
    STRING Password = "";
    /// The SHA-256 of a certificate to be accepted (TLSWISH); empty: none.
    STRING Trusted = "";
};

/// Sends one finished message by SMTP (RFC 5321). Nothing is added to the message. Without an access that asks for more
/// no extensions are used.
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
    void SetAccess(const SMTPACCESS& access) { Access = access; }
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }

    /// The conversation over a call that is up, from the greeting on, without the access; `last` gets the server's last
    /// line.
    [[nodiscard]] bool Converse(BASEIO& device, const STRING& message, STRING& last) const;

 private:
    /// All up to the login, the greeting included. What was asked for and cannot be had ends it.
    [[nodiscard]] bool Enter(TCPIPIO& device, STRING& last) const;
    /// ways: the server's, as it has named them.
    [[nodiscard]] bool LogIn(BASEIO& device, const STRING& ways, STRING& last) const;
    bool UsesAccess() const { return Access.Security != SMTPACCESS::CLEAR || Access.User.Length() > 0; }
    /// From MAIL on.
    [[nodiscard]] bool HandOver(BASEIO& device, const STRING& sender, const STRING& receiver, const STRING& message,
                                STRING& last) const;
    /// Call and conversation; `last` gets what SendMail puts into error.
    [[nodiscard]] bool Deliver(const STRING& message, STRING& last) const;

    STRING Sender;
    STRING Receiver;
    STRING Subject;
    STRING SmtpHost;
    STRING Extra;
    EMAILTIMES Times;
    SMTPACCESS Access;
    STOPQUESTION StopAsked;
};

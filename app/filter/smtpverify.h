#pragma once

#include "corelib/base/stopquestion.h"
#include "corelib/base/strings.h"

class BASEIO;

/// Time-outs of the dialogue, in ms.
struct SMTPVERIFYTIMES {
    int GreetingMs = 2500;  // a line
    int HeloMs = 2500;
    int EnvelopeMs = 1000;  // MAIL and RCPT
    int QuitMs = 500;
    int TotalMs = 20000;  // from the look-up of the host on
};

/// Asks a mail server (RFC 5321) whether it would take mail for an address, and hangs up before any mail is sent. The
/// host is a name, or name:port. True if it got as far as an answer to RCPT TO, whose number goes to code (0 if the
/// answer did not come). An address that could not stand in a command is not asked for: false. A stop ends it at once.
/// `dead`, if given, tells whether the server could not be called, or did not greet, or used the time up.
[[nodiscard]] bool VerifySenderSmtp(const STRING& host, const STRING& address, int& code,
                                    const STOPQUESTION& stopAsked = {}, bool* dead = nullptr,
                                    const SMTPVERIFYTIMES& times = {});

/// The dialogue over a call that is up, for an address that may stand in a command. `greeted` tells whether a line
/// came.
[[nodiscard]] bool VerifyDialogue(BASEIO& device, const STRING& address, int& code, bool& greeted,
                                  const SMTPVERIFYTIMES& times = {});

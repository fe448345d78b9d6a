#pragma once

#include "corelib/base/strings.h"

/// Time-outs of the dialogue, in ms. Tests shrink them.
struct SMTPVERIFYTIMES {
    int GreetingMs = 2500;  // a line
    int HeloMs = 2500;
    int EnvelopeMs = 1000;  // MAIL and RCPT
    int QuitMs = 500;
};
extern SMTPVERIFYTIMES SmtpVerifyTimes;

/// Asks a mail server (RFC 5321) whether it would take mail for an address, and hangs up before any mail is sent. The
/// host is a name, or name:port. True if it got as far as an answer to RCPT TO, whose number goes to code (0 if the
/// answer did not come). An address that could not stand in a command is not asked for: false.
bool VerifySenderSmtp(const STRING& host, const STRING& address, int& code);

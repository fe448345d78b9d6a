#include "app/filter/smtpverify.h"

#include <algorithm>
#include <cstring>

#include "corelib/base/clock.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"

namespace {

// Nothing of the user's goes out: the dialogue speaks for a mailbox that nobody has.
constexpr const char* HELO_NAME = "mail.example.com";
constexpr const char* SENDER = "postmaster@mail.example.com";

constexpr int REPLY_BYTES = 256;
constexpr int GREETING_LINES = 100;    // no server keeps us listening for ever
constexpr size_t ADDRESS_BYTES = 254;  // the longest that a path of SMTP can hold

int Code(const char* reply) {
    return atoi(STRING(reply));
}

bool IsPositive(const char* reply) {
    const int code = Code(reply);
    return code >= 200 && code <= 299;
}

/// An address comes from a mail: nothing in it may end the command or begin another.
bool IsPlainAddress(std::string_view address) {
    return !address.empty() && address.size() <= ADDRESS_BYTES &&
           std::none_of(address.begin(), address.end(), [](char c) {
               return static_cast<unsigned char>(c) <= ' ' || c == 127 || c == '<' || c == '>';
           });
}

/// Reads the greeting, whose last line stays in reply; true if it is positive.
bool ReadGreeting(BASEIO& device, char (&reply)[REPLY_BYTES], bool& extended, bool& greeted,
                  const SMTPVERIFYTIMES& times) {
    extended = greeted = false;
    bool more = true;
    for (int line = 0; more && line < GREETING_LINES; ++line) {
        greeted |= TCP::ReadLine(device, reply, sizeof reply, times.GreetingMs);
        extended |= strstr(reply, "ESMTP") != nullptr;
        more = strlen(reply) > 3 && reply[3] == '-';
    }
    return !more && IsPositive(reply);
}

}  // namespace

bool VerifySenderSmtp(const STRING& host, const STRING& address, int& code, const STOPQUESTION& stopAsked, bool* dead,
                      const SMTPVERIFYTIMES& times) {
    code = 0;
    if (dead)
        *dead = false;
    // A record that is too far to be the best leaves no host.
    if (host.Length() == 0 || !IsPlainAddress(address.View()))
        return false;
    CLOCK::STOPWATCH watch;
    const auto isLate = [&] { return watch.Passed() >= times.TotalMs; };
    TCPIPIO device("", "", "");
    device.SetStopQuestion([&] { return isLate() || (stopAsked && stopAsked()); });
    // The first port of a destination counts, so that a host's own comes before this one.
    bool greeted = false;
    const bool answered =
        device.MakeCall((host || ":smtp").Text()) && VerifyDialogue(device, address, code, greeted, times);
    if (dead)
        *dead = !greeted || isLate();
    return answered;
}

bool VerifyDialogue(BASEIO& device, const STRING& address, int& code, bool& greeted, const SMTPVERIFYTIMES& times) {
    code = 0;
    char reply[REPLY_BYTES];
    bool extended = false;
    if (!ReadGreeting(device, reply, extended, greeted, times))
        return false;
    const STRING sender = extended ? STRING("<") || SENDER || ">" : STRING(" ") || SENDER;
    const STRING receiver = extended ? STRING("<") || address || ">" : STRING(" ") || address;
    const auto ask = [&](const STRING& command, int timeoutMs) {
        TCP::WriteCommand(device, command.Text(), reply, sizeof reply, timeoutMs);
        return IsPositive(reply);
    };
    if (!ask(STRING("HELO ") || HELO_NAME, times.HeloMs) || !ask(STRING("MAIL FROM:") || sender, times.EnvelopeMs))
        return false;
    ask(STRING("RCPT TO: ") || receiver, times.EnvelopeMs);
    code = Code(reply);
    char farewell[REPLY_BYTES];
    TCP::WriteCommand(device, "QUIT", farewell, sizeof farewell, times.QuitMs);
    return true;
}

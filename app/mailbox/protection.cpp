#include "app/mailbox/protection.h"

#include <algorithm>

#include "corelib/base/ascii.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tlsio.h"

bool CallServer(BASEIO& device, const MAILBOXCALL& call, int type) {
    const int security = call.Security.Kind;
    if (security != SECURITY_NONE)
        call.Item.Set(REFUSED_CERTIFICATE, "");
    return device.MakeCall(MAILACCOUNT::Destination(call.Server, type, security).Text()) &&
           (security != SECURITY_TLS || StartTls(device, call));
}

STRING CertificateDigits(std::string_view words) {
    constexpr std::string_view MARK = "; SHA-256 ";
    constexpr size_t SHA256_DIGITS = 64;
    const size_t at = words.rfind(MARK);
    if (at == words.npos)
        return "";
    const std::string_view digits = ASCII::Trim(words.substr(at + MARK.size()), " \t\r");
    const bool good =
        digits.size() == SHA256_DIGITS && std::ranges::all_of(digits, [](char c) { return ASCII::HexValue(c) >= 0; });
    return good ? STRING(digits) : STRING("");
}

bool StartTls(BASEIO& device, const MAILBOXCALL& call) {
    if (device.StartTls({.Trusted = call.Security.TrustedCertificate}))
        return true;
    if (atoi(device.GetInfo("LASTERROR")) == TCPERR_TLS_UNTRUSTED)
        call.Item.Set(REFUSED_CERTIFICATE, CertificateDigits(device.GetInfo("LASTERRORSTRING").View()));
    return false;
}

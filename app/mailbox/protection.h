#pragma once

#include <string_view>

#include "app/mailbox/mailhandler.h"
#include "corelib/net/baseio.h"

/// In the place of the reply of a server that does not want to begin a conversation over TLS.
inline constexpr const char* NO_STARTTLS = "999 No STARTTLS";
/// In the place of that of a server which takes no password, as it offers no way that is spoken here.
inline constexpr const char* NO_LOGIN_WAY = "999 No login method";

/// Calls the server of an account of that type, and goes over to TLS where its security wants that first. False, with
/// the device's last error, if either fails.
[[nodiscard]] bool CallServer(BASEIO& device, const MAILBOXCALL& call, int type);

/// Where an item keeps the SHA-256 of the certificate that its last call has failed for; empty otherwise. It stands
/// apart from the replies, as a server could say the same.
inline constexpr const char* REFUSED_CERTIFICATE = "@RefusedCertificate";
/// The SHA-256, in hexadecimal, at the end of a device's words on a certificate; empty if there is none.
STRING CertificateDigits(std::string_view words);

/// Turns the device's conversation into one over TLS, with the certificate that the account trusts if it has one. False
/// if that fails, with the device's last error.
[[nodiscard]] bool StartTls(BASEIO& device, const MAILBOXCALL& call);

#include "app/mailbox/protection.h"

#include "corelib/net/tlsio.h"

bool CallServer(BASEIO& device, const MAILBOXCALL& call, int type) {
    const int security = call.Security.Kind;
    return device.MakeCall(MAILACCOUNT::Destination(call.Server, type, security).Text()) &&
           (security != SECURITY_TLS || StartTls(device, call));
}

bool StartTls(BASEIO& device, const MAILBOXCALL& call) {
    return device.StartTls({.Trusted = call.Security.TrustedCertificate});
}

#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/testsupport.h"

/// A step of the server's side of a conversation over TLS: a word and a value that tests/servers/tlspeer.cpp knows.
using TLSSTEP = std::pair<std::string, std::string>;

namespace TLSPLAY {

std::string ToHex(std::string_view bytes);

/// The handshake; what stands before it is in clear. The lowest and the highest version, "1.2" or "1.3", come ahead.
inline TLSSTEP Tls() {
    return {"tls", ""};
}
inline TLSSTEP Lowest(std::string version) {
    return {"min", std::move(version)};
}
inline TLSSTEP Highest(std::string version) {
    return {"max", std::move(version)};
}
/// From now on the bytes on the wire come one at a time with that pause.
inline TLSSTEP Drip(int microseconds) {
    return {"drip", std::to_string(microseconds)};
}
/// The connection ends after that many bytes on the wire.
inline TLSSTEP CutAfter(int bytes) {
    return {"cutafter", std::to_string(bytes)};
}
/// Two bits of that byte on the wire are other ones.
inline TLSSTEP Damage(int byte) {
    return {"flip", std::to_string(byte)};
}
/// The client's next line begins with this.
inline TLSSTEP Expect(std::string_view start) {
    return {"expect", ToHex(start)};
}
/// Its lines up to an empty one.
inline TLSSTEP TakeHead() {
    return {"head", ""};
}
inline TLSSTEP Send(std::string_view text) {
    return {"send", ToHex(text)};
}
/// The first bytes of the lines "0", "2", "4" ..., each the number of bytes that come before it.
inline TLSSTEP SendBig(int bytes) {
    return {"big", std::to_string(bytes)};
}
/// Takes that many bytes.
inline TLSSTEP Sink(int bytes) {
    return {"sink", std::to_string(bytes)};
}
/// Bytes as they are, past TLS.
inline TLSSTEP Raw(std::string_view bytes) {
    return {"raw", ToHex(bytes)};
}
inline TLSSTEP UpdateKeys() {
    return {"update", ""};
}
inline TLSSTEP Renegotiate() {
    return {"renegotiate", ""};
}
/// The notice before the end, which the end of a script does not give.
inline TLSSTEP Notify() {
    return {"notify", ""};
}
/// Reads on until the client hangs up.
inline TLSSTEP Silence() {
    return {"silence", ""};
}

}  // namespace TLSPLAY

/// Plays a script over TLS on loopback, by a program of this machine that is started once for all. From
/// the first one on this process trusts its root.
class TLSSERVER {
 public:
    /// certificate: a name that tests/servers/certificates.h knows. calls: how many callers it is played for, one after
    /// the other.
    TLSSERVER(const std::string& certificate, const std::vector<TLSSTEP>& script, int calls = 1);

    STRING HostPort(const char* host = "127.0.0.1") const;
    /// Of the certificate, as TLSREPORT tells it.
    const STRING& Sha256() const { return Digest; }

    struct OUTCOME {
        bool Resumed = false;
        std::string ServerName;    // that the client has told
        std::string Received;      // decrypted, or in clear ahead of the handshake
        std::string Problem;       // what did not go as the script has it
        std::vector<int> Records;  // how many bytes had been sent after each of them
    };
    /// Waits for the end of the last conversation. Before the next server is made.
    OUTCOME Over() const;

 private:
    STRING Port;
    STRING Digest;
};

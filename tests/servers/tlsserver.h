#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "corelib/base/hexdigits.h"
#include "tests/support/testsupport.h"

/// A step of the server's side of a conversation over TLS: a word and a value that tests/servers/tlspeer.cpp knows.
using TLSSTEP = std::pair<std::string, std::string>;

namespace TLSPLAY {

/// Makes such a step of its word: with nothing, with a number, or with any bytes.
struct MAKER {
    const char* Word;
    TLSSTEP operator()() const { return {Word, ""}; }
    TLSSTEP operator()(int number) const { return {Word, std::to_string(number)}; }
    TLSSTEP operator()(std::string_view bytes) const { return {Word, HEX::ToHex(bytes)}; }
};

/// The handshake; what stands before it is in clear. The lowest and the highest version, "1.2" or "1.3", come ahead.
inline constexpr MAKER Tls{"tls"}, Lowest{"min"}, Highest{"max"};
/// From now on the bytes on the wire come one at a time with that pause: microseconds.
inline constexpr MAKER Drip{"drip"};
/// The connection ends after that many bytes on the wire.
inline constexpr MAKER CutAfter{"cutafter"};
/// Two bits of that byte on the wire are other ones.
inline constexpr MAKER Damage{"flip"};
/// The client's next line begins with this; its lines up to an empty one; that many bytes.
inline constexpr MAKER Expect{"expect"}, TakeHead{"head"}, Sink{"sink"};
/// A text; bytes as they are, past TLS.
inline constexpr MAKER Send{"send"}, Raw{"raw"};
/// The first bytes of the lines "0", "2", "4" ..., that many, each line the number of bytes that come before it.
inline constexpr MAKER SendBig{"big"};
inline constexpr MAKER UpdateKeys{"update"}, Renegotiate{"renegotiate"};
/// The notice before the end, which the end of a script does not give.
inline constexpr MAKER Notify{"notify"};
/// Reads on until the client hangs up.
inline constexpr MAKER Silence{"silence"};

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

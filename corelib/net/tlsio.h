#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "corelib/base/strings.h"

/// What is asked of a conversation over TLS.
struct TLSWISH {
    /// Who must answer: a host name or a dotted address, which the names of the certificate are held against. Empty:
    /// the host that was called.
    STRING ServerName = "";
    /// The SHA-256 (hex, any case) of the one certificate that is accepted whatever is wrong with it; empty: none.
    STRING Trusted = "";
};

/// What is wrong with a certificate, as bits: all of it is told at once.
enum TLSFAULT : uint32_t {
    TLSFAULT_NONE = 0,
    TLSFAULT_EXPIRED = 1,
    TLSFAULT_NOT_YET_VALID = 2,
    TLSFAULT_OTHER_NAME = 4,
    TLSFAULT_UNKNOWN_ISSUER = 8,  // TLSREPORT::UnknownIssuer tells it
    TLSFAULT_SELF_SIGNED = 16,
    TLSFAULT_REVOKED = 32,
    TLSFAULT_WEAK = 64,  // a key or a signature that the system does not accept any more
    TLSFAULT_OTHER = 128
};

/// What is known of a conversation over TLS and of the certificate that the server has shown. Texts from certificates
/// are UTF-8 without control bytes, of 200 bytes at most. Empty texts are not known.
struct TLSREPORT {
    STRING Protocol = "";  // "TLSv1.2", "TLSv1.3", once the handshake is over
    STRING Cipher = "";
    bool Resumed = false;
    STRING Failure = "";  // why there is no conversation any more, in the words of the system or the server
    uint32_t Faults = TLSFAULT_NONE;
    bool Accepted = false;  // faults or not, it is the one that was wished for
    STRING Sha256 = "";     // 64 digits in lower case
    STRING Subject = "";
    STRING Issuer = "";
    STRING UnknownIssuer = "";
    STRING ValidFrom = "";  // "2026-11-22", in UTC
    STRING ValidUntil = "";

    /// "expired, unknown issuer NAME": the faults in the order of their bits; empty if there are none.
    STRING Why() const;
    /// Why(), then "; SHA-256 " and the 64 digits as the last of it.
    STRING WhyUntrusted() const { return Why() || "; SHA-256 " || Sha256; }
};

/// What there is to say against a certificate.
struct TLSVERDICT {
    uint32_t Faults = TLSFAULT_NONE;
    STRING UnknownIssuer = "";
};

/// The client's side of a conversation in TLS 1.2 or 1.3, without any network: bytes in, bytes out. One thread at a
/// time. Sessions that servers give are kept, a few of them for an hour, and used for the next conversation with the
/// same peer, name and trust.
class TLSSESSION {
 public:
    enum class STATE {
        SHAKING,   // the handshake is going on
        CHECKING,  // it is over, and waits for the verdict; not with every system
        UP,        // names and issuers are good, or the certificate is the accepted one
        CLOSED,    // the peer has said that nothing more comes
        FAILED     // see the report
    };

    /// peer: names the other end for resumption, as host:port. The session has bytes to send as soon as it is made.
    static std::unique_ptr<TLSSESSION> Create(const TLSWISH& wish, const STRING& peer);
    virtual ~TLSSESSION() = default;
    TLSSESSION(const TLSSESSION&) = delete;
    TLSSESSION& operator=(const TLSSESSION&) = delete;

    /// Takes bytes from the peer, in whatever pieces they come, and appends what they say to `plain`. There may be
    /// something to send after it, at the latest before the next Give.
    virtual STATE Take(std::string_view bytes, std::string& plain) = 0;
    /// Turns a text into bytes to send; false unless the session is up.
    [[nodiscard]] virtual bool Give(std::string_view plain) = 0;
    /// While CHECKING: what to call for the verdict, in any thread. It may go to the network for as long as it likes,
    /// and owns all that it touches.
    virtual std::function<TLSVERDICT()> Check() { return {}; }
    /// Takes the verdict, after which the session is UP or FAILED.
    virtual void Judge(const TLSVERDICT& /*verdict*/) {}
    /// Nothing more will be given: makes the notice for the peer.
    virtual void Close() = 0;

    /// Gives up, for a reason that the report is to tell.
    void Break(const char* reason) {
        Present = STATE::FAILED;
        Told.Failure = reason;
    }

    /// The bytes to send, which are gone from here then.
    std::string TakeOutgoing() { return std::exchange(Outgoing, {}); }
    /// How many there are.
    size_t OutgoingBytes() const { return Outgoing.size(); }
    STATE State() const { return Present; }
    const TLSREPORT& Report() const { return Told; }

 protected:
    TLSSESSION() = default;

    STATE Present = STATE::SHAKING;
    TLSREPORT Told;
    std::string Outgoing;
};

/// The little that both platforms share.
namespace TLS {

/// A text of a certificate as TLSREPORT shows it.
STRING ShownText(std::string_view text);
/// True if `trusted`, as a user or a file writes it, is this SHA-256.
bool SameSha256(const STRING& trusted, const STRING& sha256);
/// True for a dotted address, which has no name to be told to the server; and if its four bytes are these.
bool IsAddress(const STRING& serverName);
bool IsAddress(const STRING& serverName, std::string_view bytes);
/// True if a name of a certificate is this host's, or stands for it with "*" as its whole first label and two at least
/// after it.
bool NameMatches(std::string_view name, const STRING& serverName);

}  // namespace TLS

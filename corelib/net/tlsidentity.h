#pragma once

#include <memory>

#include "corelib/net/tlsio.h"

/// A certificate that a server of ours makes for itself, with its key. Nothing proves it: a client has to be told its
/// SHA-256. Any thread.
class TLSIDENTITY {
 public:
    /// For the address 127.0.0.1; null where the system is not asked for one (Windows).
    static std::shared_ptr<const TLSIDENTITY> Create();
    virtual ~TLSIDENTITY() = default;
    TLSIDENTITY(const TLSIDENTITY&) = delete;
    TLSIDENTITY& operator=(const TLSIDENTITY&) = delete;

    const STRING& Sha256() const { return Digest; }
    /// The server's side of a conversation, whose client shows no certificate.
    virtual std::unique_ptr<TLSSESSION> Serve() const = 0;

 protected:
    TLSIDENTITY() = default;
    STRING Digest;
};

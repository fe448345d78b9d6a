#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "corelib/net/sockets.h"
#include "corelib/net/tlsidentity.h"
#include "corelib/system/osys.h"

/// The server's side of one conversation, without its connection: bytes go in, replies come out.
class DEMOSESSION {
 public:
    virtual ~DEMOSESSION() = default;
    /// What the server says first.
    virtual std::string Greeting() const { return {}; }
    /// What it says to these bytes, which may end anywhere in what the client has to say.
    virtual std::string Receive(std::string_view bytes) = 0;
    /// What it says without being asked, whenever there is time.
    virtual std::string Unasked() { return {}; }
    /// It has said its last word.
    virtual bool Ended() const = 0;
};

/// A conversation in lines. A line without an end ends it.
class LINESESSION : public DEMOSESSION {
 public:
    /// The reply to a line without its line end.
    virtual std::string Reply(std::string_view line) = 0;
    std::string Receive(std::string_view bytes) final;
    bool Ended() const override { return Done; }

 protected:
    void End() { Done = true; }

 private:
    std::string Pending;
    bool Done = false;
};

/// A server on a free port of the loopback address, with threads of its own.
class DEMOSERVICE {
 public:
    using SESSIONMAKER = std::function<std::unique_ptr<DEMOSESSION>()>;
    /// Each conversation gets a session and a thread of its own; so many at the same time are the most.
    explicit DEMOSERVICE(SESSIONMAKER makeSession, size_t mostConversations = 1);
    /// Ends the conversations that are under way.
    virtual ~DEMOSERVICE();
    DEMOSERVICE(const DEMOSERVICE&) = delete;
    DEMOSERVICE& operator=(const DEMOSERVICE&) = delete;

    /// From the first byte on its conversations are over TLS then. Before Start; null: in clear.
    void SetIdentity(std::shared_ptr<const TLSIDENTITY> identity) { Identity = std::move(identity); }
    /// Starts to listen; false if the machine gives no port.
    [[nodiscard]] bool Start();
    uint16_t Port() const { return BoundPort; }

 private:
    static unsigned ThreadBody(void* self);
    struct CALLER;
    void Serve();
    void Converse(SOCKETS::SOCK connection);

    const SESSIONMAKER MakeSession;
    const size_t MostConversations;
    std::shared_ptr<const TLSIDENTITY> Identity;
    SOCKETS::SOCK Listener = SOCKETS::NONE;
    uint16_t BoundPort = 0;
    OSYS::THREADHANDLE hThread;
    std::atomic<bool> Stopping = false;
};

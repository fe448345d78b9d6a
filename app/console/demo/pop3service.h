#pragma once

#include <atomic>
#include <set>
#include <string>
#include <string_view>

#include "app/console/demo/mailstore.h"
#include "corelib/net/sockets.h"
#include "corelib/system/osys.h"

/// The server's side of one POP3 conversation (RFC 1939), without its connection: a line goes in, a reply comes out.
/// Deletions take effect at QUIT.
class POP3SESSION {
 public:
    POP3SESSION(DEMOSTORE& store, const char* user, const char* password);

    std::string Greeting() const { return "+OK demo mailbox\r\n"; }
    /// The reply to a command line without its line end; a reply of several lines ends with a line of ".".
    std::string Reply(std::string_view line);
    /// QUIT has been said.
    bool Ended() const { return Done; }

 private:
    std::string Transaction(std::string_view command, std::string_view arguments);
    // The index of the mail that the number names, or -1.
    int Find(std::string_view number) const;
    std::string Listing(std::string_view number, bool sizes) const;
    std::string Text(size_t index, int bodyLines) const;

    DEMOSTORE& Store;
    const std::string User, Password;
    bool UserGood = false, LoggedIn = false, Done = false;
    DEMOSTORE::MAILS Mails;
    std::set<size_t> Deleted;
};

/// A POP3 server on a free port of the loopback address, with a thread of its own; one conversation at a time.
class POP3SERVICE {
 public:
    POP3SERVICE(DEMOSTORE& store, const char* user, const char* password);
    /// Ends a conversation that is under way.
    ~POP3SERVICE();
    POP3SERVICE(const POP3SERVICE&) = delete;
    POP3SERVICE& operator=(const POP3SERVICE&) = delete;

    /// Starts to listen; false if the machine gives no port.
    bool Start();
    uint16_t Port() const { return BoundPort; }

 private:
    static unsigned ThreadBody(void* self);
    void Serve();
    void Converse(SOCKETS::SOCK connection);

    DEMOSTORE& Store;
    const std::string User, Password;
    SOCKETS::SOCK Listener = SOCKETS::NONE;
    uint16_t BoundPort = 0;
    OSYS::THREADHANDLE hThread;
    std::atomic<bool> Stopping = false;
};

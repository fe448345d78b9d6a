#include "app/demo/demoservice.h"

#include <list>
#include <utility>

namespace {

constexpr int LOOK_MS = 100;           // how soon a stop is seen
constexpr int IDLE_LIMIT_MS = 600000;  // RFC 1939: at least ten minutes
constexpr size_t LINE_MAX_BYTES = 512;

bool SendAll(SOCKETS::SOCK connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const int sent = SOCKETS::Send(connection, bytes.data(), static_cast<int>(bytes.size()));
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

}  // namespace

std::string LINESESSION::Receive(std::string_view bytes) {
    std::string replies;
    Pending.append(bytes);
    for (size_t end; !Ended() && (end = Pending.find('\n')) != Pending.npos;) {
        std::string_view line = std::string_view(Pending).substr(0, end);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        replies += Reply(line);
        Pending.erase(0, end + 1);
    }
    if (Pending.size() > LINE_MAX_BYTES)
        End();
    return replies;
}

struct DEMOSERVICE::CALLER {
    CALLER(DEMOSERVICE& service, SOCKETS::SOCK connection) : Service(service), Connection(connection) {
        Thread = OSYS::CreateThread(Body, this, nullptr);
    }
    ~CALLER() {
        if (Thread)
            OSYS::WaitThread(Thread, WAIT_FOREVER);
        SOCKETS::Close(Connection);
    }
    CALLER(const CALLER&) = delete;
    CALLER& operator=(const CALLER&) = delete;
    bool HasEnded(int timeout) { return !Thread || OSYS::WaitThread(Thread, timeout); }
    static unsigned Body(void* self) {
        auto* const caller = static_cast<CALLER*>(self);
        caller->Service.Converse(caller->Connection);
        return 0;
    }

    DEMOSERVICE& Service;
    const SOCKETS::SOCK Connection;
    OSYS::THREADHANDLE Thread;
};

DEMOSERVICE::DEMOSERVICE(SESSIONMAKER makeSession, size_t mostConversations)
    : MakeSession(std::move(makeSession)), MostConversations(mostConversations) {
    SOCKETS::Startup();
}

DEMOSERVICE::~DEMOSERVICE() {
    Stopping = true;
    if (hThread)
        OSYS::WaitThread(hThread, WAIT_FOREVER);
    if (Listener != SOCKETS::NONE)
        SOCKETS::Close(Listener);
    SOCKETS::Cleanup();
}

bool DEMOSERVICE::Start() {
    Listener = SOCKETS::Open();
    if (Listener == SOCKETS::NONE ||
        SOCKETS::Listen(Listener, SOCKETS::LOOPBACK, 0, 5, &BoundPort) != SOCKETS::LISTENERROR::None)
        return false;
    hThread = OSYS::CreateThread(ThreadBody, this, nullptr);
    return hThread != nullptr;
}

unsigned DEMOSERVICE::ThreadBody(void* self) {
    static_cast<DEMOSERVICE*>(self)->Serve();
    return 0;
}

void DEMOSERVICE::Serve() {
    std::list<CALLER> callers;
    while (!Stopping) {
        callers.remove_if([](CALLER& caller) { return caller.HasEnded(0); });
        if (callers.size() >= MostConversations) {
            if (callers.front().HasEnded(LOOK_MS))
                callers.pop_front();
            continue;
        }
        if (!SOCKETS::WaitReadable(Listener, LOOK_MS))
            continue;
        const SOCKETS::SOCK connection = SOCKETS::Accept(Listener, nullptr);
        if (connection != SOCKETS::NONE)
            callers.emplace_back(*this, connection);
    }
}

namespace {

/// What a session says and hears, in clear or over TLS.
class WIRE {
 public:
    WIRE(SOCKETS::SOCK connection, std::unique_ptr<TLSSESSION> tls) : Connection(connection), Tls(std::move(tls)) {}

    /// What was to be said before there was somebody to hear it goes out when there is.
    bool Say(std::string_view bytes) {
        if (!Tls)
            return SendAll(Connection, bytes);
        Unsaid.append(bytes);
        if (Tls->State() == TLSSESSION::STATE::UP && !Unsaid.empty())
            (void)Tls->Give(std::exchange(Unsaid, {}));  // its state tells
        return SendAll(Connection, Tls->TakeOutgoing()) && Tls->State() != TLSSESSION::STATE::FAILED;
    }
    /// False at the end of the conversation.
    bool Hear(std::string& heard) {
        char buffer[1024];
        const int got = SOCKETS::Recv(Connection, buffer, sizeof buffer);
        if (got <= 0)
            return false;
        const std::string_view bytes(buffer, static_cast<size_t>(got));
        if (Tls)
            return Tls->Take(bytes, heard) != TLSSESSION::STATE::CLOSED || !heard.empty();
        heard = bytes;
        return true;
    }
    ~WIRE() {
        if (!Tls)
            return;
        Tls->Close();
        SendAll(Connection, Tls->TakeOutgoing());
    }
    WIRE(const WIRE&) = delete;
    WIRE& operator=(const WIRE&) = delete;

 private:
    const SOCKETS::SOCK Connection;
    const std::unique_ptr<TLSSESSION> Tls;
    std::string Unsaid;
};

}  // namespace

void DEMOSERVICE::Converse(SOCKETS::SOCK connection) {
    const std::unique_ptr<DEMOSESSION> session = MakeSession();
    WIRE wire(connection, Identity ? Identity->Serve() : nullptr);
    if (!wire.Say(session->Greeting()))
        return;
    int idle = 0;
    while (!Stopping && idle < IDLE_LIMIT_MS && !session->Ended()) {
        if (!SOCKETS::WaitReadable(connection, LOOK_MS)) {
            idle += LOOK_MS;
            const std::string unasked = session->Unasked();
            if (!unasked.empty() && !wire.Say(unasked))
                return;
            continue;
        }
        idle = 0;
        std::string heard;
        if (!wire.Hear(heard) || !wire.Say(heard.empty() ? std::string() : session->Receive(heard)))
            return;
    }
}

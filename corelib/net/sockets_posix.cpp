#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "corelib/net/sockets.h"

namespace {

sockaddr_in SocketAddress(uint32_t address, uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

int Poll(SOCKETS::SOCK s, short events, int ms, short* got) {
    pollfd look{static_cast<int>(s), events, 0};
    int rc;
    do {
        rc = poll(&look, 1, ms);
    } while (rc < 0 && errno == EINTR);
    *got = look.revents;
    return rc;
}

// The resolver's functions that are safe in any thread.
bool Ask(const char* name, const char* service, int flags, addrinfo** found) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    return getaddrinfo(name, service, &hints, found) == 0;
}

// The names of this machine's own network stand in its table of hosts, or nowhere: asking the name servers for them
// would only make a call to a local server wait for the servers' silence.
bool LoopbackName(uint32_t address, STRING* name) {
    static std::mutex guard;  // of the walk through the table, which the whole process shares
    std::lock_guard hold(guard);
    const in_addr_t wanted = htonl(address);
    bool found = false;
    sethostent(1);
    while (const hostent* entry = found ? nullptr : gethostent()) {
        found = entry->h_addrtype == AF_INET && memcmp(entry->h_addr_list[0], &wanted, sizeof wanted) == 0;
        if (found)
            *name = entry->h_name;
    }
    endhostent();
    return found;
}

}  // namespace

bool SOCKETS::Startup() {
    return true;
}

void SOCKETS::Cleanup() {}

int SOCKETS::LastError() {
    return errno;
}

int SOCKETS::LastErrorOverBase() {
    return errno;
}

int SOCKETS::MostOpen() {
    rlimit limit;
    constexpr rlim_t MOST = 1 << 20;
    return static_cast<int>(getrlimit(RLIMIT_NOFILE, &limit) == 0 ? std::min(limit.rlim_cur, MOST) : MOST);
}

SOCKETS::SOCK SOCKETS::Open() {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void SOCKETS::Interrupt(SOCK s) {
    shutdown(static_cast<int>(s), SHUT_RDWR);
}

void SOCKETS::Close(SOCK s) {
    close(static_cast<int>(s));
}

bool SOCKETS::SetBlocking(SOCK s, bool blocking) {
    int flag = blocking ? 0 : 1;
    return ioctl(static_cast<int>(s), FIONBIO, &flag) == 0;
}

void SOCKETS::SetNoDelay(SOCK s) {
    int flag = 1;
    setsockopt(static_cast<int>(s), IPPROTO_TCP, TCP_NODELAY, &flag, sizeof flag);
}

void SOCKETS::AcknowledgeAtOnce([[maybe_unused]] SOCK s) {
#ifdef TCP_QUICKACK
    int flag = 1;
    setsockopt(static_cast<int>(s), IPPROTO_TCP, TCP_QUICKACK, &flag, sizeof flag);
#endif
}

void SOCKETS::SetKeepAlive(SOCK s, int afterSeconds, int everySeconds) {
    const auto set = [s](int level, int option, int value) {
        setsockopt(static_cast<int>(s), level, option, &value, sizeof value);
    };
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
#ifdef TCP_KEEPIDLE
    constexpr int TIMES = 10;
    set(IPPROTO_TCP, TCP_KEEPIDLE, afterSeconds);
    set(IPPROTO_TCP, TCP_KEEPINTVL, everySeconds);
    set(IPPROTO_TCP, TCP_KEEPCNT, TIMES);
#endif
}

bool SOCKETS::Connect(SOCK s, uint32_t address, uint16_t port) {
    sockaddr_in to = SocketAddress(address, port);
    return connect(static_cast<int>(s), reinterpret_cast<sockaddr*>(&to), sizeof to) == 0 || errno == EINPROGRESS;
}

SOCKETS::READY SOCKETS::WaitConnected(SOCK s, int ms) {
    short got;
    int rc = Poll(s, POLLOUT, ms, &got);
    if (rc <= 0)
        return rc < 0 ? READY::Error : READY::Nothing;
    // A failed connection is writable too, but has no peer.
    sockaddr_in peer;
    socklen_t size = sizeof peer;
    if (getpeername(static_cast<int>(s), reinterpret_cast<sockaddr*>(&peer), &size) == 0)
        return READY::Writable;
    int error = 0;
    size = sizeof error;
    if (getsockopt(static_cast<int>(s), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error != 0)
        errno = error;
    return READY::Refused;
}

bool SOCKETS::WaitReadable(SOCK s, int ms) {
    short got;
    return Poll(s, POLLIN, ms, &got) > 0;
}

int SOCKETS::Recv(SOCK s, char* buffer, int length) {
    ssize_t rc;
    do {
        rc = recv(static_cast<int>(s), buffer, static_cast<size_t>(length), 0);
    } while (rc < 0 && errno == EINTR);
    return static_cast<int>(rc);
}

int SOCKETS::Send(SOCK s, const char* buffer, int length) {
    ssize_t rc;
    do {
        rc = send(static_cast<int>(s), buffer, static_cast<size_t>(length), MSG_NOSIGNAL);
    } while (rc < 0 && errno == EINTR);
    return static_cast<int>(rc);
}

int SOCKETS::SendAll(SOCK s, const char* buffer, int length, int lookMs, const std::function<bool(int sent)>& goOn) {
    int sent = 0;
    while (sent < length) {
        const ssize_t rc =
            send(static_cast<int>(s), buffer + sent, static_cast<size_t>(length - sent), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (rc > 0) {
            sent += static_cast<int>(rc);
        } else if (rc < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            short got;
            if (Poll(s, POLLOUT, lookMs, &got) == 0 && !goOn(sent))
                return -1;
        } else if (rc == 0 || errno != EINTR) {
            return -1;
        }
    }
    return sent;
}

int SOCKETS::Available(SOCK s) {
    int count = 0;
    return ioctl(static_cast<int>(s), FIONREAD, &count) == 0 ? count : -1;
}

SOCKETS::LISTENERROR SOCKETS::Listen(SOCK s, uint32_t address, uint16_t port, int backlog, uint16_t* boundPort) {
    // A port whose last connections have just ended can be had again, as on Windows.
    int flag = 1;
    setsockopt(static_cast<int>(s), SOL_SOCKET, SO_REUSEADDR, &flag, sizeof flag);
    sockaddr_in here = SocketAddress(address, port);
    socklen_t size = sizeof here;
    if (bind(static_cast<int>(s), reinterpret_cast<sockaddr*>(&here), size) != 0)
        return LISTENERROR::Bind;
    if (listen(static_cast<int>(s), backlog) != 0)
        return LISTENERROR::Listen;
    if (boundPort && getsockname(static_cast<int>(s), reinterpret_cast<sockaddr*>(&here), &size) == 0)
        *boundPort = ntohs(here.sin_port);
    return LISTENERROR::None;
}

SOCKETS::SOCK SOCKETS::Accept(SOCK s, uint32_t* peer) {
    sockaddr_in from{};
    int rc;
    do {
        socklen_t size = sizeof from;
        rc = accept(static_cast<int>(s), reinterpret_cast<sockaddr*>(&from), &size);
    } while (rc < 0 && (errno == EINTR || errno == ECONNABORTED));
    if (rc < 0)
        return NONE;
    fcntl(rc, F_SETFD, FD_CLOEXEC);
    if (peer)
        *peer = ntohl(from.sin_addr.s_addr);
    return rc;
}

bool SOCKETS::HostByName(const char* name, uint32_t* address, STRING* officialName) {
    addrinfo* found = nullptr;
    if (!Ask(name, nullptr, AI_CANONNAME, &found))
        return false;
    sockaddr_in first;
    memcpy(&first, found->ai_addr, sizeof first);
    *address = ntohl(first.sin_addr.s_addr);
    *officialName = found->ai_canonname ? found->ai_canonname : name;
    freeaddrinfo(found);
    return true;
}

bool SOCKETS::HostByAddress(uint32_t address, STRING* name) {
    if (address >> 24 == LOOPBACK >> 24)
        return LoopbackName(address, name);
    sockaddr_in of = SocketAddress(address, 0);
    char text[NI_MAXHOST];
    if (getnameinfo(reinterpret_cast<sockaddr*>(&of), sizeof of, text, sizeof text, nullptr, 0, NI_NAMEREQD) != 0)
        return false;
    *name = text;
    return true;
}

bool SOCKETS::ParseAddress(const char* text, uint32_t* address) {
    in_addr parsed;
    if (inet_aton(text, &parsed) == 0)
        return false;
    *address = ntohl(parsed.s_addr);
    return true;
}

STRING SOCKETS::AddressText(uint32_t address) {
    STRING text;
    text.Format("%u.%u.%u.%u", address >> 24, address >> 16 & 255, address >> 8 & 255, address & 255);
    return text;
}

uint16_t SOCKETS::ServiceByName(const char* name) {
    addrinfo* found = nullptr;
    if (!Ask(nullptr, name, 0, &found))
        return 0;
    sockaddr_in first;
    memcpy(&first, found->ai_addr, sizeof first);
    freeaddrinfo(found);
    return ntohs(first.sin_port);
}

STRING SOCKETS::HostName() {
    char text[256];
    if (gethostname(text, sizeof text) != 0)
        return "<unknown>";
    text[sizeof text - 1] = '\0';
    return text;
}

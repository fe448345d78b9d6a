#include <algorithm>
#include <cstring>
#include <windows.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include "corelib/net/sockets.h"

namespace {

sockaddr_in SocketAddress(uint32_t address, uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

constexpr int SEND_BYTES = 8192;  // of which is known that they have gone

SOCKET Native(SOCKETS::SOCK s) {
    return static_cast<SOCKET>(s);
}

}  // namespace

bool SOCKETS::Startup() {
    WSADATA data;
    return WSAStartup(MAKEWORD(1, 1), &data) == 0;
}

void SOCKETS::Cleanup() {
    WSACleanup();
}

int SOCKETS::LastError() {
    return WSAGetLastError();
}

int SOCKETS::LastErrorOverBase() {
    return WSAGetLastError() - WSABASEERR;
}

int SOCKETS::MostOpen() {
    return 1 << 20;  // memory is the limit there
}

SOCKETS::SOCK SOCKETS::Open() {
    SOCKET s = socket(AF_INET, SOCK_STREAM, 0);
    return s == INVALID_SOCKET ? NONE : static_cast<SOCK>(s);
}

void SOCKETS::Interrupt(SOCK s) {
    // The cancellation wakes those that wait already; the rest is for those that come: a listener knows no shutdown,
    // but does not block any more.
    SetBlocking(s, false);
    shutdown(Native(s), SD_BOTH);
    CancelIoEx(reinterpret_cast<HANDLE>(s), nullptr);
}

void SOCKETS::Close(SOCK s) {
    closesocket(Native(s));
}

bool SOCKETS::SetBlocking(SOCK s, bool blocking) {
    u_long flag = blocking ? 0 : 1;
    return ioctlsocket(Native(s), static_cast<long>(FIONBIO), &flag) == 0;
}

void SOCKETS::SetNoDelay(SOCK s) {
    BOOL flag = TRUE;
    setsockopt(Native(s), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&flag), sizeof flag);
}

// Here it is a property of the socket, which Recv need not say again; but once is not much more than that.
void SOCKETS::AcknowledgeAtOnce(SOCK s) {
    constexpr DWORD SET_ACK_FREQUENCY = 0x98000017;  // SIO_TCP_SET_ACK_FREQUENCY
    int every = 1;
    DWORD unused = 0;
    WSAIoctl(Native(s), SET_ACK_FREQUENCY, &every, sizeof every, nullptr, 0, &unused, nullptr, nullptr);
}

// The system itself asks ten times.
void SOCKETS::SetKeepAlive(SOCK s, int afterSeconds, int everySeconds) {
    constexpr DWORD KEEPALIVE_VALUES = 0x98000004;  // SIO_KEEPALIVE_VALS
    struct {
        u_long On, AfterMs, EveryMs;
    } values = {1, static_cast<u_long>(afterSeconds) * 1000, static_cast<u_long>(everySeconds) * 1000};
    DWORD unused = 0;
    WSAIoctl(Native(s), KEEPALIVE_VALUES, &values, sizeof values, nullptr, 0, &unused, nullptr, nullptr);
}

bool SOCKETS::Connect(SOCK s, uint32_t address, uint16_t port) {
    sockaddr_in to = SocketAddress(address, port);
    return connect(Native(s), reinterpret_cast<sockaddr*>(&to), sizeof to) == 0 || WSAGetLastError() == WSAEWOULDBLOCK;
}

SOCKETS::READY SOCKETS::WaitConnected(SOCK s, int ms) {
    fd_set up;
    fd_set failed;
    FD_ZERO(&up);
    FD_ZERO(&failed);
    FD_SET(Native(s), &up);
    FD_SET(Native(s), &failed);
    timeval limit{ms / 1000, ms % 1000 * 1000};
    int rc = select(0, nullptr, &up, &failed, &limit);
    if (rc == SOCKET_ERROR)
        return READY::Error;
    if (rc == 0)
        return READY::Nothing;
    return FD_ISSET(Native(s), &up) ? READY::Writable : READY::Refused;
}

bool SOCKETS::WaitReadable(SOCK s, int ms) {
    fd_set look;
    FD_ZERO(&look);
    FD_SET(Native(s), &look);
    timeval limit{ms / 1000, ms % 1000 * 1000};
    return select(0, &look, nullptr, nullptr, &limit) > 0;
}

int SOCKETS::Recv(SOCK s, char* buffer, int length) {
    return recv(Native(s), buffer, length, 0);
}

int SOCKETS::Send(SOCK s, const char* buffer, int length) {
    return send(Native(s), buffer, length, 0);
}

int SOCKETS::SendAll(SOCK s, const char* buffer, int length, int lookMs, const std::function<bool(int sent)>& goOn) {
    WSAOVERLAPPED call{};
    call.hEvent = WSACreateEvent();
    if (call.hEvent == WSA_INVALID_EVENT)
        return -1;
    int sent = 0;
    bool good = true;
    while (good && sent < length) {
        WSABUF piece{static_cast<ULONG>(std::min(length - sent, SEND_BYTES)), const_cast<char*>(buffer) + sent};
        DWORD taken = 0, flags = 0;
        if (WSASend(Native(s), &piece, 1, nullptr, 0, &call, nullptr) != 0 && WSAGetLastError() != WSA_IO_PENDING) {
            good = false;
            break;
        }
        while (good &&
               WSAWaitForMultipleEvents(1, &call.hEvent, TRUE, static_cast<DWORD>(lookMs), FALSE) == WSA_WAIT_TIMEOUT)
            good = goOn(sent);
        // The system must have let go of the buffer, whatever becomes of the call.
        if (!good)
            Interrupt(s);
        good &= WSAGetOverlappedResult(Native(s), &call, &taken, TRUE, &flags) != 0;
        sent += static_cast<int>(taken);
    }
    WSACloseEvent(call.hEvent);
    return good ? sent : -1;
}

int SOCKETS::Available(SOCK s) {
    u_long count = 0;
    return ioctlsocket(Native(s), static_cast<long>(FIONREAD), &count) == 0 ? static_cast<int>(count) : -1;
}

SOCKETS::LISTENERROR SOCKETS::Listen(SOCK s, uint32_t address, uint16_t port, int backlog, uint16_t* boundPort) {
    sockaddr_in here = SocketAddress(address, port);
    int size = sizeof here;
    if (bind(Native(s), reinterpret_cast<sockaddr*>(&here), size) != 0)
        return LISTENERROR::Bind;
    if (listen(Native(s), backlog) != 0)
        return LISTENERROR::Listen;
    if (boundPort && getsockname(Native(s), reinterpret_cast<sockaddr*>(&here), &size) == 0)
        *boundPort = ntohs(here.sin_port);
    return LISTENERROR::None;
}

SOCKETS::SOCK SOCKETS::Accept(SOCK s, uint32_t* peer) {
    sockaddr_in from{};
    int size = sizeof from;
    SOCKET accepted = accept(Native(s), reinterpret_cast<sockaddr*>(&from), &size);
    if (accepted == INVALID_SOCKET)
        return NONE;
    if (peer)
        *peer = ntohl(from.sin_addr.s_addr);
    return static_cast<SOCK>(accepted);
}

// Winsock keeps the answers of these two, and of getservbyname, for each thread.
bool SOCKETS::HostByName(const char* name, uint32_t* address, STRING* officialName) {
    const hostent* found = gethostbyname(name);
    if (!found || found->h_addrtype != AF_INET || !found->h_addr_list[0])
        return false;
    in_addr first;
    memcpy(&first, found->h_addr_list[0], sizeof first);
    *address = ntohl(first.s_addr);
    *officialName = found->h_name ? found->h_name : name;
    return true;
}

bool SOCKETS::HostByAddress(uint32_t address, STRING* name) {
    u_long order = htonl(address);
    const hostent* found = gethostbyaddr(reinterpret_cast<const char*>(&order), sizeof order, AF_INET);
    if (!found || !found->h_name)
        return false;
    *name = found->h_name;
    return true;
}

bool SOCKETS::ParseAddress(const char* text, uint32_t* address) {
    u_long parsed = inet_addr(text);
    if (parsed == INADDR_NONE)
        return false;
    *address = ntohl(parsed);
    return true;
}

STRING SOCKETS::AddressText(uint32_t address) {
    STRING text;
    text.Format("%u.%u.%u.%u", address >> 24, address >> 16 & 255, address >> 8 & 255, address & 255);
    return text;
}

uint16_t SOCKETS::ServiceByName(const char* name) {
    const servent* found = getservbyname(name, "tcp");
    return found ? ntohs(static_cast<u_short>(found->s_port)) : 0;
}

STRING SOCKETS::HostName() {
    char text[256];
    return gethostname(text, sizeof text) == 0 ? text : "<unknown>";
}

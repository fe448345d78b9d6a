#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "corelib/base/strings.h"

/// The platform's sockets, one thin function for each call that the program makes: Winsock 1.1 on Windows, posix
/// sockets elsewhere. Any thread. Errors come back as the platform's own numbers from LastError().
namespace SOCKETS {

using SOCK = intptr_t;
inline constexpr SOCK NONE = -1;

/// Paired, for each user.
bool Startup();
void Cleanup();
/// The last socket error of this thread, and the same counted from the base of the platform's socket errors.
int LastError();
int LastErrorOverBase();

/// How many sockets and files together the system lets the program have open.
int MostOpen();
/// A TCP socket, or NONE.
SOCK Open();
/// Wakes all threads that are blocked in the socket; what they and others call on it from then on fails or reads as the
/// end of the stream. The socket stays open.
void Interrupt(SOCK s);
/// Only when no other thread can be using the socket: its number may stand for a new one at once (see HELDSOCKET).
void Close(SOCK s);
bool SetBlocking(SOCK s, bool blocking);
/// Sends small pieces at once, instead of gathering them while the peer has not acknowledged others.
void SetNoDelay(SOCK s);
/// Acknowledges what comes next at once: a peer that sends a reply in pieces may wait for that before each of them. On
/// some systems only for the moment, so it is said again after each Recv.
void AcknowledgeAtOnce(SOCK s);
/// Lets the system ask a silent peer whether it is still there, and end the connection if it does not answer: for the
/// first time after that many seconds without a word, then at that distance, ten times.
void SetKeepAlive(SOCK s, int afterSeconds, int everySeconds);
/// Makes a connection, or starts it on a socket that does not block; address and port in host order. False if it has
/// failed at once.
bool Connect(SOCK s, uint32_t address, uint16_t port);

enum class READY { Nothing, Writable, Refused, Error };
/// Waits up to ms for a connection under way to come up (Writable) or to fail (Refused). Error: the wait itself failed.
READY WaitConnected(SOCK s, int ms);
/// Waits up to ms until something can be read (data, end of stream, a connection to accept).
bool WaitReadable(SOCK s, int ms);

/// Bytes received, 0 at the end of the stream, below 0 on error.
int Recv(SOCK s, char* buffer, int length);
/// Bytes sent, below 0 on error; a peer that has gone raises no signal.
int Send(SOCK s, const char* buffer, int length);
/// Sends all the bytes, in spite of a peer that is behind: each time that lookMs pass in which the system takes none,
/// `goOn` is told how many it has taken so far, and says whether to wait on. Their number; or below 0, when it said no
/// and on error, and the connection is of no use any more.
int SendAll(SOCK s, const char* buffer, int length, int lookMs, const std::function<bool(int sent)>& goOn);
/// Bytes that can be read without blocking, below 0 on error.
[[nodiscard]] int Available(SOCK s);

/// Binds to address:port (host order; port 0: any free one) and listens; true on success. `error` tells which step
/// failed. The port that was bound goes to boundPort if that is set.
enum class LISTENERROR { None, Bind, Listen };
LISTENERROR Listen(SOCK s, uint32_t address, uint16_t port, int backlog, uint16_t* boundPort);
/// The next connection, or NONE; the peer's address goes to peer if that is set. Blocks.
SOCK Accept(SOCK s, uint32_t* peer);

/// A host name's first address in host order and its official name; false if the resolver knows none.
[[nodiscard]] bool HostByName(const char* name, uint32_t* address, STRING* officialName);
/// The name of an address; false if there is none.
[[nodiscard]] bool HostByAddress(uint32_t address, STRING* name);
/// Dotted form to address (host order); false if it is none. And back.
[[nodiscard]] bool ParseAddress(const char* text, uint32_t* address);
STRING AddressText(uint32_t address);
/// The port of a TCP service by name, 0 if unknown.
uint16_t ServiceByName(const char* name);
/// This machine's host name; "<unknown>" if it has none.
STRING HostName();

inline constexpr uint32_t LOOPBACK = 0x7f000001;

}  // namespace SOCKETS

/// A socket that several threads hold. It is closed when the last of them lets go of it, so that its number cannot come
/// to stand for another socket while one of them is about to use it. To end it for all, one calls Interrupt first.
class HELDSOCKET {
 public:
    explicit HELDSOCKET(SOCKETS::SOCK s) : Number(s) {}
    ~HELDSOCKET() { SOCKETS::Close(Number); }
    HELDSOCKET(const HELDSOCKET&) = delete;
    HELDSOCKET& operator=(const HELDSOCKET&) = delete;

    const SOCKETS::SOCK Number;
};
using SOCKETREF = std::shared_ptr<HELDSOCKET>;

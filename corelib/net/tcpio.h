#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "corelib/net/baseio.h"
#include "corelib/net/sockets.h"
#include "corelib/net/tlsio.h"

/// The pauses and limits of devices, in ms. Tests shrink them.
struct TCPTIMES {
    int ConnectMs = 60000;           // a connection that does not come up, and a look-up of its host before that
    int HandshakeMs = 60000;         // of TLS
    int NoDeviceMs = 250;            // a device without a read of its own
    int ReadFailedMs = 100;          // after a failed read
    int RingFullMs = 100;            // while the reader is behind
    int StopLookMs = 100;            // between two looks at a peer, and two questions whether the program is to end
    int SlowMs = 60000;              // waiting for a peer over which it must be faster than
    int SlowBytesPerSecond = 200;    // this
    int QuickMs = 500;               // waiting after a request that does not count
    int FreeMs = 600000;             // of such waiting in a conversation
    int KeepAliveSeconds = 120;      // of silence, after which the system asks whether the peer is still there;
    int KeepAliveEverySeconds = 12;  // ten times at this distance, before it ends the call
};
extern const TCPTIMES& TcpTimes;

/// The system's look-ups of a host, which take as long as they like. Tests put others in.
struct TCPLOOKUPS {
    bool (*HostByName)(const char* name, uint32_t* address, STRING* officialName) = SOCKETS::HostByName;
    bool (*HostByAddress)(uint32_t address, STRING* name) = SOCKETS::HostByAddress;
};
extern TCPLOOKUPS TcpLookups;

/// Values of LastError.
enum TCPERROR : int32_t {
    TCPERR_NONE = 0,
    TCPERR_NO_RESPONSE = 4096,
    TCPERR_NO_SERVICE = 4097,
    TCPERR_HOST_NOT_FOUND = 4098,
    TCPERR_DISCONNECTED = 4099,
    TCPERR_RECV = 4100,
    TCPERR_IOCTL = 4101,
    TCPERR_LISTEN = 4102,
    TCPERR_ACCEPT = 4103,
    TCPERR_BIND = 4104,
    TCPERR_TOO_SLOW = 4105,
    TCPERR_TLS_FAILED = 4106,     // the handshake, or what came after it, is no TLS that both sides speak
    TCPERR_TLS_UNTRUSTED = 4107,  // the certificate: see TlsReport
    TCPERR_TLS_CUT = 4108         // the end came without TLS's notice: something may be missing
};

/// The last of the error's words where a server begins to talk although it was to shake hands.
inline constexpr const char* TLS_IN_CLEAR = "the server speaks without TLS";

/// The device for TCP, in clear or from StartTls on over TLS. Lives for one conversation; destruction drops the call.
/// No class derives from it: its daemon thread runs as soon as its constructor is through.
///
/// The errors of TLS stay LastError after the drop that they make, until the next call. A peer that hangs up without
/// TLS's notice makes one, too; who has got all there was to get does not ask.
class TCPIPIO final : public BASEIO {
 public:
    /// ownId: for AcceptCall, the port to listen on as decimal text.
    TCPIPIO(const char* ownId, const char* callType, const char* keepOnError);
    ~TCPIPIO() override;

    bool DevRead(char* buffer, int* length) override;
    int DevWrite(const char* buffer, int length) override;
    int DevGetNumAvail() override;
    bool IsUsable() override;
    bool MakeCall(const char* destination) override;
    bool AcceptCall() override;
    bool DropCall() override;
    STRING GetInfo(const char* key) override;

    /// Goes over to TLS within TcpTimes.HandshakeMs, with a stop and the pace that reads have: true once all that is
    /// read and written is encrypted and the certificate is good, or the accepted one. Else the call has been dropped,
    /// and LastError and TlsReport tell why. Owner's thread. What the server has said that is not read by now is thrown
    /// away: anybody may have said it. If nothing was written to it yet, a server that says something is an error: it
    /// does not speak TLS.
    bool StartTls(const TLSWISH& wish) override;
    /// Of the last StartTls for this call, also after the drop. Any thread.
    TLSREPORT TlsReport();

    /// Nothing in the program sets these two. The first lets AcceptCall ask for the peer's name; the second stands in
    /// place of TcpTimes.ConnectMs, -1 for none.
    bool ReverseLookup = false;
    int ConnectLimitMs = -1;

    bool IsOnline() const { return Socket.load() != SOCKETS::NONE; }

 protected:
    bool HasHungUp() const override { return WasOnline && !IsOnline(); }

 private:
    /// Marks a path of the device as busy for the length of a scope.
    class BUSY {
     public:
        explicit BUSY(EVENTSEM& idle) : Idle(idle) { Idle.Reset(); }
        ~BUSY() { Idle.Set(); }
        BUSY(const BUSY&) = delete;
        BUSY& operator=(const BUSY&) = delete;

     private:
        EVENTSEM& Idle;
    };
    struct HOST {
        STRING Name;
        uint32_t Address = 0;
    };
    /// Splits a destination into host and port text and asks for the host; false if it is not known, or not within
    /// limitMs.
    [[nodiscard]] bool Resolv(const char* destination, STRING& hostText, STRING& portText, bool noReverse, int limitMs,
                              HOST& host) const;

    /// Opens a socket to the destination; null, with LastError set, if that fails. Puts the host's text and then its
    /// name and address into the caller id.
    SOCKETREF Connect(const char* destination);
    /// Makes this the present call.
    void GoOnline(const SOCKETREF& connection, const STRING& callerId);
    /// Ends a call if it is still the present one. The error outlasts the call.
    void Drop(const SOCKETREF& connection, int32_t tlsError = TCPERR_NONE);
    /// Stores the error if that call is still the present one.
    void ReadError(const SOCKETREF& connection, int32_t error);
    SOCKETREF PresentCall();
    int TakeReadAhead(char* buffer, int room);
    /// Makes what was received what can be read: over TLS, what it says. STARTED: all that came before was in clear,
    /// and does not count. OVER: the call has ended, by that or by the owner. Daemon thread.
    enum class TAKEN { MORE, STARTED, OVER };
    TAKEN TakeReceived(const SOCKETREF& connection, int count);
    /// Carries the handshake on as far as it comes; an error if it takes too long.
    int32_t Shake(const SOCKETREF& connection);
    /// Empties the ring as its reader. Owner's thread.
    void ThrowAwayRing();
    /// What TLS has to say of the call's end, TCPERR_NONE if nothing or it is not the present one.
    int32_t TlsVerdict(const SOCKETREF& connection);
    void ForgetTls();
    /// As DevWrite, without the drop. Owner's thread.
    int SendBytes(const SOCKETREF& connection, std::string_view bytes);
    /// What LASTERRORSTRING says after the error's own text.
    STRING TlsReason(int32_t error);
    void SetCallerId(const STRING& text);

    /// One listening socket for all devices that wait on the same port.
    struct LISTENER {
        int UseCount = 0;
        int Port = -1;
        SOCKETREF Socket;
    };
    static LISTENER InSockets[16];
    static std::mutex InSocketsGuard;
    SOCKETREF OpenListener();
    static void ReleaseListener(const SOCKETREF& listener, bool forced);

    bool Usable;
    // What is guarded by Guard changes in one piece when a call comes up or goes: owner and daemon thread both end
    // calls.
    std::mutex Guard;
    // The number of Connection, for those who only look whether there is a call.
    std::atomic<SOCKETS::SOCK> Socket = SOCKETS::NONE;
    std::atomic<bool> WasOnline = false;
    SOCKETREF Connection;  // guarded
    STRING CallerId;       // guarded
    STRING HostName;
    SOCKETREF InSocket;        // guarded: the listener that AcceptCall waits on
    SOCKETREF InCallListener;  // guarded: the listener of the present call
    EVENTSEM AcceptIdle;
    EVENTSEM ReadIdle;
    EVENTSEM WriteIdle;
    // The daemon thread alone writes into the bytes; fill and position of those that are to be read are guarded.
    char Received[8192];
    std::string Decrypted;
    const char* ReadAhead = Received;
    int ReadAheadFill = 0;
    int ReadAheadPos = 0;
    // The owner's thread encrypts, the daemon thread decrypts. Only the owner's sends what the session has to send: so
    // records stay in order, and a peer that does not read keeps nobody from reading.
    std::mutex TlsGuard;              // may be held when Guard is asked for
    std::unique_ptr<TLSSESSION> Tls;  // guarded by TlsGuard, as is the next one
    int64_t TlsReceived = 0;
    EVENTSEM TlsMoved;  // the handshake may have come further
    std::atomic<int32_t> TlsError = TCPERR_NONE;
    bool HasWritten = false;  // owner's thread
    STRING Destination;
    std::atomic<int64_t> LastActivity = 0;  // seconds; -1 unknown
};

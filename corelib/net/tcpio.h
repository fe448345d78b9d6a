#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "corelib/net/baseio.h"
#include "corelib/net/sockets.h"

/// The pauses and limits of devices, in ms. Tests shrink them.
struct TCPTIMES {
    int ConnectMs = 60000;         // a connection that does not come up, and a look-up of its host before that
    int NoDeviceMs = 250;          // a device without a read of its own
    int ReadFailedMs = 100;        // after a failed read
    int RingFullMs = 100;          // while the reader is behind
    int StopLookMs = 100;          // between two looks at a peer, and two questions whether the program is to end
    int SlowMs = 60000;            // waiting for a peer over which it must be faster than
    int SlowBytesPerSecond = 200;  // this
    int QuickMs = 500;             // waiting after a request that does not count
    int FreeMs = 600000;           // of such waiting in a conversation
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
    TCPERR_TOO_SLOW = 4105
};

/// The device for TCP. Lives for one conversation; destruction drops the call. No class derives from it: its daemon
/// thread runs as soon as its constructor is through.
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
    /// Ends a call if it is still the present one.
    void Drop(const SOCKETREF& connection);
    /// Stores the error if that call is still the present one.
    void ReadError(const SOCKETREF& connection, int32_t error);
    SOCKETREF PresentCall();
    int TakeReadAhead(char* buffer, int room);
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
    // Filled by the daemon thread, which alone writes into the bytes; fill and position are guarded.
    char ReadAhead[8192];
    int ReadAheadFill = 0;
    int ReadAheadPos = 0;
    std::atomic<int64_t> LastActivity = 0;  // seconds; -1 unknown
};

#pragma once

#include <atomic>
#include <cstdint>

#include "corelib/net/baseio.h"
#include "corelib/net/sockets.h"

/// The pauses and limits of devices, in ms. Tests shrink them.
struct TCPTIMES {
    int ConnectMs = 60000;    // a connection that does not come up
    int ConnectPassMs = 1000; // one look at it
    int NoDeviceMs = 250;     // a device without a read of its own
    int ReadFailedMs = 100;   // behind a failed read
    int RingFullMs = 100;     // while the reader is behind
};
extern TCPTIMES TcpTimes;

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
    TCPERR_BIND = 4104
};

/// The device for TCP. Lives for one conversation; destruction drops the call.
class TCPIPIO : public BASEIO {
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

    bool IsOnline() const { return Socket.load() != SOCKETS::NONE; }

private:
    // completed by the implementation
    std::atomic<SOCKETS::SOCK> Socket = SOCKETS::NONE;
};

#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <utility>

#include "corelib/base/locks.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/strings.h"
#include "corelib/net/ringbuffer.h"
#include "corelib/system/osys.h"

struct TLSWISH;

/// Judges a peer by what it brings, or takes, while it is waited for. What passes without a wait costs nothing, and
/// the first moments after each request are free, up to a total: many short replies, each of them quick, are no slow
/// conversation. The limits stand in TcpTimes.
class PACE {
 public:
    /// A request has gone out.
    void Asked();
    void Moved(int64_t bytes) { Bytes += bytes; }
    /// ms of waiting have passed; below 0 (a clock that was set back) counts as none.
    void Waited(int64_t ms);
    bool IsTooSlow() const { return TooSlow; }

 private:
    int64_t Free = 0;
    int64_t FreeUsed = 0;  // in all
    int64_t Waiting = 0;   // in the present stretch, as are the bytes
    int64_t Bytes = 0;
    bool TooSlow = false;
};

/// A device: a byte-stream endpoint that can be called, read with time-outs, written and dropped. A daemon thread pulls
/// bytes from the concrete device into a ring buffer; callers read from the ring buffer only. One owner thread.
class BASEIO {
 public:
    /// Functions take the argument stored with them first.
    using NOTIFYFUNCTION = void (*)(void* argument);
    using FEEDFUNCTION = void (*)(void* argument, const char* data, int length);

    /// Texts may be null. keepOnError: read as a number, not 0 keeps the call up after a read error. delayStart: the
    /// daemon thread waits until the derived constructor calls OpenStartGate.
    BASEIO(const char* ownId, const char* callType, const char* keepOnError, bool delayStart);
    BASEIO(const BASEIO&) = delete;
    BASEIO& operator=(const BASEIO&) = delete;

    /// Reads up to *length bytes (true: *length is their number) or false with *length 0.
    [[nodiscard]] virtual bool DevRead(char* buffer, int* length);
    /// Sends the bytes: 1, or 0 when offline, or the platform's negative result when that fails, and the call is gone.
    [[nodiscard]] virtual int DevWrite(const char* buffer, int length) = 0;
    /// Bytes that can be had without blocking.
    virtual int DevGetNumAvail();
    virtual ~BASEIO();
    virtual bool IsUsable() = 0;
    /// destination: host and port, joined by a colon or a blank.
    [[nodiscard]] virtual bool MakeCall(const char* destination) = 0;
    [[nodiscard]] virtual bool AcceptCall() = 0;
    virtual bool DropCall() = 0;
    /// Goes over to TLS; false, as for a device without it, if that fails.
    [[nodiscard]] virtual bool StartTls(const TLSWISH& wish);
    /// Is called each time that something has come or the peer has gone, in the daemon thread, which it must not hold
    /// up. What it works on outlives the device. Null: nobody is told.
    virtual void SetNotifyCallback(NOTIFYFUNCTION function, void* argument);
    virtual void SetFeedCallback(FEEDFUNCTION function, void* argument);
    virtual void SetCallType(const char* text);
    virtual void SetOurId(const char* text);
    /// Information by key, any case: OWNID, CALLERID, DEVICENAME, ONLINE, LASTERROR, LASTERRORSTRING, ...
    virtual STRING GetInfo(const char* key);

    /// From now on every wait for the peer ends as soon as the answer is yes, and fails. Owner's thread, which also
    /// asks.
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }

    /// True once the peer has been too slow: nothing can be read from then on.
    bool IsTooSlow() const { return PaceIn.IsTooSlow() || PaceOut.IsTooSlow(); }

    /// True if at least one byte arrived within timeoutMs; *length goes in as the room and comes out as the count. Ends
    /// early after a byte of `until`, or after a zero byte if there is an `until`. False with nothing, whatever has
    /// come, once the program is to end, and once the peer has been too slow for the whole conversation (see PACE). Who
    /// has hung up is not waited for.
    bool Read(char* buffer, int* length, int timeoutMs, const char* until);
    /// length -1: the text's own length. What DevWrite returns.
    int Write(const char* buffer, int length);
    /// Bytes for the reader: to the feed callback if there is one, else into the ring buffer. Daemon thread.
    bool Feed(const char* data, int length);
    /// Bytes that wait in the ring buffer.
    int NumAvail();
    /// Ends the daemon thread and waits for it. Derived destructors call it before their parts go.
    void KillDaemon();

 protected:
    void OpenStartGate();
    /// Ends a pause that the daemon thread makes after a failed read: there is something to read from again.
    void WakeDaemon() { PauseOver.Set(); }

    /// For the derived constructor, before the gate opens: DevRead never waits for more once it has something, so the
    /// daemon thread asks for a bufferful at once. Otherwise it asks how much there is, and for one byte if there is
    /// none.
    bool ReadsWhatIsThere = false;

    /// True if a call was up and its peer has ended it: nothing more will come than what has.
    virtual bool HasHungUp() const { return false; }
    bool IsStopped() const { return StopAsked && StopAsked(); }
    const STOPQUESTION& StopQuestion() const { return StopAsked; }
    /// The owner's thread alone has these. A new call begins with new ones.
    PACE PaceIn, PaceOut;

    RINGBUFFER Ring;
    EVENTSEM Kill;
    OSYS::THREADHANDLE hThread;
    STRING OwnId;
    STRING CallType;
    STRING KeepOnError;
    STRING Spare;
    std::atomic<int32_t> LastError = 0;
    STRING LastErrorText;
    EVENTSEM StartGate;
    // Guarded by FeedGuard.
    void* NotifyArgument = nullptr;
    NOTIFYFUNCTION NotifyFunction = nullptr;
    void* FeedArgument = nullptr;
    FEEDFUNCTION FeedFunction = nullptr;

 private:
    std::mutex FeedGuard;
    EVENTSEM PauseOver;
    std::atomic<bool> Drained = false;  // the daemon thread has handed over all that its device had
    STOPQUESTION StopAsked;

    static unsigned DaemonEntry(void* self);
    void Daemon();
    void Notify();
};

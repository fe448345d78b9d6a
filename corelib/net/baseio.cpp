#include "corelib/net/baseio.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"

namespace {

constexpr int RING_BYTES = 65536;
constexpr int PIECE_BYTES = 8192;

}  // namespace

void PACE::Asked() {
    Free = std::clamp<int64_t>(TcpTimes.FreeMs - FreeUsed, 0, TcpTimes.QuickMs);
}

void PACE::Waited(int64_t ms) {
    const int64_t free = std::clamp<int64_t>(ms, 0, Free);
    Free -= free;
    FreeUsed += free;
    Waiting += std::max<int64_t>(ms, 0) - free;
    if (Waiting < TcpTimes.SlowMs)
        return;
    if (Bytes < Waiting * TcpTimes.SlowBytesPerSecond / 1000) {
        Trace("PACE::Waited too slow: %d bytes in %d ms\n", static_cast<int>(Bytes), static_cast<int>(Waiting));
        TooSlow = true;
    }
    Waiting = Bytes = 0;
}

BASEIO::BASEIO(const char* ownId, const char* callType, const char* keepOnError, bool delayStart)
    : Ring(RING_BYTES),
      Kill(false),
      OwnId(ownId),
      CallType(callType),
      KeepOnError(keepOnError),
      Spare(""),
      LastErrorText("<unknown>"),
      StartGate(!delayStart),
      PauseOver(false) {
    hThread = OSYS::CreateThread(DaemonEntry, this, nullptr);
}

BASEIO::~BASEIO() {
    KillDaemon();
}

void BASEIO::OpenStartGate() {
    StartGate.Set();
}

unsigned BASEIO::DaemonEntry(void* self) {
    static_cast<BASEIO*>(self)->Daemon();
    return 0;
}

void BASEIO::Daemon() {
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[PIECE_BYTES]);
    if (!ASSERTION(buffer != nullptr, "buffer!=NULL"))
        return;
    StartGate.Wait(WAIT_FOREVER);
    OSYS::RaiseThreadPriority();
    do {
        // Asked for one byte, a device without any blocks until data arrive.
        int length = ReadsWhatIsThere ? PIECE_BYTES : std::clamp(DevGetNumAvail(), 1, PIECE_BYTES);
        Drained = false;
        if (DevRead(buffer.get(), &length)) {
            if (length > 0)
                Feed(buffer.get(), length);
            Notify();
        } else {
            Drained = true;
            Notify();
            PauseOver.Wait(TcpTimes.ReadFailedMs);
            PauseOver.Reset();
        }
    } while (!Kill.Wait(0));
}

void BASEIO::Notify() {
    NOTIFYFUNCTION function;
    void* argument;
    {
        std::lock_guard hold(FeedGuard);
        function = NotifyFunction;
        argument = NotifyArgument;
    }
    if (function)
        function(argument);
}

void BASEIO::KillDaemon() {
    if (!hThread)
        return;
    Kill.Set();
    PauseOver.Set();
    Ring.Abandon();
    OSYS::WaitThread(hThread, WAIT_FOREVER);
    hThread.reset();
}

bool BASEIO::DevRead(char*, int* length) {
    CLOCK::Sleep(TcpTimes.NoDeviceMs);
    *length = 0;
    return true;
}

int BASEIO::DevGetNumAvail() {
    return 0;
}

void BASEIO::SetNotifyCallback(NOTIFYFUNCTION function, void* argument) {
    std::lock_guard hold(FeedGuard);
    NotifyFunction = function;
    NotifyArgument = argument;
}

void BASEIO::SetFeedCallback(FEEDFUNCTION function, void* argument) {
    std::lock_guard hold(FeedGuard);
    FeedFunction = function;
    FeedArgument = argument;
}

void BASEIO::SetCallType(const char* text) {
    Trace("ISDNIO::SetCallType old=%s, new=%s\n", CallType.Text(), FailOnNull(text, "SetCallType"));
    CallType = text;
}

void BASEIO::SetOurId(const char* text) {
    Trace("ISDNIO::SetOurId old=%s, new=%s\n", OwnId.Text(), FailOnNull(text, "SetOurId"));
    OwnId = text;
}

bool BASEIO::StartTls(const TLSWISH& /*wish*/) {
    return false;
}

STRING BASEIO::GetInfo(const char* key) {
    STRING upper = key;
    upper.ToUpper();
    if (upper == "ONLINE")
        return "0";
    if (upper == "LASTERROR") {
        STRING number;
        number.Format("%d", static_cast<int>(LastError.load()));
        return number;
    }
    if (upper == "LASTERRORSTRING")
        return LastErrorText;
    if (upper == "OWNID")
        return OwnId;
    if (upper == "CALLERID")
        return "<unknown>";
    if (upper == "DEVICENAME")
        return "BASEIO";
    return "BASEIO::BAD-REQUEST";
}

bool BASEIO::Read(char* buffer, int* length, int timeoutMs, const char* until) {
    const int room = *length;
    // From the longest wait it looks up, whether the peer is still there and the program is to go on.
    const int wait = timeoutMs < 0 ? TcpTimes.StopLookMs : std::min(timeoutMs / 4, TcpTimes.StopLookMs);
    // What is there already needs no clock: most lines of a reply are after its first in the ring.
    int count = room;
    Ring.Read(buffer, &count, 0, until);
    auto stopByte = [&] { return count > 0 && until && strchr(until, buffer[count - 1]); };
    PaceIn.Moved(count);
    int64_t start = 0, looked = 0;
    for (bool waited = false;; waited = true) {
        if (IsStopped() || IsTooSlow()) {
            Trace("BASEIO::Read stopped\n");
            *length = 0;
            return false;
        }
        if (waited) {
            int piece = room - count;
            Ring.Read(buffer + count, &piece, wait, until);
            count += piece;
            PaceIn.Moved(piece);
            const int64_t now = CLOCK::DayMilliSeconds();
            PaceIn.Waited(now - looked);
            looked = now;
        }
        if (stopByte()) {
            Trace("BASEIO::Read got readuntil byte ... break;\n");
            break;
        }
        if (count >= room)
            break;
        // Asked in this order: what came ahead of the end is in the ring by then.
        if (HasHungUp() && Drained && Ring.Avail() == 0) {
            Trace("BASEIO::Read the peer has gone\n");
            break;
        }
        if (!waited)
            start = looked = CLOCK::DayMilliSeconds();
        if (looked < start) {
            Trace("BASEIO::Read *** WARNING!!! *** negative time diff %d ms\n", static_cast<int>(looked - start));
            start = looked;
        }
        // Unsigned: a negative time-out has no end.
        if (static_cast<uint64_t>(looked - start) >= static_cast<uint32_t>(timeoutMs))
            break;
    }
    *length = count;
    return count > 0;
}

int BASEIO::Write(const char* buffer, int length) {
    PaceIn.Asked();
    PaceOut.Asked();
    return DevWrite(buffer, length == -1 ? static_cast<int>(strlen(buffer)) : length);
}

bool BASEIO::Feed(const char* data, int length) {
    FEEDFUNCTION function;
    void* argument;
    {
        std::lock_guard hold(FeedGuard);
        function = FeedFunction;
        argument = FeedArgument;
    }
    if (!function)
        return Ring.Write(data, length);
    function(argument, data, length);
    return true;
}

int BASEIO::NumAvail() {
    return Ring.Avail();
}

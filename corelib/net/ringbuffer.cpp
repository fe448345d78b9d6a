#include "corelib/net/ringbuffer.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"
#include "corelib/system/osys.h"

RINGBUFFER::RINGBUFFER(int size)
    : DataAvailable(false), RoomMade(false), Data(new(std::nothrow) char[static_cast<size_t>(size)]), Size(size) {}

int RINGBUFFER::Avail() {
    MUTEXHOLD hold(Mutex);
    return WriteIndex - ReadIndex;
}

bool RINGBUFFER::Write(const char* data, int length) {
    if (!Data)
        return false;
    Mutex.Request(WAIT_FOREVER);
    for (int passes = 0; Free() < length && !Abandoned;) {
        RoomWanted = length;
        RoomMade.Reset();
        Mutex.Release();
        Trace("RINGBUFFER::Write Buffer full -- waiting ...\n");
        // A matter for developers, who run the program where its source lies.
        if (passes > 20)
            ASSERTION_INFO(!OSYS::FileExists("main.cpp"), "!OSYS::FileExists(\"main.cpp\")",
                           "Ringbuffer Write waits more than 2 Sec");
        if (!RoomMade.Wait(TcpTimes.RingFullMs))
            ++passes;
        Mutex.Request(WAIT_FOREVER);
    }
    RoomWanted = 0;
    const bool fits = Free() >= length;
    const bool wakes = fits && length > 0 && WriteIndex == ReadIndex;
    if (fits && length > 0) {
        const int position = WriteIndex % Size;
        const int piece = Piece(position, length);
        memcpy(Data.get() + position, data, static_cast<size_t>(piece));
        memcpy(Data.get(), data + piece, static_cast<size_t>(length - piece));
        WriteIndex += length;
    }
    Mutex.Release();
    // After the mutex, as the reader that this wakes would only run into it.
    if (wakes)
        DataAvailable.Set();
    return fits;
}

void RINGBUFFER::Clear() {
    MUTEXHOLD hold(Mutex);
    ReadIndex = WriteIndex = 0;
    DataAvailable.Reset();
}

void RINGBUFFER::Abandon() {
    MUTEXHOLD hold(Mutex);
    Abandoned = true;
    RoomMade.Set();
}

// The first bytes of the ring, at most count, that end with one of until or with a zero byte; count if none does.
int RINGBUFFER::CountUntil(int count, const char* until) const {
    const int position = ReadIndex % Size;
    const int pieces[] = {Piece(position, count), count - Piece(position, count)};
    const char* starts[] = {Data.get() + position, Data.get()};
    for (int i = 0, passed = 0; i < 2; passed += pieces[i], ++i) {
        int nearest = pieces[i];
        // With its terminator: the search for a byte of until finds a zero byte too.
        for (const char* stop = until;; ++stop) {
            if (const void* hit = memchr(starts[i], *stop, static_cast<size_t>(nearest)))
                nearest = static_cast<int>(static_cast<const char*>(hit) - starts[i]);
            if (*stop == '\0')
                break;
        }
        if (nearest < pieces[i])
            return passed + nearest + 1;
    }
    return count;
}

// Called under the mutex, which it lets go of while it waits.
bool RINGBUFFER::AwaitData(int timeoutMs) {
    bool came = timeoutMs > 0;
    while (came && WriteIndex == ReadIndex) {
        // If it is set now, it was late, and its bytes have been read without it.
        DataAvailable.Reset();
        Mutex.Release();
        came = DataAvailable.Wait(timeoutMs);
        Mutex.Request(WAIT_FOREVER);
    }
    return WriteIndex != ReadIndex;
}

bool RINGBUFFER::Read(char* buffer, int* length, int timeoutMs, const char* until) {
    const int room = *length;
    *length = 0;
    MUTEXHOLD hold(Mutex);
    if (WriteIndex == ReadIndex && !AwaitData(timeoutMs))
        return false;
    int count = std::max(std::min(room, WriteIndex - ReadIndex), 0);
    if (until)
        count = CountUntil(count, until);
    const int position = ReadIndex % Size;
    const int piece = Piece(position, count);
    memcpy(buffer, Data.get() + position, static_cast<size_t>(piece));
    memcpy(buffer + piece, Data.get(), static_cast<size_t>(count - piece));
    ReadIndex += count;
    *length = count;
    if (ReadIndex == WriteIndex) {
        ReadIndex = WriteIndex = 0;
        DataAvailable.Reset();
    } else if (ReadIndex >= Size) {
        // One round less on both: a ring that never drains must not count past the range of its indices.
        ReadIndex -= Size;
        WriteIndex -= Size;
    }
    if (RoomWanted > 0 && Free() >= RoomWanted) {
        RoomWanted = 0;
        RoomMade.Set();
    }
    return count != 0;
}

#pragma once

#include <cstdint>
#include <memory>

#include "corelib/base/locks.h"

/// A ring of bytes between one writer and one reader. Indices only grow until the buffer drains; then both return to 0.
class RINGBUFFER {
 public:
    /// size in bytes.
    explicit RINGBUFFER(int size);

    /// Delivers up to *length bytes; *length becomes the count and true means at least one. Waits up to timeoutMs for
    /// the first byte. With `until`, delivery ends after the first byte that occurs in it, or after a zero byte.
    bool Read(char* buffer, int* length, int timeoutMs, const char* until);
    /// Stores all bytes (at most the ring's size), waiting without limit while there is no room for them; false only
    /// without a data block and after Abandon.
    bool Write(const char* data, int length);
    /// There will be no reader any more: a waiting Write gives up, and later ones fail at once if there is no room.
    void Abandon();
    /// Throws away what waits to be read. Writer's thread.
    void Clear();
    /// Bytes that wait to be read.
    int Avail();

 private:
    int Free() const { return ReadIndex - WriteIndex + Size; }
    /// Room of the block from a position on, up to the end of the block or to length.
    int Piece(int position, int length) const { return length < Size - position ? length : Size - position; }
    bool AwaitData(int timeoutMs);
    int CountUntil(int count, const char* until) const;

    MUTEXSEM Mutex;
    // Set as soon as there is something to read, a moment after it at most, and until nothing is.
    EVENTSEM DataAvailable;
    // A writer that waits for RoomWanted bytes is woken by it, instead of at the end of its pause.
    EVENTSEM RoomMade;
    int RoomWanted = 0;
    bool Abandoned = false;
    std::unique_ptr<char[]> Data;
    int32_t WriteIndex = 0;
    int32_t ReadIndex = 0;
    int32_t Size;
};

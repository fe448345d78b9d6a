#pragma once

#include <cstdint>
#include <memory>

#include "corelib/base/locks.h"

/// A ring of bytes between one writer and one reader. Indices only grow until the buffer drains; then both return to 0.
class RINGBUFFER {
public:
    /// size in bytes.
    explicit RINGBUFFER(int size);

    /// Delivers up to *length bytes; *length becomes the count and true means at least one. Waits up to timeoutMs for the
    /// first byte. With `until`, delivery ends behind the first byte that occurs in it, or behind a zero byte.
    bool Read(char* buffer, int* length, int timeoutMs, const char* until);
    /// Stores all bytes, waiting without limit while there is no room for them; false only without a data block.
    bool Write(const char* data, int length);
    /// Bytes that wait to be read.
    int Avail();

private:
    MUTEXSEM Mutex;
    EVENTSEM DataAvailable;
    std::unique_ptr<char[]> Data;
    int32_t WriteIndex = 0;
    int32_t ReadIndex = 0;
    int32_t Size;
};

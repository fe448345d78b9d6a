#pragma once

#include <atomic>

#include "corelib/net/tcpio.h"
#include "fuzz/fuzz.h"

/// A server that has said all that it will ever say before it is asked; and then hangs up, if it does so.
class SAIDSERVER : public BASEIO {
 public:
    SAIDSERVER(const uint8_t* data, size_t size, bool hangsUp = false)
        : BASEIO("", "", "", true),
          Words(reinterpret_cast<const char*>(data), std::min(size, size_t{32768})),
          HangsUp(hangsUp) {
        OpenStartGate();
    }
    ~SAIDSERVER() override { KillDaemon(); }
    bool DevRead(char* buffer, int* length) override {
        auto n = std::min(static_cast<size_t>(*length), Words.size());
        memcpy(buffer, Words.data(), n);
        Words.remove_prefix(n);
        *length = static_cast<int>(n);
        // What it said last is in the ring by now.
        Online = n > 0 || !HangsUp;
        return n > 0;
    }
    int DevWrite(const char* bytes, int length) override {
        Heard.emplace_back(bytes, static_cast<size_t>(length));
        return 1;
    }
    int DevGetNumAvail() override { return static_cast<int>(Words.size()); }
    bool IsUsable() override { return true; }
    bool MakeCall(const char*) override { return true; }
    bool AcceptCall() override { return false; }
    bool DropCall() override { return true; }

    STRING GetInfo(const char* key) override {
        return HangsUp && strcmp(key, "ONLINE") == 0 ? STRING(Online ? "1" : "0") : BASEIO::GetInfo(key);
    }

    std::vector<std::string> Heard;  // what was written, in its pieces

 private:
    std::string_view Words;
    const bool HangsUp;
    std::atomic<bool> Online = true;
};

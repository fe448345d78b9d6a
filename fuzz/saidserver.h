#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

#include "app/common/texts.h"
#include "corelib/net/tcpio.h"

/// A server that has said all that it will ever say before it is asked.
class SAIDSERVER : public BASEIO {
 public:
    SAIDSERVER(const uint8_t* data, size_t size)
        : BASEIO("", "", "", true), Words(reinterpret_cast<const char*>(data), std::min(size, size_t{32768})) {
        OpenStartGate();
    }
    ~SAIDSERVER() override { KillDaemon(); }
    bool DevRead(char* buffer, int* length) override {
        auto n = std::min(static_cast<size_t>(*length), Words.size());
        memcpy(buffer, Words.data(), n);
        Words.remove_prefix(n);
        *length = static_cast<int>(n);
        return n > 0;
    }
    int DevWrite(const char*, int) override { return 1; }
    int DevGetNumAvail() override { return static_cast<int>(Words.size()); }
    bool IsUsable() override { return true; }
    bool MakeCall(const char*) override { return true; }
    bool AcceptCall() override { return false; }
    bool DropCall() override { return true; }

 private:
    std::string_view Words;
};

class NOTEXTS : public TEXTS {
    STRING Get(int) const override { return ""; }
};

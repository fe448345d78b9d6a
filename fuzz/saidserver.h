#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "app/mailbox/mailhandler.h"
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
    int DevWrite(const char* bytes, int length) override {
        Heard.emplace_back(bytes, static_cast<size_t>(length));
        return 1;
    }
    int DevGetNumAvail() override { return static_cast<int>(Words.size()); }
    bool IsUsable() override { return true; }
    bool MakeCall(const char*) override { return true; }
    bool AcceptCall() override { return false; }
    bool DropCall() override { return true; }

    std::vector<std::string> Heard;  // what was written, in its pieces

 private:
    std::string_view Words;
};

class NOTEXTS : public TEXTS {
    STRING Get(int) const override { return ""; }
};

/// A call that nobody watches or stops.
class QUIETCALL {
    FRONTEND Nobody;
    NOTEXTS Texts;
    PROGRESS Progress{Nobody, Texts, 1};
    STRINGARRAY NoKeys;
    STOPQUESTION NeverStops;

 public:
    const MAILBOXCALL Call{NoKeys, Progress, NoKeys, NeverStops, "", "", ""};
};

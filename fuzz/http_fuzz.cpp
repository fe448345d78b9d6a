#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"
#include "corelib/net/webget.h"
#include "tests/support/times.h"

namespace {

// A server that says all that it has to say and hangs up.
class SERVER : public BASEIO {
 public:
    explicit SERVER(std::string_view words) : BASEIO("", "", "", true), Words(words) { OpenStartGate(); }
    ~SERVER() override { KillDaemon(); }
    bool DevRead(char* buffer, int* length) override {
        auto n = std::min(static_cast<size_t>(*length), Words.size());
        memcpy(buffer, Words.data(), n);
        Words.remove_prefix(n);
        *length = static_cast<int>(n);
        // What it said last is in the ring by now.
        Online = n > 0;
        return n > 0;
    }
    int DevWrite(const char*, int) override { return 1; }
    int DevGetNumAvail() override { return static_cast<int>(Words.size()); }
    bool IsUsable() override { return true; }
    bool MakeCall(const char*) override { return true; }
    bool AcceptCall() override { return false; }
    bool DropCall() override { return true; }
    STRING GetInfo(const char* key) override {
        return strcmp(key, "ONLINE") == 0 ? STRING(Online ? "1" : "0") : BASEIO::GetInfo(key);
    }

 private:
    std::string_view Words;
    std::atomic<bool> Online = true;
};

int CancelWhenDue(void* left, int kind, int) {
    return kind == WEBGET::CANCEL && --*static_cast<int*>(left) == 0;
}

}  // namespace

// Whatever a web server says, reading ends; what was read is what it said, as far as it was wanted, and what it is
// turned into stays within its bound. The first byte chooses when the callback cancels.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t MOST = 32768;
    if (size == 0)
        return 0;
    SHRINKABLE::TcpTimes.ReadFailedMs = 1;
    SHRINKABLE::WebTimes.AnswerMs = 4;
    SHRINKABLE::WebTimes.ReadMs = 1;
    SHRINKABLE::WebTimes.DecodedBytes = MOST;
    const std::string_view words(reinterpret_cast<const char*>(data + 1), std::min(size - 1, MOST));
    int asksLeft = data[0];

    SERVER server(words);
    char line[64];
    TCP::ReadLine(server, line, sizeof line, SHRINKABLE::WebTimes.AnswerMs);
    STRING result = "";
    WEBGET(CancelWhenDue, &asksLeft).ReadData(server, result);
    std::string_view read = result.View();
    for (const std::string_view mark : {"TCPIO 999 Timeout\r\n", "TCPIO 998 Canceled\r\n"})
        if (read.starts_with(mark))
            read.remove_prefix(mark.size());
    if (words.find(read) == words.npos)
        abort();
    const auto room = static_cast<size_t>(result.Length()) + MOST;
    WEBGET::Beautify(result);
    if (result.View().size() > room)
        abort();
    return 0;
}

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "app/mailbox/listing.h"
#include "app/mailbox/pop3.h"
#include "corelib/net/tcpio.h"

namespace {

// A server that has said all that it will ever say before it is asked.
class SERVER : public BASEIO {
 public:
    explicit SERVER(std::string_view words) : BASEIO("", "", "", true), Words(words) { OpenStartGate(); }
    ~SERVER() override { KillDaemon(); }
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

}  // namespace

// Whatever a POP3 server says, reading ends, and what comes out is a listing or an error.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    TcpTimes.ReadFailedMs = 1;
    PopTimes.GreetingMs = PopTimes.ReplyMs = 4;
    FRONTEND nobody;
    NOTEXTS texts;
    SERVER server(std::string_view(reinterpret_cast<const char*>(data), std::min(size, size_t{32768})));
    STRING listing;
    bool ok = PopRead(server, PROGRESS(nobody, texts, 1), "", "", "", 0, listing);
    bool isListing = listing.View().starts_with("+OK ");
    if (ok ? !isListing : !isListing && !LISTING::BeginsWith(listing.View(), "-ERR "))
        abort();
    LISTING::ReadSummary(listing);
    LISTING::BLOCKCURSOR cursor(listing);
    for (std::string_view block; cursor.Next(block);)
        if (block.empty())
            abort();
    return 0;
}

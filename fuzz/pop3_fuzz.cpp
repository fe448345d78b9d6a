#include <cstdlib>

#include "app/mailbox/listing.h"
#include "app/mailbox/pop3.h"
#include "fuzz/saidserver.h"

// Whatever a POP3 server says, reading ends, and what comes out is a listing or an error.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    TcpTimes.ReadFailedMs = 1;
    PopTimes.GreetingMs = PopTimes.ReplyMs = 4;
    FRONTEND nobody;
    NOTEXTS texts;
    SAIDSERVER server(data, size);
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

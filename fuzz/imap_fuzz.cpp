#include <cstdlib>

#include "app/mailbox/imap.h"
#include "app/mailbox/listing.h"
#include "fuzz/saidserver.h"

// Whatever an IMAP server says, reading ends, and what comes out is an error, or a listing in which nothing that the
// server said can end a block.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    TcpTimes.ReadFailedMs = 1;
    ImapTimes.LineMs = 4;
    ImapTimes.PauseMs = 0;
    FRONTEND nobody;
    NOTEXTS texts;
    SAIDSERVER server(data, size);
    STRING listing;
    if (!ImapRead(server, PROGRESS(nobody, texts, 1), "", "", "", "", IMAP_BODY_BYTES, listing)) {
        if (!LISTING::BeginsWith(listing.View(), "-ERR "))
            abort();
        return 0;
    }
    if (!listing.View().starts_with("+OK "))
        abort();
    LISTING::BLOCKCURSOR cursor(listing);
    for (std::string_view block; cursor.Next(block);)
        if (block.find("Message-Id: ") == block.npos || block.find("\n\n") == block.npos)
            abort();
    return 0;
}

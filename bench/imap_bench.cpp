// ImapGet alone, with nobody who watches it and without its pauses. usage: imap_bench PORT USER PASSWORD BYTES

#include <cstdlib>

#include "app/mailbox/imap.h"
#include "bench/report.h"
#include "bench/unwatched.h"
#include "tests/support/times.h"

int main(int argc, char** argv) {
    SHRINKABLE::ImapTimes.PauseMs = 0;
    return MeasureClient(argc, argv, [](char** words) {
        UNWATCHED row;
        STRING listing;
        const MAILBOXCALL call = row.Call(STRING("127.0.0.1:") || words[0], words[1], words[2]);
        const bool ok = ImapGet(call, "", atoi(words[3]), listing);
        return ok ? static_cast<long>(listing.Length()) : -1;
    });
}

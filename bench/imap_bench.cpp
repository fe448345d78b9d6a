// ImapGet alone, with nobody who watches it and without its pauses. usage: imap_bench PORT USER PASSWORD BYTES

#include <cstdlib>

#include "app/mailbox/imap.h"
#include "bench/report.h"

namespace {

class ONETEXT : public TEXTS {
 public:
    STRING Get(int) const override { return "text"; }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: imap_bench PORT USER PASSWORD BYTES\n");
        return 2;
    }
    FRONTEND nobody;
    ONETEXT texts;
    PROGRESS progress(nobody, texts, 1);
    ImapTimes.PauseMs = 0;
    COST cost;
    STRING listing;
    bool ok = ImapGet(progress, STRING("127.0.0.1:") || argv[1], argv[2], argv[3], "", atoi(argv[4]), listing);
    cost.Print(static_cast<size_t>(listing.Length()));
    return ok ? 0 : 1;
}

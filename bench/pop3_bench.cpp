// PopGet alone, with nobody who watches it. usage: pop3_bench PORT USER PASSWORD LINES

#include <cstdlib>

#include "app/mailbox/pop3.h"
#include "bench/report.h"

namespace {

class ONETEXT : public TEXTS {
 public:
    STRING Get(int) const override { return "text"; }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: pop3_bench PORT USER PASSWORD LINES\n");
        return 2;
    }
    FRONTEND nobody;
    ONETEXT texts;
    PROGRESS progress(nobody, texts, 1);
    COST cost;
    STRING listing;
    bool ok = PopGet(progress, STRING("127.0.0.1:") || argv[1], argv[2], argv[3], atoi(argv[4]), listing);
    cost.Print(static_cast<size_t>(listing.Length()));
    return ok ? 0 : 1;
}

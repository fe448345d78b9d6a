// Whole checks of one account, with nobody who watches: conversation, filter, records and detection.
// usage: check_bench pop3|imap PORT USER FASTCHECK COMMAND CHECKS     (the password is "secret")
// COMMAND is run between two checks. A line for each: mails, wall ms, processor ms, resident KB at the peak.

#include <cstdlib>

#include "app/core/tarnwick.h"
#include "bench/report.h"
#include "corelib/system/osys.h"

namespace {

class SOMETEXT : public TEXTS {
 public:
    // Each another one: what a verdict says tells what it rests on.
    STRING Get(int id) const override {
        STRING text;
        text.Format("%d|text|text|text", id);
        return text;
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 7)
        return 2;
    const std::string directory = "/tmp/check-bench." + std::to_string(getpid());
    if (!OSYS::MakeDirectories(directory.c_str()))
        return 2;
    int failed = 0;
    {
        FRONTEND frontEnd;
        NOTIFIER notifier;
        const SOMETEXT texts;
        const ARGUMENTS arguments("check_bench", ("\"/WORKDIR:" + directory + "\"").c_str());
        TARNWICK program(frontEnd, notifier, arguments, texts, {.PopupPauseMs = 0});
        if (!program.Open())
            return 2;
        STRINGARRAY item = program.NewItem();
        const int type = *argv[1] == 'p' ? ITEMTYPE_POP3 : ITEMTYPE_IMAP;
        MAILACCOUNT::SetAddress(item, {type, argv[3], STRING("127.0.0.1:") || argv[2]}, "secret");
        MAILACCOUNT::SetSecurity(item, SECURITY_NONE);
        item.Set("FastCheck", argv[4]);
        for (int check = 0; check < atoi(argv[6]); ++check) {
            if (check > 0 && *argv[5] && system(argv[5]) != 0)
                return 2;
            CHECKCYCLE::ForceRefresh(item, false);
            const COST cost;
            program.Cycle().UpdateItem(item);
            const MAILCOUNTS counts = MAILACCOUNT::Counts(item);
            cost.Print(static_cast<size_t>(counts.Total));
            failed += counts.Failed;
        }
    }
    if (system(("rm -rf " + directory).c_str()) != 0)
        return 2;
    return failed ? 1 : 0;
}

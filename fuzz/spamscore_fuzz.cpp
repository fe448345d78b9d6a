// Scores bytes as a mail, through the index and by the plain search, which must agree; and filters them as a listing.

#include "app/filter/spamfilter.h"
#include "app/filter/spamvariables.h"
#include "fuzz/filtertexts.h"
#include "fuzz/fuzz.h"

namespace {

class DEADMXLOOKUP : public MXLOOKUP {
 public:
    bool GetAddr(const char* /*name*/, STRING& /*bestmx*/, STRING& /*list*/) override { return false; }
};

SPAMTABLE MakeTable() {
    SPAMWORDS words;
    words.AddDefinitions(
        "D|40|free;cheap;a\nB|5|!;$;the*;*x*\nF|7|@;.com;a*;b\nS|9/2|WIN;~Now\nX||list\nM|3|unsubscribe;to\nT|4|a;,\n"
        "B|-3|wrote:;> ");
    words.ResolveMarkers();
    STRINGARRAY vars;
    LoadSpamVariables(vars, nullptr);
    return {std::move(words), std::move(vars)};
}

}  // namespace

FUZZ_TARGET(bytes) {
    static FILTERSTATE filter;
    static const SPAMTABLE table = MakeTable();
    WORDSCANNER fast(table, filter.State, filter.Texts);
    WORDSCANNER plain(table, filter.State, filter.Texts, true);
    fast.Scan(bytes);
    plain.Scan(bytes);
    Never(fast.Details != plain.Details || fast.TotalPoints != plain.TotalPoints ||
          fast.Significant != plain.Significant || fast.Exceptions != plain.Exceptions);

    static FRONTEND nobody;
    static DEADMXLOOKUP mx;
    static SPAMFILTER whole(filter.State, filter.Texts, nobody, mx);
    static STRINGARRAY item;
    item.Set("Type", "1");
    item.Set("DoSpamFilter", "1");
    item.Set("@Handle", "1");
    whole.SpamFilter(item, STRING(bytes));
}

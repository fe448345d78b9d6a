// The decoded view of a mail: it is no line longer than its source allows, holds no code of control, and its scan adds
// to the plain one what the index and the plain search agree on.

#include "app/filter/decodedview.h"
#include "app/filter/spamvariables.h"
#include "app/filter/wordscanner.h"
#include "app/reading/letterfold.h"
#include "fuzz/filtertexts.h"
#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view mail(reinterpret_cast<const char*>(data), size);
    const DECODEDVIEW view(mail);
    for (const std::string* text : {&view.Header, &view.Body})
        for (const char c : *text)
            Never((c >= 0 && c < ' ' && c != '\n' && c != '\t') || c == 0x7F);
    Never(view.Header.size() + view.Body.size() > 8 * size + 100);

    static const SPAMTABLE table = [] {
        SPAMWORDS words;
        words.AddDefinitions("D|40|free;cheap;a\nB|5|!;the*;*x*;\xC3\xBC\nF|7|@;.com;b\nS|9/2|WIN\nX||list\nM|3|to\n");
        words.ResolveMarkers();
        STRINGARRAY vars;
        LoadSpamVariables(vars, nullptr);
        return SPAMTABLE(std::move(words), std::move(vars));
    }();
    static FILTERSTATE filter;
    WORDSCANNER fast(table, filter.State, filter.Texts), plain(table, filter.State, filter.Texts, true);
    fast.Scan(mail, &view);
    plain.Scan(mail, &view);
    Never(fast.Details != plain.Details || fast.TotalPoints != plain.TotalPoints ||
          fast.Significant != plain.Significant || fast.Exceptions != plain.Exceptions);
    return 0;
}

// Reads bytes as a definitions file, as a plain list and as variables, and scans with what comes of them.

#include "app/filter/spamvariables.h"
#include "app/filter/wordscanner.h"
#include "fuzz/filtertexts.h"
#include "fuzz/fuzz.h"

FUZZ_TARGET(bytes) {
    static FILTERSTATE filter;
    SPAMWORDS words;
    words.AddDefinitions(STRING(bytes));
    words.AddSpamWords(STRING(bytes), SPAMFLAG_FROM, 5, 1);
    words.ResolveMarkers();
    STRINGARRAY vars(STRING(bytes), 64, 64);
    LoadSpamVariables(vars, nullptr);
    const SPAMTABLE table(std::move(words), std::move(vars));
    WORDSCANNER scanner(table, filter.State, filter.Texts);
    // The words against the text that they stand in.
    const std::string message = "From: " + std::string(bytes.substr(0, 200)) + "\n\n" + std::string(bytes);
    scanner.Scan(message);
}

#include "app/common/displaytext.h"
#include "fuzz/fuzz.h"

// Whatever the bytes, what reaches the terminal has no control byte, is as wide as it was asked to be, and stays as it
// is when it is made safe again.
FUZZ_TARGET(text) {
    const std::string safe = DISPLAYTEXT::Safe(text);
    for (char c : safe)
        Never(static_cast<unsigned char>(c) < 32 || c == 127);
    Never(DISPLAYTEXT::Safe(safe) != safe);
    for (int columns : {0, 1, 7, 80})
        Never(DISPLAYTEXT::Width(DISPLAYTEXT::Fit(safe, columns)) != columns);
}

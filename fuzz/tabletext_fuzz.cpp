#include "corelib/base/stringarray.h"
#include "fuzz/fuzz.h"

// Whatever the text, a table comes of it whose own text form reads back as the same table.
FUZZ_TARGET(bytes) {
    STRINGARRAY table(STRING(bytes), 64, 64);
    STRING text = table.AsText();
    Always(STRINGARRAY(text, 64, 64).AsText() == text);
}

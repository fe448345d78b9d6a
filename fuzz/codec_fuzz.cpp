#include "corelib/base/strings.h"
#include "fuzz/fuzz.h"

// Coding and decoding give the text back; decoding stands any text.
FUZZ_TARGET(bytes) {
    STRING text(bytes);
    text.Unescape();
    text.FromBase64();
    for (bool breaklines : {false, true})
        Always(text.ToBase64(breaklines).FromBase64() == text);
    Always(text.Escape("={}").Unescape() == text);
}

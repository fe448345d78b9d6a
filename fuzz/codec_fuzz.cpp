#include "corelib/base/strings.h"
#include "fuzz/fuzz.h"

// Coding and decoding give the text back; decoding stands any text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    STRING text(std::string_view(reinterpret_cast<const char*>(data), size));
    text.Unescape();
    text.FromBase64();
    for (bool breaklines : {false, true})
        Always(text.ToBase64(breaklines).FromBase64() == text);
    Always(text.Escape("={}").Unescape() == text);
    return 0;
}

#include <cstdlib>

#include "corelib/base/strings.h"

// Coding and decoding give the text back; decoding stands any text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    STRING text(std::string_view(reinterpret_cast<const char*>(data), size));
    text.Unescape();
    text.FromBase64();
    for (bool breaklines : {false, true})
        if (!(text.ToBase64(breaklines).FromBase64() == text))
            abort();
    if (!(text.Escape("={}").Unescape() == text))
        abort();
    return 0;
}

#include "corelib/base/stringarray.h"
#include "fuzz/fuzz.h"

// Whatever the text, a table comes of it whose own text form reads back as the same table.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    STRINGARRAY table(STRING(std::string_view(reinterpret_cast<const char*>(data), size)), 64, 64);
    STRING text = table.AsText();
    Always(STRINGARRAY(text, 64, 64).AsText() == text);
    return 0;
}

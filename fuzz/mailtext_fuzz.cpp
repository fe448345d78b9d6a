// Address, subject and date fields are the sender's free text.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "app/common/mailtext.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const STRING text(std::string_view(reinterpret_cast<const char*>(data), size));

    STRING name = text;
    STRING email;
    SplitAddress(name, email);
    if (name.Length() > text.Length() || email.Length() > text.Length() || (name.Length() == 0 && email.Length() > 0))
        abort();
    for (const STRING* part : {&name, &email}) {
        STRING cut = *part;
        cut.Strip('B', " \r\n\t");
        if (cut.Length() != part->Length())
            abort();
    }

    // Decoding never makes a text longer.
    STRING decoded = text;
    DecodeEncodedWords(decoded);
    if (decoded.Length() > text.Length())
        abort();

    STRING date;
    STRING time;
    ParseDate(text, date, time);
    if (date.Length() < 10 || time.Length() < 5)
        abort();
    return 0;
}

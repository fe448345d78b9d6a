// Address, subject and date fields are the sender's free text.

#include "app/common/mailtext.h"
#include "fuzz/fuzz.h"

FUZZ_TARGET(bytes) {
    const STRING text(bytes);

    STRING name = text;
    STRING email;
    SplitAddress(name, email);
    Never(name.Length() > text.Length() || email.Length() > text.Length() ||
          (name.Length() == 0 && email.Length() > 0));
    for (const STRING* part : {&name, &email}) {
        STRING cut = *part;
        cut.Strip('B', " \r\n\t");
        Never(cut.Length() != part->Length());
    }

    // Decoding never makes a text longer.
    STRING decoded = text;
    DecodeEncodedWords(decoded);
    Never(decoded.Length() > text.Length());

    STRING date;
    STRING time;
    ParseDate(text, date, time);
    Never(date.Length() < 10 || time.Length() < 5);
}

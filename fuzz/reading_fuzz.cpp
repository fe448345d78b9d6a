#include "app/check/mailrecords.h"
#include "app/common/displaytext.h"
#include "app/reading/headerwords.h"
#include "app/reading/mimetext.h"
#include "app/reading/shownmail.h"
#include "corelib/base/headerblock.h"
#include "corelib/base/utf8.h"
#include "fuzz/fuzz.h"

namespace {

// What reaches a window or a terminal is UTF-8 without anything that acts.
void Check(std::string_view text) {
    const std::string shown = DISPLAYTEXT::Safe(text);
    for (std::string_view rest = shown; !rest.empty();) {
        const char32_t c = UTF8::Take(rest);
        Never(c == UTF8::INVALID || c < 32 || c == 0xFFFD || (c >= 0x202A && c <= 0x202E) ||
              (c >= 0x2066 && c <= 0x2069));
    }
}

}  // namespace

// A mail: its header and body are read as a person would read them.
FUZZ_TARGET(mail) {
    const std::string header = JoinedFields(HeaderBlock(mail));
    Check(HeaderWords(header, "koi8-r"));
    Check(ReadableText(header, BodyBlock(mail)));

    RECORDARRAY records(1, 1);
    BuildMailHash(STRING("1 msgs|\n") || STRING(mail), records);
    for (int i = 0; i < records.Count(); ++i) {
        const SHOWNMAIL::HEADER shown = SHOWNMAIL::Header(records[i]);
        for (const std::string& text : {shown.Sender, shown.Recipient, shown.Subject, SHOWNMAIL::Text(records[i])})
            Check(text);
    }
}

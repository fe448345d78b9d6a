#include <cerrno>
#include <iconv.h>

#include "corelib/system/charsetplatform.h"

bool ConvertToUtf8(const CHARSETNAME& charset, std::string_view text, std::string& out) {
    iconv_t converter = iconv_open("UTF-8", charset.Converter);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the value for failure
    if (converter == reinterpret_cast<iconv_t>(-1))
        return false;
    char* from = const_cast<char*>(text.data());  // which iconv does not write to
    size_t left = text.size();
    for (bool flushed = false; !flushed;) {
        char buffer[4096];
        char* to = buffer;
        size_t room = sizeof buffer;
        // Without a text it gives what it has kept, as the next character may join with it.
        flushed = left == 0;
        const size_t rc = iconv(converter, flushed ? nullptr : &from, &left, &to, &room);
        const int fault = rc == static_cast<size_t>(-1) ? errno : 0;
        out.append(buffer, sizeof buffer - room);
        if (fault == EINVAL) {  // the end cuts a character off
            left = 0;
        } else if (fault == EILSEQ) {
            out += '?';
            ++from;
            --left;
        }
    }
    iconv_close(converter);
    return true;
}

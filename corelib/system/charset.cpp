#include "corelib/system/charset.h"

#include <algorithm>

#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/system/charsetplatform.h"

namespace {

constexpr size_t LONGEST_NAME = 40;

// Names that mean more than they say, and those that the platforms call differently. A name that is not here is asked
// of the platform as it stands.
constexpr CHARSETNAME NAMES[] = {
    {"us-ascii", "CP1252", 1252},
    {"ascii", "CP1252", 1252},
    {"iso-8859-1", "CP1252", 1252},
    {"latin1", "CP1252", 1252},
    {"windows-1252", "CP1252", 1252},
    {"iso-8859-2", "ISO-8859-2", 28592},
    {"iso-8859-3", "ISO-8859-3", 28593},
    {"iso-8859-4", "ISO-8859-4", 28594},
    {"iso-8859-5", "ISO-8859-5", 28595},
    {"iso-8859-6", "ISO-8859-6", 28596},
    {"iso-8859-7", "ISO-8859-7", 28597},
    {"iso-8859-8", "ISO-8859-8", 28598},
    {"iso-8859-8-i", "ISO-8859-8", 28598},
    {"iso-8859-9", "CP1254", 1254},
    {"iso-8859-11", "CP874", 874},
    {"tis-620", "CP874", 874},
    {"iso-8859-13", "ISO-8859-13", 28603},
    {"iso-8859-15", "ISO-8859-15", 28605},
    {"koi8-r", "KOI8-R", 20866},
    {"koi8-u", "KOI8-U", 21866},
    {"gb2312", "GB18030", 936},
    {"gbk", "GB18030", 936},
    {"x-gbk", "GB18030", 936},
    {"gb18030", "GB18030", 54936},
    {"hz-gb-2312", "HZ", 52936},
    {"big5", "BIG5-HKSCS", 950},
    {"big5-hkscs", "BIG5-HKSCS", 950},
    {"euc-kr", "CP949", 949},
    {"ks_c_5601-1987", "CP949", 949},
    {"iso-2022-kr", "ISO-2022-KR", 50225},
    {"shift_jis", "CP932", 932},
    {"shift-jis", "CP932", 932},
    {"x-sjis", "CP932", 932},
    {"windows-31j", "CP932", 932},
    {"euc-jp", "EUC-JP", 20932},
    {"iso-2022-jp", "ISO-2022-JP-2", 50220},
    {"utf-7", "UTF-7", 65000},
    {"macintosh", "MACINTOSH", 10000},
};

}  // namespace

bool CHARSET::AppendUtf8(std::string& out, std::string_view charset, std::string_view text) {
    if (ASCII::Equal(charset, "utf-8") || ASCII::Equal(charset, "utf8")) {
        CODEPAGE::AppendGuessed(out, text);
        return true;
    }
    const bool plain = !charset.empty() && charset.size() <= LONGEST_NAME && std::ranges::all_of(charset, [](char c) {
        return ASCII::IsLetterOrDigit(c) || c == '-' || c == '_';
    });
    if (!plain)
        return false;
    const std::string name = ASCII::Lower(charset);
    const auto* const row = std::ranges::find_if(NAMES, [&](const CHARSETNAME& known) { return name == known.Name; });
    const bool isWestern = row != std::end(NAMES) && row->CodePage == 1252;
    const bool holdsAscii = isWestern || name.starts_with("iso-8859-") || name.starts_with("windows-12");
    if (holdsAscii && std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
        out += text;
        return true;
    }
    if (isWestern) {
        for (const char byte : text)
            CODEPAGE::AppendUtf8(out, byte);
        return true;
    }
    return ConvertToUtf8(row != std::end(NAMES) ? *row : CHARSETNAME{name.c_str(), name.c_str(), 0}, text, out);
}

#include <cstdlib>
#include <cstring>
#include <windows.h>

#include "corelib/base/widepath.h"
#include "corelib/system/charsetplatform.h"

namespace {

constexpr unsigned ISO_2022_JP = 50220;

/// What the system's own list of charsets says, or the number in names such as windows-1251; 0 for none.
unsigned CodePageOf(const char* name) {
    const std::wstring key = L"MIME\\Database\\Charset\\" + Widen(CP_UTF8, name);
    for (const wchar_t* const value : {L"InternetEncoding", L"Codepage"}) {
        DWORD codePage = 0, size = sizeof codePage;
        if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), value, RRF_RT_REG_DWORD, nullptr, &codePage, &size) ==
            ERROR_SUCCESS)
            return codePage;
    }
    for (const char* const begin : {"windows-", "ibm", "cp"}) {
        if (strncmp(name, begin, strlen(begin)) == 0)
            return static_cast<unsigned>(strtoul(name + strlen(begin), nullptr, 10));
    }
    return 0;
}

/// ISO-2022-JP (RFC 1468) in Shift_JIS: not every system has the first, and the sets are the same.
std::string InShiftJis(std::string_view text) {
    std::string out;
    enum { ASCII_SET, JIS_SET, KATAKANA_SET } set = ASCII_SET;
    while (!text.empty()) {
        const unsigned first = static_cast<unsigned char>(text[0]);
        const unsigned second = text.size() > 1 ? static_cast<unsigned char>(text[1]) : 0;
        size_t taken = 1;
        if (first == 0x1b && text.size() > 2) {
            set = text[1] == '$' ? JIS_SET : text[2] == 'I' ? KATAKANA_SET : ASCII_SET;
            taken = 3;
        } else if (set == JIS_SET && first > 0x20 && first < 0x7f && second > 0x20 && second < 0x7f) {
            out += static_cast<char>(((first + 1) >> 1) + (first < 0x5f ? 0x70 : 0xb0));
            out += static_cast<char>(second + (first % 2 == 0 ? 0x7e : second < 0x60 ? 0x1f : 0x20));
            taken = 2;
        } else {
            out += static_cast<char>(set == KATAKANA_SET && first > 0x20 ? first | 0x80 : first);
        }
        text.remove_prefix(taken);
    }
    return out;
}

}  // namespace

bool ConvertToUtf8(const CHARSETNAME& charset, std::string_view text, std::string& out) {
    if (charset.CodePage == ISO_2022_JP)
        return ConvertToUtf8({"shift_jis", "CP932", 932}, InShiftJis(text), out);
    const unsigned codePage = charset.CodePage != 0 ? charset.CodePage : CodePageOf(charset.Name);
    if (codePage == 0 || !IsValidCodePage(codePage))
        return false;
    if (text.empty())
        return true;
    const int length = static_cast<int>(text.size());
    const int count = MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0);
    if (count <= 0)
        return false;
    std::wstring wide(static_cast<size_t>(count), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), count);
    out += FromWide(wide).View();
    return true;
}

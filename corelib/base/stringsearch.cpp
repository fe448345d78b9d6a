// Searching, case, replacing, stripping and splitting.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "corelib/base/ascii.h"
#include "corelib/base/strings.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"

namespace {

int64_t ReadNumber(const STRING& text, int64_t lowest, int64_t highest) {
    const char* p = FailOnNull(text.Ptr(), "atoi");
    if (!p)
        return 0;
    while (ASCII::IsSpace(*p))
        ++p;
    bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    // Collected as a negative number, whose range reaches one further.
    int64_t value = 0;
    for (; ASCII::IsDigit(*p); ++p) {
        int digit = *p - '0';
        if (value < (std::numeric_limits<int64_t>::min() + digit) / 10)
            return negative ? lowest : highest;
        value = value * 10 - digit;
    }
    if (negative)
        return std::max(value, lowest);
    return value < -highest ? highest : -value;
}

bool InSet(const char* chars, char c) {
    return strchr(chars, c) != nullptr;
}

}  // namespace

int atoi(const STRING& text) {
    return static_cast<int>(ReadNumber(text, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

int64_t atoi64(const STRING& text) {
    return ReadNumber(text, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
}

int STRING::Pos(char ch) const {
    if (Length() == 0)
        return -1;
    const void* hit = memchr(Buffer, ch, static_cast<size_t>(StrLen));
    return hit ? static_cast<int>(static_cast<const char*>(hit) - Buffer) : -1;
}

int STRING::Pos(const char* str, int start) const {
    if (start < 0 || start >= Length())
        return -1;
    const char* text = FailOnNull(Buffer, "Pos Buffer");
    str = FailOnNull(str, "Pos str");
    const char* hit = str ? strstr(text + start, str) : nullptr;
    return hit ? static_cast<int>(hit - text) : -1;
}

int STRING::iPos(const char* str, int start) const {
    if (start < 0 || start >= Length())
        return -1;
    str = FailOnNull(str, "iPos str");
    if (!str)
        return -1;
    const size_t hit = ASCII::Find(View(), str, static_cast<size_t>(start));
    return hit == std::string_view::npos ? -1 : static_cast<int>(hit);
}

bool STRING::Pos(const char* str, int* position) const {
    int found = Pos(str, 0);
    if (position)
        *position = found;
    return found != -1;
}

bool STRING::iPos(const char* str, int* position) const {
    int found = iPos(str, 0);
    if (position)
        *position = found;
    return found != -1;
}

void STRING::ToLower() {
    FailOnNull(Buffer, "ToLower");
    for (char* p = Buffer; p && *p; ++p)
        *p = static_cast<char>(ASCII::Lower(*p));
}

void STRING::ToUpper() {
    FailOnNull(Buffer, "ToUpper");
    for (char* p = Buffer; p && *p; ++p)
        *p = static_cast<char>(ASCII::Upper(*p));
}

void STRING::Replace(const char* from, const char* to, bool casesensitive) {
    from = FailOnNull(from, "Replace from");
    to = FailOnNull(to, "Replace to");
    if (!from || !to || !*from || strcmp(from, to) == 0)
        return;
    auto find = [&](int start) { return casesensitive ? Pos(from, start) : iPos(from, start); };
    int hit = find(0);
    if (hit == -1)
        return;
    auto fromLength = static_cast<int>(strlen(from)), toLength = static_cast<int>(strlen(to));
    if (fromLength == toLength) {
        for (; hit != -1; hit = find(hit + toLength))
            memcpy(Buffer + hit, to, static_cast<size_t>(toLength));
        return;
    }
    // The result is put together piece by piece, so that a text with many hits takes linear time.
    STRING result(BlockSize);
    result.Flags = Flags & STRINGFLAG_SECRET;
    result.Make(0, nullptr);
    int start = 0;
    for (; hit != -1; hit = find(start)) {
        result.AppendBytes(Buffer + start, hit - start);
        result.AppendBytes(to, toLength);
        start = hit + fromLength;
    }
    result.AppendBytes(Buffer + start, StrLen - start);
    result.Flags |= Flags;
    *this = static_cast<STRING&&>(result);
}

void STRING::Strip(char how, const char* chars) {
    how = static_cast<char>(ASCII::Upper(how));
    if (!ASSERTION(how == 'L' || how == 'R' || how == 'B', "how=='L' || how=='R' || how=='B'") || !Buffer)
        return;
    if (how != 'R') {
        int n = 0;
        while (n < StrLen && Buffer[n] && InSet(chars, Buffer[n]))
            ++n;
        DeleteLeft(n);
    }
    if (how != 'L') {
        // The terminator belongs to every set, so zero bytes at the end go too.
        int n = StrLen;
        while (n > 0 && InSet(chars, Buffer[n - 1]))
            --n;
        Truncate(n);
    }
}

STRING STRING::Word(int n, const char* separators, uint32_t flags) const {
    const char* at = Buffer;
    for (int i = 0; at && i < n; ++i) {
        at = strpbrk(at, separators);
        if (at)
            ++at;
    }
    if (!at)
        return (flags & WORD_NEVERNULL) ? STRING("") : STRING();
    if (flags & 0xFFFF)
        return STRING(at);
    return STRING(std::string_view(at, strcspn(at, separators)));
}

WORDCURSOR::WORDCURSOR(const STRING& text, const char* separators) : At(text.Ptr()), Separators(separators) {}

bool WORDCURSOR::Next(std::string_view& piece) {
    if (!At)
        return false;
    size_t length = strcspn(At, Separators);
    piece = std::string_view(At, length);
    At = At[length] ? At + length + 1 : nullptr;
    return true;
}

#include "app/common/mailtext.h"

#include <climits>
#include <string>
#include <string_view>

#include "app/common/transfercoding.h"
#include "corelib/base/ascii.h"

namespace {

constexpr size_t NONE = std::string_view::npos;

/// The first address of the field without quotes, comments, and the marks of groups.
std::string FirstAddress(std::string_view text) {
    std::string out;
    bool inComment = false;
    bool inQuotes = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char ch = text[i];
        if (inComment) {
            inComment = ch != ')';
        } else if (ch == '\\') {
            if (++i < text.size())
                out += text[i];
        } else if (ch == '"') {
            inQuotes = !inQuotes;
        } else if (!inQuotes && ch == '(') {
            inComment = true;
        } else if (!inQuotes && ch == ',') {
            break;
        } else if (inQuotes || (ch != ':' && ch != ';')) {
            out += ch;
        }
    }
    return out;
}

/// Reads numbers and words off the front of a text, as the formats "%d" and "%s" do.
class SCANNER {
 public:
    explicit SCANNER(std::string_view text) : Rest(text) {}

    bool Word(std::string_view& word) {
        SkipSpace();
        size_t length = 0;
        while (length < Rest.size() && !ASCII::IsSpace(Rest[length]))
            ++length;
        word = Rest.substr(0, length);
        Rest.remove_prefix(length);
        return length > 0;
    }

    bool Number(int& number) {
        SkipSpace();
        size_t at = 0;
        const bool negative = Rest.starts_with('-');
        if (negative || Rest.starts_with('+'))
            ++at;
        const size_t first = at;
        int64_t value = 0;
        for (; at < Rest.size() && ASCII::IsDigit(Rest[at]); ++at)
            value = value < INT_MAX ? value * 10 + (Rest[at] - '0') : value;
        if (at == first)
            return false;
        value = value > INT_MAX ? INT_MAX : value;
        number = static_cast<int>(negative ? -value : value);
        Rest.remove_prefix(at);
        return true;
    }

    bool Literal(char ch) {
        if (!Rest.starts_with(ch))
            return false;
        Rest.remove_prefix(1);
        return true;
    }

 private:
    void SkipSpace() {
        while (!Rest.empty() && ASCII::IsSpace(Rest.front()))
            Rest.remove_prefix(1);
    }

    std::string_view Rest;
};

int MonthNumber(std::string_view name) {
    constexpr std::string_view MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    int number = 0;
    for (const std::string_view month : MONTHS) {
        ++number;
        if (name == month)
            return number;
    }
    return 0;
}

}  // namespace

void SplitAddress(STRING& text, STRING& email) {
    const std::string address = FirstAddress(text.View());
    const size_t open = address.find('<');
    const size_t close = open == NONE ? NONE : address.find('>', open);
    if (close == NONE) {
        text = STRING(std::string_view(address));
        email = text;
    } else {
        const std::string_view whole = address;
        email = STRING(whole.substr(open + 1, close - open - 1));
        text = STRING(whole.substr(0, open));
        text.AppendBytes(whole.substr(close + 1));
    }
    text.Strip('B', " \r\n\t");
    email.Strip('B', " \r\n\t");
    if (text.Length() == 0)
        text = email;
}

void DecodeEncodedWords(STRING& text) {
    std::string_view rest = text.View();
    if (rest.find("=?") == NONE)
        return;
    std::string out;
    for (;;) {
        const size_t start = rest.find("=?");
        const size_t charsetEnd = start == NONE ? NONE : rest.find('?', start + 2);
        const size_t encodingEnd = charsetEnd == NONE ? NONE : rest.find('?', charsetEnd + 1);
        const size_t end = encodingEnd == NONE ? NONE : rest.find("?=", encodingEnd + 1);
        if (end == NONE)
            break;
        out += rest.substr(0, start);
        const std::string_view charset = rest.substr(start + 2, charsetEnd - start - 2);
        const bool base64 = ASCII::Equal(rest.substr(charsetEnd + 1, encodingEnd - charsetEnd - 1), "B");
        std::string word(rest.substr(encodingEnd + 1, end - encodingEnd - 1));
        for (char& ch : word)
            ch = ch == '_' ? ' ' : ch;
        if (base64)
            AppendBase64(out, word);
        else if (ASCII::Equal(charset, "ISO-8859-1"))
            AppendQEncoding(out, word);
        else
            out += word;
        rest.remove_prefix(end + 2);
    }
    out += rest;
    text = STRING(std::string_view(out));
}

void ParseDate(const STRING& value, STRING& dateOut, STRING& timeOut) {
    SCANNER scan(value.View());
    std::string_view weekday;
    std::string_view month;
    int day = 0;
    int year = 0;
    int hours = 0;
    int minutes = 0;
    // Stops at the first field that cannot be read; the rest stays 0.
    (void)(scan.Word(weekday) && scan.Number(day) && scan.Word(month) && scan.Number(year) && scan.Number(hours) &&
           scan.Literal(':') && scan.Number(minutes));
    dateOut.Format("%04d-%02d-%02d", year, MonthNumber(month), day);
    timeOut.Format("%02d:%02d", hours, minutes);
}

#include "app/reading/headerwords.h"

#include "app/common/transfercoding.h"
#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/utf8.h"
#include "corelib/system/charset.h"

namespace {

constexpr size_t NONE = std::string_view::npos;
constexpr std::string_view BLANKS = " \t\r\n";

struct ENCODEDWORD {
    std::string_view Whole, Charset, Text;
    bool Base64 = false;
};

/// The place of the "?=" that ends a word's text. A "?" in the text is not allowed but common: "?=" then has something
/// directly after it.
size_t EndOfText(std::string_view rest) {
    constexpr size_t LOOK_BYTES = 1000;  // so that a header of nothing but such marks is read in linear time
    const size_t first = rest.find("?=");
    if (first != NONE)
        rest = rest.substr(0, first + LOOK_BYTES);
    for (size_t at = first; at != NONE; at = rest.find("?=", at + 1)) {
        const std::string_view after = rest.substr(at + 2);
        if (after.empty() || after.starts_with("=?") || std::string_view(" \t\r\n\"(),;<").find(after[0]) != NONE)
            return at;
    }
    return first;
}

/// The first word at or after the beginning of the text.
bool FindWord(std::string_view text, ENCODEDWORD& word) {
    for (size_t start = text.find("=?"); start != NONE; start = text.find("=?", start + 2)) {
        std::string_view rest = text.substr(start + 2);
        const size_t charset = rest.find('?');
        if (charset == NONE)
            return false;
        if (charset == 0 || charset + 2 >= rest.size() || rest[charset + 2] != '?' ||
            rest.substr(0, charset).find_first_of(BLANKS) != NONE)
            continue;
        const unsigned char encoding = ASCII::Lower(rest[charset + 1]);
        if (encoding != 'b' && encoding != 'q')
            continue;
        const std::string_view coded = rest.substr(charset + 3);
        const size_t end = EndOfText(coded);
        if (end == NONE)
            return false;
        word.Whole = text.substr(start, 2 + charset + 3 + end + 2);
        // A language may follow the charset (RFC 2231 section 5).
        word.Charset = rest.substr(0, charset);
        word.Charset = word.Charset.substr(0, word.Charset.find('*'));
        word.Text = coded.substr(0, end);
        word.Base64 = encoding == 'b';
        return true;
    }
    return false;
}

/// Adjacent words of one charset, whose bytes are turned together.
class RUN {
 public:
    explicit RUN(std::string& out) : Out(out) {}
    bool IsOpen() const { return !Words.empty(); }
    void Add(const ENCODEDWORD& word) {
        if (!ASCII::Equal(word.Charset, Charset))
            Close();
        Charset = word.Charset;
        Words = Words.empty() ? word.Whole
                              : std::string_view(Words.data(), static_cast<size_t>(word.Whole.end() - Words.begin()));
        word.Base64 ? AppendBase64(Bytes, word.Text) : AppendQEncoding(Bytes, word.Text);
    }
    void Close() {
        if (IsOpen() && !CHARSET::AppendUtf8(Out, Charset, Bytes))
            CODEPAGE::AppendGuessed(Out, Words);
        Bytes.clear();
        Words = {};
    }

 private:
    std::string& Out;
    std::string Bytes;
    std::string_view Charset, Words;
};

}  // namespace

std::string HeaderWords(std::string_view value, std::string_view charset) {
    std::string out;
    RUN run(out);
    const auto plain = [&](std::string_view text) {
        run.Close();
        if (charset.empty() || UTF8::IsValid(text) || !CHARSET::AppendUtf8(out, charset, text))
            CODEPAGE::AppendGuessed(out, text);
    };
    ENCODEDWORD word;
    while (FindWord(value, word)) {
        const auto start = static_cast<size_t>(word.Whole.data() - value.data());
        const std::string_view before = value.substr(0, start);
        // What stands between two words is a part of neither, if it is only there to part them.
        if (!(run.IsOpen() && before.find_first_not_of(BLANKS) == NONE))
            plain(before);
        run.Add(word);
        value.remove_prefix(start + word.Whole.size());
    }
    plain(value);
    return out;
}

#include "app/filter/mailwords.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "app/reading/headerwords.h"
#include "app/reading/letterfold.h"
#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/headerblock.h"

namespace {

constexpr size_t LONGEST = 28, SHORTEST = 2;  // bytes of a word of the text; longer ones are codes
constexpr size_t FIELD_BYTES = 2000;
constexpr size_t FIELDS_MOST = 100;

/// What belongs to a word wherever it stands, and what does between such.
constexpr bool IsLetter(char c) {
    return ASCII::IsLetterOrDigit(c) || static_cast<unsigned char>(c) >= 0x80 || c == '$';
}
constexpr bool IsInner(char c) {
    return c == '.' || c == '-' || c == '\'' || c == '_' || c == '@';
}

/// Folded bytes as the store keeps them.
std::string InStore(std::string_view folded) {
    std::string bytes(folded);
    for (char& c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 'A' && byte <= 'Z')
            c = static_cast<char>(byte + 32);
    }
    std::string word;
    CODEPAGE::AppendGuessed(word, bytes);
    // The capitals of Latin 1, U+00C0 to U+00DE, have 32 less than their small letters.
    for (size_t i = 1; i < word.size(); ++i) {
        const auto byte = static_cast<unsigned char>(word[i]);
        if (word[i - 1] == '\xC3' && byte >= 0x80 && byte <= 0x9E && byte != 0x97)
            word[i] = static_cast<char>(byte + 32);
    }
    return word;
}

class COLLECTOR {
 public:
    bool IsFull() const { return Words.size() >= MAILWORDS_MOST; }
    /// What has blanks or control characters would tear the lines of the store, and is none.
    void Add(std::string word) {
        const bool isWord = word.size() <= MAILWORD_BYTES && std::ranges::none_of(word, [](char c) {
                                return static_cast<unsigned char>(c) <= ' ' || c == 0x7F;
                            });
        if (!IsFull() && isWord && Known.insert(word).second)
            Words.push_back(std::move(word));
    }
    /// The words of a text, each with the prefix, and if it is wanted pairs of those that follow each other.
    void AddText(std::string_view text, std::string_view prefix, bool pairs) {
        std::string before;
        for (size_t at = 0; at < text.size() && !IsFull();) {
            if (!IsLetter(text[at])) {
                // A pair is of one sentence.
                if (text[at] == '.' || text[at] == '!' || text[at] == '?')
                    before.clear();
                ++at;
                continue;
            }
            size_t end = at + 1;
            bool isNumber = ASCII::IsDigit(text[at]);
            for (; end < text.size() &&
                   (IsLetter(text[end]) || (IsInner(text[end]) && end + 1 < text.size() && IsLetter(text[end + 1])));
                 ++end)
                isNumber = isNumber && (ASCII::IsDigit(text[end]) || text[end] == '.');
            const std::string_view piece = text.substr(at, end - at);
            at = end;
            if (isNumber || piece.size() < SHORTEST || piece.size() > LONGEST)
                continue;
            std::string word = InStore(piece);
            if (pairs && !before.empty())
                Add(before.append("_").append(word));
            Add(std::string(prefix) + word);
            before = pairs ? std::move(word) : std::string();
        }
    }
    /// The domain in an address or host, whole and its last two names.
    void AddDomain(std::string_view address, std::string_view prefix) {
        address.remove_prefix(address.rfind('@') + 1);
        address = ASCII::TrimLeft(address, " \t<");
        const std::string_view host = address.substr(0, address.find_first_of(" \t>;,)\""));
        if (host.empty())
            return;
        Add(std::string(prefix) + InStore(host));
        const size_t last = host.rfind('.'),
                     second = last == host.npos || last == 0 ? host.npos : host.rfind('.', last - 1);
        if (second != host.npos)
            Add(std::string(prefix) + InStore(host.substr(second + 1)));
    }
    std::vector<std::string> Take() { return std::move(Words); }

 private:
    std::vector<std::string> Words;
    std::unordered_set<std::string> Known;
};

void AddField(COLLECTOR& words, std::string_view name, std::string_view value) {
    const auto is = [name](std::string_view field) { return ASCII::Equal(name, field); };
    if (is("Subject"))
        words.AddText(LETTERFOLD::Folded(HeaderWords(value)), "s:", false);
    else if (is("From")) {
        words.AddText(LETTERFOLD::Folded(HeaderWords(value)), "f:", false);
        words.AddDomain(value, "f:@");
    } else if (is("Reply-To"))
        words.AddDomain(value, "r:");
    else if (is("Return-Path") || is("Sender"))
        words.AddDomain(value, "p:");
    else if (is("Message-Id"))
        words.AddDomain(value, "i:");
    else if (is("List-Id"))
        words.AddDomain(value, "l:");
    else if (is("X-Mailer") || is("User-Agent"))
        words.AddText(value, "m:", false);
    else if (is("Content-Type"))
        words.AddText(value.substr(0, value.find("boundary")), "c:", false);
    else if (is("Content-Transfer-Encoding") || is("Precedence") || is("Importance") || is("X-Priority"))
        words.Add("c:" + InStore(ASCII::Trim(value, " \t")));
}

/// Lines that are ours, or tell nothing of the mail.
bool IsOurs(std::string_view name) {
    return ASCII::BeginsWith(name, "X-Spam") || ASCII::BeginsWith(name, "X-Size") ||
           ASCII::Equal(name, "X-Transport") || ASCII::Equal(name, "X-Message-Id") || ASCII::Equal(name, "Seen") ||
           ASCII::Equal(name, "Status") || ASCII::Equal(name, "Mime");
}

}  // namespace

std::vector<std::string> MailWords(const DECODEDVIEW& view) {
    COLLECTOR words;
    size_t fields = 0;
    for (std::string_view rest = view.Fields; !rest.empty() && fields < FIELDS_MOST; ++fields) {
        std::string_view value = ASCII::Take(rest, '\n').substr(0, FIELD_BYTES);
        const std::string_view name = ASCII::Take(value, ':');
        if (name.empty() || name.size() > LONGEST || IsOurs(name))
            continue;
        words.Add("h:" + InStore(name));
        AddField(words, name, value);
    }
    words.AddText(view.Body, "", true);
    return words.Take();
}

uint64_t MailNumber(const DECODEDVIEW& view) {
    uint64_t hash = 0xcbf29ce484222325;
    const auto add = [&hash](std::string_view text) {
        for (const char c : text)
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
        hash = (hash ^ 0xff) * 0x100000001b3;
    };
    const STRING id = ReadHeaderField(view.Fields, "Message-Id");
    add(id.View());
    for (const char* const name : {"Date", "From", "Subject"})
        add(ReadHeaderField(view.Fields, name).View());
    if (id.Length() == 0)
        add(view.Body);
    return hash;
}

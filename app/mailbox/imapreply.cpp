#include "app/mailbox/imapreply.h"

#include <algorithm>
#include <limits>

#include "app/mailbox/login.h"
#include "corelib/base/ascii.h"

namespace IMAPREPLY {

namespace {

constexpr std::string_view UNTAGGED = "* ";

// The bytes of the literal at that place; false if there is none.
bool LiteralAt(std::string_view line, size_t at, std::string_view& bytes) {
    if (at >= line.size() || line[at] != '{')
        return false;
    const size_t close = line.find_first_not_of("0123456789", at + 1);
    uint64_t count;
    if (close == line.npos || line.substr(close, 3) != "}\r\n" ||
        !ReadNumber(line.substr(at + 1, close - at - 1), line.size() - close - 3, count))
        return false;
    bytes = line.substr(close + 3, static_cast<size_t>(count));
    return true;
}

// The place after the quoted text that begins there.
size_t QuotedEnd(std::string_view line, size_t at) {
    for (++at; at < line.size() && line[at] != '"'; ++at)
        at += line[at] == '\\';
    return std::min(at + 1, line.size());
}

// The place after the quoted text or literal that begins there, or else after that byte.
size_t StepEnd(std::string_view line, size_t at) {
    if (std::string_view bytes; LiteralAt(line, at, bytes))
        return static_cast<size_t>(bytes.data() - line.data()) + bytes.size();
    return line[at] == '"' ? QuotedEnd(line, at) : at + 1;
}

// Walks over the names and values between the parentheses of a FETCH.
class ITEMS {
 public:
    explicit ITEMS(std::string_view rest) : Rest(rest) {}

    // The next name, whose brackets may hold blanks; empty at the end.
    std::string_view TakeName() {
        Rest = ASCII::TrimLeft(Rest, " ");
        return Take([inside = false](char c) mutable {
            inside = c == '[' || (inside && c != ']');
            return !inside && (c == ' ' || c == '(' || c == ')');
        });
    }
    // The next value: a text, or else as it stands, a list with its parentheses.
    std::string_view TakeValue(std::optional<std::string>& text) {
        Rest = ASCII::TrimLeft(Rest, " ");
        text.reset();
        std::string_view bytes;
        if (Rest.starts_with('('))
            return Take([depth = 0, last = '\0'](char c) mutable {
                depth += (c == '(') - (last == ')');
                last = c;
                return depth == 0;
            });
        if (!Rest.starts_with('"') && !LiteralAt(Rest, 0, bytes))
            return Take([](char c) { return c == ' ' || c == ')'; });
        const size_t end = StepEnd(Rest, 0);
        text = bytes.data() ? std::string(bytes) : Unquoted(Rest.substr(0, end));
        Rest.remove_prefix(end);
        return {};
    }

 private:
    // What stands in front of the first byte for which `ends` is true. It sees the first byte of texts only.
    template <class ENDS>
    std::string_view Take(ENDS ends) {
        size_t at = 0;
        while (at < Rest.size() && !ends(Rest[at]))
            at = StepEnd(Rest, at);
        const std::string_view taken = Rest.substr(0, at);
        Rest.remove_prefix(at);
        return taken;
    }
    static std::string Unquoted(std::string_view quoted) {
        std::string text;
        for (size_t i = 1; i < quoted.size() && quoted[i] != '"'; ++i) {
            i += quoted[i] == '\\' && i + 1 < quoted.size();
            text += quoted[i];
        }
        return text;
    }

    std::string_view Rest;
};

bool HoldsFlag(std::string_view list, std::string_view flag) {
    list.remove_prefix(list.starts_with('('));
    list.remove_suffix(list.ends_with(')'));
    return LOGIN::HoldsWord(list, flag);
}

// The number from "* n WORD".
template <class NUMBER>
bool ReadCounted(std::string_view line, std::string_view word, NUMBER& number) {
    uint64_t read;
    if (!line.starts_with(UNTAGGED))
        return false;
    line.remove_prefix(UNTAGGED.size());
    if (!ReadNumber(ASCII::Take(line, ' '), std::numeric_limits<NUMBER>::max(), read) || !ASCII::Equal(line, word))
        return false;
    number = static_cast<NUMBER>(read);
    return true;
}

// Cuts "* number FETCH (" off the line.
bool TakeFetchStart(std::string_view& line, uint32_t& number) {
    constexpr std::string_view FETCH = "FETCH (";
    uint64_t read;
    if (!line.starts_with(UNTAGGED))
        return false;
    line.remove_prefix(UNTAGGED.size());
    if (!ReadNumber(ASCII::Take(line, ' '), UINT32_MAX, read) || !ASCII::BeginsWith(line, FETCH))
        return false;
    line.remove_prefix(FETCH.size());
    number = static_cast<uint32_t>(read);
    return true;
}

}  // namespace

bool ReadFetchNumber(std::string_view line, uint32_t& number) {
    return TakeFetchStart(line, number);
}

std::optional<std::string> FETCHED::TakeText() {
    std::optional<std::string> text;
    for (SECTION& section : Sections)
        if (section.Text)
            text = std::move(section.Text);
    return text;
}

int64_t LiteralAhead(std::string_view line, size_t from) {
    if (!line.ends_with('}') || !line.starts_with(UNTAGGED))
        return -1;
    std::string_view rest = line.substr(UNTAGGED.size());
    const std::string_view first = ASCII::Take(rest, ' ');
    for (const char* status : {"OK", "NO", "BAD", "BYE", "PREAUTH"})
        if (ASCII::Equal(first, status))
            return -1;
    const size_t open = line.rfind('{');
    if (open == line.npos || open < from)
        return -1;
    for (size_t at = from; at < open;) {
        at = line[at] == '"' ? QuotedEnd(line, at) : at + 1;
        if (at > open)
            return -1;
    }
    std::string_view count = line.substr(open + 1, line.size() - open - 2);
    constexpr int64_t MOST = std::numeric_limits<int64_t>::max();
    const bool negative = count.starts_with('-');
    count.remove_prefix(negative);
    if (!ASCII::IsNumber(count))
        return -1;
    uint64_t number;
    return !negative && ReadNumber(count, MOST, number) ? static_cast<int64_t>(number) : MOST;
}

bool ReadNumber(std::string_view word, uint64_t most, uint64_t& number) {
    return ASCII::ReadNumber(word, number) && number <= most;
}

bool IsGood(std::string_view line, std::string_view tag, bool whole) {
    if (!line.starts_with(tag))
        return false;
    line.remove_prefix(tag.size());
    const std::string_view word = line.substr(0, line.find(' '));
    return ASCII::Equal(word, "OK") && (whole || word.size() < line.size());
}

bool ReadExists(std::string_view line, int& count) {
    return ReadCounted(line, "EXISTS", count);
}

bool ReadExpunge(std::string_view line, uint32_t& number) {
    return ReadCounted(line, "EXPUNGE", number);
}

bool ReadCode(std::string_view line, std::string_view code, uint64_t& number) {
    constexpr std::string_view START = "* OK [";
    if (!ASCII::BeginsWith(line, START))
        return false;
    line = line.substr(START.size(), line.find(']') - START.size());
    uint64_t read;
    if (!ASCII::Equal(ASCII::Take(line, ' '), code) || !ReadNumber(line, UINT64_MAX, read))
        return false;
    number = read;
    return true;
}

bool ReadCode(std::string_view line, std::string_view code, uint32_t& number) {
    uint64_t read;
    const bool fits = ReadCode(line, code, read) && read <= UINT32_MAX;
    if (fits)
        number = static_cast<uint32_t>(read);
    return fits;
}

bool ReadSearch(std::string_view line, std::vector<uint32_t>& numbers) {
    constexpr std::string_view START = "* SEARCH";
    if (!ASCII::BeginsWith(line, START) || (line.size() > START.size() && line[START.size()] != ' '))
        return false;
    line.remove_prefix(START.size());
    while (!line.empty()) {
        uint64_t number;
        if (ReadNumber(ASCII::Take(line, ' '), UINT32_MAX, number) && number > 0)
            numbers.push_back(static_cast<uint32_t>(number));
    }
    return true;
}

std::optional<std::string_view> Capabilities(std::string_view line) {
    constexpr std::string_view NAME = "CAPABILITY ";
    const bool own = line.starts_with(UNTAGGED) && ASCII::BeginsWith(line.substr(UNTAGGED.size()), NAME);
    if (own) {
        line.remove_prefix(UNTAGGED.size());
    } else {
        ASCII::Take(line, ' ');
        if (!ASCII::Equal(ASCII::Take(line, ' '), "OK") || !line.starts_with('['))
            return std::nullopt;
        line = line.substr(1, line.find(']') - 1);
        if (!ASCII::BeginsWith(line, NAME))
            return std::nullopt;
    }
    return line.substr(NAME.size());
}

std::string_view Alert(std::string_view line) {
    ASCII::Take(line, ' ');
    ASCII::Take(line, ' ');
    if (!ASCII::BeginsWith(line, "[ALERT]") && !ASCII::BeginsWith(line, "[WEBALERT"))
        return {};
    ASCII::Take(line, ']');
    return ASCII::TrimLeft(line, " ");
}

void TakeFetch(std::string_view line, uint32_t number, FETCHED& fetched) {
    uint32_t told;
    if (!TakeFetchStart(line, told) || (number != ANY_MAIL && told != number))
        return;
    uint64_t value;
    ITEMS items(line);
    std::optional<std::string> text;
    for (std::string_view name; !(name = items.TakeName()).empty();) {
        const std::string_view plain = items.TakeValue(text);
        if (ASCII::Equal(name, "FLAGS")) {
            fetched.FlagsKnown = true;
            fetched.Seen = HoldsFlag(plain, "\\Seen");
        } else if (ASCII::Equal(name, "RFC822.SIZE")) {
            fetched.BadSize = !ReadNumber(plain, INT64_MAX, value);
            if (!fetched.BadSize)
                fetched.Size = value;
        } else if (ASCII::Equal(name, "UID")) {
            fetched.Uid = ReadNumber(plain, UINT32_MAX, value) ? static_cast<uint32_t>(value) : 0;
        } else if (ASCII::BeginsWith(name, "BODY[")) {
            fetched.Sections.push_back({std::string(name), std::move(text)});
        }
    }
}

}  // namespace IMAPREPLY

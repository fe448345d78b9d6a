#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the lines of an IMAP server say (RFC 3501), without a network. A line here is a whole one: without its end, and
/// with each literal in its place, as "{n}", CR LF and n bytes. Outside of literals it holds no CR, so nothing that is
/// no literal looks like one.
namespace IMAPREPLY {

/// The number of bytes that follow, as the line's last piece announces it at its very end; the piece begins at `from`.
/// Nothing that a server says to people announces any, nor does a quoted text. -1: none follow. A count that cannot be
/// is the largest number.
int64_t LiteralAhead(std::string_view line, size_t from);

/// A number of decimal digits alone, of at most `most`; false for anything else.
[[nodiscard]] bool ReadNumber(std::string_view word, uint64_t most, uint64_t& number);

/// True if the server agrees: "OK" in any case, directly after the tag, or after "* " in a greeting. Without a text
/// after it that counts only where the line has come whole: half a word may have begun like it.
bool IsGood(std::string_view line, std::string_view tag, bool whole);

/// The number of mails, from "* n EXISTS".
bool ReadExists(std::string_view line, int& count);

/// The number n from "* OK [CODE n]", for the code of that name.
bool ReadCode(std::string_view line, std::string_view code, uint32_t& number);
bool ReadCode(std::string_view line, std::string_view code, uint64_t& number);

/// The number of a mail that has gone, from "* n EXPUNGE": the numbers after it are one less from then on.
bool ReadExpunge(std::string_view line, uint32_t& number);

/// Adds the numbers of a line "* SEARCH ..."; false for another line. What is no number is passed over.
[[nodiscard]] bool ReadSearch(std::string_view line, std::vector<uint32_t>& numbers);

/// What the server can do, split by blanks, if the line lists it, on its own or after an OK; of a line that does not,
/// nothing.
std::optional<std::string_view> Capabilities(std::string_view line);

/// What stands after "[ALERT]" or "[WEBALERT ...]" in the server's own words, which are for the user; empty for another
/// line.
std::string_view Alert(std::string_view line);

/// What was said of one mail.
struct FETCHED {
    bool FlagsKnown = false;
    bool Seen = false;
    bool BadSize = false;          // a size that is no number
    std::optional<uint64_t> Size;  // bytes
    uint32_t Uid = 0;              // 0: none
    struct SECTION {
        std::string Name;                 // "BODY[...]"
        std::optional<std::string> Text;  // from a literal or a quoted text; NIL is none
    };
    std::vector<SECTION> Sections;
    /// The last text that was told; it is gone from here then.
    std::optional<std::string> TakeText();
};

/// The number of the mail that a line "* number FETCH (...)" tells of; false for any other line.
bool ReadFetchNumber(std::string_view line, uint32_t& number);

/// Stands for the number of whatever mail a line tells of.
inline constexpr uint32_t ANY_MAIL = 0;

/// Takes what a line "* number FETCH (...)" says; what was said before gives way. Any other line changes nothing.
void TakeFetch(std::string_view line, uint32_t number, FETCHED& fetched);

}  // namespace IMAPREPLY

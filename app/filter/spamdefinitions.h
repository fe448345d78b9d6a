#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "corelib/base/stringarray.h"

/// Flags of a row of the word table: where the row is searched, how, and what a hit means.
enum SPAMFLAG : uint32_t {
    SPAMFLAG_FROM = 0x1,
    SPAMFLAG_TO = 0x2,
    SPAMFLAG_SUBJECT = 0x4,
    SPAMFLAG_BODY = 0x8,
    SPAMFLAG_BODYTOP = 0x10,       // the first body lines; a mark of zones, no row has it
    SPAMFLAG_DYNAMIC = 0x80,       // the points grow by position and formatting (a "d-word")
    SPAMFLAG_UCASE = 0x100,        // searched with regard to case
    SPAMFLAG_ANY1 = 0x200,         // may begin inside a longer word
    SPAMFLAG_ANY2 = 0x400,         // may end inside a longer word
    SPAMFLAG_NOWORD = 0x8000,      // points without significance
    SPAMFLAG_EXCEPTION = 0x10000,  // a hit marks the mail as no spam
    SPAMFLAG_MAILING = 0x20000     // a hit marks the mail as coming from a mailing list
};

/// Points of words, and of everything else that gives points, stay within the range of an int.
struct SPAMWORD {
    uint32_t Flags = 0;
    int32_t Points = 0;        // of one hit, before any scaling
    int16_t Significance = 0;  // significant indications that the first hit counts for
    STRING Word;               // without its markers
};

/// The word table. Rows keep the order in which they were added, which is the order of the report.
class SPAMWORDS {
 public:
    /// The table has room for so many rows. What is added beyond is dropped and counted.
    static constexpr int ROWS = 2048;

    int Count() const { return static_cast<int>(Rows.size()); }
    int Dropped() const { return Surplus; }
    const SPAMWORD& operator[](int i) const { return Rows[static_cast<size_t>(i)]; }

    /// Adds a row for each word of a plain list, in which words end at a line's end or at ";". The three numbers are
    /// stored as they are.
    void AddSpamWords(const STRING& text, uint32_t flags, int points, int significance);
    /// Adds the rows of a definitions file: lines of the form "flags|points|words", comments begin with "#" or "/".
    void AddDefinitions(const STRING& text);
    /// Turns the markers of all words ("~" and "*") into flags. Once, when all rows are there.
    void ResolveMarkers();
    /// Folds all words as the decoded view of a mail is; true if that changed one.
    bool FoldLetters();
    /// Writes the report of the table, a line a row.
    [[nodiscard]] bool WriteLog(const char* file) const;

 private:
    void Add(std::string_view word, uint32_t flags, int points, int significance);
    void AddDefinition(std::string_view line);

    std::vector<SPAMWORD> Rows;
    int Surplus = 0;
};

/// Fills an empty word table from its sources: the friends' file, the mark of mail that this program sent on, the lists
/// of the settings, the bad senders' file and the definitions file. A file that cannot be read gives no rows.
void LoadSpamWords(SPAMWORDS& words, const STRINGARRAY& state, const STRINGARRAY& vars);

/// The report of the table after each load; FILES::OwnFile tells where.
inline constexpr const char* SPAMWORDS_LOG = "spamwords.log";
/// How a line of the friends' file or of the bad senders' begins that is there for people only.
inline constexpr std::string_view LIST_COMMENT = "# ";
/// Stands in the subject of a mail that this program sent on, which is never spam.
inline constexpr const char* RESENT_TAG = "[Tarnwick]";

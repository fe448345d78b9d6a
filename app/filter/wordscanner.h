#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/common/texts.h"
#include "app/filter/decodedview.h"
#include "app/filter/spamdefinitions.h"
#include "app/filter/wordindex.h"
#include "corelib/base/stopquestion.h"

/// The definitions as scans use them: complete, and never changed again.
struct SPAMTABLE {
    SPAMTABLE(SPAMWORDS&& words, STRINGARRAY&& vars);
    /// The same rows for what has been folded as the decoded view is.
    const SPAMTABLE& Folded() const { return FoldedRows ? *FoldedRows : *this; }
    const SPAMWORDS Words;
    const STRINGARRAY Vars;
    const WORDINDEX InHeader;
    const WORDINDEX InBody;

 private:
    std::unique_ptr<const SPAMTABLE> FoldedRows;  // null where folding changes no word
};

/// The search of one row on one line.
class WORDSEARCH {
 public:
    /// word and line outlive the search. hasUtf8: the line may hold letters in UTF-8, within which no word begins.
    WORDSEARCH(uint32_t flags, std::string_view word, std::string_view line, bool hasUtf8 = false)
        : Flags(flags), HasUtf8(hasUtf8), Word(word), Line(line) {}
    /// The next valid hit at or after start, -1 if there is none. An occurrence that is no hit ends the search, too.
    int FindSpamWord(int start);
    /// To be told when the bytes from a hit up to `end` have been overwritten; and up to where they have been.
    void SetOverwritten(size_t end);
    size_t OverwrittenEnd() const { return Overwritten; }

    // What hits have left here; a later hit of the search finds what an earlier one has left.
    int Exclamations = 0;      // exclamation marks after the word
    int Overrun = 0;           // letters skipped after the word
    bool AllCapitals = false;  // the word was found in capitals

 private:
    size_t EndOfLetters(size_t from);
    size_t EndOfExclamations(size_t from);

    uint32_t Flags;
    bool HasUtf8;
    std::string_view Word;
    std::string_view Line;
    // Where the runs end that were walked last: many hits in one long run walk it once.
    size_t LettersStart = 0, LettersEnd = 0;
    size_t ExclamationsStart = 0, ExclamationsEnd = 0;
    size_t Overwritten = 0;
};

/// Scores the text of one mail after the other: header lines, an empty line, body lines. Points say how bad a mail is,
/// significant indications on how many grounds. With a decoded view the lines as they came are searched first, then the
/// view's. Of a row's hits in the view, in each of the zones sender, receivers, subject and body, the first ones are
/// those that the lines as they came had there already, as many as those were: so a row counts as often as in whichever
/// view has it more often there. What is searched is the only thing that the view adds: the checks of subject, sender
/// and receivers see the lines as they came.
class WORDSCANNER {
 public:
    /// plainSearch looks for every row in every line, without the index; the results are the same.
    /// A scan breaks off, with whatever it has found by then, once stopAsked says yes.
    WORDSCANNER(const SPAMTABLE& table, const STRINGARRAY& state, const TEXTS& texts, bool plainSearch = false,
                STOPQUESTION stopAsked = {});
    /// view: that of the message; null for none.
    void Scan(std::string_view message, const DECODEDVIEW* view = nullptr);
    /// Adds to the totals, which stay within the range of an int.
    void Count(int points, int significance);

    // What the last scan has found.
    int32_t TotalPoints = 0;
    int32_t Significant = 0;
    int32_t Exceptions = 0;
    int LastSignificance = 0;  // of the last report line
    STRING SubjectLine;        // whole, as it came
    STRING FromValue;
    std::string Details;  // the report lines, in the order of finding; of very many only the first

 private:
    void AddReportLine(int points, int significance, std::string_view text, std::string_view remark);
    void ScanHeaderLine(std::string_view wholeLine);
    void ScanView(const DECODEDVIEW& view);
    bool IsKnownHit(int row);
    std::string Remark(std::string_view remark) const;
    void EndHeader();
    void SearchLine(std::string_view line);
    void SearchRow(int row);
    void Hit(int row, WORDSEARCH& search, int position);
    double DynamicPoints(double points, const WORDSEARCH& search) const;
    void SetFound(int row, bool found);
    bool IsFound(int row) const;
    bool StopsAfter(size_t work);

    static constexpr size_t ZONES = 4;

    const SPAMTABLE& Table;
    const SPAMTABLE* Rows;  // those for what is searched now
    const STRINGARRAY& State;
    const TEXTS& Texts;
    const bool PlainSearch;
    const STOPQUESTION StopAsked;
    const int DynaUppercase, DynaSubject, DynaBodyTop, DynaExclamation;
    const int DistrLists;
    const STRING ExceptionLabel, ExceptionRemark, MailingLabel, WordLabel, SubjectLabel, RecipientsLabel,
        DecodedRemarks;

    // The state of one scan.
    size_t DetailsLimit = 0;
    uint32_t Zone = 0;
    bool InHeader = true;
    bool InView = false;
    bool HasFalseLetters = false;  // the header lines of the view
    std::vector<std::array<uint32_t, ZONES>>
        HitsAsCame;  // of each row, if there is a view; those that it has not had yet
    int BodyLines = 0;
    bool SeenMailing = false;
    STRING ToLine, CcLine;
    WORDINDEX::ROWSET Found{};  // rows that have hit
    std::string Line;           // as it is searched
    bool LineOverwritten = false;
    size_t WorkDone = 0;  // bytes looked at since the stop question was asked
    bool Stopped = false;
};

/// One line of the report: points, a mark for the significance (blank, "*", "!"), text and remark.
std::string SpamReportLine(int points, int significance, std::string_view text, std::string_view remark);

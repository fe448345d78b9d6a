#include "app/filter/wordscanner.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "app/filter/points.h"
#include "app/filter/recipientchecks.h"
#include "app/filter/senderchecks.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"

namespace {

constexpr int TOP_LINES = 3;

// The report of a mail that is nothing but words would be ten times as long as the mail. It ends after so many bytes
// and a part of the mail's own.
constexpr size_t DETAILS_BYTES = 8192;
constexpr size_t DETAILS_PART = 4;
constexpr std::string_view DETAILS_CUT = "    ...\n";
constexpr size_t STOP_LOOK_BYTES = 1 << 20;
constexpr size_t HEADER_LINE_BYTES = 1 << 20;  // that are looked at as a subject, a sender or a receiver
constexpr size_t HIT_WORK = 100;               // what a hit costs, in bytes looked at
constexpr uint32_t HEADER_ZONES = SPAMFLAG_FROM | SPAMFLAG_TO | SPAMFLAG_SUBJECT;

size_t Position(std::string_view line, std::string_view word, size_t start, bool withCase) {
    return withCase ? line.find(word, start) : ASCII::Find(line, word, start);
}

uint32_t ZoneOf(std::string_view headerLine) {
    return ASCII::BeginsWith(headerLine, "Subject:") ? SPAMFLAG_SUBJECT
           : ASCII::BeginsWith(headerLine, "From:")  ? SPAMFLAG_FROM
                                                     : SPAMFLAG_TO;
}

/// Of a zone in the order of sender, receivers, subject, body.
size_t PlaceOf(uint32_t zone) {
    return static_cast<size_t>(std::countr_zero(zone & (HEADER_ZONES | SPAMFLAG_BODY)));
}

/// The significance of a mail's first hit of a mailing-list row, by how many lists the user says to read.
int MailingSignificance(int distrLists) {
    return distrLists == 2 ? 1 : distrLists >= 3 ? 2 : 0;
}

int CutOff(double points) {
    return static_cast<int>(
        std::clamp<double>(points, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

}  // namespace

SPAMTABLE::SPAMTABLE(SPAMWORDS&& words, STRINGARRAY&& vars)
    : Words(std::move(words)), Vars(std::move(vars)), InHeader(Words, HEADER_ZONES), InBody(Words, SPAMFLAG_BODY) {
    SPAMWORDS folded = Words;
    if (folded.FoldLetters())
        FoldedRows = std::make_unique<const SPAMTABLE>(std::move(folded), STRINGARRAY());
}

size_t WORDSEARCH::EndOfLetters(size_t from) {
    if (from < LettersStart || from >= LettersEnd) {
        LettersStart = LettersEnd = from;
        while (LettersEnd < Line.size() && ASCII::IsLetter(Line[LettersEnd]))
            ++LettersEnd;
    }
    return LettersEnd;
}

size_t WORDSEARCH::EndOfExclamations(size_t from) {
    if (from < ExclamationsStart || from >= ExclamationsEnd) {
        ExclamationsStart = ExclamationsEnd = from;
        while (ExclamationsEnd < Line.size() && Line[ExclamationsEnd] == '!')
            ++ExclamationsEnd;
    }
    return ExclamationsEnd;
}

void WORDSEARCH::SetOverwritten(size_t end) {
    Overwritten = std::max(Overwritten, end);
    LettersStart = std::max(LettersStart, Overwritten);
    ExclamationsStart = std::max(ExclamationsStart, Overwritten);
}

int WORDSEARCH::FindSpamWord(int start) {
    const auto from = static_cast<size_t>(start);
    // A row that consisted of markers only has nothing to look for.
    if (Word.empty() || from >= Line.size())
        return -1;
    size_t hit = Position(Line, Word, from, Flags & SPAMFLAG_UCASE);
    while (HasUtf8 && hit != Line.npos && UTF8::IsWithin(Line, hit))
        hit = Position(Line, Word, hit + 1, Flags & SPAMFLAG_UCASE);
    if (hit == Line.npos)
        return -1;
    const size_t behind = hit + Word.size();
    const bool letterBefore = hit > 0 && ASCII::IsLetter(Line[hit - 1]);
    const bool letterBehind = behind < Line.size() && ASCII::IsLetter(Line[behind]);
    if (!(Flags & SPAMFLAG_ANY1) && ASCII::IsLetter(Word[0]) && letterBefore)
        return -1;
    if (!(Flags & SPAMFLAG_ANY2) && letterBehind)
        return -1;
    if (behind < Line.size()) {
        const size_t end = Flags & SPAMFLAG_ANY2 ? EndOfLetters(behind) : behind;
        Exclamations = static_cast<int>(EndOfExclamations(end) - end);
        if (Exclamations != 0)
            Overrun = static_cast<int>(end - behind);
    }
    const std::string_view found = Line.substr(hit, Word.size());
    if (std::any_of(found.begin(), found.end(), ASCII::IsUpper) &&
        std::none_of(found.begin(), found.end(), ASCII::IsLower))
        AllCapitals = true;
    return static_cast<int>(hit);
}

WORDSCANNER::WORDSCANNER(const SPAMTABLE& table, const STRINGARRAY& state, const TEXTS& texts, bool plainSearch,
                         STOPQUESTION stopAsked)
    : Table(table),
      Rows(&table),
      State(state),
      Texts(texts),
      PlainSearch(plainSearch),
      StopAsked(std::move(stopAsked)),
      DynaUppercase(table.Vars.GetNumber("DynaUppercase")),
      DynaSubject(table.Vars.GetNumber("DynaSubject")),
      DynaBodyTop(table.Vars.GetNumber("DynaBodyTop")),
      DynaExclamation(table.Vars.GetNumber("DynaExclamation")),
      DistrLists(state.GetNumber("SpamDistrLists")),
      ExceptionLabel(texts.Get(TEXT_EXCEPTION)),
      ExceptionRemark(texts.Get(TEXT_EXCEPTION_REMARK)),
      MailingLabel(texts.Get(TEXT_MAILING)),
      WordLabel(texts.Get(TEXT_WORD)),
      SubjectLabel(texts.Get(TEXT_SUBJECT_CHECK)),
      RecipientsLabel(texts.Get(TEXT_RECIPIENT_CHECK)),
      DecodedRemarks(texts.Get(TEXT_DECODED)) {}

void WORDSCANNER::Scan(std::string_view message, const DECODEDVIEW* view) {
    TotalPoints = Significant = Exceptions = LastSignificance = 0;
    SubjectLine = FromValue = "";
    ToLine = "To: ";
    CcLine = "Cc: ";
    Details.clear();
    DetailsLimit = DETAILS_BYTES + message.size() / DETAILS_PART;
    Found.fill(0);
    Zone = 0;
    InHeader = true;
    BodyLines = 0;
    SeenMailing = false;
    InView = false;
    Rows = &Table;
    HitsAsCame.assign(view ? static_cast<size_t>(Table.Words.Count()) : 0, {});

    // A zero byte ends the text, as it does everywhere.
    message = message.substr(0, message.find('\0'));
    for (bool more = true; more;) {
        const size_t end = message.find('\n');
        more = end != message.npos;
        const std::string_view line = message.substr(0, end);
        message.remove_prefix(more ? end + 1 : message.size());
        if (!InHeader) {
            Zone = BodyLines < TOP_LINES ? SPAMFLAG_BODY | SPAMFLAG_BODYTOP : SPAMFLAG_BODY;
            ++BodyLines;
            SearchLine(line);
        } else if (line.empty()) {
            EndHeader();
        } else {
            ScanHeaderLine(line);
        }
        if (StopsAfter(line.size() + 1))
            return;
    }
    if (view)
        ScanView(*view);
}

void WORDSCANNER::ScanView(const DECODEDVIEW& view) {
    InView = true;
    Rows = &Table.Folded();
    HasFalseLetters = view.HasFalseLetters;
    for (std::string_view rest = view.HeaderDiffers ? view.Header : std::string_view(); !rest.empty();) {
        const std::string_view line = ASCII::Take(rest, '\n');
        Zone = ZoneOf(line);
        SearchLine(line);
        if (StopsAfter(line.size() + 1))
            return;
    }
    BodyLines = 0;
    for (std::string_view rest = view.BodyDiffers ? view.Body : std::string_view(); !rest.empty(); ++BodyLines) {
        const std::string_view line = ASCII::Take(rest, '\n');
        Zone = BodyLines < TOP_LINES ? SPAMFLAG_BODY | SPAMFLAG_BODYTOP : SPAMFLAG_BODY;
        SearchLine(line);
        if (StopsAfter(line.size() + 1))
            return;
    }
}

// Counts a hit of the row in this zone; true for one of the view that the lines as they came had, too.
bool WORDSCANNER::IsKnownHit(int row) {
    if (HitsAsCame.empty())
        return false;
    uint32_t& hits = HitsAsCame[static_cast<size_t>(row)][PlaceOf(Zone)];
    if (!InView)
        ++hits;
    return InView && hits > 0 && hits-- > 0;
}

std::string WORDSCANNER::Remark(std::string_view remark) const {
    std::string text(remark);
    if (InView)
        text.append(text.empty() ? "" : ", ")
            .append(DecodedRemarks.Word(static_cast<int>(PlaceOf(Zone)), "|", WORD_NEVERNULL).View());
    return text;
}

// True once the program is to end. Asked from time to time, by the work done.
bool WORDSCANNER::StopsAfter(size_t work) {
    WorkDone += work;
    if (WorkDone >= STOP_LOOK_BYTES) {
        WorkDone = 0;
        Stopped = Stopped || (StopAsked && StopAsked());
    }
    return Stopped;
}

void WORDSCANNER::AddReportLine(int points, int significance, std::string_view text, std::string_view remark) {
    LastSignificance = significance;
    if (Details.size() < DetailsLimit) {
        Details += SpamReportLine(points, significance, text, remark);
        if (Details.size() >= DetailsLimit)
            Details += DETAILS_CUT;
    }
}

void WORDSCANNER::EndHeader() {
    InHeader = false;
    BodyLines = 0;
    int significance = 0;
    STRING reason;
    const int points = SpamRecipients(ToLine, CcLine, State, Table.Vars, Texts, significance, reason);
    AddReportLine(points, significance, RecipientsLabel.View(), reason.View());
    if (points != 0)
        Count(points, significance);
}

void WORDSCANNER::ScanHeaderLine(std::string_view wholeLine) {
    const std::string_view line = wholeLine.substr(0, HEADER_LINE_BYTES);
    Zone = 0;
    STRING reason;
    if (ASCII::BeginsWith(line, "Subject:")) {
        Zone = SPAMFLAG_SUBJECT;
        SubjectLine = STRING(line);
        const int points = SpamSubject(STRING(line.substr(8)), Table.Vars, Texts, reason);
        const int significance = points != 0 ? 1 : 0;
        Count(points, significance);
        AddReportLine(points, significance, SubjectLabel.View(), reason.View());
    } else if (ASCII::BeginsWith(line, "From:")) {
        Zone = SPAMFLAG_FROM;
        // The blank after the colon is taken for granted.
        FromValue = STRING(line.substr(std::min<size_t>(line.size(), 6)));
        int significance = 0;
        const int points = SpamFromFormatting(FromValue, Table.Vars, Texts, significance, reason);
        if (points != 0) {
            Count(points, significance);
            AddReportLine(points, significance, reason.View(), {});
        }
    } else if (ASCII::BeginsWith(line, "To:")) {
        Zone = SPAMFLAG_TO;
        ToLine = STRING(line);
    } else if (ASCII::BeginsWith(line, "Cc:")) {
        Zone = SPAMFLAG_TO;
        CcLine = STRING(line);
    }
    if (Zone != 0)
        SearchLine(wholeLine);
}

void WORDSCANNER::SearchLine(std::string_view line) {
    Line.clear();
    for (std::string_view rest = line; !rest.empty();) {
        Line += rest.substr(0, STOP_LOOK_BYTES);
        rest.remove_prefix(std::min(rest.size(), STOP_LOOK_BYTES));
        if (!rest.empty() && StopsAfter(STOP_LOOK_BYTES))
            return;
    }
    // "free ! !" is read as "free!!", and "$ 100" after a blank without that blank.
    if (Line.find('!') != Line.npos || Line.find('$') != Line.npos) {
        size_t kept = 0;
        for (size_t i = 0; i < Line.size(); ++i)
            if (Line[i] != ' ' || i + 1 == Line.size() || (Line[i + 1] != '!' && Line[i + 1] != '$'))
                Line[kept++] = Line[i];
        Line.resize(kept);
    }
    if (PlainSearch) {
        for (int row = 0; row < Rows->Words.Count(); ++row)
            SearchRow(row);
        return;
    }
    WORDINDEX::ROWSET rows{};
    const WORDINDEX& index = Zone & SPAMFLAG_BODY ? Rows->InBody : Rows->InHeader;
    index.Find(Line, rows, StopAsked);
    for (size_t part = 0; part < rows.size(); ++part) {
        while (rows[part] != 0) {
            const int bit = std::countr_zero(rows[part]);
            rows[part] &= rows[part] - 1;
            LineOverwritten = false;
            SearchRow(static_cast<int>(part) * 64 + bit);
            if (StopsAfter(Line.size()))
                return;
            // The line reads otherwise for the rows that follow.
            if (LineOverwritten) {
                WORDINDEX::ROWSET now{};
                index.Find(Line, now, StopAsked);
                const uint64_t following = ~uint64_t{0} << bit << 1;
                rows[part] = now[part] & following;
                std::copy(now.begin() + static_cast<ptrdiff_t>(part) + 1, now.end(),
                          rows.begin() + static_cast<ptrdiff_t>(part) + 1);
            }
        }
    }
}

void WORDSCANNER::SearchRow(int row) {
    const SPAMWORD& word = Rows->Words[row];
    if (!(Zone & word.Flags))
        return;
    if (IsFound(row) && (word.Flags & SPAMFLAG_EXCEPTION))
        return;
    // Whoever writes a friend's address in other letters is none.
    if (InView && HasFalseLetters && (Zone & SPAMFLAG_FROM) && (word.Flags & SPAMFLAG_EXCEPTION))
        return;
    WORDSEARCH search(word.Flags, word.Word.View(), Line, InView);
    for (int start = 0, position; (position = search.FindSpamWord(start)) != -1; start = position + 1) {
        Hit(row, search, position);
        if (StopsAfter(static_cast<size_t>(position - start) + HIT_WORK))
            return;
    }
}

double WORDSCANNER::DynamicPoints(double points, const WORDSEARCH& search) const {
    double v = search.AllCapitals ? (DynaUppercase + 100.0) * points * 0.01 : points;
    if (Zone & SPAMFLAG_SUBJECT)
        v = v * (DynaSubject + 100.0) * 0.01;
    if (Zone & SPAMFLAG_BODYTOP)
        v = v * (DynaBodyTop + 100.0) * 0.01;
    return DynaExclamation * v * 0.01 * search.Exclamations + v;
}

void WORDSCANNER::Hit(int row, WORDSEARCH& search, int position) {
    const SPAMWORD& word = Rows->Words[row];
    const bool isKnown = IsKnownHit(row);
    if (Zone & SPAMFLAG_FROM) {
        // What has been recognised of a sender is used up: a shorter row does not find it again.
        const auto at = static_cast<size_t>(position);
        const size_t end = std::min(at + word.Word.View().size() + static_cast<size_t>(search.Overrun) +
                                        static_cast<size_t>(search.Exclamations),
                                    Line.size());
        for (size_t i = std::max(at, search.OverwrittenEnd()); i < end; ++i)
            Line[i] = '@';
        search.SetOverwritten(end);
        LineOverwritten = true;
    }
    if (isKnown)
        return;
    double points = word.Points;
    int significance = word.Significance;
    const STRING* label = &WordLabel;
    const STRING* remark = nullptr;
    if (word.Flags & SPAMFLAG_DYNAMIC)
        points = DynamicPoints(points, search);
    if (word.Flags & SPAMFLAG_MAILING) {
        // Of all rows that tell a mailing list only the first hit is an indication.
        SetFound(row, SeenMailing);
        SeenMailing = true;
        label = &MailingLabel;
        points *= DistrLists + 1.0;
        significance = MailingSignificance(DistrLists);
    }
    if (IsFound(row) || (word.Flags & SPAMFLAG_NOWORD))
        significance = 0;
    if (!IsFound(row) && (word.Flags & SPAMFLAG_EXCEPTION)) {
        label = &ExceptionLabel;
        remark = &ExceptionRemark;
        Exceptions = WithinRange(int64_t{Exceptions} + 1);
    }
    const int whole = CutOff(points);
    Count(whole, significance);
    SetFound(row, true);
    if (TraceWanted(2))
        TraceLevel(2, "TARNWICK::SpamFilter '%s'/0x%04x found in %s\n", word.Word.Text(), word.Flags, Line.c_str());
    const std::string text = std::string(label->View()) + " '" + std::string(Table.Words[row].Word.View()) + "'";
    AddReportLine(whole, significance, text, Remark(remark ? remark->View() : std::string_view()));
}

void WORDSCANNER::Count(int points, int significance) {
    TotalPoints = WithinRange(int64_t{TotalPoints} + points);
    Significant = WithinRange(int64_t{Significant} + significance);
}

void WORDSCANNER::SetFound(int row, bool found) {
    const uint64_t bit = uint64_t{1} << (row % 64);
    uint64_t& bits = Found[static_cast<size_t>(row) / 64];
    bits = found ? bits | bit : bits & ~bit;
}

bool WORDSCANNER::IsFound(int row) const {
    return Found[static_cast<size_t>(row) / 64] >> (row % 64) & 1;
}

std::string SpamReportLine(int points, int significance, std::string_view text, std::string_view remark) {
    const char mark = significance == 0 ? ' ' : significance == 1 || significance < 0 ? '*' : '!';
    STRING head;
    head.Format("    %3d %c ", points, mark);
    std::string line(head.View());
    line += text;
    if (!remark.empty())
        line.append(" (").append(remark).append(")");
    return line += '\n';
}

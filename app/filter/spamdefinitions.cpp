#include "app/filter/spamdefinitions.h"

#include <algorithm>
#include <limits>
#include <string>

#include "app/reading/letterfold.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"

namespace {

struct FLAGLETTER {
    char Letter;
    uint32_t Flags;
};
constexpr FLAGLETTER FLAG_LETTERS[] = {
    {'T', SPAMFLAG_TO},
    {'F', SPAMFLAG_FROM},
    {'S', SPAMFLAG_SUBJECT},
    {'B', SPAMFLAG_BODY},
    {'D', SPAMFLAG_DYNAMIC | SPAMFLAG_SUBJECT | SPAMFLAG_BODY},
    {'X', SPAMFLAG_EXCEPTION},
    {'M', SPAMFLAG_MAILING | SPAMFLAG_BODY},
    {'*', SPAMFLAG_NOWORD},
};

struct FLAGNAME {
    uint32_t Flag;
    const char* Name;
};
constexpr FLAGNAME FLAG_NAMES[] = {
    {SPAMFLAG_FROM, "FROM"},           {SPAMFLAG_TO, "TO"},
    {SPAMFLAG_SUBJECT, "SUBJECT"},     {SPAMFLAG_BODY, "BODY"},
    {SPAMFLAG_BODYTOP, "BODYTOP"},     {SPAMFLAG_DYNAMIC, "DYNAMIC"},
    {SPAMFLAG_UCASE, "UCASE"},         {SPAMFLAG_ANY1, "ANY1"},
    {SPAMFLAG_ANY2, "ANY2"},           {SPAMFLAG_NOWORD, "NOWORD"},
    {SPAMFLAG_EXCEPTION, "EXCEPTION"}, {SPAMFLAG_MAILING, "MAILING"},
};

int Number(std::string_view text) {
    return atoi(STRING(text));
}

void ResolveMarkersOf(SPAMWORD& row) {
    const bool allCapitals = std::none_of(row.Word.View().begin(), row.Word.View().end(), ASCII::IsLower);
    std::string_view word = row.Word.View();
    if (word.starts_with('~')) {
        word.remove_prefix(1);
        row.Flags |= SPAMFLAG_UCASE;
    } else if (allCapitals) {
        row.Flags |= SPAMFLAG_UCASE;
    }
    // What begins or ends with a sign has no word boundary there.
    if (!word.empty() && !ASCII::IsLetterOrDigit(word.front())) {
        row.Flags |= SPAMFLAG_ANY1;
        if (word.front() == '*')
            word.remove_prefix(1);
    }
    if (!word.empty() && !ASCII::IsLetterOrDigit(word.back())) {
        row.Flags |= SPAMFLAG_ANY2;
        if (word.back() == '*')
            word.remove_suffix(1);
    }
    row.Word = STRING(word);
}

STRING ReadFile(const STRING& path) {
    STRING text;
    if (path.Length() == 0 || !text.Load(path.Text(), "r"))
        text = "";
    return text;
}

// Without what explains it.
STRING ReadList(const STRING& path) {
    const STRING text = ReadFile(path);
    std::string list;
    for (std::string_view rest = text.View(); !rest.empty();) {
        const std::string_view line = ASCII::Take(rest, '\n');
        if (!line.starts_with(LIST_COMMENT))
            list.append(line).append("\n");
    }
    return STRING(std::string_view(list));
}

}  // namespace

void SPAMWORDS::Add(std::string_view word, uint32_t flags, int points, int significance) {
    if (word.empty())
        return;
    if (Count() == ROWS) {
        ++Surplus;
        return;
    }
    SPAMWORD row;
    row.Flags = flags;
    row.Points = points;
    row.Significance = static_cast<int16_t>(
        std::clamp<int>(significance, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max()));
    row.Word = STRING(word);
    Rows.push_back(std::move(row));
}

void SPAMWORDS::AddSpamWords(const STRING& text, uint32_t flags, int points, int significance) {
    std::string list(text.View());
    std::erase(list, '\r');
    std::replace(list.begin(), list.end(), ';', '\n');
    for (std::string_view rest = list; !rest.empty();)
        Add(ASCII::Trim(ASCII::Take(rest, '\n'), " \t\n"), flags, points, significance);
}

void SPAMWORDS::AddDefinitions(const STRING& text) {
    WORDCURSOR lines(text, "\n");
    std::string_view line;
    while (lines.Next(line))
        AddDefinition(ASCII::TrimRight(line, " \t\n\r"));
}

void SPAMWORDS::AddDefinition(std::string_view line) {
    if (line.empty() || line[0] == '#' || line[0] == '/')
        return;
    const std::string_view letters = ASCII::Trim(ASCII::Take(line, '|'), " \t");
    std::string_view points = ASCII::Trim(ASCII::Take(line, '|'), " \t");
    std::string_view words = ASCII::Take(line, '|');

    uint32_t flags = 0;
    for (const FLAGLETTER& known : FLAG_LETTERS) {
        if (letters.find(known.Letter) != letters.npos)
            flags |= known.Flags;
    }
    const bool stated = points.find('/') != points.npos;
    int pointsOfHit = Number(ASCII::Take(points, '/'));
    int significance = stated ? Number(points) : 1;
    if (flags & SPAMFLAG_EXCEPTION)
        pointsOfHit = 0;
    if (flags & (SPAMFLAG_EXCEPTION | SPAMFLAG_NOWORD))
        significance = 0;
    if (significance == 0)
        flags |= SPAMFLAG_NOWORD;

    while (!words.empty()) {
        STRING word(ASCII::Take(words, ';'));
        word.Replace("%3B", ";");
        word.Replace("%3b", ";");
        word.Replace("%2A", "*");
        Add(ASCII::Trim(word.View(), " \t"), flags, pointsOfHit, significance);
    }
}

void SPAMWORDS::ResolveMarkers() {
    for (SPAMWORD& row : Rows)
        ResolveMarkersOf(row);
}

bool SPAMWORDS::FoldLetters() {
    bool changed = false;
    for (SPAMWORD& row : Rows) {
        const std::string folded = LETTERFOLD::FoldedWord(row.Word.View());
        if (folded == row.Word.View())
            continue;
        row.Word = STRING(std::string_view(folded));
        changed = true;
    }
    return changed;
}

bool SPAMWORDS::WriteLog(const char* file) const {
    std::string log;
    for (const SPAMWORD& row : Rows) {
        const std::string_view word = row.Word.View();
        log += word;
        log.append(20 - std::min<size_t>(word.size(), 20), ' ');
        STRING numbers;
        numbers.Format(" %3d %d    0x%05x (", row.Points, row.Significance, row.Flags);
        log += numbers.View();
        for (const FLAGNAME& known : FLAG_NAMES) {
            if (row.Flags & known.Flag)
                log.append(known.Name).append("/");
        }
        if (log.back() == '/')
            log.pop_back();
        log += ")\n";
    }
    if (FILES::ReplaceLog(file, log, true))
        return true;
    Trace("SPAMWORDS::WriteLog %s cannot be written, or is a link\n", file);
    return false;
}

void LoadSpamWords(SPAMWORDS& words, const STRINGARRAY& state, const STRINGARRAY& vars) {
    const STRING friends = state.Get("SpamMyFriends");
    const STRING badSenders = state.Get("SpamBadSenders");
    words.AddSpamWords(ReadList(friends), SPAMFLAG_EXCEPTION | SPAMFLAG_FROM, 0, 0);
    words.AddSpamWords(RESENT_TAG, SPAMFLAG_EXCEPTION | SPAMFLAG_SUBJECT, 0, 0);
    words.AddSpamWords(state.Get("SpamMyInterests"), SPAMFLAG_EXCEPTION | SPAMFLAG_SUBJECT | SPAMFLAG_BODY, 0, 0);
    words.AddSpamWords(state.Get("SpamBadDynaWords"), SPAMFLAG_DYNAMIC | SPAMFLAG_SUBJECT | SPAMFLAG_BODY,
                       vars.GetNumber("BadSuspiciousWord"), 1);
    words.AddSpamWords(state.Get("SpamBadSubject"), SPAMFLAG_SUBJECT, vars.GetNumber("BadSubjectTopic"),
                       vars.GetNumber("BadSubjectSignificance"));
    words.AddSpamWords(ReadList(badSenders), SPAMFLAG_FROM, vars.GetNumber("BadSenderFound"),
                       vars.GetNumber("BadSenderSignificance"));
    words.AddDefinitions(ReadFile(state.Get("SpamFilename")));
    words.ResolveMarkers();
    if (words.Dropped() > 0)
        Trace("TARNWICK::LoadSpamDefinitions table full, %d words left out\n", words.Dropped());
    // The table is good without its log.
    (void)words.WriteLog(FILES::OwnFile(SPAMWORDS_LOG).Text());
}

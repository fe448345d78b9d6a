#include "app/notify/mailtypes.h"

#include <string_view>
#include <vector>

#include "corelib/base/codepage.h"
#include "corelib/base/trace.h"

namespace {

constexpr struct {
    const char* Key;
    const char* Default;
} TYPE_KEYS[] = {{"Name", ""},      {"Keywords", ""}, {"DoHeader", ""},    {"DoBody", ""},  {"DoImportance", ""},
                 {"DoPopup", ""},   {"DoSpam", ""},   {"SpamPoints", "1"}, {"DoColor", ""}, {"Color", ""},
                 {"TextColor", ""}, {"DoSound", ""},  {"SoundFile", ""}};

}  // namespace

void FillTypeDefaults(STRINGARRAY& record) {
    record.AllowNewKeys(true);
    for (const auto& row : TYPE_KEYS) {
        if (!record.Exists(row.Key)) {
            record.Set(row.Key, row.Default);
        }
    }
    // The keywords stay bytes: they are looked for in mails.
    record.Change("Name", CODEPAGE::ToUtf8);
    record.AllowNewKeys(false);
}

namespace {

constexpr std::string_view POINTS_FIELD = "X-SpamPoints: ";
constexpr const char* IMPORTANT = "tance: high";  // the end of Importance and of its like

/// A type as the search needs it, with its words taken apart once.
struct TYPE {
    explicit TYPE(const STRINGARRAY& record)
        : InHeader(record.GetNumber("DoHeader") != 0),
          InBody(record.GetNumber("DoBody") != 0),
          Important(record.GetNumber("DoImportance") != 0),
          Spam(record.GetNumber("DoSpam") != 0),
          SpamPoints(record.GetNumber("SpamPoints")) {
        STRING keywords = record.Get("Keywords");
        keywords.Replace(";", "\n");
        keywords.Replace("\r", "");
        WORDCURSOR lines(keywords, "\n");
        for (std::string_view line; lines.Next(line);) {
            STRING word(line);
            word.Strip('B', " \t");
            if (word.Length() > 0)
                Words.push_back(word);
        }
    }

    bool InHeader, InBody, Important, Spam;
    int SpamPoints;
    std::vector<STRING> Words;
};

}  // namespace

int GetTypeIndex(const STRING& text, const RECORDARRAY& table) {
    std::vector<TYPE> types;
    types.reserve(static_cast<size_t>(table.Count()));
    for (int i = 0; i < table.Count(); ++i)
        types.emplace_back(table[i]);
    int index = -1;
    bool inHeader = true;
    WORDCURSOR lines(text, "\n");
    for (std::string_view piece; lines.Next(piece);) {
        if (inHeader && piece.empty()) {
            inHeader = false;
            continue;
        }
        STRING line(piece);
        // A header's "Delivery-Date" and its like are no news of a delivery.
        if (inHeader && line.Pos("Delivery") != -1)
            line.Replace("livery", "liv*ery");
        for (int i = 0; i < static_cast<int>(types.size()); ++i) {
            const TYPE& type = types[static_cast<size_t>(i)];
            if (inHeader && type.Spam && line.View().starts_with(POINTS_FIELD)) {
                const int points = atoi(line.Mid(static_cast<int>(POINTS_FIELD.size())));
                // Unlike words, points do not heed the order: of all types that ask for fewer, the last one wins.
                if (points >= type.SpamPoints) {
                    index = i;
                    Trace("TARNWICK::GetTypeIndex spampoints%d, typendx= %d\n", points, index);
                }
            }
            if (inHeader ? type.InHeader : type.InBody) {
                for (const STRING& word : type.Words) {
                    if ((index == -1 || i < index) && line.iPos(word.Text()) != -1) {
                        index = i;
                        Trace("TARNWICK::GetTypeIndex keyword %s found in %s typendx= %d\n", word.Text(), line.Text(),
                              index);
                    }
                }
            }
            if (inHeader && type.Important && (index == -1 || i < index) && line.iPos(IMPORTANT) != -1) {
                index = i;
                Trace("TARNWICK::GetTypeIndex important typendx= %d\n", index);
            }
        }
    }
    Trace("TARNWICK::GetTypeIndex returns typendx= %d\n", index);
    return index;
}

#include "app/console/mailtable.h"

#include <algorithm>

#include "app/check/mailrecords.h"
#include "app/check/mailtext.h"
#include "app/console/consoletexts.h"
#include "app/console/displaytext.h"

namespace {

constexpr int MARK_COLUMNS = 2;
constexpr int SENDER_COLUMNS = 24;
constexpr int DATE_COLUMNS = 16;
constexpr int SIZE_COLUMNS = 8;
constexpr int POINTS_COLUMNS = 6;
constexpr int SUBJECT_MIN = 16;
constexpr int GAPS = 5;

std::string Safe(const STRING& text) {
    return DISPLAYTEXT::Safe(text.View());
}

std::string Row(const std::string& mark, const std::string& sender, const std::string& subject, const std::string& date,
                const std::string& size, const std::string& points, int columns) {
    const int fixed = MARK_COLUMNS + SENDER_COLUMNS + DATE_COLUMNS + SIZE_COLUMNS + POINTS_COLUMNS + GAPS;
    using DISPLAYTEXT::Fit;
    std::string row = Fit(mark, MARK_COLUMNS) + Fit(sender, SENDER_COLUMNS) + " " +
                      Fit(subject, std::max(SUBJECT_MIN, columns - fixed)) + " " + Fit(date, DATE_COLUMNS) + " " +
                      Fit(size, SIZE_COLUMNS, true) + " " + Fit(points, POINTS_COLUMNS, true);
    while (row.ends_with(' '))
        row.pop_back();
    return row + "\n";
}

std::string DateColumn(const STRING& value) {
    STRING date, time;
    ParseDate(value, date, time);
    // A date that could not be read comes out as zeros.
    return date == "0000-00-00" ? std::string() : Safe(date) + " " + Safe(time);
}

}  // namespace

std::string NewMailLine(const STRINGARRAY& mail, int columns) {
    const std::string size = Safe(mail["X-Size"]);
    const std::string text = Safe(mail["From"]) + ": " + Safe(mail["Subject"]);
    if (columns == 0)
        return "    " + text + " (" + size + ")";
    const int room = std::max(SUBJECT_MIN, columns - 4 - SIZE_COLUMNS - 2);
    return "    " + DISPLAYTEXT::Fit(text, room) + " " + DISPLAYTEXT::Fit(size, SIZE_COLUMNS, true);
}

std::string MailTable(const STRINGARRAY& item, const TEXTS& texts, int columns, int markPoints) {
    const STRING listing = item.Get("@FileStore");
    RECORDARRAY mails(MAILHASH_SLOTS, MAILHASH_SLOTS);
    BuildMailHash(listing, mails);
    std::string table = Safe(item.Get("Name")) + " - " + Safe(item.Get("LastValue")) + "\n";
    const bool empty = mails.Count() == 0 || atoi(listing) == 0;
    if (empty)
        return table + "  " + ConsoleText(texts, CTEXT_EMPTY) + "\n";
    const auto title = [&](int n) { return DISPLAYTEXT::Safe(texts.Part(CTEXT_COLUMNS, n).View()); };
    table += Row("", title(0), title(1), title(2), title(3), title(4), columns);
    for (int i = 0; i < mails.Count(); ++i) {
        const STRINGARRAY& mail = mails[i];
        const bool spam = markPoints > 0 && mail.GetNumber("X-SpamPoints") >= markPoints;
        const bool unread = mail.GetNumber("Seen") == 0;
        table += Row(std::string(spam ? "!" : " ") + (unread ? "*" : " "), Safe(mail["From"]), Safe(mail["Subject"]),
                     DateColumn(mail["X-Datetime"]), Safe(mail["X-Size"]), Safe(mail["X-SpamPoints"]), columns);
    }
    return table;
}

#include "app/console/mailtable.h"

#include <algorithm>

#include "app/check/mailrecords.h"
#include "app/check/persontext.h"
#include "app/common/displaytext.h"
#include "app/common/formats.h"
#include "app/common/mailtext.h"
#include "app/console/consoletexts.h"
#include "app/filter/spamfilter.h"
#include "app/mailbox/listing.h"
#include "app/reading/shownmail.h"
#include "corelib/base/headerblock.h"

namespace {

constexpr int MARK_COLUMNS = 2;
constexpr int SENDER_MIN = 12;
constexpr int SENDER_MAX = 24;
constexpr int DATE_COLUMNS = 16;
constexpr int SIZE_COLUMNS = 8;
constexpr int POINTS_COLUMNS = 6;
constexpr int SUBJECT_MIN = 8;
constexpr int NARROW = 64;  // below this there is no room for the date

std::string Safe(const STRING& text) {
    return DISPLAYTEXT::Safe(text.View());
}

/// What stands in a line of the table.
struct ROW {
    std::string Mark, Sender, Subject, Date, Size, Points;
};

std::string RowText(const ROW& row, int columns) {
    using DISPLAYTEXT::Fit;
    using DISPLAYTEXT::Width;
    const int sender = std::clamp(columns / 5, SENDER_MIN, SENDER_MAX);
    const std::string date = columns < NARROW ? "" : " " + Fit(row.Date, DATE_COLUMNS);
    const std::string numbers = " " + Fit(row.Size, SIZE_COLUMNS, true) + " " + Fit(row.Points, POINTS_COLUMNS, true);
    const int others = MARK_COLUMNS + sender + 1 + Width(date) + Width(numbers);
    std::string text = Fit(row.Mark, MARK_COLUMNS) + Fit(row.Sender, sender) + " " +
                       Fit(row.Subject, std::max(SUBJECT_MIN, columns - others)) + date + numbers;
    while (text.ends_with(' '))
        text.pop_back();
    return text + "\n";
}

std::string DateColumn(const STRING& value) {
    STRING date, time;
    ParseDate(value, date, time);
    // A date that could not be read comes out as zeros.
    return date == "0000-00-00" ? std::string() : Safe(date) + " " + Safe(time);
}

}  // namespace

std::string MailSize(const STRINGARRAY& mail) {
    const STRING& size = mail["X-Size"];
    if (!(size == FormatSize(0)))
        return Safe(size);
    const STRING bytes = ReadHeaderField(mail["Header"].View(), LISTING::SIZE_HEADER);
    return bytes.NotNull() ? Safe(bytes) + " B" : "";
}

std::string MailLine(const STRINGARRAY& mail, const std::string& detail, int columns) {
    const SHOWNMAIL::HEADER shown = SHOWNMAIL::Header(mail);
    const std::string text = shown.Sender + ": " + shown.Subject;
    if (columns == 0)
        return "    " + text + (detail.empty() ? "" : " (" + detail + ")");
    const int width = std::max(SIZE_COLUMNS, DISPLAYTEXT::Width(detail));
    const int room = std::max(SUBJECT_MIN, columns - 4 - width - 2);
    return "    " + DISPLAYTEXT::Fit(text, room) + " " + DISPLAYTEXT::Fit(detail, width, true);
}

std::string MailText(const STRINGARRAY& mail) {
    const SHOWNMAIL::HEADER shown = SHOWNMAIL::Header(mail);
    return shown.Sender + " -> " + shown.Recipient + "\n" + shown.Subject + "\n" + DateColumn(mail["X-Datetime"]) +
           "\n\n" + SHOWNMAIL::Text(mail);
}

std::string ReportLines(STRING report) {
    const char stored[] = {REASON_LINE_END, '\0'};
    report.Replace(stored, "\n");
    report.Strip('R', "\n");
    std::string lines;
    WORDCURSOR cursor(report, "\n");
    for (std::string_view line; cursor.Next(line);)
        lines += DISPLAYTEXT::Safe(line) + "\n";
    return lines + "\n";
}

std::string MailTable(const STRINGARRAY& item, const TEXTS& texts, int columns, int markPoints, bool reasons) {
    const STRING listing = item.Get("@FileStore");
    RECORDARRAY mails(MAILHASH_SLOTS, MAILHASH_SLOTS);
    BuildMailHash(listing, mails);
    std::string table = Safe(item.Get("Name")) + " - " + Safe(PersonText(item.Get("LastValue"), item, texts)) + "\n";
    if (listing.Length() == 0)
        return table;  // not read in this run, so nobody knows its mails
    const bool empty = mails.Count() == 0 || atoi(listing) == 0;
    if (empty)
        return table + "  " + ConsoleText(texts, CTEXT_EMPTY) + "\n";
    const auto title = [&](int n) { return DISPLAYTEXT::Safe(texts.Part(CTEXT_COLUMNS, n).View()); };
    table += RowText({"", title(0), title(1), title(2), title(3), title(4)}, columns);
    bool anySpam = false, anyUnread = false;
    for (int i = 0; i < mails.Count(); ++i) {
        const STRINGARRAY& mail = mails[i];
        const bool spam = markPoints > 0 && mail.GetNumber("X-SpamPoints") >= markPoints;
        const bool unread = mail.GetNumber("Seen") == 0;
        anySpam = anySpam || spam;
        anyUnread = anyUnread || unread;
        SHOWNMAIL::HEADER shown = SHOWNMAIL::Header(mail);
        table += RowText(
            {std::string(spam ? "!" : " ") + (unread ? "*" : " "), std::move(shown.Sender), std::move(shown.Subject),
             DateColumn(mail["X-Datetime"]), MailSize(mail), Safe(mail["X-SpamPoints"])},
            columns);
        if (reasons && mail["X-SpamReason"].Length() > 0)
            table += ReportLines(mail["X-SpamReason"]);
    }
    if (anyUnread)
        table += "  * " + ConsoleText(texts, CTEXT_MARK_UNREAD) + "\n";
    if (anySpam)
        table += "  ! " + ConsoleText(texts, CTEXT_MARK_SPAM, std::to_string(markPoints)) + "\n";
    return table;
}

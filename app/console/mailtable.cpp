#include "app/console/mailtable.h"

#include <algorithm>
#include <utility>

#include "app/check/mailrecords.h"
#include "app/check/persontext.h"
#include "app/common/displaytext.h"
#include "app/common/formats.h"
#include "app/common/mailtext.h"
#include "app/console/consoletexts.h"
#include "app/filter/spamfilter.h"
#include "app/inbox/mailview.h"
#include "app/mailbox/account.h"
#include "app/mailbox/listing.h"
#include "app/reading/shownmail.h"
#include "corelib/base/headerblock.h"

namespace {

constexpr int MARK_COLUMNS = 2;
constexpr int NUMBER_MIN = 2;
constexpr int SENDER_MIN = 10;
constexpr int SENDER_MAX = 24;
constexpr int DATE_COLUMNS = 16;
constexpr int SIZE_COLUMNS = 8;
constexpr int POINTS_COLUMNS = 6;
constexpr int SUBJECT_MIN = 5;
constexpr int NARROW = 64;  // below this there is no room for the date

std::string Safe(const STRING& text) {
    return DISPLAYTEXT::Safe(text.View());
}

std::string DateColumn(const STRING& value) {
    STRING date, time;
    ParseDate(value, date, time);
    // A date that could not be read comes out as zeros.
    return date == "0000-00-00" ? std::string() : Safe(date) + " " + Safe(time);
}

/// What stands in a line of the table.
struct ROW {
    ROW(std::string name, const TEXTS& texts) : Name(std::move(name)) {
        int part = 0;
        for (std::string* cell : {&Sender, &Subject, &Date, &Size, &Points})
            *cell = Safe(texts.Part(CTEXT_COLUMNS, part++));
    }
    ROW(std::string name, const STRINGARRAY& mail)
        : Name(std::move(name)),
          Date(DateColumn(mail["X-Datetime"])),
          Size(MailSize(mail)),
          Points(Safe(mail["X-SpamPoints"])) {
        SHOWNMAIL::HEADER shown = SHOWNMAIL::Header(mail);
        Sender = std::move(shown.Sender);
        Subject = std::move(shown.Subject);
    }

    std::string Name, Mark, Sender, Subject, Date, Size, Points, Below;
};

std::string RowText(const ROW& row, int nameColumns, int columns) {
    using DISPLAYTEXT::Fit;
    using DISPLAYTEXT::Width;
    const int sender = std::clamp(columns / 5, SENDER_MIN, SENDER_MAX);
    const std::string date = columns < NARROW ? "" : " " + Fit(row.Date, DATE_COLUMNS);
    const std::string numbers = " " + Fit(row.Size, SIZE_COLUMNS, true) + " " + Fit(row.Points, POINTS_COLUMNS, true);
    const int others = nameColumns + 1 + MARK_COLUMNS + sender + 1 + Width(date) + Width(numbers);
    std::string text = Fit(row.Name, nameColumns, true) + " " + Fit(row.Mark, MARK_COLUMNS) + Fit(row.Sender, sender) +
                       " " + Fit(row.Subject, std::max(SUBJECT_MIN, columns - others)) + date + numbers;
    while (text.ends_with(' '))
        text.pop_back();
    return text + "\n" + row.Below;
}

std::string Rows(const std::vector<ROW>& rows, int columns) {
    int nameColumns = NUMBER_MIN;
    for (const ROW& row : rows)
        nameColumns = std::max(nameColumns, DISPLAYTEXT::Width(row.Name));
    std::string table;
    for (const ROW& row : rows)
        table += RowText(row, nameColumns, columns);
    return table;
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

std::string MailText(const STRINGARRAY& mail, const TEXTS& texts) {
    const SHOWNMAIL::HEADER shown = SHOWNMAIL::Header(mail);
    std::string text =
        shown.Sender + " -> " + shown.Recipient + "\n" + shown.Subject + "\n" + DateColumn(mail["X-Datetime"]) + "\n\n";
    text += ViewOf(mail, texts).Readable.View();
    std::erase(text, '\r');
    return text.ends_with('\n') ? text : text + "\n";
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

std::string MailRows(const std::vector<NAMEDMAIL>& mails, const TEXTS& texts, int columns) {
    std::vector<ROW> rows = {ROW("", texts)};
    for (const NAMEDMAIL& mail : mails)
        rows.emplace_back(mail.Name, *mail.Mail);
    return Rows(rows, columns);
}

int MailCount(const STRINGARRAY& item) {
    const STRING listing = item.Get("@FileStore");
    return atoi(listing) == 0 ? 0 : LISTING::CountBlocks(listing);
}

std::string MailTable(const STRINGARRAY& item, const TEXTS& texts, const TABLELOOK& look) {
    const STRING listing = item.Get("@FileStore");
    RECORDARRAY mails(MAILHASH_SLOTS, MAILHASH_SLOTS);
    const int security = MAILACCOUNT::Security(item).Kind;
    const std::string mark = security == SECURITY_NONE ? "" : " [" + Safe(texts.Part(TEXT_SECURITIES, security)) + "]";
    std::string table =
        Safe(item.Get("Name")) + mark + " - " + Safe(PersonText(item.Get("LastValue"), item, texts)) + "\n";
    if (listing.Length() == 0)
        return table;  // not read in this run, so nobody knows its mails
    if (MailCount(item) == 0)
        return table + "  " + ConsoleText(texts, CTEXT_EMPTY) + "\n";
    BuildMailHash(listing, mails);
    std::vector<ROW> rows = {ROW("", texts)};
    bool anySpam = false, anyUnread = false;
    for (int i = 0; i < mails.Count(); ++i) {
        const STRINGARRAY& mail = mails[i];
        const bool spam = look.MarkPoints > 0 && mail.GetNumber("X-SpamPoints") >= look.MarkPoints;
        const bool unread = mail.GetNumber("Seen") == 0;
        anySpam = anySpam || spam;
        anyUnread = anyUnread || unread;
        ROW& row = rows.emplace_back(std::to_string(look.FirstNumber + i), mail);
        row.Mark = std::string(spam ? "!" : " ") + (unread ? "*" : " ");
        if (look.Reasons && mail["X-SpamReason"].Length() > 0)
            row.Below = ReportLines(mail["X-SpamReason"]);
    }
    table += Rows(rows, look.Columns);
    if (anyUnread)
        table += "  * " + ConsoleText(texts, CTEXT_MARK_UNREAD) + "\n";
    if (anySpam)
        table += "  ! " + ConsoleText(texts, CTEXT_MARK_SPAM, std::to_string(look.MarkPoints)) + "\n";
    return table;
}

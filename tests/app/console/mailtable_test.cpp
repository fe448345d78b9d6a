#include "app/console/mailtable.h"

#include <sstream>

#include "app/common/displaytext.h"
#include "app/console/consoletexts.h"
#include "tests/support/testsupport.h"

namespace {

class FAKETEXTS : public TEXTS {
 public:
    STRING Get(int id) const override {
        return id == CTEXT_COLUMNS ? "From|Subject|Date|Gr\xf6\xdf"
                                     "e|Points"
                                   : "(none)";
    }
};

STRINGARRAY Item(const std::string& listing) {
    STRINGARRAY item(64, 64);
    item.Set("Name", STRING("Home"));
    item.Set("LastValue", STRING("2 mails"));
    item.Set("LastRC", STRING("2|0"));
    item.Set("@FileStore", STRING(std::string_view(listing)));
    return item;
}

std::vector<std::string> Lines(const std::string& table) {
    std::vector<std::string> lines;
    std::istringstream stream(table);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string Mail(const std::string& headers) {
    return headers + "\nbody\n\x01";
}

STRINGARRAY EmptyMail() {
    STRINGARRAY mail(8, 8);
    for (const char* key : {"From", "To", "Subject", "X-Datetime", "Header", "Body"})
        mail.Set(key, "");
    return mail;
}

}  // namespace

TEST(MailTable, ShowsAMailInEachLine) {
    const STRINGARRAY item = Item("2 msgs|2 ?unread|9 bytes\n" +
                                  Mail("From: Ann <ann@example.org>\nSubject: Lunch?\nX-Size: 2048\n"
                                       "Date: Tue, 3 Mar 2026 12:05:06 +0000\nX-SpamPoints: 99\n") +
                                  Mail("From: bob@example.org\nSubject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\nX-Size: 5\n"
                                       "Date: yesterday\nX-SpamPoints: 100\nSeen: yes\n"));
    EXPECT_EQ(MailTable(item, FAKETEXTS(), {.Columns = 80, .MarkPoints = 100}),
              "Home - 2 mails\n"
              "     From             Subject                   Date                Gr\xc3\xb6\xc3\x9f"
              "e Points\n"
              " 1  *Ann              Lunch?                    2026-03-03 12:05     2 KB     99\n"
              " 2 ! bob@example.org  Gr\xc3\xbc\xc3\x9f"
              "e                                           5 B    100\n"
              "  * (none)\n  ! (none)\n");
    // Reports, with what a mail has brought into them made harmless.
    const std::string report = "X-SpamReason: Report. Subject: \x1b[2J\f\f    100 * Word 'a'\f\f\f\n";
    EXPECT_EQ(Lines(MailTable(Item("1 msgs\n" + Mail(report + "From: x\n")), FAKETEXTS(),
                              {.Columns = 80, .MarkPoints = 0, .Reasons = true})),
              (std::vector<std::string>{"Home - 2 mails",
                                        Lines(MailTable(item, FAKETEXTS(), {.Columns = 80, .MarkPoints = 0}))[1],
                                        " 1  *x", "Report. Subject: [2J", "", "    100 * Word 'a'", "", "  * (none)"}));
    // Marking is off.
    EXPECT_EQ(Lines(MailTable(item, FAKETEXTS(), {.Columns = 80, .MarkPoints = 0}))[3].substr(0, 6), " 2   b");
}

TEST(MailTable, TellsAnEmptyMailbox) {
    EXPECT_EQ(MailTable(Item("0 msgs|0 ?unread|0 bytes\n"), FAKETEXTS(), {.Columns = 80, .MarkPoints = 100}),
              "Home - 2 mails\n  (none)\n");
    // One that could not be read may have mails.
    EXPECT_EQ(MailTable(Item(""), FAKETEXTS(), {.Columns = 80, .MarkPoints = 100}), "Home - 2 mails\n");
}

TEST(MailTable, FitsTheTerminalWhateverTheMailSays) {
    std::string wide, accents;
    for (int i = 0; i < 200; ++i) {
        wide += "\xe6\x97\xa5";
        accents += "e\xcc\x81";
    }
    const STRINGARRAY item = Item("3 msgs|3 ?unread|9 bytes\n" +
                                  Mail("From: " + wide + "\nSubject: " + accents + "\nX-Size: 99999999999\n") +
                                  Mail("From: \x1b[2J\x9b"
                                       "2J\nSubject: a\x1b]0;x\x07\rb\x7f\nDate: \x1b\nX-SpamPoints: \x1b[1m\n") +
                                  Mail("Subject: =?UTF-8?B?GzJKwps=?=\n"));
    for (int columns : {40, 63, 64, 80, 200}) {
        const std::vector<std::string> lines =
            Lines(MailTable(item, FAKETEXTS(), {.Columns = columns, .MarkPoints = 100}));
        ASSERT_EQ(lines.size(), 6U);
        for (size_t i = 1; i < lines.size(); ++i) {
            EXPECT_LE(DISPLAYTEXT::Width(lines[i]), columns) << lines[i];
            EXPECT_EQ(DISPLAYTEXT::Safe(lines[i]), lines[i]);
        }
    }
    // The line that tells of a new mail fits too; without a terminal it is as long as it gets.
    STRINGARRAY mail = EmptyMail();
    mail.Set("From", STRING(std::string_view(wide)));
    mail.Set("Subject", STRING("\x1b[1mbold\n"));
    EXPECT_LE(DISPLAYTEXT::Width(MailLine(mail, "3 KB", 80)), 80);
    EXPECT_EQ(MailLine(mail, "3 KB", 0), "    " + wide + ": [1mbold (3 KB)");
}

TEST(MailTable, ShowsAMailInItsOwnLettersWithoutTheLineThatEndsOneOfPop3) {
    const std::pair<const char*, const char*> BODIES[] = {
        {"text\n.\n", "text\n"}, {"..\n.\n", ".\n"}, {"text\na.\n", "text\na.\n"}, {"a\n\n..\n.\n", "a\n\n.\n"}};
    for (const auto& [body, shown] : BODIES) {
        STRINGARRAY mail = EmptyMail();
        mail.Set(
            "Header",
            "From: =?UTF-8?Q?=CE=A9?= <a@x>\nTo: =?koi8-r?q?=D1?= <b@x>\nSubject: =?UTF-8?B?w?=\n =?UTF-8?B?w7w=?=\n");
        mail.Set("Body", body);
        EXPECT_EQ(MailText(mail, FAKETEXTS()), "Ω -> я\nü\n\n\n" + std::string(shown));
    }
}

#include "app/notify/notification.h"

#include "app/check/items.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/files.h"
#include "resources/commands.h"
#include "tests/app/apptest.h"

namespace {

using LIST = std::vector<std::string>;

class Notification : public testing::Test {
 protected:
    Notification() {
        FillSettings(State, {{"PopupMailDetails", "$status $from: $subject"},
                             {"PopupDoButtons", "0"},
                             {"PopupTextColor", "1"},
                             {"PopupBackgroundColor", "2"},
                             {"EmailDoSound", "0"},
                             {"EmailCmdline", "mail.exe"},
                             {"EmailWindowTitle", "Mail|Post"},
                             {"EmailDoConfirmProgram", "0"}});
        int handle = FIRST_ITEM_HANDLE;
        STRINGARRAY item;
        FixItem(item, State, handle);
        item.Set("Name", "Home");
        item.Set("DoPopup", "0");
        Items.Add(item);
        (void)FILES::Remove(LAST_POPUP_FILE);
    }
    STRINGARRAY& Item() { return Items[0]; }
    void AddMail(const char* subject, const char* header = "", const char* seen = "", const char* ignore = "0") {
        const std::string id = "id" + std::to_string(Records.Count());
        const std::string text =
            "To=Me\nFrom=Ann\nX-Size=5 KB\nX-SpamPoints=7\nBody=\n"
            "X-Datetime=Tue, 3 Mar 2026 12:05:06 +0000\nX-Message-Id=" +
            id + "\nMessageId=" + id + "\n";
        STRINGARRAY record(STRING(text), 16, 16);
        for (const auto& [key, value] :
             {std::pair{"Seen", seen}, {"Subject", subject}, {"X-Ignore", ignore}, {"Header", header}})
            record.Set(key, value);
        if (ignore[0] == '0')
            New.push_back(Records.Count());
        Records.Add(record);
    }
    void AddType(const char* name, const char* keywords, const char* popup, const char* more = "") {
        STRINGARRAY type(
            STRING("Name=") || name || "\nDoHeader=1\nKeywords=" || keywords || "\nDoPopup=" || popup || "\n" || more,
            32, 32);
        FillTypeDefaults(type);
        Types.Add(type);
    }
    CHECKREPORT Report(bool asked = false) { return {Records, New, false, true, asked, "2 mails", " (2 new)"}; }
    bool Notify() { return Teller.NewMail(Item(), Report()); }
    std::string AlertText() const { return FrontEnd.Alerts.empty() ? "none" : Std(FrontEnd.Alerts.back().Text); }

    STRINGARRAY State;
    RECORDARRAY Items{8, 8}, Types{8, 8};
    MAILRECORDS Records;
    std::vector<int> New;
    const TEXTTABLE Texts{{{TEXT_POPUP_HEAD, "New!"},
                           {TEXT_ASK_PROGRAM, "$NAME:$LIST?"},
                           {TEXT_DEFAULT_TYPE, "plain"},
                           {TEXT_NOTHING_NEW, "Nothing"},
                           {TEXT_POPUP_BUTTONS, "Program|Later|Close|Delete|Inbox|Show"},
                           {TEXT_TITLE, "Title"}}};
    JOURNAL Journal;
    JOURNALFRONTEND FrontEnd{Journal};
    FAKESTARTER Starter;
    NOTIFICATION Teller{State, Items, Types, FrontEnd, Texts, Starter};
};

TEST_F(Notification, ShowsOneMailWithSixButtonsAndMoreWithFour) {
    State.Set("PopupDoButtons", "1");
    AddMail("Lunch?", "", "no");
    EXPECT_TRUE(Notify());
    EXPECT_EQ(AlertText(),
              "New!\nHome: 2 mails (2 new)\n\n\x1b[bs] ! Ann: Lunch? \n\x1b[s]\n"
              "\x1b[sb;*=" NUMBER(COMMAND_MAIL_PROGRAM) "]Program\x1b[s]  \x1b[sb;*=" NUMBER(COMMAND_REMIND_LATER) "]Later\x1b[s]  \x1b[sb;*=" NUMBER(COMMAND_DELETE_MAIL) "]Delete\x1b[s]  "
              "\x1b[sb;*=" NUMBER(COMMAND_SHOW_MAIL) "]Show\x1b[s]  \x1b[sb;*=" NUMBER(COMMAND_SHOW_ITEM) "]Inbox\x1b[s]  \x1b[sb;*=0]Close\x1b[s]  ");
    const ALERTREQUEST& alert = FrontEnd.Alerts.back();
    EXPECT_EQ(alert.DurationMs, 10000);
    EXPECT_EQ(alert.TextColor * 10 + alert.BackColor, 12);
    EXPECT_EQ(alert.Handle, FIRST_ITEM_HANDLE);
    EXPECT_EQ(Journal.Take(), LIST{"timer 7 500"});
    EXPECT_EQ(Std(Teller.AlertMail().Get("Subject")), "Lunch?");
    STRING saved;
    ASSERT_TRUE(saved.Load(LAST_POPUP_FILE, "r"));
    EXPECT_EQ(Std(saved), AlertText());

    // The delete button's command, once.
    EXPECT_EQ(Std(Item().Get("@X-DeleteMessageId")), "id0\n");
    Teller.DeleteAlertMail();
    EXPECT_EQ(Std(Item().Get("@DeleteMessageId")) + Std(Item().Get("@X-DeleteMessageId")), "id0\n");
    Item().Set("@DeleteMessageId", "");
    Teller.DeleteAlertMail();
    EXPECT_EQ(Std(Item().Get("@DeleteMessageId")), "");

    AddMail("Dinner?");
    Item().Set("DoPopup", "1");
    Item().Set("PopupTextColor", "3");
    Item().Set("PopupBackgroundColor", "4");
    EXPECT_TRUE(Notify());
    EXPECT_EQ(AlertText(),
              "New!\nHome: 2 mails (2 new)\n\n\x1b[bs] ! Ann: Lunch? \n\x1b[bs]  Ann: Dinner? \n\x1b[s]\n"
              "\x1b[sb;*=" NUMBER(COMMAND_MAIL_PROGRAM) "]Program\x1b[s]  \x1b[sb;*=" NUMBER(COMMAND_REMIND_LATER) "]Later\x1b[s]  \x1b[sb;*=" NUMBER(COMMAND_SHOW_ITEM) "]Inbox\x1b[s]  "
              "\x1b[sb;*=0]Close\x1b[s]  ");
    EXPECT_EQ(FrontEnd.Alerts.back().TextColor * 10 + FrontEnd.Alerts.back().BackColor, 34);

    // The last popup comes back, as long as the settings say.
    State.Set("PopupDuration", "0");
    const std::string last = AlertText();
    FrontEnd.Alerts.clear();
    EXPECT_TRUE(Teller.ShowLastAlert());
    EXPECT_EQ(AlertText(), last);
    EXPECT_EQ(FrontEnd.Alerts.back().DurationMs, -1);
}

TEST_F(Notification, ListsWhatTheSettingsAndTypesLetIn) {
    AddType("bills", "Invoice", "1", "DoColor=1\nColor=255\nTextColor=9\nDoSound=1\nSoundFile=bill.wav\n");
    AddType("hidden", "secret", "0");
    State.Set("PopupMailDetails", "$to $an $von $betreff $type $typ $size $groesse $date $datum $time $zeit $spam");
    AddMail("0123456789012345678901234567890123456789", "X: invoice");
    AddMail("01234567890123456789012345678901234567890", "");
    AddMail("s", "X: secret");
    Records[1].Set("Body", "no secret invoice");
    AddMail("spam", "", "", "1");
    DETAILS details = Teller.BuildPopupDetailsList(Report());
    EXPECT_EQ(details.Lines, 2);
    EXPECT_EQ(details.TypeIndex, 0);
    EXPECT_EQ(Std(details.Text),
              "\x1b[bs;B=255;F=9] Me Me Ann 0123456789012345678901234567890123456789 bills bills 5 KB 5 KB "
              "2026-03-03 2026-03-03 12:05 12:05 7 \n"
              "\x1b[bs] Me Me Ann 0123456789012345678901234567890123456789 ... plain plain 5 KB 5 KB "
              "2026-03-03 2026-03-03 12:05 12:05 7 ");

    // Known mails: all of them, the unread ones, none.
    State.Set("PopupMailDetails", "$subject");
    New.clear();
    Records.DeleteAll();
    AddMail("new");
    AddMail("known", "", "1");
    AddMail("unread");
    New = {0};
    const std::pair<const char*, const char*> MODES[] = {{"0", "\x1b[bs] new "},
                                                         {"1", "\x1b[bs] new \n\x1b[s] unread "},
                                                         {"2", "\x1b[bs] new \n\x1b[s] known \n\x1b[s] unread "},
                                                         {"3", ""}};
    for (const auto& [mode, text] : MODES) {
        State.Set("PopupDoMailDetailsAll", mode);
        EXPECT_EQ(Std(Teller.BuildPopupDetailsList(Report()).Text), text) << mode;
    }
    // With a count that is sure, an unread mail is news as long as it is unread.
    State.Set("PopupDoMailDetailsAll", "2");
    CHECKREPORT sure = Report();
    sure.Unknown = false;
    EXPECT_EQ(Std(Teller.BuildPopupDetailsList(sure).Text), "\x1b[bs] new \n\x1b[s] known \n\x1b[bs] unread ");

    // Fifteen lines at most, however long they are.
    State.Set("PopupMailDetails", "$from");
    const std::string sender(2000, 'x');
    for (int i = 0; i < 30; ++i) {
        AddMail("more");
        Records[Records.Count() - 1].Set("From", sender.c_str());
    }
    details = Teller.BuildPopupDetailsList(Report());
    EXPECT_EQ(details.Lines, 15);
    State.Set("PopupDoMailDetailsAll", "0");
    EXPECT_TRUE(Notify());
    EXPECT_EQ(FrontEnd.Alerts.back().More, Records.Count() - 15);
    EXPECT_GT(details.Text.Length(), 12 * 2000);
}

TEST_F(Notification, ShowsMailsInTheirOwnLetters) {
    State.Set("PopupMailDetails", "$from > $to: $subject");
    std::string words = "=?UTF-8?Q?=D0?= =?UTF-8?Q?=B6", letters;  // a character in two words
    for (int i = 0; i < 40; ++i) {
        words += "=D0=B6";
        letters += "ж";
    }
    words += "?=\n";
    AddMail("raw", ("From: =?KOI8-R?Q?=F0=D2=C9?= <a@x>\nTo: =?gb2312?b?xOO6ww==?= <b@x>\nSubject: " + words).c_str());
    AddMail("raw", "Subject: =?UTF-8?Q?=E2=80=AEa=1B[s]=EF=BF=BD?=\nFrom: שלום <a@x>\n");
    EXPECT_EQ(Std(Teller.BuildPopupDetailsList(Report()).Text),
              "\x1b[bs] При > 你好: " + letters + " ... \n\x1b[bs] שלום > Me: a[s] ");
}

TEST_F(Notification, LetsNoMailForgeAButton) {
    AddMail("a\x1b[sb;*=" NUMBER(COMMAND_DELETE_MAIL) "]Delete\x1b[s]\r\nb\x0e\x0f", "", "");
    Notify();
    EXPECT_EQ(AlertText(),
              "New!\nHome: 2 mails (2 new)\n\n\x1b[bs]  Ann: a[sb;*=" NUMBER(COMMAND_DELETE_MAIL) "]Delete[s] b ");
}

TEST_F(Notification, StaysSilentWhereItShould) {
    AddType("hidden", "secret", "0");
    AddMail("s", "X: secret");
    EXPECT_FALSE(Notify()) << "every line is hidden by its type";
    New.clear();
    Records.DeleteAll();
    AddMail("open");
    State.Set("EmailDoPopup", "0");
    EXPECT_FALSE(Notify());
    EXPECT_TRUE(Teller.NewMail(Item(), Report(true))) << "the user has asked";
    Item().Set("@SuppressPopup", "1");
    EXPECT_FALSE(Teller.NewMail(Item(), Report(true)));
    EXPECT_EQ(FrontEnd.Alerts.size(), 1U);

    Item().Set("PopupTextColor", "5");
    EXPECT_TRUE(Teller.NothingNew(Item(), Report(true)));
    EXPECT_EQ(AlertText(), "Nothing (Home)");
    EXPECT_EQ(FrontEnd.Alerts.back().DurationMs, 2500);
    EXPECT_EQ(FrontEnd.Alerts.back().Handle, 0);
}

TEST_F(Notification, PlaysTheSoundOfTheTypeButLooksForTheGeneralOne) {
    const TEMPDIR dir;
    AddType("bills", "invoice", "1", "DoSound=1\nSoundFile=bill.wav\n");
    AddMail("a", "Subject: invoice");
    State.Set("EmailDoSound", "1");
    State.Set("SoundEmail", dir.File("mail.wav"));
    Notify();
    EXPECT_EQ(Journal.Take(), LIST{"timer 7 500"}) << "a missing general file silences the type's sound, too";
    WriteBytes(dir.File("mail.wav"), "RIFF");
    State.Set("EmailDoSoundLoop", "1");
    State.Set("EmailSoundLoopRep", "0");
    Notify();
    EXPECT_EQ(Journal.Take(), (LIST{"sound bill.wav", "timer 5 1000", "menus", "timer 7 500"}));
    Teller.PlaySoundLoop();
    EXPECT_TRUE(Teller.IsSoundLooping());
    Teller.StopSoundLoop();
    Teller.StopSoundLoop();
    Teller.PlaySoundLoop();
    EXPECT_EQ(Journal.Take(), (LIST{"sound bill.wav", "stop 5", "menus"}));
}

TEST_F(Notification, StartsTheMailProgramOnce) {
    AddMail("a");
    State.Set("EmailDoProgram", "1");
    Notify();
    EXPECT_EQ(Journal.Take(), (LIST{"program 4096", "timer 7 500"}));
    State.Set("EmailDoWindowCheck", "1");
    Starter.Window = "Post";
    Notify();
    EXPECT_EQ(Journal.Take(), LIST{"timer 7 500"});
    State.Set("EmailDoWindowCheck", "0");
    State.Set("EmailDoConfirmProgram", "1");
    Notify();
    EXPECT_EQ(Journal.Take(), (LIST{"ask Title Home:\r  Ann: a \r\r?", "timer 7 500"}));
    State.Set("PopupDoMailDetails", "0");
    FrontEnd.Answer = true;
    Notify();
    EXPECT_EQ(Journal.Take(), (LIST{"ask Title Home:?", "program 4096", "timer 7 500"}));
}

TEST(MailTypes, TakeTheTypeNearestTheTop) {
    RECORDARRAY types(8, 8);
    for (const char* text :
         {"Keywords=invoice; bill \nDoHeader=1\n", "Keywords=delivery\nDoHeader=1\nDoBody=1\n",
          "DoSpam=1\nSpamPoints=100\n", "DoImportance=1\n", "DoSpam=1\n", "Keywords=agenda\\nminutes\nDoBody=1\n"}) {
        STRINGARRAY type(STRING(text), 16, 16);
        FillTypeDefaults(type);
        types.Add(type);
    }
    const std::pair<const char*, int> CASES[] = {
        {"Subject: Your INVOICE\n\n", 0},
        {"Subject: x\n\nthe invoice\n", -1},
        {"Subject: agenda\n\nx\n", -1},
        {"Subject: x\n\nthe agenda of\n", 5},
        {"Delivery-Date: x\n\n", -1},
        {"Subject: x\n\nDelivery failed\n", 1},
        {"Subject: delivery\nX: bill\n\n", 0},
        {"X-SpamPoints: 99\n\n", 4},
        {"X-SpamPoints: 100\n\n", 4},
        {"x-spampoints: 500\n\n", -1},
        {"X-SpamPoints: 100\nImportance: High\n\n", 3},
        {"Subject: bill\nX-SpamPoints: 100\n\n", 4},
        {"Subject: x\n\nX-SpamPoints: 500\nImportance: high", -1},
        {"X-MSMail-Importance: HIGH", 3},
    };
    for (const auto& [mail, index] : CASES)
        EXPECT_EQ(GetTypeIndex(mail, types), index) << mail;
}

}  // namespace

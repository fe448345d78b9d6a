#include "app/dialogs/setup.h"

#include "corelib/base/pagewalk.h"
#include "tests/support/testsupport.h"

namespace {

class Setup : public ::testing::Test {
 protected:
    Setup() {
        for (const int page : SETUP::ORDER)
            for (const FIELD& field : FieldsOf(page))
                if (STRING(field.Key).Pos('.') == -1)
                    State.Set(field.Key, "");
        for (const char* key : {"SpamMyEmail", "SpamMyInterests", "EmailDoProgram", "EmailDoWindowCheck",
                                "EmailDoSound", "EmailWindowTitle", "EmailCmdlineInbox", "EmailCmdlineNewMail"})
            State.Set(key, "");
        State.Set("SpamHaveDistrLists", "1");
    }
    /// Leaves a page with these values in it; the number of what the user is told.
    int Leave(int page, const std::vector<std::pair<const char*, const char*>>& values) {
        STRINGARRAY form = Wizard.Begin(page);
        for (const auto& [key, value] : values)
            form.Set(key, value);
        return Wizard.Leave(page, form);
    }
    std::string In(const char* key) const { return Std(State.Get(key)); }

    STRINGARRAY State{64, 64};
    RECORDARRAY Items{4, 4};
    SETUP Wizard{State, Items, {"C:\\mail.exe", "one|two", "Ann Owner"}};
};

}  // namespace

TEST_F(Setup, GoesThroughItsPages) {
    // n, b and c are what is pressed; the pages by their last digit, in brackets what is passed over.
    const std::tuple<const char*, bool, bool, const char*, bool> paths[] = {
        {"nnnnnnn", false, true, "1236457", true},
        {"nnnnnn", true, true, "136457", true},
        {"nnnnnn", false, false, "123647", true},
        {"nnnnn", true, false, "13647", true},
        {"nnbbnnnnnnn", false, true, "12321236457", true},
        // Back over a page without questions goes on back.
        {"nbnnnnn", true, false, "1313647", true},
        {"nnnnbnn", true, false, "1364747", true},
        {"c", false, true, "1", false},
        {"nc", false, true, "12", false},
        {"nnnnnc", false, true, "123645", false},
        {"nnnnnnc", false, true, "1236457", true},
    };
    for (const auto& [keys, hasItem, hasLists, shown, reaches] : paths) {
        while (Items.Count() > 0)
            Items.Delete(0);
        if (hasItem)
            Items.Add(STRINGARRAY(1, 1));
        State.Set("SpamHaveDistrLists", hasLists ? "1" : "0");
        PAGEWALK walk(std::size(SETUP::ORDER));
        std::string seen;
        const char* key = keys;
        while (!walk.IsOver() && seen.size() < 20) {
            const int page = SETUP::ORDER[walk.Page()];
            if (!Wizard.HasQuestions(page)) {
                walk.Leave(PAGEEND::NOTHING_TO_ASK);
                continue;
            }
            seen += std::to_string(page % 10);
            walk.Leave(*key == 'n' ? PAGEEND::NEXT : *key == 'b' ? PAGEEND::BACK : PAGEEND::CANCEL);
            ++key;
        }
        EXPECT_EQ(seen, shown) << keys;
        EXPECT_EQ(walk.HasReachedEnd(), reaches) << keys;
        EXPECT_EQ(*key, 0) << keys;
    }
}

TEST_F(Setup, TakesTheMailProgramAndKnowsSome) {
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_CONNECTION).Get("EntryToMonitor")), "one");
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_CONNECTION).Get("EmailCmdline")), "C:\\mail.exe");
    const char* const keys[] = {"EmailDoProgram",    "EmailDoWindowCheck",  "EmailWindowTitle",
                                "EmailCmdlineInbox", "EmailCmdlineNewMail", "EmailDoSound"};
    const std::tuple<const char*, const char*> cases[] = {
        {"", "|||||"},
        {"c:\\x\\mail.exe", "0|||||1"},
        {"c:\\Office\\outlook.exe", "0|1|Outlook||/c ipm.note|1"},
        {"c:\\Outlook Express\\msimn.exe", "0|1|Outlook||/mailurl:mailto:|1"},
        {"c:\\MsImn.exe", "0|1|Outlook||/mailurl:mailto:|1"},
        {"c:\\netscape.exe", "0|1|Inbox - Netscape| -inbox|-compose|1"},
    };
    for (const auto& [path, settings] : cases) {
        std::string found;
        for (const char* key : keys)
            State.Set(key, "");
        EXPECT_EQ(Leave(PAGE_SETUP_CONNECTION, {{"EmailCmdline", path}, {"ConnectionType", "1"}}), 0);
        for (const char* key : keys)
            found += (found.empty() && key[7] == 'P' ? "" : "|") + In(key);
        EXPECT_EQ(found, settings) << path;
        EXPECT_EQ(In("ConnectionType"), "1");
    }
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_CONNECTION).Get("ConnectionType")), "1") << "what the user has left there";
    const std::pair<const char*, const char*> commands[] = {{"\"C:\\a b\\Mail.EXE\" \"%1\"", "C:\\a b\\Mail.EXE"},
                                                            {"%x%\\m.exe -to %1", "%x%\\m.exe"},
                                                            {"m", "m"},
                                                            {"", ""}};
    for (const auto& [command, program] : commands)
        EXPECT_EQ(Std(ProgramOfCommand(command)), program);
}

TEST_F(Setup, MakesTheFirstAccount) {
    const std::tuple<const char*, const char*, const char*, const char*, const char*, int> cases[] = {
        {"1", " mail.x ", " j\xc3\xb6 ", "600", "Mail mail.x/1/mail.x|j\xc3\xb6/p\xc3\xa4ss\n/600/1", 0},
        {"2", "h:1143", "ann@x", "0", "Mail h:1143/2/h:1143|ann@x/p\xc3\xa4ss\n/0/1", 0},
        {"3", "left over", "ann", "60", "Mail hotmail/3/hotmail|ann/p\xc3\xa4ss\n/600/1", TEXT_PERIOD_RAISED},
        {"3", "", "ann", "0", "Mail hotmail/3/hotmail|ann/p\xc3\xa4ss\n/0/1", 0},
        {"0", "x", "y", "700", "Mail mapi/0/mapi|Mapi//0/1", 0},
    };
    for (const auto& [type, server, user, period, record, told] : cases) {
        EXPECT_EQ(Leave(PAGE_SETUP_ACCOUNT, {{"Type", type},
                                             {"Source.Server", server},
                                             {"Source.User", user},
                                             {"Source2", "p\xc3\xa4ss\n"},
                                             {"TimingCyclic", period}}),
                  told);
        ASSERT_EQ(Items.Count(), 1);
        std::string found;
        for (const char* key : {"Name", "Type", "Source", "Source2", "TimingCyclic", "TrayCheck"})
            found += (found.empty() ? "" : "/") + Std(Items[0].Get(key));
        EXPECT_EQ(found, record);
        Items.Delete(0);
    }
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_ACCOUNT).Get("TimingCyclic")), "600");
}

TEST_F(Setup, RefusesAnAccountWithoutAMailbox) {
    const std::tuple<const char*, const char*, const char*, int, int> cases[] = {
        {"1", "s", "u", 0, 201},
        {"2", " ", "u", TEXT_NO_SERVER, 201},
        {"1", "", "", TEXT_NO_USER, 202},
        {"1", "s|t", "u", TEXT_BAR, 201},
        {"2", "s", "u|v", TEXT_BAR, 202},
        {"1", "s:65535", "u", 0, 201},
        {"1", " s pop3 ", "u", 0, 201},
        {"1", "s:143|t", "u", TEXT_BAD_SERVER_PORT, 201},
        {"1", ":25", "u", TEXT_NO_SERVER, 201},
        {"1", "s:", "u", TEXT_BAD_SERVER_PORT, 201},
        {"1", "s:0", "u", TEXT_BAD_SERVER_PORT, 201},
        {"2", "s 65679", "u", TEXT_BAD_SERVER_PORT, 201},
        {"2", "s:-1", "u", TEXT_BAD_SERVER_PORT, 201},
        {"2", "s:143x", "u", TEXT_BAD_SERVER_PORT, 201},
        {"3", "", "u", 0, 201},
        {"3", "", "\t", TEXT_NO_USER, 202},
        {"0", "", "", 0, 201}};
    for (const auto& [type, server, user, fault, field] : cases) {
        STRINGARRAY form = Wizard.Begin(PAGE_SETUP_ACCOUNT);
        form.Set("Type", type);
        form.Set("Source.Server", server);
        form.Set("Source.User", user);
        int control = 0;
        EXPECT_EQ(SETUP::Fault(PAGE_SETUP_ACCOUNT, form, control), fault) << type << server << user;
        EXPECT_EQ(control, field);
    }
}

TEST_F(Setup, StoresTheUserAndWhatIsWanted) {
    const std::tuple<const char*, const char*, const char*, const char*> users[] = {
        {"J\xc3\xb6rg", "a; b", "J\xc3\xb6rg\r\na\r\nb", "a"},
        {" Ann ", "a@x;;b@x ;", "Ann\r\na@x\r\nb@x", "a@x"},
        {"", "", "", ""}};
    for (const auto& [name, addresses, own, first] : users) {
        EXPECT_EQ(Leave(PAGE_SETUP_USER, {{"SpamMyEmail.Name", name}, {"SpamMyEmail.Addresses", addresses}}), 0);
        EXPECT_EQ(In("SpamMyEmail"), own);
        EXPECT_EQ(In("SpamSmtpTo"), first);
    }
    const std::tuple<const char*, const char*, const char*> lists[] = {
        {"", "a; b", "a\r\nb"},
        {"joke\r\n[velmora-announce]\r\n", "announce;jokes ;\r\n x", "joke\r\n[velmora-announce]\r\njokes\r\nx"},
        {"joke", " ; \r\n", "joke"}};
    for (const auto& [before, words, after] : lists) {
        State.Set("SpamMyInterests", before);
        EXPECT_EQ(Leave(PAGE_SETUP_LISTS, {{"SpamMyInterests.Lists", words}, {"SpamDistrLists", "2"}}), 0);
        EXPECT_EQ(In("SpamMyInterests"), after);
        EXPECT_EQ(In("SpamDistrLists"), "2");
    }
}

TEST_F(Setup, ProposesWhatTheAccountsTell) {
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_USER).Get("SpamMyEmail.Addresses")), "");
    for (const char* record : {"Type=1\nSource=first|u@x\nSource2=p",
                               "Type=2\nSource=last:1143|@u\nSource2=pw\nSecurity=2", "Type=3\nSource=hotmail|u"})
        Items.Add(STRINGARRAY(STRING(record), 8, 8));
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_SENDING).Get("SpamSmtp")), "last");
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_USER).Get("SpamMyEmail.Addresses")), "u@x");
    const auto login = [](const STRINGARRAY& form) {
        return Std(form.Get("SpamSmtpSecurity")) + Std(form.Get("SpamSmtpUser")) + Std(form.Get("SpamSmtpPassword"));
    };
    EXPECT_EQ(login(Wizard.Begin(PAGE_SETUP_SENDING)), "2@upw");
    Items[1].Set("Security", "0");
    EXPECT_EQ(login(Wizard.Begin(PAGE_SETUP_SENDING)), "0");
    State.Set("SpamSmtp", "mine");
    EXPECT_EQ(Std(Wizard.Begin(PAGE_SETUP_SENDING).Get("SpamSmtp")), "mine");
    EXPECT_EQ(Leave(PAGE_SETUP_SENDING, {{"SpamSmtp", " s "}, {"SpamSmtpTo", " ; me@x;"}, {"SpamSmtpUser", " u"}}), 0);
    EXPECT_EQ(In("SpamSmtp") + "/" + In("SpamSmtpTo") + "/" + In("SpamSmtpUser"), "s/me@x/u");
}

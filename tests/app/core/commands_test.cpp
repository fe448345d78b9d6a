#include "app/core/commands.h"

#include "app/check/items.h"
#include "app/core/maintitle.h"
#include "app/core/tarnwick.h"
#include "tests/app/core/applicationtest.h"

namespace {

using LIST = std::vector<std::string>;

class Commands : public APPLICATIONTEST {
 protected:
    Commands() {
        for (const char* name : {"a", "b", "c"}) {
            STRINGARRAY item = Application.NewItem();
            item.Set("Name", name);
            item.Set("LastSeenIds", "1|2");
            item.Set("@Showing", "1");
            (void)Application.AddItem(item);
        }
        for (int i = 0; i < 3; ++i)
            Application.Items[i].Set("@ForceRefresh", "0");
        Journal.Take();
    }
    STRINGARRAY& Item(int i) { return Application.Items[i]; }
    int Handle(int i) { return Item(i).GetNumber("@Handle"); }
    /// Which items are to be checked: their names, with "!" for an answer in any case.
    std::string Forced() {
        std::string forced;
        for (int i = 0; i < Application.Items.Count(); ++i) {
            if (Item(i).GetNumber("@ForceRefresh") != 0)
                forced += Std(Item(i).Get("Name")) + (Item(i).GetNumber("@ForcePopup") != 0 ? "!" : "");
            Item(i).Set("@ForceRefresh", "0");
        }
        return forced;
    }
    /// Mail that makes a sound which repeats.
    void StartSoundLoop() {
        STRINGARRAY& state = Application.pState;
        for (const char* key : {"EmailDoSound", "EmailDoSoundLoop"})
            state.Set(key, "1");
        state.Set("SoundEmail", Data.File("accounts.ini"));
        MAILRECORDS records;
        Application.Notification().NewMail(Item(0), {records, {}, false, false, false, "", ""});
        EXPECT_TRUE(Application.Notification().IsSoundLooping());
        Journal.Take();
    }
    /// The alert that was posted since the last call: text, colour and ms.
    std::string Alert() {
        std::string alert = "none";
        for (const ALERTREQUEST& request : std::exchange(FrontEnd.Alerts, {}))
            alert =
                Std(request.Text) + " " + std::to_string(request.BackColor) + " " + std::to_string(request.DurationMs);
        return alert;
    }

    FAKESTARTER Starter;
    COMMANDS Doer{Application, FrontEnd, Starter};
};

TEST_F(Commands, ForceChecksOfTheRightItems) {
    for (const int i : {0, 1, 2})
        Item(i).Set("TrayCheck", "0");
    for (const int command : {COMMAND_CHECK_ALL, COMMAND_CHECK_ALL_AS_NEW}) {
        EXPECT_TRUE(Doer.DoCommand(command, {}));
        EXPECT_EQ(Journal.Take().back(), Numbered(TEXT_TITLE) + ": " + Numbered(TEXT_NONE_TAKES_PART));
        EXPECT_EQ(Alert() + Forced(), "none") << "nobody is told that a check runs";
    }
    Item(1).Set("TrayCheck", "1");
    Item(2).Set("@Showing", "0");
    const std::vector<int> selected = {Handle(0), 99999, Handle(2)};  // one has gone meanwhile
    const std::tuple<int, const char*, const char*> CASES[] = {
        {COMMAND_CHECK_ALL, "b!", "1|2 1|2 1|2"},
        {COMMAND_CHECK_ITEMS, "a!c!", "1|2 1|2 1|2"},
        {COMMAND_CHECK_ITEMS_QUIETLY, "ac", "1|2 1|2 1|2"},
        {COMMAND_CHECK_SHOWN, "a!b!", "1|2 1|2 1|2"},
        {COMMAND_TRAY_CHECK_SHOWN, "a!b!", "1|2 1|2 1|2"},
        {COMMAND_CHECK_ALL_AS_NEW, "b!", "1|2  1|2"},
        {COMMAND_SHOW_ITEMS_MAILS, "a!c!", "<SHOWALL>  <SHOWALL>"},
    };
    for (const auto& [command, forced, seenIds] : CASES) {
        EXPECT_TRUE(Doer.DoCommand(command, selected));
        EXPECT_EQ(Forced(), forced) << command;
        const bool all = command == COMMAND_CHECK_ALL || command == COMMAND_CHECK_ALL_AS_NEW;
        EXPECT_EQ(Alert(), all ? Numbered(TEXT_CHECK_ALL) + " 49407 1500" : "none") << command;
        std::string seen = Std(Item(0).Get("LastSeenIds"));
        for (int i : {1, 2})
            seen += " " + Std(Item(i).Get("LastSeenIds"));
        EXPECT_EQ(seen, seenIds) << command;
    }
}

TEST_F(Commands, SuspendAndResume) {
    Item(0).Set("LastRC", "5|5");
    EXPECT_TRUE(Doer.DoCommand(COMMAND_SUSPEND_ITEMS, {Handle(0)}));
    EXPECT_EQ(Item(0).GetNumber("UpdateSuspended"), 1);
    EXPECT_EQ(Std(Item(0).Get("LastRC")), "0|0");
    EXPECT_EQ(Std(Item(0).Get("LastValue")), "-");
    EXPECT_EQ(Journal.Take(), (LIST{"blinking stops", "cell 1 -", "row " + std::to_string(Handle(0))}));
    EXPECT_TRUE(Doer.DoCommand(COMMAND_SUSPEND_ITEMS, {Handle(0), Handle(1)}));
    EXPECT_EQ(Item(0).GetNumber("UpdateSuspended"), 0);
    EXPECT_EQ(Item(1).GetNumber("UpdateSuspended"), 1);
    RECORDARRAY stored(8, 8);
    EXPECT_EQ(stored.LoadAll(Data.File("accounts.ini").Text()), 3);
    EXPECT_EQ(Std(stored[0].Get("UpdateSuspended")) + Std(stored[1].Get("UpdateSuspended")), "01") << "at once";
}

TEST_F(Commands, OfTheProgramAsAWhole) {
    EXPECT_TRUE(Doer.DoCommand(COMMAND_RESET_COUNT, {}));
    EXPECT_EQ(Application.pState.GetNumber("ResetCounter"), 1);
    EXPECT_EQ(Journal.Take(), (LIST{"blinking stops", "icon"}));

    EXPECT_TRUE(Doer.DoCommand(COMMAND_ABOUT, {}));
    EXPECT_EQ(Journal.Take().back(),
              Numbered(TEXT_TITLE) + ": " + Numbered(TEXT_PRODUCT) + "\rVersion " + PROGRAM_VERSION);

    EXPECT_TRUE(Doer.DoCommand(COMMAND_QUIT, {}));
    EXPECT_TRUE(Application.Cycle().IsStopRequested());
}

TEST_F(Commands, LeaveTheFrontEndsOwnToItInSilence) {
    for (int command :
         {COMMAND_INBOX, COMMAND_SHOW_MAIL, COMMAND_INBOX_FIRST, COMMAND_WEB_PAGE, COMMAND_DATA_DIRECTORY, 1}) {
        StartSoundLoop();
        EXPECT_FALSE(Doer.DoCommand(command, {Handle(0)})) << command;
        EXPECT_EQ(Journal.Take(), (LIST{"stop 5", "menus", "blinking stops"})) << command;
    }
    StartSoundLoop();
    EXPECT_TRUE(Doer.DoCommand(COMMAND_STOP_SOUND, {}));
    EXPECT_EQ(Journal.Take(), (LIST{"stop 5", "menus"}));
    EXPECT_EQ(Forced(), "");
}

TEST_F(Commands, AnswerAPopup) {
    (void)STRING("popup").Save(LAST_POPUP_FILE, "w");
    for (int command : {COMMAND_SHOW_LAST_POPUP, COMMAND_TRAY_SHOW_LAST_POPUP}) {
        EXPECT_TRUE(Doer.DoCommand(command, {}));
        EXPECT_EQ(Alert(), "popup 49407 10000");
    }
    EXPECT_TRUE(Doer.DoCommand(COMMAND_REMIND_LATER, {}));
    EXPECT_EQ(Journal.Take().back(), "timer 10 900000");
    EXPECT_TRUE(Doer.DoCommand(COMMAND_DELETE_MAIL, {}));
}

TEST_F(Commands, StartTheMailProgram) {
    Application.pState.Set("EmailCmdlineInbox", "-in");
    Application.pState.Set("EmailCmdlineNewMail", "/new \t");
    Item(2).Set("DoSpecialMailProgram", "1");
    Item(2).Set("SpecialMailProgram", "special");
    const std::tuple<int, int, const char*, const char*> CASES[] = {
        {COMMAND_MAIL_PROGRAM, 2, "m.exe", "\"m.exe\",-in,."},
        {COMMAND_ITEM_MAIL_PROGRAM, 2, "m.exe", "special,-in,."},
        {COMMAND_ITEM_MAIL_PROGRAM, -1, "m.exe", ""},
        {COMMAND_NEW_MAIL, 2, "\"C:\\m m\\m.exe\" /inbox -x", "\"C:\\m m\\m.exe\" /new,,C:\\m m"},
        {COMMAND_NEW_MAIL, -1, "", "offered"},
        {COMMAND_MAIL_PROGRAM, -1, " \"\"", "offered"},
        {COMMAND_ITEM_MAIL_PROGRAM, 0, "", "offered"},
        {COMMAND_ITEM_MAIL_PROGRAM, 2, "", "special,-in,."},
    };
    for (const auto& [command, selected, commandLine, started] : CASES) {
        Application.pState.Set("EmailCmdline", commandLine);
        const std::vector<int> none;
        EXPECT_TRUE(Doer.DoCommand(command, selected == -1 ? none : std::vector<int>{Handle(selected)}));
        const bool offered = Journal.Take().back() == "program offered";
        EXPECT_EQ(offered ? "offered" : Starter.Take(), started) << command << " " << commandLine;
    }
    EXPECT_FALSE(Application.Cycle().WasStartedThisPass());
    Doer.StartPostedMailProgram(Handle(2));
    EXPECT_EQ(Starter.Take(), "special,-in,.");
    EXPECT_TRUE(Application.Cycle().WasStartedThisPass());
    Application.pState.Set("EmailCmdline", "broken.exe");
    EXPECT_TRUE(Doer.DoCommand(COMMAND_NEW_MAIL, {}));
    EXPECT_EQ(Journal.Take().back(), Numbered(TEXT_TITLE) + ": broken.exe /new\nreason");
}

TEST(MainTitles, NameVersionAndWhatIsUnusual) {
    const TEXTTABLE texts(
        {{TEXT_TITLE, "Title"}, {TEXT_SUSPENDED, "(paused)"}, {TEXT_TRASHED, " - $HOWMANY in the trash"}});
    const ARGUMENTS plain("tarnwick");
    EXPECT_EQ(Std(MainTitle(texts, plain, false, 0)), std::string("Title ") + PROGRAM_VERSION);
    EXPECT_EQ(Std(MainTitle(texts, plain, true, 2)),
              std::string("Title ") + PROGRAM_VERSION + " (paused) - 2 in the trash");
    EXPECT_EQ(Std(MainTitle(texts, ARGUMENTS("tarnwick", "/novers"), false, 0)), "Title");
}

}  // namespace

#include "app/console/session.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/check/mailrecords.h"
#include "app/common/displaytext.h"
#include "app/console/accountlist.h"
#include "app/console/addaccount.h"
#include "app/console/consolefrontend.h"
#include "app/console/consoletexts.h"
#include "app/console/learnmails.h"
#include "app/console/mailtable.h"
#include "app/console/scoremails.h"
#include "app/console/switches.h"
#include "app/console/switchpages.h"
#include "app/console/terminal.h"
#include "app/console/trash.h"
#include "app/core/commands.h"
#include "app/core/helppages.h"
#include "app/core/report.h"
#include "app/core/settings.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/demo/demo.h"
#include "app/filter/learning.h"
#include "app/mailbox/account.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/strings.h"
#include "corelib/base/trace.h"
#include "corelib/system/crashreport.h"
#include "corelib/system/sealing.h"

namespace {

constexpr int LOOK_MS = 100;  // how soon a stop is seen
constexpr int PIPE_COLUMNS = 120;

std::atomic<bool> StopAsked = false;
std::atomic<CONSOLEFRONTEND*> AssertionAsker = nullptr;

ARGUMENTS MakeArguments(int argc, char** argv) {
    std::vector<std::string> words = CompletePaths(WithSlashes({argv, argv + argc}));
    AddDemoDirectory(words);
    return ARGUMENTS(words);
}

int MarkPoints(const TARNWICK& application) {
    const STRINGARRAY& state = application.pState;
    return state.GetNumber("SpamDoMark") ? state.GetNumber("SpamMarkPoints") : 0;
}

int TableColumns() {
    return TERMINAL::OutputIsTerminal() ? TERMINAL::Columns() - 1 : PIPE_COLUMNS;
}

TABLELOOK Look(TARNWICK& application) {
    return {.Columns = TableColumns(), .MarkPoints = MarkPoints(application)};
}

/// One run of the program.
class SESSION {
 public:
    SESSION(int argc, char** argv) : App(MakeArguments(argc, argv)) {}
    ~SESSION() {
        SetAssertQuestion(nullptr);
        Trace("main::~main");
    }
    SESSION(const SESSION&) = delete;
    SESSION& operator=(const SESSION&) = delete;
    int Run();

 private:
    std::string Text(int id, const std::string& value = {}) const { return ConsoleText(App.Texts(), id, value); }
    bool Has(const char* name) const { return App.Arguments().TestArg(name); }
    int Refuse(const std::string& message) {
        FrontEnd.PrintError(message);
        return EXIT_NO_START;
    }
    std::string FaultOf(SWITCHFAULT fault, const std::string& word) const;
    void PrintHelp();
    int RunApplication(TARNWICK& application);
    std::vector<STRING> Values(const char* name) const;
    std::optional<int> ChangeAccounts(TARNWICK& application);
    std::optional<int> UseTrash(TARNWICK& application);
    std::optional<int> Learn(TARNWICK& application);
    int SaveReport(TARNWICK& application, const STRING& path);
    void BeginNotices(const TARNWICK& application);
    int CheckOnce(TARNWICK& application);
    int Watch(TARNWICK& application);
    void StartPostedPrograms(COMMANDS& commands);
    void AnswerAlert(TARNWICK& application, COMMANDS& commands, int command);
    void PrintMails(TARNWICK& application);
    bool PrintMail(TARNWICK& application, const STRING& number);

    CONSOLEFRONTEND FrontEnd;
    VELMORAAPP App;
    std::unique_ptr<DEMO> Demo;
};

int SESSION::Run() {
    if (const int code = App.Start(FrontEnd))
        return code;
    FrontEnd.SetTexts(&App.Texts());
    if (FrontEnd.CanAsk()) {
        AssertionAsker = &FrontEnd;
        SetAssertQuestion(
            [](const char* title, const char* text) { return AssertionAsker.load()->AskYesNo(title, text); });
    }
    if (HelpWanted(App.Arguments()) || Has("VERSION")) {
        HelpWanted(App.Arguments())
            ? PrintHelp()
            : FrontEnd.PrintRaw(Text(TEXT_PRODUCT) + " " + PROGRAM_VERSION + PROGRAM_VERSION_SUFFIX + "\n");
        return EXIT_GOOD;
    }
    std::string word;
    const SWITCHFAULT fault = CheckSwitches(App.Arguments(), word);
    if (fault != SWITCHFAULT::None)
        return Refuse(FaultOf(fault, word));
    const STRING store = App.Arguments().GetArgValue("PASSWORDS", 0);
    if (store.NotNull() && !ASCII::Equal(store.View(), "plain") && !ASCII::Equal(store.View(), "sealed"))
        return Refuse(Text(CTEXT_BAD_PASSWORDS, DISPLAYTEXT::Safe(store.View())));
    FrontEnd.SetResultsOnly(App.Arguments().TestArgValue("SCORE", 0) || Has("LIST") || Has("TRASH"));
    TERMINAL::OnStop([] { StopAsked = true; });
    if (Has("DEMO")) {
        Demo = std::make_unique<DEMO>();
        if (!Demo->Start())
            return Refuse(Text(CTEXT_DEMO_FAILED));
    }
    // What is printed stays on the screen: no popup has to be waited for.
    TARNWICK application(FrontEnd, FrontEnd, App.Arguments(), App.Texts(), {.PopupPauseMs = 0});
    FrontEnd.SetApplication(&application);
    const int code =
        application.Open() ? RunApplication(application) : Refuse(DISPLAYTEXT::Safe(application.StartError().View()));
    FrontEnd.SetApplication(nullptr);
    return code;
}

std::string SESSION::FaultOf(SWITCHFAULT fault, const std::string& word) const {
    const std::string shown = DISPLAYTEXT::Safe(WithoutPassword(word));
    if (fault == SWITCHFAULT::NoValue)
        return Text(CTEXT_SWITCH_VALUE, shown) + FormOf(word);
    const std::string nearest = NearestSwitch(word);
    return Text(fault == SWITCHFAULT::Unknown ? CTEXT_UNKNOWN_SWITCH : CTEXT_SWITCH_SUPERFLUOUS, shown) +
           (nearest.empty() ? "" : Text(CTEXT_NEAREST, nearest));
}

void SESSION::PrintHelp() {
    std::string help = Text(CTEXT_USAGE) + "\n" + HelpText(App.Texts(), TableColumns());
    const HELPPAGES pages(App.Texts(), App.WorkDir());
    if (pages.AreThere())
        help += "\n" + Text(CTEXT_HELP_PAGES, DISPLAYTEXT::Path(pages.Contents())) + "\n";
    FrontEnd.PrintRaw(help);
}

int SESSION::SaveReport(TARNWICK& application, const STRING& path) {
    if (const STRING fault = REPORT::Save(application, App.Arguments(), path); fault.NotNull())
        return Refuse(DISPLAYTEXT::Safe(fault.View()));
    FrontEnd.Print(Text(CTEXT_REPORT_SAVED, DISPLAYTEXT::Path(path)));
    return EXIT_GOOD;
}

void SESSION::BeginNotices(const TARNWICK& application) {
    if (!Has("NOTIFY") && application.pState.GetNumber("DesktopNotify") == 0)
        return;
    if (DESKTOPNOTICE::IsOfThisPlatform())
        FrontEnd.BeginNotices();
    else if (Has("NOTIFY"))
        FrontEnd.PrintError(Text(CTEXT_NOTIFY_NOT_HERE));
}

int SESSION::RunApplication(TARNWICK& application) {
    // With a check it tells of that check, too.
    const STRING report = App.Arguments().GetArgValue("REPORT", 0);
    const bool once = Has("ONCE") || !Values("SHOW").empty();
    if (report.NotNull() && !once)
        return SaveReport(application, report);
    if (const std::optional<int> code = ChangeAccounts(application))
        return *code;
    if (const std::optional<int> code = UseTrash(application))
        return *code;
    if (const std::optional<int> code = Learn(application))
        return *code;
    const STRING mails = App.Arguments().GetArgValue("SCORE", 0);
    if (mails.NotNull()) {
        std::string message;
        const bool scored = ScoreMails(
            application, FrontEnd, App.Texts(), mails, Has("NET"), Has("REASONS"), [] { return StopAsked.load(); },
            message);
        if (!scored)
            return Refuse(message);
        return StopAsked ? EXIT_CHECK_FAILED : EXIT_GOOD;
    }
    if (Demo) {
        const std::string directory = DISPLAYTEXT::Path(application.DataDir());
        if (!Demo->AddAccounts(application))
            return Refuse(Text(CTEXT_DEMO_FOREIGN, directory));
        FrontEnd.Print(Text(CTEXT_DEMO, directory));
    }
    if (application.Items.Count() == 0)
        return Refuse(Text(CTEXT_NO_ACCOUNTS, CommandName()));
    bool suspended = true;
    for (int i = 0; i < application.Items.Count(); ++i)
        suspended = suspended && application.Items[i].GetNumber("UpdateSuspended") != 0;
    if (suspended)
        FrontEnd.PrintError(Text(CTEXT_ALL_SUSPENDED, DISPLAYTEXT::Path(application.DataDir())));
    BeginNotices(application);
    if (!once)
        return Watch(application);
    const int code = CheckOnce(application);
    const int saved = report.NotNull() ? SaveReport(application, report) : EXIT_GOOD;
    return saved == EXIT_GOOD ? code : saved;
}

std::vector<STRING> SESSION::Values(const char* name) const {
    std::vector<STRING> all;
    for (int i = 0; App.Arguments().TestArgValue(name, i); ++i)
        all.push_back(App.Arguments().GetArgValue(name, i));
    return all;
}

// Carries out the switches that are about the accounts themselves, until one fails. Without any there is no exit code.
std::optional<int> SESSION::ChangeAccounts(TARNWICK& application) {
    const std::vector<STRING> added = Values("ADD"), trusted = Values("TRUST"), removed = Values("REMOVE");
    const STRING store = App.Arguments().GetArgValue("PASSWORDS", 0);
    if (store.NotNull()) {
        // The start has seen to it, and said what stood in the way.
        const bool sealed = application.pState.GetNumber("PasswordStore") == 1;
        if (sealed != ASCII::Equal(store.View(), "sealed"))
            return EXIT_NO_START;
        FrontEnd.Print(Text(sealed ? CTEXT_PASSWORDS_SEALED : CTEXT_PASSWORDS_PLAIN));
        STRING none;
        if (sealed)
            FrontEnd.Print("    " + DISPLAYTEXT::Safe(SEALING::Keeper(SEALING::Seal("", none)).View()));
    }
    if (added.empty() && trusted.empty() && removed.empty() && !Has("LIST"))
        return store.NotNull() ? std::optional(EXIT_GOOD) : std::nullopt;
    int code = EXIT_GOOD;
    application.Cycle().SetStopQuestion([] { return StopAsked.load(); });
    if (!added.empty()) {
        code = AddAccounts(application, FrontEnd, added, App.Arguments().GetArgValue("PASSWORDFILE", 0));
    }
    // As they are saved: the numbers in the table are those of the next run, too.
    application.Items.SortByKey("Name", 0);
    for (size_t i = 0; i < trusted.size() && code == EXIT_GOOD; ++i)
        code = TrustCertificate(application, FrontEnd, trusted[i]);
    if (!removed.empty() && code == EXIT_GOOD) {
        std::string message;
        code = RemoveAccounts(application, App.Texts(), removed, message);
        code == EXIT_GOOD ? FrontEnd.Print(message) : FrontEnd.PrintError(message);
    }
    if (code == EXIT_GOOD && Has("LIST"))
        FrontEnd.PrintRaw(application.Items.Count() > 0 ? AccountTable(application, App.Texts())
                                                        : Text(CTEXT_NO_ACCOUNTS, CommandName()) + "\n");
    return code;
}

// The same for those about the trash.
std::optional<int> SESSION::UseTrash(TARNWICK& application) {
    const std::vector<STRING> restored = Values("RESTORE");
    if (restored.empty() && !Has("TRASH"))
        return std::nullopt;
    int code = EXIT_GOOD;
    if (!restored.empty())
        code = RestoreMails(application, FrontEnd, restored, [] { return StopAsked.load(); });
    if (code == EXIT_GOOD && Has("TRASH"))
        FrontEnd.PrintRaw(TrashTable(application, TableColumns()));
    return code;
}

// The same for those that teach the filter.
std::optional<int> SESSION::Learn(TARNWICK& application) {
    const std::vector<STRING> good = Values("LEARNGOOD"), spam = Values("LEARNSPAM");
    if (good.empty() && spam.empty())
        return std::nullopt;
    std::string message;
    for (const bool isSpam : {false, true}) {
        for (const STRING& mails : isSpam ? spam : good) {
            if (!LearnMails(application, FrontEnd, mails, isSpam, [] { return StopAsked.load(); }, message))
                return Refuse(message);
        }
    }
    if (!application.Lessons().Close())
        return Refuse(Text(CTEXT_NOT_LEARNED, DISPLAYTEXT::Path(application.DataFile(LEARNED_FILE))));
    return StopAsked ? EXIT_CHECK_FAILED : EXIT_GOOD;
}

int SESSION::CheckOnce(TARNWICK& application) {
    FrontEnd.SetTalkative(Has("ONCE"));
    // The checks run on this thread: no thread of the cycle is there to be stopped.
    application.Cycle().SetStopQuestion([] { return StopAsked.load(); });
    // One check for each, also for an account that has been forced already because it is new.
    for (int i = 0; i < application.Items.Count(); ++i)
        application.Items[i].Set("@ForceRefresh", "0");
    application.ForceRefreshAll(true);
    COMMANDS commands(application, FrontEnd, application.Programs());
    // The second pass carries out what the checks of the first have queued.
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < application.Items.Count() && !StopAsked; ++i) {
            STRINGARRAY& item = application.Items[i];
            if (pass == 0 || item.GetNumber("@ForceRefresh") > 0 || item.Get("@DeleteMessageId").Length() > 0)
                application.Cycle().UpdateItem(item);
            StartPostedPrograms(commands);
        }
    }
    FrontEnd.TellNoticeTrouble(true);
    PrintMails(application);
    for (const STRING& number : Values("SHOW")) {
        if (!PrintMail(application, number) && !StopAsked)
            return Refuse(Text(CTEXT_NO_SUCH_MAIL, DISPLAYTEXT::Safe(number.View())));
    }
    bool failed = StopAsked;
    for (int i = 0; i < application.Items.Count(); ++i) {
        // A suspended account was not checked; what it shows is of an earlier run.
        const STRINGARRAY& item = application.Items[i];
        failed = failed || (item.GetNumber("UpdateSuspended") == 0 && MAILACCOUNT::Counts(item).Failed);
    }
    return failed ? EXIT_CHECK_FAILED : EXIT_GOOD;
}

int SESSION::Watch(TARNWICK& application) {
    FrontEnd.Print(Text(CTEXT_WATCHING, std::to_string(application.Items.Count())));
    if (Demo) {
        Demo->StartArrivals(application);
        FrontEnd.Print(Text(CTEXT_DEMO_WATCH, std::to_string(application.pState.GetNumber("SpamTrashPoints"))));
    }
    application.Start();
    FrontEnd.SetWatching(true);
    COMMANDS commands(application, FrontEnd, application.Programs());
    std::optional<TERMINAL::SINGLEKEYS> keys;
    if (FrontEnd.CanAsk())
        keys.emplace();
    while (!StopAsked && !FrontEnd.WaitForQuit(LOOK_MS)) {
        if (keys && !FrontEnd.IsAsking())
            AnswerAlert(application, commands, FrontEnd.TakeAlertCommand(TERMINAL::PressedKey()));
        if (FrontEnd.TakeDueTimer(TIMER_SOUND_LOOP, false))
            application.Notification().PlaySoundLoop();
        if (FrontEnd.TakeDueTimer(TIMER_SCROLL_LOCK, false))
            OSYS::ScrollLock(2);
        if (FrontEnd.TakeDueTimer(TIMER_LATER, true))
            commands.DoCommand(COMMAND_TRAY_SHOW_LAST_POPUP, {});
        StartPostedPrograms(commands);
        FrontEnd.TellNoticeTrouble(false);
    }
    FrontEnd.Print(Text(CTEXT_ENDING));
    application.Stop();
    FrontEnd.WaitForQuit(WAIT_FOREVER);
    StartPostedPrograms(commands);
    FrontEnd.StopBlinking();
    FrontEnd.TellNoticeTrouble(true);
    PrintMails(application);
    return EXIT_GOOD;
}

void SESSION::StartPostedPrograms(COMMANDS& commands) {
    for (int handle; (handle = FrontEnd.TakeProgramStart()) != -1;)
        commands.StartPostedMailProgram(handle);
}

void SESSION::AnswerAlert(TARNWICK& application, COMMANDS& commands, int command) {
    if (command == COMMAND_MAIL_PROGRAM && application.pState.Get("EmailCmdline").Length() == 0)
        FrontEnd.Print(Text(CTEXT_NO_MAIL_PROGRAM, DISPLAYTEXT::Path(application.DataDir())));
    // Any key ends the sound, also the one that only closes: there is no tray icon to click on.
    if (command == -1 || commands.DoCommand(command, {}))
        return;
    NOTIFICATION& notification = application.Notification();
    if (command == COMMAND_SHOW_MAIL) {
        const STRINGARRAY mail = notification.AlertMail();
        if (mail.Exists("Body"))
            FrontEnd.Print("\n" + MailText(mail, App.Texts()));
    } else if (command == COMMAND_SHOW_ITEM) {
        TABLELOOK look = Look(application);
        if (const int index = application.FindHandle(notification.TakeAlertItem()); index != -1) {
            for (int i = 0; i < index; ++i)
                look.FirstNumber += MailCount(application.Items[i]);
            FrontEnd.PrintRaw("\n" + MailTable(application.Items[index], App.Texts(), look));
        }
    }
}

bool SESSION::PrintMail(TARNWICK& application, const STRING& number) {
    int index = 0;
    if (!ASCII::ReadNumber(number.View(), index))
        return false;
    for (int i = 0; i < application.Items.Count(); ++i) {
        const STRINGARRAY& item = application.Items[i];
        const int count = MailCount(item);
        if (index >= 1 && index <= count) {
            RECORDARRAY mails(MAILHASH_SLOTS, MAILHASH_SLOTS);
            BuildMailHash(item.Get("@FileStore"), mails);
            FrontEnd.PrintRaw("\n" + MailText(mails[index - 1], App.Texts()));
            return true;
        }
        index -= count;
    }
    return false;
}

void SESSION::PrintMails(TARNWICK& application) {
    const bool terminal = TERMINAL::OutputIsTerminal();
    TABLELOOK look = Look(application);
    look.Reasons = Has("REASONS");
    for (int i = 0; i < application.Items.Count(); ++i) {
        const STRINGARRAY& item = application.Items[i];
        if (Has("INBOX")) {
            FrontEnd.PrintRaw("\n" + MailTable(item, App.Texts(), look));
            // They go on from one table to the next, so that each names one mail.
            look.FirstNumber += MailCount(item);
        }
        if (!Has("LISTING"))
            continue;
        const STRING listing = item.Get("@FileStore");
        if (!terminal) {
            FrontEnd.PrintRaw(listing.View());
            continue;
        }
        WORDCURSOR lines(listing, "\n");
        std::string_view line;
        while (lines.Next(line))
            FrontEnd.Print(DISPLAYTEXT::Safe(line));
    }
}

}  // namespace

int RunConsole(int argc, char** argv) {
    TERMINAL::Prepare();
    CRASHREPORT::Install(CRASHREPORT::NOTICE::Console);
    const int code = SESSION(argc, argv).Run();
    ClosePool();
    return code;
}

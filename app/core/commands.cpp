#include "app/core/commands.h"

#include <string>
#include <utility>

#include "app/check/items.h"
#include "app/core/datadir.h"
#include "app/core/maintitle.h"
#include "app/core/tarnwick.h"
#include "app/notify/mailprogram.h"
#include "corelib/base/trace.h"
#include "corelib/net/proxyinfo.h"

namespace {

constexpr int CHECK_ALL_NOTICE_MS = 1500;

constexpr int RESULT_COLUMN = 1;
constexpr const char* NO_RESULT = "-";

constexpr std::pair<int, int> HELP_TOPICS[] = {
    {COMMAND_HELP_CONTENTS, HELP_TOPIC_CONTENTS},   {COMMAND_HELP_INTRODUCTION, HELP_TOPIC_INTRODUCTION},
    {COMMAND_HELP_PROVIDERS, HELP_TOPIC_PROVIDERS}, {COMMAND_HELP_FILTER, HELP_TOPIC_FILTER},
    {COMMAND_HELP_QUESTIONS, HELP_TOPIC_QUESTIONS}, {COMMAND_HELP_FIRST_STEPS, HELP_TOPIC_WELCOME}};

void SuspendOrResume(STRINGARRAY& item) {
    item.Set("UpdateSuspended", item.GetNumber("UpdateSuspended") != 0 ? "0" : "1");
    item.Set("LastValue", NO_RESULT);
    MAILACCOUNT::SetCounts(item, {});
}

}  // namespace

bool COMMANDS::DoCommand(int command, const std::vector<int>& selected) {
    if (command == COMMAND_STOP_SOUND) {
        Application.Notification().StopSoundLoop();
        return true;
    }
    Trace("TARNWICK::DoCommand %d\n", command);
    Application.Notification().StopSoundLoop();
    FrontEnd.StopBlinking();
    const bool done = Do(command, selected);
    Trace("TARNWICK::~DoCommand rc=%d\n", done);
    return done;
}

void COMMANDS::StartPostedMailProgram(int handle) {
    Trace("TARNWICK::WM__STARTMAILPROGRAM start program %s\n", Application.pState.Get("EmailCmdline").Text());
    ::StartMailProgram(Application.FindItem(handle), Application.pState, FrontEnd, Application.Texts(), Starter);
    Application.Cycle().SetStartedThisPass();
}

void COMMANDS::StartMailProgram(int handle) {
    const STRINGARRAY* item = Application.FindItem(handle);
    if (HasMailProgram(item, Application.pState))
        ::StartMailProgram(item, Application.pState, FrontEnd, Application.Texts(), Starter);
    else
        FrontEnd.OfferMailProgram();
}

bool COMMANDS::Do(int command, const std::vector<int>& selected) {
    return DoProgramCommand(command) || DoNotificationCommand(command) || DoMailProgramCommand(command, selected) ||
           DoItemCommand(command, selected) || ShowHelp(command);
}

bool COMMANDS::DoProgramCommand(int command) {
    STRINGARRAY& state = Application.pState;
    CHECKCYCLE& cycle = Application.Cycle();
    switch (command) {
        case COMMAND_RESET_COUNT:
        case COMMAND_TRAY_RESET_COUNT:
            state.Set("ResetCounter", "1");
            FrontEnd.MakeTaskbarIcon();
            return true;
        case COMMAND_SPAM_FILTER_OFF:
            state.Set("SpamFilterDisabled", state.GetNumber("SpamFilterDisabled") != 0 ? "0" : "1");
            FrontEnd.UpdateCommands();
            return true;
        case COMMAND_SUSPEND:
        case COMMAND_TRAY_SUSPEND:
            cycle.SetSuspended(!cycle.IsSuspended());
            FrontEnd.UpdateCommands();
            FrontEnd.MakeTaskbarIcon();
            FrontEnd.SetMainTitle();
            return true;
        case COMMAND_EXIT:
        case COMMAND_QUIT:
            Application.Stop();
            return true;
        case COMMAND_ABOUT:
            FrontEnd.ShowMessage(Application.Texts().Get(TEXT_TITLE), AboutText(Application.Texts()));
            return true;
        default:
            return false;
    }
}

bool COMMANDS::DoNotificationCommand(int command) {
    NOTIFICATION& notification = Application.Notification();
    switch (command) {
        case COMMAND_SHOW_LAST_POPUP:
        case COMMAND_TRAY_SHOW_LAST_POPUP:
            notification.ShowLastAlert();
            return true;
        case COMMAND_REMIND_LATER:
            notification.RemindLater();
            return true;
        case COMMAND_DELETE_MAIL:
            notification.DeleteAlertMail();
            return true;
        default:
            return false;
    }
}

bool COMMANDS::DoMailProgramCommand(int command, const std::vector<int>& selected) {
    switch (command) {
        case COMMAND_MAIL_PROGRAM:
            StartMailProgram(0);
            return true;
        case COMMAND_NEW_MAIL:
            if (HasMailProgram(nullptr, Application.pState))
                StartNewMail(Application.pState, FrontEnd, Application.Texts(), Starter);
            else
                FrontEnd.OfferMailProgram();
            return true;
        case COMMAND_ITEM_MAIL_PROGRAM:
            if (!selected.empty() && Application.FindItem(selected.front()))
                StartMailProgram(selected.front());
            return true;
        default:
            return false;
    }
}

bool COMMANDS::ShowHelp(int command) {
    for (const auto& [number, topic] : HELP_TOPICS) {
        if (number != command)
            continue;
        FrontEnd.ShowHelp(topic);
        return true;
    }
    return false;
}

bool DeselectsItems(int command) {
    return command == COMMAND_SUSPEND_ITEMS || command == COMMAND_SHOW_ITEMS_MAILS;
}

bool COMMANDS::DoItemCommand(int command, const std::vector<int>& selected) {
    switch (command) {
        case COMMAND_CHECK_ALL:
        case COMMAND_CHECK_ALL_AS_NEW:
            CheckAll(command == COMMAND_CHECK_ALL_AS_NEW);
            return true;
        case COMMAND_CHECK_SHOWN:
        case COMMAND_TRAY_CHECK_SHOWN:
            CheckShown();
            return true;
        default:
            break;
    }
    if (!DeselectsItems(command) && command != COMMAND_CHECK_ITEMS && command != COMMAND_CHECK_ITEMS_QUIETLY)
        return false;
    for (const int handle : selected) {
        STRINGARRAY* item = Application.FindItem(handle);
        if (!item)
            continue;
        if (command == COMMAND_SUSPEND_ITEMS) {
            SuspendOrResume(*item);
            FrontEnd.SetCell(handle, RESULT_COLUMN, NO_RESULT);
            FrontEnd.RefreshRow(handle);
            continue;
        }
        if (command == COMMAND_SHOW_ITEMS_MAILS)
            item->Set("LastSeenIds", SHOW_ALL_IDS);
        CHECKCYCLE::ForceRefresh(*item, command != COMMAND_CHECK_ITEMS_QUIETLY);
    }
    // A run that is killed would leave an account unwatched that its user has resumed.
    if (command == COMMAND_SUSPEND_ITEMS && !Application.SaveTables(SAVE_ITEMS))
        FrontEnd.ShowMessage(Application.Texts().Get(TEXT_TITLE),
                             DataDirText(Application.Texts(), TEXT_NOT_SAVED, Application.DataDir()));
    return true;
}

void COMMANDS::CheckAll(bool asNew) {
    std::vector<STRINGARRAY*> checked;
    for (int i = 0; i < Application.Items.Count(); ++i)
        if (Application.Items[i].GetNumber("TrayCheck") != 0)
            checked.push_back(&Application.Items[i]);
    if (checked.empty()) {
        FrontEnd.ShowMessage(Application.Texts().Get(TEXT_TITLE), Application.Texts().Get(TEXT_NONE_TAKES_PART));
        return;
    }
    FrontEnd.PostAlert({.Text = Application.Texts().Get(TEXT_CHECK_ALL),
                        .TextColor = Application.pState.GetNumber("PopupTextColor"),
                        .BackColor = Application.pState.GetNumber("PopupBackgroundColor"),
                        .DurationMs = CHECK_ALL_NOTICE_MS,
                        .Handle = 0});
    for (STRINGARRAY* item : checked) {
        if (asNew)
            item->Set("LastSeenIds", "");
        CHECKCYCLE::ForceRefresh(*item, true);
    }
}

void COMMANDS::CheckShown() {
    for (int i = 0; i < Application.Items.Count(); ++i) {
        if (Application.Items[i].GetNumber("@Showing") != 0)
            CHECKCYCLE::ForceRefresh(Application.Items[i], true);
    }
}

STRING DeleteQuestion(const TEXTS& texts, int items, const STRING& name) {
    STRING question =
        items == 1 ? texts.Get(TEXT_DELETE_ONE) || texts.Get(TEXT_MAIL_STAYS) : texts.Get(TEXT_DELETE_MANY);
    question.Replace("$(n)", items == 1 ? name.Text() : std::to_string(items).c_str());
    return question;
}

STRING BusyMessage(const TEXTS& texts) {
    return texts.Get(TEXT_BUSY);
}

STRING BusyTitle(const TEXTS& texts, const STRING& name) {
    return texts.Get(TEXT_TITLE) || " - " || name;
}

void ShowProxyInfo(FRONTEND& frontEnd, const TEXTS& texts) {
    const STRING found = QueryBrowserProxies();
    frontEnd.ShowMessage(texts.Get(TEXT_TITLE), found.Length() > 0 ? found : STRING("No Proxy Information found."));
}

std::vector<COMMANDSTATE> CommandStates(const COMMANDCONTEXT& context) {
    const bool one = context.SelectedItems == 1;
    const bool any = context.SelectedItems >= 1;
    std::vector<COMMANDSTATE> states = {
        {COMMAND_EDIT_ITEM, one, {}},
        {COMMAND_SHOW_ITEMS_MAILS, one, {}},
        {COMMAND_DELETE_ITEMS, any, {}},
        {COMMAND_CHECK_ITEMS, any, {}},
        {COMMAND_CHECK_ITEMS_QUIETLY, any, {}},
        {COMMAND_ITEM_MAIL_PROGRAM, any, {}},
        {COMMAND_SUSPEND_ITEMS, any, one && context.ItemSuspended},
        {COMMAND_STOP_SOUND, context.SoundLoop, {}},
        {COMMAND_INBOX, one || context.InboxOpen, context.InboxOpen},
        {COMMAND_SHOW_ITEM, {}, context.InboxOpen},
        {COMMAND_TRASHCAN, {}, context.TrashcanOpen},
        {COMMAND_TRASHCAN_BUTTON, {}, context.TrashcanOpen},
        {COMMAND_SPAM_FILTER_OFF, {}, context.SpamFilterDisabled},
        {COMMAND_SPAM_LISTS, !context.SpamFilterDisabled, {}},
        {COMMAND_SUSPEND, {}, context.Suspended},
        {COMMAND_TRAY_SUSPEND, {}, context.Suspended},
    };
    // An open Inbox knows best which of its own commands are possible.
    for (int command = COMMAND_INBOX_FIRST; command <= COMMAND_INBOX_LAST && !context.InboxOpen; ++command)
        states.push_back({command, false, {}});
    return states;
}

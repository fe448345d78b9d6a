#pragma once

#include <optional>
#include <vector>

#include "app/common/frontend.h"
#include "app/common/texts.h"

class PROGRAMSTARTER;
class TARNWICK;

/// The main window's commands by their numbers in menus, tool bars and popups. Those of the tray's menu that have a
/// number of their own do the same as the window's. Those that the engine and its popups give stand with FRONTEND.
enum COMMAND : int {
    COMMAND_SPAM_EXPERT = 2103,
    COMMAND_SETTINGS = 2104,
    COMMAND_SPAM_LISTS = 2105,
    COMMAND_CHECK_ALL = 2106,
    COMMAND_RESET_COUNT = 2107,
    COMMAND_SHOW_LAST_POPUP = 2109,
    COMMAND_NEW_MAIL = 2111,
    COMMAND_INBOX = 2112,
    COMMAND_TRASHCAN = 2113,
    COMMAND_SPAM_FILTER_OFF = 2117,
    COMMAND_SUSPEND = 2118,
    COMMAND_EDIT_FRIENDS = 2120,
    COMMAND_EDIT_BAD_SENDERS = 2121,
    COMMAND_SUSPEND_ITEMS = 2130,
    COMMAND_ITEM_MAIL_PROGRAM = 2131,
    COMMAND_ADD_ITEM = 2132,
    COMMAND_EDIT_ITEM = 2133,
    COMMAND_DELETE_ITEMS = 2134,
    COMMAND_CHECK_ITEMS = 2135,
    COMMAND_CHECK_SHOWN = 2136,
    COMMAND_SHOW_ITEMS_MAILS = 2137,
    COMMAND_TRASHCAN_BUTTON = 2142,
    COMMAND_CHECK_ITEMS_QUIETLY = 2143,
    COMMAND_CHECK_ALL_AS_NEW = 2145,
    COMMAND_SHOW_WINDOW = 2150,
    COMMAND_EXIT = 2151,
    COMMAND_MINIMIZE = 2152,
    COMMAND_TRAY_SETTINGS = 2154,
    COMMAND_SPAM_SETTINGS = 2155,
    COMMAND_TRAY_CHECK_SHOWN = 2156,
    COMMAND_TRAY_RESET_COUNT = 2157,
    COMMAND_TRAY_SUSPEND = 2158,
    COMMAND_TRAY_SHOW_LAST_POPUP = 2159,
    COMMAND_INBOX_FIRST = 2160,  // the Inbox's own
    COMMAND_INBOX_LAST = 2169,
    COMMAND_HELP_CONTENTS = 2190,
    COMMAND_HELP_FIRST_TOPIC = 2191,
    COMMAND_HELP_LAST_TOPIC = 2194,
    COMMAND_WEB_PAGE = 2195,
    COMMAND_ABOUT = 2199,
    COMMAND_HELP_INTRODUCTION = 2200,
    COMMAND_DATA_DIRECTORY = 2201,
    COMMAND_TIP_OF_THE_DAY = 2202,
    COMMAND_QUIT = 2299
};

/// The help topic that stands for the table of contents.
inline constexpr int HELP_TOPIC_CONTENTS = 0;

/// The commands that need no window.
class COMMANDS {
 public:
    /// All of it outlives this object.
    COMMANDS(TARNWICK& application, FRONTEND& frontEnd, PROGRAMSTARTER& starter)
        : Application(application), FrontEnd(frontEnd), Starter(starter) {}

    /// Called by a front end's DoCommand with every command. Any but COMMAND_STOP_SOUND first ends sound and blinking,
    /// as whoever gives a command has noticed the mail. `selected`: the handles of the rows that the user has selected.
    /// False if the rest is the front end's own. The front end's thread; COMMAND_STOP_SOUND: any thread.
    bool DoCommand(int command, const std::vector<int>& selected);
    /// What FRONTEND::PostStartMailProgram asks for: the item's mail program (handle 0: no item). The front end's
    /// thread.
    void StartPostedMailProgram(int handle);

 private:
    bool Do(int command, const std::vector<int>& selected);
    bool DoProgramCommand(int command);
    bool DoNotificationCommand(int command);
    bool DoMailProgramCommand(int command, const std::vector<int>& selected);
    bool DoItemCommand(int command, const std::vector<int>& selected);
    bool ShowHelp(int command);
    void CheckAll(bool asNew);
    void CheckShown();

    TARNWICK& Application;
    FRONTEND& FrontEnd;
    PROGRAMSTARTER& Starter;
};

/// Does the front end take the selection off the rows that the command has worked on?
bool DeselectsItems(int command);

/// The question before items are deleted: by the name of the one, or by their number.
STRING DeleteQuestion(const TEXTS& texts, int items, const STRING& name);
/// The message, and the title of its box, when an item cannot be deleted as it is being checked.
STRING BusyMessage(const TEXTS& texts);
STRING BusyTitle(const TEXTS& texts, const STRING& name);

/// Shows what the browsers of this machine use as their proxy, for the user to enter it; no setting changes.
void ShowProxyInfo(FRONTEND& frontEnd, const TEXTS& texts);

/// What menus and tool bars depend on.
struct COMMANDCONTEXT {
    int SelectedItems = 0;
    bool ItemSuspended = false;  // of the first selected item
    bool SoundLoop = false;
    bool InboxOpen = false;
    bool TrashcanOpen = false;
    bool SpamFilterDisabled = false;
    bool Suspended = false;
};

/// How an entry of a menu, and the button of that command, look; what is not set stays as it is.
struct COMMANDSTATE {
    int Command = 0;
    std::optional<bool> Enabled;
    std::optional<bool> Checked;
};
std::vector<COMMANDSTATE> CommandStates(const COMMANDCONTEXT& context);

/// A button of the main window's tool bar; its label is a text's number, a fixed text, or nothing (0 and null).
struct TOOLBUTTON {
    int Command;
    int LabelText = 0;
    const char* Label = nullptr;
};
inline constexpr TOOLBUTTON TOOLBUTTONS[] = {
    {COMMAND_MAIL_PROGRAM, 0, "Email"}, {COMMAND_NEW_MAIL},    {COMMAND_EDIT_ITEM}, {COMMAND_INBOX, 2998},
    {COMMAND_TRASHCAN, 2999},           {COMMAND_CHECK_ITEMS}, {COMMAND_SPAM_LISTS}};

#pragma once

#include <optional>
#include <vector>

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "resources/commands.h"

class PROGRAMSTARTER;
class TARNWICK;

/// The help topic that stands for the table of contents.
inline constexpr int HELP_TOPIC_CONTENTS = 0;

/// The commands that need no window.
class COMMANDS {
 public:
    /// All of it outlives this object.
    COMMANDS(TARNWICK& application, FRONTEND& frontEnd, PROGRAMSTARTER& starter)
        : Application(application), FrontEnd(frontEnd), Starter(starter) {}

    /// Called by a front end with every command. Any but COMMAND_STOP_SOUND first ends sound and blinking, as whoever
    /// gives a command has noticed the mail. `selected`: the handles of the rows that the user has selected. False if
    /// the rest is the front end's own. The front end's thread.
    bool DoCommand(int command, const std::vector<int>& selected);
    /// Starts the mail program, or shows it: the item's own (handle 0, or of an item that is gone: that of all). The
    /// front end hears of it if there is none. The front end's thread.
    void StartMailProgram(int handle);
    /// The same as FRONTEND::PostStartMailProgram asks for it, silently where there is no program.
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
inline constexpr TOOLBUTTON TOOLBUTTONS[] = {{COMMAND_MAIL_PROGRAM, 0, "Email"},
                                             {COMMAND_NEW_MAIL},
                                             {COMMAND_ADD_ITEM},
                                             {COMMAND_EDIT_ITEM},
                                             {COMMAND_INBOX, TEXT_INBOX},
                                             {COMMAND_TRASHCAN, TEXT_TRASHCAN},
                                             {COMMAND_CHECK_ITEMS},
                                             {COMMAND_SPAM_LISTS}};

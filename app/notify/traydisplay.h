#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

class CHECKCYCLE;

/// Numbers of the tray icon's pictures after those of the counts, and the resource number of picture 0.
inline constexpr int TRAY_SUSPENDED = 14;
inline constexpr int TRAY_FAILED = 15;
inline constexpr int TRAY_UPDATING = 16;
inline constexpr int TRAY_RESOURCES = 2050;

/// What the tray icon's picture depends on.
struct TRAYSTATE {
    int Count = 0;              // mails to show
    bool Acknowledged = false;  // by the user: no count shows until the next check
    bool Updating = false;      // a check runs
    bool Failed = false;        // an item's last check has failed
    bool Suspended = false;     // all checks are
};

/// The number of the picture, 0 to TRAY_UPDATING.
int TrayPicture(const TRAYSTATE& state);

/// The tooltip, such as "Mail: 5 mails (2 unread mails)", and on a line of its own the accounts that could not be
/// checked, as far as the 63 bytes that the shell shows have room for them.
STRING TooltipText(const TEXTS& texts, int total, int unread, const STRING& failed);
/// The same by the counts of all items. Any thread.
STRING TooltipText(const TEXTS& texts, CHECKCYCLE& cycle);

/// The number of the picture by the state of the program (`state`: the settings), whose count is from now on the one
/// that the tray shows. Any thread.
int TrayPicture(CHECKCYCLE& cycle, const STRINGARRAY& state);

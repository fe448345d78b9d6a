#pragma once

#include <cstdint>

#include "corelib/base/strings.h"

/// The only way from the engine to a person. Every operation is empty by default, so that an engine without a front end
/// runs silently. Operations marked (any thread) are called by the work thread too.
class FRONTEND {
 public:
    virtual ~FRONTEND() = default;

    // The tray icon, the tooltip and the main window's texts (any thread).
    virtual void MakeTaskbarIcon() {}
    virtual void MakeNewTooltip() {}
    virtual void SetMainTitle() {}
    virtual void SetStatusLine(const STRING& /*text*/) {}
    virtual void ShowStatusLine(bool /*show*/) {}
    virtual void ArrangeControls() {}
    /// Ends the icon's blinking and the keyboard light's.
    virtual void StopBlinking() {}

    // The item list, by the item's handle (any thread).
    /// The row's image and texts are drawn anew.
    virtual void RefreshRow(int /*handle*/) {}
    virtual void SetCell(int /*handle*/, int /*column*/, const STRING& /*text*/) {}
    /// The progress text of a running check, in the item's row.
    virtual void SetItemStatus(int /*handle*/, const STRING& /*text*/) {}
    /// A check of the item has stored a new listing; a window that shows it reads it again.
    virtual void ListingChanged(int /*handle*/) {}

    // Questions and messages (any thread).
    virtual void ShowMessage(const STRING& /*title*/, const STRING& /*text*/) {}
    /// True is yes. Without a person to ask the answer is no.
    virtual bool AskYesNo(const STRING& /*title*/, const STRING& /*text*/) { return false; }

    /// A command of the main window by its number (any thread).
    virtual void DoCommand(int /*command*/) {}
    /// Help by topic number.
    virtual void ShowHelp(int /*topic*/) {}
    /// The first-run set-up; it may add items and change settings. Runs before the work thread.
    virtual void RunSetupWizard() {}
    /// The work thread has ended: the front end's loop ends too (any thread).
    virtual void PostQuit() {}
};

/// Commands that the engine gives to the front end.
inline constexpr int COMMAND_STOP_SOUND = 2119;

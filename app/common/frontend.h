#pragma once

#include <cstdint>

#include "corelib/base/strings.h"

/// A popup for the user: its text with mark-up, its colours, how long it stays (ms; 0 or -1: until it is closed), the
/// handle of the item that it is about, or 0, and how many new mails its list has had no room for.
struct ALERTREQUEST {
    STRING Text;
    int TextColor = 0;
    int BackColor = 0;
    int DurationMs = 0;
    int Handle = 0;
    int More = 0;
};

/// Timers of the front end, by what they do at their end. All but TIMER_LATER go on until they are stopped.
inline constexpr int TIMER_SOUND_LOOP = 5;   // plays the sound again
inline constexpr int TIMER_SCROLL_LOCK = 6;  // flips the keyboard light
inline constexpr int TIMER_BLINK = 7;        // the tray icon's blinking
inline constexpr int TIMER_LATER = 10;       // shows the last popup again

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
    /// The row's image and name are drawn anew.
    virtual void RefreshRow(int /*handle*/) {}
    virtual void SetCell(int /*handle*/, int /*column*/, const STRING& /*text*/) {}
    /// The progress text of a running check, in the item's row.
    virtual void SetItemStatus(int /*handle*/, const STRING& /*text*/) {}
    /// The item's server has begun, or ceased, to tell of news by itself.
    virtual void ToldOfNews(int /*handle*/, bool /*active*/) {}
    /// A check of the item has stored a new listing; a window that shows it reads it again.
    virtual void ListingChanged(int /*handle*/) {}

    // What has come (any thread).
    virtual void PostAlert(const ALERTREQUEST& /*request*/) {}
    /// Plays a sound file once, without waiting for its end; a missing file is silence.
    virtual void PlaySoundFile(const STRING& /*file*/) {}
    virtual void StartTimer(int /*timer*/, int /*ms*/) {}
    virtual void StopTimer(int /*timer*/) {}
    /// The front end's thread starts the user's mail program for that item (0: for none).
    virtual void PostStartMailProgram(int /*handle*/) {}
    /// What can be chosen in menus and tool bars has changed.
    virtual void UpdateCommands() {}

    // Questions and messages (any thread).
    virtual void ShowMessage(const STRING& /*title*/, const STRING& /*text*/) {}
    /// True is yes. Without a person to ask the answer is no.
    virtual bool AskYesNo(const STRING& /*title*/, const STRING& /*text*/) { return false; }

    /// The user wants the mail program, and none is set.
    virtual void OfferMailProgram() {}
    /// Help by topic number.
    virtual void ShowHelp(int /*topic*/) {}
    /// The first-run set-up; it may add items and change settings. Runs before the work thread.
    virtual void RunSetupWizard() {}
    /// The work thread has ended: the front end's loop ends too (any thread).
    virtual void PostQuit() {}
};

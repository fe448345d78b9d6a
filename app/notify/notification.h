#pragma once

#include <atomic>
#include <mutex>

#include "app/check/notifier.h"
#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "corelib/base/recordarray.h"

class CHECKCYCLE;
class PROGRAMSTARTER;

/// Mails of one check as the popup lists them.
struct DETAILS {
    STRING Text;         // lines with mark-up, split by " \n"
    int Lines = 0;       // how many mails are listed
    int TypeIndex = -1;  // the type nearest the top among them
    STRING TypeName;     // of that type
    STRING TypeSound;    // null: it has none of its own
};

/// The text of the last popup, in the current directory unless another place is told.
inline constexpr const char* LAST_POPUP_FILE = "lastpopup.txt";

/// Decides how the user is told of what a check has found: popup, sound, mail program, blinking.
class NOTIFICATION : public NOTIFIER {
 public:
    /// All of it outlives this object. State: the settings.
    NOTIFICATION(const STRINGARRAY& state, RECORDARRAY& items, const RECORDARRAY& types, FRONTEND& frontEnd,
                 const TEXTS& texts, PROGRAMSTARTER& starter)
        : State(state), Items(items), Types(types), FrontEnd(frontEnd), Texts(texts), Starter(starter) {}
    /// Whose pass over the items starts the mail program once, and whose counts the tray shows.
    void SetCycle(CHECKCYCLE* cycle) { Cycle = cycle; }
    /// A listener that is told of the same after the user, for example to print it; null: none.
    void SetListener(NOTIFIER* listener) { Listener = listener; }
    /// Where the last popup's text is kept. Before the work thread starts.
    void SetPopupFile(const STRING& path) { PopupFile = path; }

    bool NewMail(STRINGARRAY& item, const CHECKREPORT& report) override;
    bool NothingNew(STRINGARRAY& item, const CHECKREPORT& report) override;
    void SpamSentAway(const STRINGARRAY& item, const RECORDARRAY& records, const SENTAWAY& mails) override;
    void StopSoundLoop() override;

    /// Lists the first mails of the check that the settings and the mails' types let into the popup.
    DETAILS BuildPopupDetailsList(const CHECKREPORT& report) const;

    // What the popup's buttons and the front end's timers do; its thread.
    /// Queues the popup's one mail for deletion.
    void DeleteAlertMail();
    /// Shows the last popup again, also that of an earlier run; false if there is none.
    bool ShowLastAlert();
    /// Shows it again after the settings' delay.
    void RemindLater();
    /// Plays the repeated sound once more.
    void PlaySoundLoop();
    bool IsSoundLooping() const;
    /// The handle of the item of the last full popup, 0 for none, which is forgotten then; and a copy of the record of
    /// its one new mail.
    int TakeAlertItem() { return AlertHandle.exchange(0); }
    STRINGARRAY AlertMail() const;
    /// Blinks with the keyboard light if the settings say so; and ends that.
    void ScrollLockBlinking(bool on);

 private:
    void PostPopup(STRINGARRAY& item, const CHECKREPORT& report, const DETAILS& details);
    void PlaySounds(const STRING& soundFile);
    void StartProgramIfWanted(const STRINGARRAY& item, const DETAILS& details);
    STRING ButtonRow(bool oneMail) const;

    const STRINGARRAY& State;
    RECORDARRAY& Items;
    const RECORDARRAY& Types;
    FRONTEND& FrontEnd;
    const TEXTS& Texts;
    PROGRAMSTARTER& Starter;
    CHECKCYCLE* Cycle = nullptr;
    NOTIFIER* Listener = nullptr;
    std::atomic<int> AlertHandle = 0;
    std::atomic<bool> LightBlinks = false;
    mutable std::mutex Guard;  // of the two below
    STRINGARRAY Mail;
    STRING SoundLoopFile;
    STRING PopupFile = LAST_POPUP_FILE;
};

/// How long the keyboard light's last flip may take, in ms. Tests shrink it.
extern const int& ScrollLockSettleMs;

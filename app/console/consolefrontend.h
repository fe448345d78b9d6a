#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "app/check/notifier.h"
#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/console/alertview.h"
#include "corelib/base/locks.h"
#include "corelib/system/desktopnotice.h"

class TARNWICK;

/// The front end on a terminal: prints what is new, errors, and on a terminal the progress of a running check. The work
/// thread and the main thread both speak through it.
class CONSOLEFRONTEND : public FRONTEND, public NOTIFIER {
 public:
    CONSOLEFRONTEND();

    /// Texts are there as soon as a language has been loaded, the application as soon as it exists (null: no longer).
    void SetTexts(const TEXTS* texts) { Texts = texts; }
    void SetApplication(TARNWICK* application) { Application = application; }
    /// Every check prints its outcome, and not only those that found something or failed anew.
    void SetTalkative(bool value) { Talkative = value; }
    /// Standard output is for results that a program may read: messages go to standard error.
    void SetResultsOnly(bool value) { ResultsOnly = value; }

    /// A line of UTF-8 for the user; and one for what went wrong.
    void Print(const std::string& line);
    void PrintError(const std::string& line);
    /// Bytes as they are.
    void PrintRaw(std::string_view bytes);

    /// Whether there is a person at a terminal who can be asked.
    bool CanAsk() const;
    /// Waits up to ms for the work thread's end; true if it has told it.
    bool WaitForQuit(int ms) { return Quit.Wait(ms); }

    /// A person watches, and may answer the popups by keys.
    void SetWatching(bool value) { Watching = value; }
    /// A key was pressed (0: none): the command of that button of the popup, which is answered then; -1 if it is none
    /// of its keys. Where the popup has gone by now, the user is told.
    int TakeAlertCommand(int key);
    /// Whether a timer has run out; one that is not taken for once goes on.
    bool TakeDueTimer(int timer, bool once);
    /// The handle that a start of the mail program was posted for (0: no item), the oldest one first; -1: none.
    int TakeProgramStart();
    /// A question is open, which the next line of input answers.
    bool IsAsking() const { return Asking; }

    /// From now on new mail is told by the desktop's notifications, too.
    void BeginNotices() { Notices = std::make_unique<DESKTOPNOTICE>(); }
    /// Tells the user, once, if that does not work. finish: first waits a moment for those that are under way.
    void TellNoticeTrouble(bool finish);

    // FRONTEND
    void PostAlert(const ALERTREQUEST& request) override;
    void PlaySoundFile(const STRING& file) override;
    void StopBlinking() override;
    void PostStartMailProgram(int handle) override;
    void StartTimer(int timer, int ms) override;
    void StopTimer(int timer) override;
    void SetCell(int handle, int column, const STRING& text) override;
    void SetItemStatus(int handle, const STRING& text) override;
    void ToldOfNews(int handle, bool active) override;
    void ShowMessage(const STRING& title, const STRING& text) override;
    bool AskYesNo(const STRING& title, const STRING& text) override;
    void PostQuit() override { Quit.Set(); }

    // NOTIFIER
    bool NewMail(STRINGARRAY& item, const CHECKREPORT& report) override;
    bool NothingNew(STRINGARRAY& item, const CHECKREPORT& report) override;
    void SpamSentAway(const STRINGARRAY& item, const RECORDARRAY& records, const SENTAWAY& mails) override;

 private:
    /// A line for each of the first mails, with how many more there are.
    std::string MailLines(const RECORDARRAY& records, const std::vector<int>& indexes,
                          const std::function<std::string(const STRINGARRAY&)>& detail) const;
    void Notify(const STRINGARRAY& item, const CHECKREPORT& report);
    void ClearProgress();
    std::string ItemName(int handle) const;

    const TEXTS* Texts = nullptr;
    std::atomic<TARNWICK*> Application = nullptr;
    std::atomic<bool> Talkative = false;
    std::atomic<bool> Watching = false;
    std::atomic<bool> Asking = false;
    bool ResultsOnly = false;
    const bool Terminal;
    EVENTSEM Quit{false};
    std::mutex Lock;
    bool ProgressShown = false;
    std::unique_ptr<DESKTOPNOTICE> Notices;  // null: none are wanted
    bool NoticeTroubleTold = false;
    bool TrashTold = false;  // where copies lie; whichever thread makes the checks
    struct TIMER {
        int64_t Due;  // seconds, by the clock
        int Period;
    };
    std::map<int, TIMER> Timers;
    std::vector<ALERTVIEW::KEY> AlertKeys;  // of the last popup that had some
    int64_t AlertEnd = 0;                   // by the clock's seconds
    std::deque<int> ProgramStarts;          // handles
    std::set<int> TalkativeServers;         // handles of items whose servers have told of news
    std::map<int, std::string> LastErrors;  // by handle, so that a lasting error is told once
};

#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "app/check/notifier.h"
#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "corelib/base/locks.h"

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

    // FRONTEND
    void SetCell(int handle, int column, const STRING& text) override;
    void SetItemStatus(int handle, const STRING& text) override;
    void ShowMessage(const STRING& title, const STRING& text) override;
    bool AskYesNo(const STRING& title, const STRING& text) override;
    void RunSetupWizard() override;
    void PostQuit() override { Quit.Set(); }

    // NOTIFIER
    bool NewMail(STRINGARRAY& item, const CHECKREPORT& report) override;
    bool NothingNew(STRINGARRAY& item, const CHECKREPORT& report) override;

 private:
    void ClearProgress();
    std::string ItemName(int handle) const;

    const TEXTS* Texts = nullptr;
    std::atomic<TARNWICK*> Application = nullptr;
    std::atomic<bool> Talkative = false;
    bool ResultsOnly = false;
    const bool Terminal;
    EVENTSEM Quit{false};
    std::mutex Lock;
    bool ProgressShown = false;
    std::map<int, std::string> LastErrors;  // by handle, so that a lasting error is told once
};

#include "app/console/consolefrontend.h"

#include <algorithm>
#include <utility>

#include "app/common/displaytext.h"
#include "app/common/formats.h"
#include "app/console/consoletexts.h"
#include "app/console/mailtable.h"
#include "app/console/terminal.h"
#include "app/core/tarnwick.h"
#include "app/mailbox/account.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"

namespace {

constexpr int RESULT_COLUMN = 1;

/// Whole seconds, at least one: nothing here needs a finer clock.
int Period(int ms) {
    return std::max(ms / 1000, 1);
}

// Of a mailbox's first check there may be thousands; the table of /INBOX shows them all.
constexpr size_t LINES_MAX = 20;

std::string Safe(const STRING& text) {
    return DISPLAYTEXT::Safe(text.View());
}

}  // namespace

CONSOLEFRONTEND::CONSOLEFRONTEND() : Terminal(TERMINAL::OutputIsTerminal()) {}

void CONSOLEFRONTEND::Print(const std::string& line) {
    std::lock_guard hold(Lock);
    ClearProgress();
    TERMINAL::Write(line + "\n");
}

void CONSOLEFRONTEND::PrintError(const std::string& line) {
    std::lock_guard hold(Lock);
    ClearProgress();
    TERMINAL::WriteError(line + "\n");
}

void CONSOLEFRONTEND::PrintRaw(std::string_view bytes) {
    std::lock_guard hold(Lock);
    ClearProgress();
    TERMINAL::Write(bytes);
}

void CONSOLEFRONTEND::ClearProgress() {
    if (!ProgressShown)
        return;
    ProgressShown = false;
    TERMINAL::Write("\r" + std::string(static_cast<size_t>(TERMINAL::Columns() - 1), ' ') + "\r");
}

std::string CONSOLEFRONTEND::ItemName(int handle) const {
    TARNWICK* application = Application;
    const STRINGARRAY* item = application ? application->FindItem(handle) : nullptr;
    return item ? Safe(item->Get("Name")) : std::string();
}

void CONSOLEFRONTEND::SetItemStatus(int handle, const STRING& text) {
    if (!Terminal)
        return;
    const std::string line = ItemName(handle) + ": " + Safe(text);
    std::lock_guard hold(Lock);
    TERMINAL::Write("\r" + DISPLAYTEXT::Fit(line, TERMINAL::Columns() - 1));
    ProgressShown = true;
}

void CONSOLEFRONTEND::SetCell(int handle, int column, const STRING& text) {
    TARNWICK* application = Application;
    const STRINGARRAY* item = application && column == RESULT_COLUMN ? application->FindItem(handle) : nullptr;
    if (!item)
        return;
    const bool failed = MAILACCOUNT::Counts(*item).Failed;
    const std::string result = Safe(text);
    bool tell = failed;
    {
        std::lock_guard hold(Lock);
        std::string& last = LastErrors[handle];
        tell = tell && (Talkative || last != result);
        last = failed ? result : std::string();
        ClearProgress();
    }
    if (tell)
        PrintError(ItemName(handle) + ": " + result);
}

void CONSOLEFRONTEND::ShowMessage(const STRING& title, const STRING& text) {
    std::string body;
    WORDCURSOR lines(text, "\n");
    std::string_view piece;
    while (lines.Next(piece))
        if (!piece.empty())
            body += (body.empty() ? "" : "\n") + DISPLAYTEXT::Safe(piece);
    // Before there is a language, a message tells why the program cannot start.
    const std::string line = Safe(title) + ": " + body;
    Texts && !ResultsOnly ? Print(line) : PrintError(line);
}

void CONSOLEFRONTEND::ToldOfNews(int handle, bool active) {
    const bool isNew = [&] {
        const std::lock_guard hold(Lock);
        return active && TalkativeServers.insert(handle).second;
    }();
    if (isNew)
        Print(ItemName(handle) + ": " + Safe(Texts->Get(TEXT_TOLD_OF_NEWS)));
}

bool CONSOLEFRONTEND::CanAsk() const {
    return Terminal && TERMINAL::InputIsTerminal() && Texts;
}

bool CONSOLEFRONTEND::AskYesNo(const STRING& title, const STRING& text) {
    // Without a person to ask, what is there stays as it is.
    if (!CanAsk())
        return false;
    // Other threads read keys: they leave this line to the question.
    Asking = true;
    ShowMessage(title, text);
    // The two letters of the language, such as "yn".
    const std::string letters = ConsoleText(*Texts, CTEXT_YES_NO);
    TERMINAL::Write(letters.substr(letters.find('|') + 1));
    std::string answer;
    const bool read = TERMINAL::ReadLine(answer, false);
    Asking = false;
    if (!read || answer.empty())
        return false;
    return ASCII::Equal(answer.substr(0, 1), letters.substr(0, 1));
}

void CONSOLEFRONTEND::PostAlert(const ALERTREQUEST& request) {
    if (!Terminal)
        return;
    const bool interactive = Watching && CanAsk();
    const std::string more = request.More > 0 ? ConsoleText(*Texts, CTEXT_MORE, std::to_string(request.More)) : "";
    const ALERTVIEW view = DrawAlert(request, true, TERMINAL::Columns(), interactive, more);
    // A key that was pressed before was meant for something else.
    if (!view.Keys.empty() && !Asking)
        TERMINAL::ForgetKeys();
    PrintRaw(view.Text);
    if (view.Keys.empty())
        return;
    std::lock_guard hold(Lock);
    AlertKeys = view.Keys;
    AlertEnd = request.DurationMs > 0 ? CLOCK::Seconds() + Period(request.DurationMs) : INT64_MAX;
}

int CONSOLEFRONTEND::TakeAlertCommand(int key) {
    if (key < '1' || key > '9')
        return -1;
    ALERTVIEW::KEY answer{-1, ""};
    {
        std::lock_guard hold(Lock);
        const auto number = static_cast<size_t>(key - '1');
        const bool stands = !AlertKeys.empty() && CLOCK::Seconds() < AlertEnd;
        if (stands && number >= AlertKeys.size())
            return -1;
        if (stands)
            answer = AlertKeys[number];
        AlertKeys.clear();
    }
    Print(answer.Command != -1 ? "> " + answer.Label : ConsoleText(*Texts, CTEXT_POPUP_GONE));
    return answer.Command;
}

void CONSOLEFRONTEND::PlaySoundFile(const STRING& /*file*/) {
    if (Terminal)
        TERMINAL::Write("\a");
}

void CONSOLEFRONTEND::StopBlinking() {
    if (TARNWICK* application = Application)
        application->Notification().ScrollLockBlinking(false);
}

void CONSOLEFRONTEND::PostStartMailProgram(int handle) {
    std::lock_guard hold(Lock);
    ProgramStarts.push_back(handle);
}

int CONSOLEFRONTEND::TakeProgramStart() {
    std::lock_guard hold(Lock);
    if (ProgramStarts.empty())
        return -1;
    const int handle = ProgramStarts.front();
    ProgramStarts.pop_front();
    return handle;
}

void CONSOLEFRONTEND::StartTimer(int timer, int ms) {
    std::lock_guard hold(Lock);
    Timers[timer] = {CLOCK::Seconds() + Period(ms), Period(ms)};
}

void CONSOLEFRONTEND::StopTimer(int timer) {
    std::lock_guard hold(Lock);
    Timers.erase(timer);
}

bool CONSOLEFRONTEND::TakeDueTimer(int timer, bool once) {
    std::lock_guard hold(Lock);
    const auto at = Timers.find(timer);
    if (at == Timers.end() || CLOCK::Seconds() < at->second.Due)
        return false;
    if (once)
        Timers.erase(at);
    else
        at->second.Due += at->second.Period;
    return true;
}

bool CONSOLEFRONTEND::NewMail(STRINGARRAY& item, const CHECKREPORT& report) {
    Notify(item, report);
    // On a terminal the popup has told it.
    if (Terminal && report.PopupShown)
        return false;
    PrintRaw(Safe(item.Get("Name")) + ": " + Safe(report.Status) + Safe(report.NewText) + "\n" +
             MailLines(report.Records, report.NewMails, MailSize));
    return false;
}

void CONSOLEFRONTEND::Notify(const STRINGARRAY& item, const CHECKREPORT& report) {
    constexpr size_t SHOWN_MOST = 5;
    constexpr int LINE_CHARACTERS = 100;
    const size_t count = report.NewMails.size();
    if (!Notices || count == 0)
        return;
    std::string body;
    for (size_t i = 0; i < std::min(count, SHOWN_MOST); ++i) {
        const std::string line = MailLine(report.Records[report.NewMails[i]], "", 0);
        body += std::string(DISPLAYTEXT::FirstCharacters(ASCII::TrimLeft(line, " "), LINE_CHARACTERS)) + "\n";
    }
    if (count > SHOWN_MOST)
        body += ConsoleText(*Texts, CTEXT_MORE, std::to_string(count - SHOWN_MOST));
    const std::string mails = count == 1 ? ConsoleText(*Texts, CTEXT_NOTICE_ONE)
                                         : ConsoleText(*Texts, CTEXT_NOTICE_MANY, std::to_string(count));
    Notices->Show(item.GetNumber("@Handle"), (Safe(item.Get("Name")) + ": " + mails).c_str(),
                  std::string(ASCII::TrimRight(body, "\n")).c_str());
}

void CONSOLEFRONTEND::TellNoticeTrouble(bool finish) {
    if (!Notices)
        return;
    if (finish)
        Notices->Finish();
    const STRING trouble = Notices->TakeTrouble();
    if (trouble.Length() > 0 && !std::exchange(NoticeTroubleTold, true))
        PrintError(ConsoleText(*Texts, CTEXT_NOTIFY_TROUBLE, Safe(trouble)));
}

std::string CONSOLEFRONTEND::MailLines(const RECORDARRAY& records, const std::vector<int>& indexes,
                                       const std::function<std::string(const STRINGARRAY&)>& detail) const {
    const int columns = Terminal ? TERMINAL::Columns() : 0;
    const size_t shown = std::min(indexes.size(), LINES_MAX);
    std::string text;
    for (size_t i = 0; i < shown; ++i)
        text += MailLine(records[indexes[i]], detail(records[indexes[i]]), columns) + "\n";
    if (indexes.size() > shown)
        text += "    " + ConsoleText(*Texts, CTEXT_MORE, std::to_string(indexes.size() - shown)) + "\n";
    return text;
}

void CONSOLEFRONTEND::SpamSentAway(const STRINGARRAY& item, const RECORDARRAY& records, const SENTAWAY& mails) {
    const auto points = [this](const STRINGARRAY& mail) {
        return ConsoleText(*Texts, CTEXT_POINTS, Safe(mail["X-SpamPoints"]));
    };
    const auto tell = [&](const std::vector<int>& indexes, int text) {
        const auto count = Safe(FormatMailCount(*Texts, static_cast<int>(indexes.size())));
        if (!indexes.empty())
            PrintRaw(Safe(item.Get("Name")) + ": " + ConsoleText(*Texts, text, count) + "\n" +
                     MailLines(records, indexes, points));
    };
    tell(mails.Trashed, CTEXT_TRASHED);
    tell(mails.Deleted, CTEXT_DELETED);
    tell(mails.Moved, CTEXT_MOVED);
    TARNWICK* application = Application;
    if (application && !mails.Trashed.empty() && !std::exchange(TrashTold, true))
        Print("    " + ConsoleText(*Texts, CTEXT_TRASH_PLACE, DISPLAYTEXT::Path(application->Trash().Directory())));
}

bool CONSOLEFRONTEND::NothingNew(STRINGARRAY& item, const CHECKREPORT& report) {
    if (Talkative)
        Print(Safe(item.Get("Name")) + ": " + Safe(report.Status) + ConsoleText(*Texts, CTEXT_NOTHING_NEW));
    return false;
}

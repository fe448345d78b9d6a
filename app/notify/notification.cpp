#include "app/notify/notification.h"

#include <algorithm>
#include <string>
#include <vector>

#include "app/check/checkcycle.h"
#include "app/check/items.h"
#include "app/common/displaytext.h"
#include "app/common/mailtext.h"
#include "app/notify/mailprogram.h"
#include "app/notify/mailtypes.h"
#include "app/reading/shownmail.h"
#include "corelib/base/clock.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"
#include "resources/commands.h"

// No header of the program shows it: the tests alone write there (tests/support/times.h).
namespace SHRINKABLE {
int ScrollLockSettleMs = 1000;
}
constinit const int& ScrollLockSettleMs = SHRINKABLE::ScrollLockSettleMs;

namespace {

constexpr int LINES_MAX = 15;
constexpr int SUBJECT_CHARACTERS = 40;
constexpr int BLINK_MS = 500;
constexpr int LIGHT_MS = 1000;
constexpr int NOTHING_NEW_MS = 2500;

// What PopupDoMailDetailsAll lists.
constexpr int LIST_UNKNOWN = 0;
constexpr int LIST_UNREAD = 1;
constexpr int LIST_ALL = 2;

/// A button of the popup: part of the text of labels, command, and whether it is about the one mail.
struct BUTTON {
    int Label;
    int Command;
    bool OneMail;
};
constexpr BUTTON BUTTONS[] = {
    {PART_BUTTON_PROGRAM, COMMAND_MAIL_PROGRAM, false}, {PART_BUTTON_LATER, COMMAND_REMIND_LATER, false},
    {PART_BUTTON_DELETE, COMMAND_DELETE_MAIL, true},    {PART_BUTTON_SHOW, COMMAND_SHOW_MAIL, true},
    {PART_BUTTON_INBOX, COMMAND_SHOW_ITEM, false},      {PART_BUTTON_CLOSE, 0, false}};

/// What comes from a mail never acts as mark-up, nor does it end a line.
STRING Plain(const STRING& text) {
    std::string plain(text.View());
    std::erase_if(plain, [](char c) { return c == 27 || c == 14 || c == 15 || c == '\r' || c == '\n' || c == '\0'; });
    return STRING(std::string_view(plain));
}

int Milliseconds(int count, int unit) {
    return static_cast<int>(std::clamp<int64_t>(int64_t{count} * unit, -1, 0x7fffffff));
}

}  // namespace

DETAILS NOTIFICATION::BuildPopupDetailsList(const CHECKREPORT& report) const {
    DETAILS details;
    details.Text = "";
    const int mode = State.GetNumber("PopupDoMailDetailsAll");
    const STRING lineTemplate = State.Get("PopupMailDetails");
    const STRING defaultType = Texts.Get(TEXT_DEFAULT_TYPE);
    const RECORDARRAY types = Types;  // the user's thread may replace them
    for (int i = 0; i < std::min(report.Records.Count(), LINES_MAX); ++i) {
        const STRINGARRAY& record = report.Records[i];
        const bool known = !std::binary_search(report.NewMails.begin(), report.NewMails.end(), i);
        const STRING seen = record.Get("Seen");
        const bool unread = atoi(seen) == 0;
        const bool listed = mode == LIST_UNKNOWN ? !known : mode == LIST_UNREAD ? unread : mode == LIST_ALL;
        if (!listed || record.GetNumber("X-Ignore") != 0)
            continue;
        STRING typeName = defaultType;
        bool show = true;
        STRING color("");
        // The empty line that parts them belongs to neither.
        const int type = GetTypeIndex(record.Get("Header") || "\n\n" || record.Get("Body"), types);
        if (type != -1) {
            typeName = types[type].Get("Name");
            details.TypeIndex = details.TypeIndex == -1 ? type : std::min(details.TypeIndex, type);
            show = types[type].GetNumber("DoPopup") != 0;
            if (types[type].GetNumber("DoColor") != 0)
                color.Format(";B=%d;F=%d", types[type].GetNumber("Color"), types[type].GetNumber("TextColor"));
        }
        if (!show)
            continue;
        const SHOWNMAIL::HEADER shownMail = SHOWNMAIL::Header(record);
        const std::string_view whole = shownMail.Subject;
        const std::string_view cut = DISPLAYTEXT::FirstCharacters(whole, SUBJECT_CHARACTERS);
        const STRING to(std::string_view(shownMail.Recipient)), from(std::string_view(shownMail.Sender)),
            subject = STRING(cut) || (cut.size() < whole.size() ? " ..." : "");
        STRING date;
        STRING time;
        ParseDate(record.Get("X-Datetime"), date, time);
        const bool old = (!unread || report.Unknown) && (known || report.ShowAll);
        STRING line = STRING(old ? "\x1b[s" : "\x1b[bs") || color || "] " || lineTemplate;
        // Replaced in this order: a name that stands in the value of an earlier one is filled in, too, with what is
        // known of the same mail.
        const std::pair<const char*, STRING> VALUES[] = {
            {"$status", seen.View().starts_with('n') ? "!" : ""},
            {"$to", to},
            {"$an", to},
            {"$from", from},
            {"$von", from},
            {"$subject", subject},
            {"$betreff", subject},
            {"$type", typeName},
            {"$typ", typeName},
            {"$size", record.Get("X-Size")},
            {"$groesse", record.Get("X-Size")},
            {"$date", date},
            {"$datum", date},
            {"$time", time},
            {"$zeit", time},
            {"$spam", Plain(record.Get("X-SpamPoints"))},
        };
        for (const auto& [placeholder, value] : VALUES)
            line.Replace(placeholder, value.Text());
        line.Strip('B', " \r");
        ++details.Lines;
        details.Text += line || " \n";
    }
    details.Text.Strip('R', "\r\n");
    if (details.TypeIndex != -1) {
        const STRINGARRAY& type = types[details.TypeIndex];
        details.TypeName = type.Get("Name");
        if (type.GetNumber("DoSound") != 0)
            details.TypeSound = type.Get("SoundFile");
    }
    Trace("TARNWICK::BuildPopupDetailsList howmany= %d, typendx= %d\n", details.Lines, details.TypeIndex);
    return details;
}

bool NOTIFICATION::NewMail(STRINGARRAY& item, const CHECKREPORT& report) {
    DETAILS details;
    if (State.GetNumber("PopupDoMailDetails") != 0)
        details = BuildPopupDetailsList(report);
    STRING soundFile = State.Get("SoundEmail");
    bool doPopup = State.GetNumber("EmailDoPopup") != 0 || report.Asked;
    doPopup = doPopup && item.GetNumber("@SuppressPopup") == 0;
    Trace("TARNWICK::HandleNewMail 1. dopupup= %d\n", doPopup);
    if (details.TypeIndex != -1) {
        Trace("TARNWICK::HandleNewMail listcount= %d, type= %s\n", details.Lines, details.TypeName.Text());
        if (details.TypeSound.NotNull())
            soundFile = details.TypeSound;
        Trace("TARNWICK::HandleNewMail 2. dopupup= %d\n", doPopup);
    }
    const bool popup = doPopup && details.Lines > 0;
    if (popup)
        PostPopup(item, report, details);
    PlaySounds(soundFile);
    StartProgramIfWanted(item, details);
    FrontEnd.StartTimer(TIMER_BLINK, BLINK_MS);
    ScrollLockBlinking(true);
    if (Cycle)
        Cycle->SetShownCount(Cycle->CountMails(-1, nullptr, nullptr));
    if (Listener) {
        CHECKREPORT told = report;
        told.PopupShown = popup;
        Listener->NewMail(item, told);
    }
    return popup;
}

// The user hears nothing of spam, only the listener does.
void NOTIFICATION::SpamSentAway(const STRINGARRAY& item, const RECORDARRAY& records, const SENTAWAY& mails) {
    if (Listener)
        Listener->SpamSentAway(item, records, mails);
}

bool NOTIFICATION::NothingNew(STRINGARRAY& item, const CHECKREPORT& report) {
    if (Listener)
        Listener->NothingNew(item, report);
    FrontEnd.PostAlert({.Text = Texts.Get(TEXT_NOTHING_NEW) || " (" || item.Get("Name") || ")",
                        .TextColor = item.GetNumber("PopupTextColor"),
                        .BackColor = item.GetNumber("PopupBackgroundColor"),
                        .DurationMs = NOTHING_NEW_MS,
                        .Handle = 0});
    return true;
}

void NOTIFICATION::PostPopup(STRINGARRAY& item, const CHECKREPORT& report, const DETAILS& details) {
    const bool ownColors = item.GetNumber("DoPopup") != 0;
    const STRINGARRAY& colors = ownColors ? item : State;
    STRING text =
        Texts.Get(TEXT_POPUP_HEAD) || "\n" || item.Get("Name") || ": " || report.Status.Line(0, WORD_NEVERNULL);
    if (!report.ShowAll)
        text += report.NewText;
    if (details.Text.Length() > 0) {
        text += "\n\n";
        text += details.Text;
        if (State.GetNumber("PopupDoButtons") != 0)
            text += ButtonRow(details.Lines == 1);
    }
    const int handle = item.GetNumber("@Handle");
    if (details.Lines == 1) {
        const STRINGARRAY& last = report.Records[report.NewMails.back()];
        // Of two mails with one id nobody knows which one would go.
        const STRING& id = last["X-Message-Id"];
        int same = 0;
        for (int i = 0; i < report.Records.Count(); ++i)
            same += report.Records.DisposalId(i) == id;
        item.Set("@X-DeleteMessageId", same == 1 ? id || "\n" : STRING(""));
        item.Set("@X-DeleteMail", NameOf(last).Identity.c_str());
        const std::lock_guard hold(Guard);
        Mail = last;
    }
    AlertHandle = handle;
    const auto unlisted = std::ranges::count_if(report.NewMails, [](int mail) { return mail >= LINES_MAX; });
    Trace("TARNWICK::HandleNewMail email show popup\n");
    FrontEnd.PostAlert({.Text = text,
                        .TextColor = colors.GetNumber("PopupTextColor"),
                        .BackColor = colors.GetNumber("PopupBackgroundColor"),
                        .DurationMs = Milliseconds(State.GetNumber("PopupDuration"), 1000),
                        .Handle = handle,
                        .More = static_cast<int>(unlisted)});
    // The popup is up; the file only serves to show it once more.
    (void)FILES::ReplaceLog(PopupFile.Text(), text.View(), true);
}

STRING NOTIFICATION::ButtonRow(bool oneMail) const {
    STRING row("\n\x1b[s]\n");
    for (const BUTTON& button : BUTTONS) {
        if (!button.OneMail || oneMail)
            row.AppendFormat("\x1b[sb;*=%d]%s\x1b[s]  ", button.Command,
                             Texts.Part(TEXT_POPUP_BUTTONS, button.Label).Text());
    }
    return row;
}

void NOTIFICATION::PlaySounds(const STRING& soundFile) {
    // The general sound's file decides, whichever is played.
    if (State.GetNumber("EmailDoSound") == 0 || !OSYS::FileExists(State.Get("SoundEmail").Text()))
        return;
    Trace("TARNWICK::HandleNewMail email play sound %s\n", soundFile.Text());
    FrontEnd.PlaySoundFile(soundFile);
    if (State.GetNumber("EmailDoSoundLoop") == 0)
        return;
    {
        const std::lock_guard hold(Guard);
        SoundLoopFile = soundFile;
    }
    // Without a pause it would begin anew a hundred times a second, and nothing would be heard.
    FrontEnd.StartTimer(TIMER_SOUND_LOOP, Milliseconds(std::max(State.GetNumber("EmailSoundLoopRep"), 1), 1000));
    FrontEnd.UpdateCommands();
}

void NOTIFICATION::StartProgramIfWanted(const STRINGARRAY& item, const DETAILS& details) {
    const STRING command = State.Get("EmailCmdline");
    if (State.GetNumber("EmailDoProgram") == 0 || command.Length() == 0 || (Cycle && Cycle->WasStartedThisPass()))
        return;
    if (FindMailProgramWindow(State, Starter) != 0)
        return;
    if (State.GetNumber("EmailDoConfirmProgram") != 0) {
        STRING list = details.Text.Length() > 0 ? STRING("\r") || details.Text || "\r\r" : STRING("");
        STRING question = Texts.Get(TEXT_ASK_PROGRAM);
        question.Replace("$NAME", item.Get("Name").Text());
        question.Replace("$LIST", list.Text());
        question.Replace("\x1b[bs]", "");
        question.Replace("\x1b[s]", "");
        if (!FrontEnd.AskYesNo(Texts.Get(TEXT_TITLE), question))
            return;
    }
    Trace("TARNWICK::HandleNewMail post email start program %s\n", command.Text());
    FrontEnd.PostStartMailProgram(item.GetNumber("@Handle"));
}

void NOTIFICATION::DeleteAlertMail() {
    if (STRINGARRAY* item = FindItem(Items, TakeAlertItem())) {
        STRING id = TakeIds(*item, "@X-DeleteMessageId");
        id.ChopLast('\n');
        if (id.Length() > 0)
            QueueDeletion(*item, {{std::string(id.View()), std::string(item->Get("@X-DeleteMail").View())}});
    }
}

bool NOTIFICATION::ShowLastAlert() {
    STRING text;
    if (!text.Load(PopupFile.Text(), "r") || text.Length() == 0)
        return false;
    const int duration = State.GetNumber("PopupDuration");
    FrontEnd.PostAlert({.Text = text,
                        .TextColor = State.GetNumber("PopupTextColor"),
                        .BackColor = State.GetNumber("PopupBackgroundColor"),
                        .DurationMs = duration > 0 ? Milliseconds(duration, 1000) : -1,
                        .Handle = 0});
    return true;
}

void NOTIFICATION::RemindLater() {
    FrontEnd.StartTimer(TIMER_LATER, Milliseconds(State.GetNumber("PopupLaterDelay"), 60000));
}

void NOTIFICATION::PlaySoundLoop() {
    STRING file;
    {
        const std::lock_guard hold(Guard);
        file = SoundLoopFile;
    }
    if (file.Length() > 0)
        FrontEnd.PlaySoundFile(file);
}

bool NOTIFICATION::IsSoundLooping() const {
    const std::lock_guard hold(Guard);
    return SoundLoopFile.Length() > 0;
}

void NOTIFICATION::StopSoundLoop() {
    // In the trace it is the command of that name, whoever wants it.
    Trace("TARNWICK::DoCommand %d\n", COMMAND_STOP_SOUND);
    bool looped = false;
    {
        const std::lock_guard hold(Guard);
        looped = SoundLoopFile.Length() > 0;
        SoundLoopFile = "";
    }
    if (looped) {
        FrontEnd.StopTimer(TIMER_SOUND_LOOP);
        FrontEnd.UpdateCommands();
    }
    Trace("TARNWICK::~DoCommand rc=%d\n", 1);
}

STRINGARRAY NOTIFICATION::AlertMail() const {
    const std::lock_guard hold(Guard);
    return Mail;
}

void NOTIFICATION::ScrollLockBlinking(bool on) {
    Trace("TARNWICK::ScrollLockBlinking\n");
    if (on && !LightBlinks && State.GetNumber("EmailDoScrollBlink") != 0) {
        Trace("TARNWICK::ScrollLockBlinking: blinking starts...\n");
        FrontEnd.StartTimer(TIMER_SCROLL_LOCK, LIGHT_MS);
        LightBlinks = true;
    } else if (!on && LightBlinks) {
        Trace("TARNWICK::ScrollLockBlinking: blinking stops...\n");
        FrontEnd.StopTimer(TIMER_SCROLL_LOCK);
        LightBlinks = false;
        // A tick that is under way has flipped the light by then.
        CLOCK::Sleep(ScrollLockSettleMs);
        OSYS::ScrollLock(0);
    }
    Trace("TARNWICK::~ScrollLockBlinking\n");
}

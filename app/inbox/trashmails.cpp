#include "app/inbox/trashmails.h"

#include "app/core/tarnwick.h"
#include "app/filter/learning.h"
#include "app/mailbox/listing.h"
#include "app/reading/shownmail.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/headerblock.h"
#include "corelib/base/trace.h"
#include "corelib/net/email.h"
#include "corelib/system/dirscan.h"

namespace {

constexpr std::string_view SUBJECT = "Subject: ";
constexpr std::string_view REASON = "X-SpamReason";

/// What a record must have to be shown; a copy whose file was damaged lacks some.
constexpr const char* KEYS[] = {"From",         "FromEmail",    "Header",     "MessageId",    "Seen",
                                "Subject",      "To",           "X-Datetime", "X-Message-Id", "X-Size",
                                "X-SpamPoints", "X-SpamReason", "X-TrashId"};

/// The header of a mail whose text a person can read already, whatever it had been made of.
STRING HeaderOfReadText(const STRING& server) {
    std::string header;
    for (std::string_view rest = server.View(); !rest.empty();) {
        const std::string_view line = ASCII::TrimRight(ASCII::Take(rest, '\n'), "\r");
        if (line.empty())
            break;
        if (!ASCII::BeginsWith(line, "Content-") && !ASCII::BeginsWith(line, "Mime-Version:"))
            header.append(line).push_back('\n');
    }
    return STRING(
        std::string_view(header.append("Mime-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n"
                                       "Content-Transfer-Encoding: 8bit\n")));
}

}  // namespace

TRASHMAILS::TRASHMAILS(TARNWICK& application) : MAILROWS(application.pState), Application(application) {}

void TRASHMAILS::Load() {
    Mails.DeleteAll();
    DYNARRAY<STRING> files(64, 64);
    OSYS::CollectFiles(Application.Trash().Directory().Text(), "*.ini", &files, 0);
    for (int i = 0; i < files.Count(); ++i) {
        auto record = std::make_unique<STRINGARRAY>();
        if (!record->Load(files[i].Text()))
            continue;  // it has gone meanwhile
        for (const char* const key : KEYS)
            if (!record->Exists(key))
                record->Set(key, "");
        record->Set("@File", files[i]);
        record->Set("Deleted", "1");
        record->Set("Trashed", "1");
        Mails.AddOwned(std::move(record));
    }
    TakeShown();
}

STRING TRASHMAILS::Title() const {
    STRING title = Application.Texts().Get(TEXT_TITLE);
    title.AppendFormat(" - %d ", Count());
    return title || Application.Texts().Get(TEXT_TRASHED_MAILS);
}

int TRASHMAILS::FindId(std::string_view id) const {
    for (int i = 0; i < Count(); ++i)
        if (Mails[i]["X-TrashId"].View() == id)
            return i;
    return -1;
}

STRING TRASHMAILS::TextFile(int mail) const {
    // The text is found by the id, which names a file of this folder and of no other.
    const STRING& id = Mails[mail]["X-TrashId"];
    return ASCII::IsNumber(id.View()) ? OSYS::FilePath(Application.Trash().Directory().Text(), (id || ".txt").Text())
                                      : STRING();
}

STRINGARRAY TRASHMAILS::Whole(int mail) const {
    STRINGARRAY whole = Mails[mail];
    STRING body("");
    if (const STRING file = TextFile(mail); file.NotNull())
        (void)body.Load(file.Text(), "r");  // a copy without its text is shown without it
    whole.Set("Body", body);
    return whole;
}

int TRASHMAILS::Apply() {
    int failed = 0;
    for (int i = Count() - 1; i >= 0; --i) {
        if (!IsMarked(i))
            continue;
        Trace("TRASHCAN::DeleteThem item %d - %s\n", i, Mails[i]["X-TrashId"].Text());
        // The text first: a copy that is left without it is still listed, and can be deleted again.
        bool gone = true;
        for (const STRING& file : {TextFile(i), Mails[i]["@File"]}) {
            if (!file.NotNull() || !OSYS::FileExists(file.Text()))
                continue;
            gone = gone && FILES::Remove(file.Text());
            if (gone)
                Trace("TRASHCAN::DeleteThem deleted file %s\n", file.Text());
        }
        if (gone)
            Remove(i);
        else
            ++failed;
    }
    Application.Trash().Recount();
    return failed;
}

STRING MessageToSendOn(const STRINGARRAY& whole) {
    STRING text = whole["Header"];
    // What the program has put on top tells little of the mail where the server's own header is there, too.
    if (const STRING server = SHOWNMAIL::ServerHeader(whole); server.NotNull())
        text = STRING(ReadHeaderField(text.View(), REASON).NotNull() ? "X-SpamReason:\n" : "") ||
               (SHOWNMAIL::IsRead(whole) ? HeaderOfReadText(server) : server);
    text = text || "\n\n" || whole["Body"];
    // The sender takes returns off lines, so that another line than the one looked at here could be the end.
    text.Replace("\r", "", 1);
    STRING message("");
    std::string_view rest = text.View();
    const bool isDoubled = LISTING::TakeReplyEnd(rest);
    while (!rest.empty()) {
        const std::string_view line = ASCII::Take(rest, '\n');
        if (ASCII::BeginsWith(line, REASON)) {
            message += "X-Tarnwick: Keep\n";
            continue;
        }
        // One point alone would end the message, and what follows it would be a command.
        if (line.starts_with('.') && !(isDoubled && line.starts_with("..")))
            message += ".";
        const bool isSubject = ASCII::BeginsWith(line, SUBJECT);
        message.AppendBytes(line.substr(0, isSubject ? SUBJECT.size() : 0));
        if (isSubject)
            message += "[Tarnwick] ";
        message.AppendBytes(line.substr(isSubject ? SUBJECT.size() : 0));
        message += "\n";
    }
    return message;
}

bool TRASHMAILS::SendOn(LEARNING& lessons, const STRINGARRAY& whole, const STRINGARRAY& state, const TEXTS& texts,
                        const STOPQUESTION& stopAsked, STRING& error) {
    constexpr int ERROR_BYTES = 246;
    if (MAILACCOUNT::IsPasswordLocked(state, "SpamSmtpPassword")) {
        error = texts.Get(TEXT_LOCKED_SENDING);
        return false;
    }
    // Only an address goes into the command with it.
    const STRING& from = whole["FromEmail"];
    const bool plain = from.View().find_first_of(" <>") == std::string_view::npos;
    EMAIL email(plain ? from.Text() : "", state.Get("SpamSmtpTo").Text(), whole["Subject"].Text(), "",
                state.Get("SpamSmtp").Text());
    email.SetStopQuestion(stopAsked);
    email.SetAccess({static_cast<SMTPACCESS::SECURITY>(MAILACCOUNT::ReadSecurity(state.Get("SpamSmtpSecurity"))),
                     state.Get("SpamSmtpUser"), state.Get("SpamSmtpPassword"), state.Get("SpamSmtpTrusted")});
    char words[ERROR_BYTES] = "";
    const bool sent = email.SendMail(MessageToSendOn(whole), words, sizeof words);
    error = words;
    // The sender of messages takes a refusal for done, but here the copy may be the last one.
    const bool arrived = sent && words[0] == '2';
    if (arrived)
        lessons.Teach(whole, false);
    return arrived;
}

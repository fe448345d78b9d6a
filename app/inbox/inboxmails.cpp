#include "app/inbox/inboxmails.h"

#include <unordered_set>

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/common/formats.h"
#include "app/core/tarnwick.h"
#include "app/filter/spamfilter.h"
#include "corelib/base/clock.h"

namespace {

constexpr int64_t FRESH_SECONDS = 300;
constexpr int64_t MINUTE_MS = 60000;

}  // namespace

INBOXMAILS::INBOXMAILS(TARNWICK& application) : MAILROWS(application.pState), Application(application) {}

void INBOXMAILS::Show(int handle) {
    std::vector<std::string> marked, unmarked;
    for (int i = 0; i < Count() && handle == Handle && State.GetNumber("InboxKeepMarks") != 0; ++i)
        if (IsTouched(i))
            (IsMarked(i) ? marked : unmarked).push_back(Name(i));
    const STRINGARRAY* const item = Application.FindItem(handle);
    Handle = item ? handle : -1;
    Mails.DeleteAll();
    if (item)
        BuildMailHash(item->Get("@FileStore"), Mails);
    const bool marks = State.GetNumber("SpamDoMark") != 0;
    const int markPoints = State.GetNumber("SpamMarkPoints");
    for (int i = 0; i < Mails.Count(); ++i) {
        Mails[i].Set("Trashed", "0");
        Mails[i].Set("Deleted", marks && Mails[i].GetNumber("X-SpamPoints") >= markPoints ? "1" : "0");
    }
    TakeShown();
    SetMarks(Find(marked), true);
    SetMarks(Find(unmarked), false);
}

STRING INBOXMAILS::Title() const {
    const TEXTS& texts = Application.Texts();
    STRING title = texts.Get(TEXT_INBOX);
    const STRINGARRAY* const item = Application.FindItem(Handle);
    if (!item)
        return title;
    title += STRING(" ") || item->Get("Name");
    const int64_t checked = atoi64(item->Get("LastRefresh")), age = CLOCK::Seconds() - checked;
    if (checked > 0 && age > FRESH_SECONDS)
        title += STRING(" (") || FormatDuration(texts, age * 1000, MINUTE_MS) || " " || texts.Get(TEXT_AGO) || ")";
    return title;
}

int INBOXMAILS::Apply() {
    STRINGARRAY* const item = Application.FindItem(Handle);
    if (!item)
        return 0;
    const bool copies = State.GetNumber("InboxDeleteToTrash") != 0;
    // What waits for its check may come up marked again; it has its copy.
    std::unordered_set<std::string> queued;
    for (const MAILNAME& mail : QueuedByUser(*item))
        queued.insert(mail.Id + mail.Identity);
    std::vector<int> going;
    int failed = 0;
    for (int i = 0; i < Count(); ++i) {
        if (!IsMarked(i))
            continue;
        const auto [id, identity] = NameOf(Mails[i]);
        if (copies && !queued.contains(id + identity) && !Application.Trash().SaveToTrash(Mails[i]))
            ++failed;
        else
            going.push_back(i);
    }
    if (going.empty())
        return failed;
    // What goes from the server must be on the disk by then.
    if (copies && !Application.Trash().Flush())
        return failed + static_cast<int>(going.size());
    std::vector<MAILNAME> names;
    for (const int mail : going) {
        names.push_back(NameOf(Mails[mail]));
        Teach(mail, true);
    }
    QueueDeletion(*item, names);
    SetMarks(going, false);
    return failed;
}

// What goes from a mailbox that is not filtered may be anything.
void INBOXMAILS::Teach(int mail, bool isSpam) {
    const STRINGARRAY* const item = Application.FindItem(Handle);
    if (item && Application.Filter().IsFiltered(*item))
        Application.Lessons().Teach(Mails[mail], isSpam);
}

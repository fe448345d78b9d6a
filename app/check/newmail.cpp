#include "app/check/newmail.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "app/check/checkcycle.h"
#include "app/check/disposal.h"
#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/common/formats.h"
#include "app/mailbox/knownmails.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"

namespace {

/// An id as it stands in the list of ids, which bars split and which may be the word for all mails.
std::string ListForm(std::string_view id) {
    constexpr char SUBSTITUTE = '!';
    std::string form(id);
    std::replace(form.begin(), form.end(), '|', SUBSTITUTE);
    if (ASCII::Equal(form, SHOW_ALL_IDS))
        form[0] = SUBSTITUTE;
    return form;
}

/// The pieces of a list of ids. Not by words, which end at a zero byte: one mail with such an id would make all mails
/// after it new for ever.
std::vector<std::string_view> SplitIds(std::string_view list) {
    std::vector<std::string_view> ids;
    for (;;) {
        const size_t end = list.find('|');
        ids.push_back(list.substr(0, end));
        if (end == std::string_view::npos)
            return ids;
        list.remove_prefix(end + 1);
    }
}

/// The ids of the last check, to be looked up without regard to case.
class SEENIDS {
 public:
    explicit SEENIDS(const STRING& ids) : Text(ASCII::Lower(ids.View())) {
        const std::vector<std::string_view> pieces = SplitIds(Text);
        Ids.insert(pieces.begin(), pieces.end());
    }
    SEENIDS(const SEENIDS&) = delete;
    SEENIDS& operator=(const SEENIDS&) = delete;
    /// id: as it stands in the list.
    bool Contains(std::string_view id) const { return Ids.contains(ASCII::Lower(id)); }

 private:
    const std::string Text;
    std::unordered_set<std::string_view> Ids;  // pieces of Text
};

/// What the records of a listing amount to.
struct COUNTS {
    std::vector<int> New;  // indexes of the records
    int Unseen = 0;
    std::string SeenIds;  // the ids of all records that count, split by "|"
};

COUNTS CountRecords(const MAILRECORDS& records, const SEENIDS& oldIds) {
    COUNTS counts;
    for (int i = 0; i < records.Count(); ++i) {
        if (!records.IsBrief(i) && records[i].GetNumber("X-Ignore") != 0)
            continue;
        const std::string id = ListForm(records.MessageId(i));
        counts.SeenIds.append(id).append("|");
        if (!oldIds.Contains(id))
            counts.New.push_back(i);
        if (!records.IsSeen(i))
            ++counts.Unseen;
    }
    return counts;
}

/// Fewer mails were listed than the server has: what was there at the last check and is not listed now may be one of
/// the others, and would come as new again. At most as many are kept as the server claims mails, the oldest, which
/// stand last.
void KeepUnlistedIds(const MAILRECORDS& records, int claimed, const STRING& oldIds, std::string& seenIds) {
    std::unordered_set<std::string> listed;
    for (int i = 0; i < records.Count(); ++i)
        listed.insert(ASCII::Lower(ListForm(records.MessageId(i))));
    std::vector<std::string_view> unlisted;
    for (const std::string_view id : SplitIds(oldIds.View())) {
        if (!id.empty() && !listed.contains(ASCII::Lower(id)))
            unlisted.push_back(id);
    }
    const size_t most = static_cast<size_t>(claimed);
    for (size_t i = unlisted.size() > most ? unlisted.size() - most : 0; i < unlisted.size(); ++i)
        seenIds.append(unlisted[i]).append("|");
}

/// Fills records from the listing, which claims to hold `claimed` mails.
void ReadRecords(const STRING& listing, int claimed, MAILRECORDS& records, const STOPQUESTION& stopAsked,
                 const MAILRECORDS::ISBRIEF& isBrief) {
    const int found = records.Read(listing, stopAsked, isBrief);
    if (stopAsked && stopAsked())
        return;
    if (found == 1 && claimed == 0) {
        records.DeleteAll();
        Trace("TARNWICK::HandleNewMail howmany set to zero, mailhash cleared\n");
        return;
    }
    STRING info;
    info.Format("howmany= %d, numnow= %d, see mailhash.dat", found, claimed);
    ASSERTION_QUIET(found == claimed, "howmany==numnow", info.Text());
}

/// Which mails' texts nobody will look at in this check: they were there at the last one, are no spam, and stand too
/// far down for any list that a person is shown. None if something is told of mails by what they are.
MAILRECORDS::ISBRIEF BriefMails(const STRINGARRAY& item) {
    for (const char* key : {"@QueuedByUser", "@X-DeleteMessageId", "@DisposedMails", "TrashedMails"})
        if (item.Get(key).Length() > 0)
            return {};
    return [places = NEXTLISTING::Places(item)](int index, std::string_view block) {
        constexpr int LISTED = 32;
        const bool isKnown =
            index >= LISTED && static_cast<size_t>(index) < places.size() && places[static_cast<size_t>(index)] >= 0;
        return isKnown && LISTING::TakeVerdict(block).ends_with(": 0\n");
    };
}

/// True if all ids so far have become those of other mails: what was queued by them is given up.
bool HasOtherIds(STRINGARRAY& item) {
    const STRING before = item.Get("UidValidity"), now = item.Get("@UidValidity");
    if (before.Length() == 0 || now.Length() == 0 || before == now)
        return false;
    Trace("TARNWICK::HandleNewMail UIDVALIDITY was %s, is %s, ids forgotten\n", before.Text(), now.Text());
    for (const char* key :
         {"@DeleteMessageId", "@MoveMessageId", "@X-DeleteMessageId", "@RetryMessageId", "@QueuedByUser"})
        item.Set(key, "");
    ForgetTries(item);
    return true;
}

/// The ids that mails have now: POP3 numbers shift when other mails go, and an old one may be that of another mail by
/// the time the user's wish is carried out.
class IDSNOW {
 public:
    explicit IDSNOW(const RECORDARRAY& records) {
        for (int i = 0; i < records.Count(); ++i) {
            MAILNAME name = NameOf(records[i]);
            Ids.emplace(std::move(name.Identity), std::move(name.Id));
        }
    }
    /// Of a mail that is not to be found, or of two, none goes: empty.
    std::string Of(const std::string& identity) const {
        const auto [first, last] = Ids.equal_range(identity);
        return first != last && std::next(first) == last ? first->second : std::string();
    }
    bool Has(const MAILNAME& mail) const {
        const auto [first, last] = Ids.equal_range(mail.Identity);
        return std::any_of(first, last, [&](const auto& entry) { return entry.second == mail.Id; });
    }

 private:
    std::unordered_multimap<std::string, std::string> Ids;  // by what the mails are
};

/// The popup's mail under the id that it has now.
void RenewPopupId(STRINGARRAY& item, const RECORDARRAY& records) {
    if (item.Get("@X-DeleteMessageId").Length() == 0)
        return;
    const std::string id = IDSNOW(records).Of(item.Get("@X-DeleteMail").Text());
    item.Set("@X-DeleteMessageId", STRING(std::string_view(id.empty() ? id : id + "\n")));
}

/// Equal mails keep the id that is among theirs.
void RenewQueued(STRINGARRAY& item, const RECORDARRAY& records) {
    if (item.Get("@QueuedByUser").Length() == 0)
        return;
    const IDSNOW now(records);
    std::unordered_set<std::string> old;
    ChangeQueued(item, [&](MAILNAME& mail) {
        if (now.Has(mail))
            return true;
        old.insert(mail.Id);
        mail.Id = now.Of(mail.Identity);
        return !mail.Id.empty();
    });
    if (old.empty())
        return;
    item.Change("@DeleteMessageId", [&](const STRING& list) {
        std::string kept;
        for (std::string_view rest = list.View(); !rest.empty();) {
            const std::string_view id = ASCII::Take(rest, '\n');
            if (!old.contains(std::string(id)))
                kept.append(id).push_back('\n');
        }
        return STRING(std::string_view(kept));
    });
    AddToDeletions(item, QueuedByUser(item));
}

/// Mails without the copy that the trash should have, for the row's text. Those that were deleted all the same stay
/// told during the next check too, the pass that carries the deletion out, which comes at once.
int CountUncopied(STRINGARRAY& item, const SPAMMARKS& marks) {
    const int told = std::max(marks.Uncopied, item.GetNumber("@LostCopies"));
    item.SetNumber("@LostCopies", marks.Lost);
    return marks.Lost + told;
}

}  // namespace

void RenewQueuedIds(STRINGARRAY& item) {
    // Asked first: the listing is a large one.
    if (item.Get("@QueuedByUser").Length() == 0)
        return;
    const STRING listing = item.Get("@FileStore");
    if (listing.Length() == 0)
        return;
    RECORDARRAY records(MAILHASH_SLOTS, MAILHASH_SLOTS);
    BuildMailHash(listing, records);
    RenewQueued(item, records);
}

STRING HandleNewMail(STRINGARRAY& item, const STRING& listing, const STRING& lastSeenIds, bool asked,
                     const NEWMAILPARTS& parts, bool& popupOpened) {
    const TEXTS& texts = parts.Texts;
    popupOpened = false;
    const bool showAll = ASCII::Equal(lastSeenIds.View(), SHOW_ALL_IDS);
    const LISTING::SUMMARY summary = LISTING::ReadSummary(listing);
    const int numNow = summary.Count;
    MAILRECORDS records;
    // With a threshold that every mail reaches all of them may be sent away.
    const bool all = asked || showAll || IsEveryMailSpam(parts.State);
    ReadRecords(listing, numNow, records, parts.StopAsked, all ? MAILRECORDS::ISBRIEF() : BriefMails(item));

    const bool otherIds = HasOtherIds(item);
    SPAMMARKS marks{.Stopped = parts.StopAsked && parts.StopAsked()};
    if (!marks.Stopped) {
        // Queued while the records were made: now their texts matter.
        if (item.Get("@QueuedByUser").Length() > 0) {
            records.Read(listing, parts.StopAsked);
            RenewQueued(item, records);
        }
        marks = MarkBySpamVerdict(item, records, numNow, {parts.State, parts.Trash, parts.StopAsked});
    }
    if (marks.Stopped)
        return STRING();
    // What is condemned has been looked at: a server that gives the id of a mail that has gone to another one must not
    // pass the verdict on.
    NEXTLISTING::Forget(item, marks.Condemned);

    RenewPopupId(item, records);
    const STRING known = otherIds ? STRING("") : lastSeenIds;
    const SEENIDS oldIds(known);
    COUNTS counts = CountRecords(records, oldIds);
    // A mail that was there before may be new all the same, say as it was spam to be ignored until now.
    records.Complete(listing, counts.New);
    if (records.Count() < numNow && !showAll)
        KeepUnlistedIds(records, numNow, known, counts.SeenIds);
    while (counts.SeenIds.ends_with('|'))
        counts.SeenIds.pop_back();
    item.Set("LastSeenIds", STRING(std::string_view(counts.SeenIds)));
    item.Set("UidValidity", item.Get("@UidValidity"));

    STRING status = FormatMailCount(texts, numNow);
    int unreadReported = -1;
    bool unknown = true;
    if (summary.UnreadField.NotNull() && !summary.UnreadField.View().starts_with('?')) {
        unreadReported = atoi(summary.UnreadField);
        unknown = summary.UnreadField.Pos('?') != -1;
    }
    Trace("TARNWICK::HandleNewMail unrdcount= %d, unreadcount= %d\n", unreadReported, counts.Unseen);
    MAILACCOUNT::SetCounts(item, {numNow, counts.Unseen, !unknown});
    if (numNow > 0 && !unknown)
        status.AppendFormat(" (%d %s)", counts.Unseen, texts.Get(TEXT_UNREAD).Text());
    if (const int uncopied = CountUncopied(item, marks); uncopied > 0) {
        STRING text = texts.Get(TEXT_UNCOPIED);
        text.Replace("$HOWMANY", std::to_string(uncopied).c_str());
        status += text;
    }
    Trace("TARNWICK::HandleNewMail mails= %s\n", status.Text());

    CHECKREPORT report{.Records = records,
                       .NewMails = counts.New,
                       .ShowAll = showAll,
                       .Unknown = unknown,
                       .Asked = asked,
                       .Status = status,
                       .NewText = STRING("")};
    if (!counts.New.empty()) {
        report.NewText.Format(" (%d %s)", static_cast<int>(counts.New.size()),
                              texts.Part(TEXT_COUNTS, PART_COUNTS_NEW).Text());
        Trace("TARNWICK::HandleNewMail newmails= %s\n", report.NewText.Text());
        popupOpened = parts.Notifier.NewMail(item, report);
    } else if (asked && item.GetNumber("@SuppressPopup") == 0) {
        popupOpened = parts.Notifier.NothingNew(item, report);
    }
    item.Set("@SuppressPopup", "0");
    const SENTAWAY& gone = marks.SentAway;
    if (!gone.Trashed.empty() || !gone.Deleted.empty() || !gone.Moved.empty())
        parts.Notifier.SpamSentAway(item, records, gone);
    if (marks.Queued)
        CHECKCYCLE::ForceRefresh(item, false);
    return status;
}

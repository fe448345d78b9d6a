#include "app/check/disposal.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace {

/// A switch of the settings with its threshold.
struct VERDICT {
    VERDICT(const STRINGARRAY& state, const char* enabledKey, const char* pointsKey)
        : Enabled(state.GetNumber(enabledKey) != 0), Points(state.GetNumber(pointsKey)) {}
    bool Applies(int points) const { return Enabled && points >= Points; }

    const bool Enabled;
    const int Points;
};

/// Where a verdict sends a mail.
enum class ROAD { STAYS, DELETED, TRASHED, MOVED };

class VERDICTS {
 public:
    VERDICTS(const STRINGARRAY& item, const STRINGARRAY& state)
        : Remove(state, "SpamDoDelete", "SpamDeletePoints"),
          KeepCopy(state, "SpamDoTrash", "SpamTrashPoints"),
          Move(state, "SpamDoMove", "SpamMovePoints"),
          Ignore(state, "SpamDoIgnore", "SpamIgnorePoints"),
          CanDelete(MAILACCOUNT::Kind(item).CanDelete),
          CanMove(MAILACCOUNT::Kind(item).CanMove && item.GetNumber("DoSpamMove") != 0) {}
    ROAD RoadOf(int points) const {
        if (CanDelete && Remove.Applies(points))
            return ROAD::DELETED;
        if (CanDelete && KeepCopy.Applies(points))
            return ROAD::TRASHED;
        return CanMove && Move.Applies(points) ? ROAD::MOVED : ROAD::STAYS;
    }
    bool Ignores(int points) const { return Ignore.Applies(points); }

 private:
    const VERDICT Remove, KeepCopy, Move, Ignore;
    const bool CanDelete, CanMove;
};

/// The message number of an id of the form "number|size"; 0 for any other text.
int NumberOf(std::string_view id) {
    int number = 0;
    const size_t bar = id.find('|');
    return bar != id.npos && !id.starts_with('0') && ASCII::ReadNumber(id.substr(0, bar), number) ? number : 0;
}

/// Tells the mails that the server has surely named from those that a mail's own bytes may have made up.
class SUREIDS {
 public:
    SUREIDS(const MAILRECORDS& records, int announced, const MAILBOXKIND& kind)
        : Records(records),
          Announced(announced),
          HasNumbers(kind.HasNumberIds),
          Credible(!HasNumbers || records.Count() <= announced) {}
    bool Contains(int index) {
        if (!Credible)
            return false;
        if (Blocks.empty())
            for (int i = 0; i < Records.Count(); ++i)
                ++Blocks[KeyOf(i)];
        const int number = HasNumbers ? NumberOf(Records.DisposalId(index)) : 1;
        return number >= 1 && number <= Announced && Blocks.at(KeyOf(index)) == 1;
    }
    /// False if there are more blocks than mails: then none is sure.
    bool IsCredible() const { return Credible; }

 private:
    std::string_view KeyOf(int index) const {
        const std::string_view id = Records.DisposalId(index);
        return HasNumbers ? id.substr(0, id.find('|')) : id;
    }

    const MAILRECORDS& Records;
    const int Announced;
    const bool HasNumbers;
    const bool Credible;
    std::unordered_map<std::string_view, int> Blocks;  // once one is asked for; pieces of the records
};

/// How far the disposal of a mail has come that is still on the server.
struct PROGRESSMARK {
    enum TRIED : char { NEVER = 'n', QUEUED = 'q', IN_VAIN = 'v' };
    TRIED Tried = NEVER;
    bool Copied = false;
};

/// The mails of an item that a verdict has sent away, by what they are and not by their ids: those of POP3 shift when
/// other mails go, and a server may tell another size each time. Equal mails count each. What was tried is of this run;
/// which of them have a copy is stored with the item.
class DISPOSEDMAILS {
 public:
    DISPOSEDMAILS() = default;
    explicit DISPOSEDMAILS(const STRINGARRAY& item) {
        // Lines of 16 hexadecimal digits, TRIED and whether there is a copy.
        Read(item.Get("@DisposedMails"), [this](uint64_t key, const char* rest) {
            Marks.emplace(key, PROGRESSMARK{static_cast<PROGRESSMARK::TRIED>(rest[0]), rest[1] == 'c'});
        });
        if (Marks.empty())
            Read(item.Get("TrashedMails"),
                 [this](uint64_t key, const char*) { Marks.emplace(key, PROGRESSMARK{PROGRESSMARK::NEVER, true}); });
    }
    bool IsEmpty() const { return Marks.empty(); }
    /// Takes one mail of that key out: how far it has come.
    PROGRESSMARK Take(uint64_t key) {
        const auto found = Marks.find(key);
        if (found == Marks.end())
            return {};
        const PROGRESSMARK mark = found->second;
        Marks.erase(found);
        return mark;
    }
    void Add(uint64_t key, const PROGRESSMARK& mark) {
        if (mark.Tried != PROGRESSMARK::NEVER || mark.Copied)
            Marks.emplace(key, mark);
    }
    void ForgetTries() {
        for (auto& [key, mark] : Marks)
            mark.Tried = mark.Tried == PROGRESSMARK::QUEUED ? PROGRESSMARK::NEVER : mark.Tried;
    }
    /// Takes over all that are left in the other.
    void Add(DISPOSEDMAILS&& other) { Marks.merge(other.Marks); }
    void Store(STRINGARRAY& item) const {
        std::string tried, copied;
        for (const auto& [key, mark] : Marks) {
            char digits[DIGITS + 1];
            snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(key));
            tried.append(digits).push_back(mark.Tried);
            tried.append(mark.Copied ? "c\n" : "-\n");
            if (mark.Copied)
                copied.append(digits).push_back('\n');
        }
        item.Set("@DisposedMails", STRING(std::string_view(tried)));
        item.Set("TrashedMails", STRING(std::string_view(copied)));
    }

 private:
    static constexpr size_t DIGITS = 16;

    /// Hands over each line's number and what stands after it; a damaged line is passed over.
    template <class TAKE>
    static void Read(const STRING& text, TAKE take) {
        WORDCURSOR lines(text, "\n");
        for (std::string_view line; lines.Next(line);) {
            uint64_t key = 0;
            const std::string whole(line);
            const auto [end, error] = std::from_chars(whole.data(), whole.data() + whole.size(), key, 16);
            if (error == std::errc() && static_cast<size_t>(end - whole.data()) == DIGITS)
                take(key, end);
        }
    }

    std::unordered_multimap<uint64_t, PROGRESSMARK> Marks;
};

/// A mail with what becomes of it.
struct DECISION {
    int Index;
    STRINGARRAY& Record;
    ROAD Road;
    uint64_t Key;
    PROGRESSMARK Mark = {};
};

}  // namespace

SPAMMARKS MarkBySpamVerdict(STRINGARRAY& item, MAILRECORDS& records, int announced, const SPAMPARTS& parts) {
    // Nothing sets the error mark to more than "0" so far; a failed deletion may one day.
    if (item.GetNumber("DoSpamFilter") == 0 || item.GetNumber("@MoveDelError") != 0)
        return {};
    const VERDICTS verdicts(item, parts.State);
    SUREIDS sure(records, announced, MAILACCOUNT::Kind(item));
    if (!sure.IsCredible())
        Trace("TARNWICK::MarkBySpamVerdict %d mails announced, %d listed: nothing is disposed of\n", announced,
              records.Count());

    // Three passes, as each needs the whole of the one before: what becomes of each mail; the copies; the queues, once
    // it is known whether the copies lie on the disk.
    SPAMMARKS marks;
    DISPOSEDMAILS before(item);
    std::vector<DECISION> decisions;
    for (int i = 0; i < records.Count(); ++i) {
        if (parts.StopAsked && parts.StopAsked())
            return {.Stopped = true};
        if (records.IsBrief(i))
            continue;
        STRINGARRAY& record = records[i];
        const int points = record.GetNumber("X-SpamPoints");
        ROAD road = verdicts.RoadOf(points);
        if (road != ROAD::STAYS && !sure.Contains(i)) {
            if (sure.IsCredible())
                Trace("TARNWICK::MarkBySpamVerdict %s is no sure id, its mail stays\n",
                      record.Get("X-Message-Id").Text());
            road = ROAD::STAYS;
        }
        if (road != ROAD::STAYS || verdicts.Ignores(points))
            record.Set("X-Ignore", "1");
        if (road != ROAD::STAYS)
            marks.Condemned.push_back(i);
        // A mail that was sent away keeps its mark as long as it is listed, also while its points are others.
        if (!sure.IsCredible() || (road == ROAD::STAYS && before.IsEmpty()))
            continue;
        decisions.push_back({i, record, road, IdentityOf(record), {}});
    }
    bool trashed = false;
    // Of equal mails the marks belong to those that are sent away.
    for (const bool stays : {false, true}) {
        for (DECISION& decision : decisions) {
            if ((decision.Road == ROAD::STAYS) != stays)
                continue;
            decision.Mark = before.Take(decision.Key);
            if (decision.Road != ROAD::TRASHED)
                continue;
            if (parts.StopAsked && parts.StopAsked())
                return {.Stopped = true};
            decision.Mark.Copied = decision.Mark.Copied || parts.Trash.SaveToTrash(decision.Record);
            trashed = true;
        }
    }

    // Copies first, then the mails: what is deleted on the server must be on the disk by then.
    const bool durable = !trashed || parts.Trash.Flush();
    const bool keepUncopied = parts.State.GetNumber("TrashKeepUncopied") != 0;
    std::string deletions, moves, again;
    DISPOSEDMAILS now;
    for (DECISION& decision : decisions) {
        PROGRESSMARK& mark = decision.Mark;
        const std::string id = std::string(decision.Record["X-Message-Id"].View()) + "\n";
        const bool isFresh = mark.Tried == PROGRESSMARK::NEVER;
        const bool isUncopied = decision.Road == ROAD::TRASHED && !(mark.Copied && durable);
        if (isUncopied) {
            const bool goes = isFresh && !keepUncopied;
            ++(goes ? marks.Lost : marks.Uncopied);
            Trace("TARNWICK::MarkBySpamVerdict no copy of %s could be written, the mail %s\n",
                  decision.Record.Get("X-Message-Id").Text(), goes ? "goes all the same" : "stays");
        }
        if (decision.Road == ROAD::STAYS || (isUncopied && keepUncopied)) {
            now.Add(decision.Key, mark);
            continue;
        }
        if (isFresh) {
            (decision.Road == ROAD::MOVED ? moves : deletions) += id;
            mark.Tried = PROGRESSMARK::QUEUED;
            const bool hasCopy = decision.Road == ROAD::TRASHED && !isUncopied;
            SENTAWAY& gone = marks.SentAway;
            (decision.Road == ROAD::MOVED ? gone.Moved
             : hasCopy                    ? gone.Trashed
                                          : gone.Deleted)
                .push_back(decision.Index);
        } else {
            // It was on the list that has just been carried out, or on one before. The next check tries again, when it
            // is due. A move that was said to be done would only make another copy.
            if (decision.Road != ROAD::MOVED)
                again += id;
            mark.Tried = PROGRESSMARK::IN_VAIN;
        }
        now.Add(decision.Key, mark);
    }
    marks.Queued = !deletions.empty() || !moves.empty();
    if (marks.Queued)
        deletions += std::exchange(again, {});
    item.Set("@DeleteMessageId", STRING(std::string_view(deletions)));
    AddToDeletions(item, QueuedByUser(item));
    item.Set("@RetryMessageId", STRING(std::string_view(again)));
    item.Set("@MoveMessageId", STRING(std::string_view(moves)));
    // A listing with gaps tells of no mail that it has gone.
    if (records.Count() < announced)
        now.Add(std::move(before));
    if (sure.IsCredible())
        now.Store(item);
    return marks;
}

bool IsEveryMailSpam(const STRINGARRAY& state) {
    constexpr const char* VERDICTS_KEYS[][2] = {{"SpamDoDelete", "SpamDeletePoints"},
                                                {"SpamDoTrash", "SpamTrashPoints"},
                                                {"SpamDoMove", "SpamMovePoints"},
                                                {"SpamDoIgnore", "SpamIgnorePoints"}};
    return std::ranges::any_of(VERDICTS_KEYS,
                               [&](const auto& keys) { return VERDICT(state, keys[0], keys[1]).Applies(0); });
}

void ForgetTries(STRINGARRAY& item) {
    DISPOSEDMAILS mails(item);
    mails.ForgetTries();
    mails.Store(item);
}

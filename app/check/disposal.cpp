#include "app/check/disposal.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "app/mailbox/mailboxes.h"
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
          Type(item.GetNumber("Type")),
          CanMove((Type == ITEMTYPE_MAPI || Type == ITEMTYPE_IMAP) && item.GetNumber("DoSpamMove") != 0) {}
    ROAD RoadOf(int points) const {
        if (Type != ITEMTYPE_HOTMAIL && Remove.Applies(points))
            return ROAD::DELETED;
        if (Type != ITEMTYPE_HOTMAIL && KeepCopy.Applies(points))
            return ROAD::TRASHED;
        return CanMove && Move.Applies(points) ? ROAD::MOVED : ROAD::STAYS;
    }
    bool Ignores(int points) const { return Ignore.Applies(points); }

 private:
    const VERDICT Remove, KeepCopy, Move, Ignore;
    const int Type;
    const bool CanMove;
};

/// The message number of a POP3 id, "number|size"; 0 for any other text.
int PopNumber(std::string_view id) {
    int number = 0;
    const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
    const bool whole = error == std::errc() && end != id.data() + id.size() && *end == '|';
    return whole && number > 0 && id[0] != '0' ? number : 0;
}

/// Tells the mails that the server has surely named from those that a mail's own bytes may have made up.
class SUREIDS {
 public:
    SUREIDS(const RECORDARRAY& records, int announced, int type)
        : Announced(announced), IsPop(type == ITEMTYPE_POP3), Whole(records.Count() == announced) {
        for (int i = 0; Whole && i < records.Count(); ++i)
            ++Blocks[KeyOf(records[i])];
    }
    bool Contains(const STRINGARRAY& record) const {
        const int number = IsPop ? PopNumber(IdOf(record)) : 1;
        return Whole && number >= 1 && number <= Announced && Blocks.at(KeyOf(record)) == 1;
    }
    bool IsWhole() const { return Whole; }

 private:
    static std::string_view IdOf(const STRINGARRAY& record) { return record["X-Message-Id"].View(); }
    std::string_view KeyOf(const STRINGARRAY& record) const {
        const std::string_view id = IdOf(record);
        return IsPop ? id.substr(0, id.find('|')) : id;
    }

    const int Announced;
    const bool IsPop;
    const bool Whole;
    std::unordered_map<std::string_view, int> Blocks;  // pieces of the records
};

/// How far the disposal of a mail has come that is still on the server.
struct PROGRESSMARK {
    enum TRIED : char { NEVER = 'n', QUEUED = 'q', IN_VAIN = 'v' };
    TRIED Tried = NEVER;
    bool Copied = false;
};

/// The mails of an item that a verdict has sent away in this run, by what they are and not by their ids: those of POP3
/// shift when other mails go, and a server may tell another size each time. Equal mails count each.
class DISPOSEDMAILS {
 public:
    DISPOSEDMAILS() = default;
    explicit DISPOSEDMAILS(const STRING& text) {
        // Lines of 16 hexadecimal digits, TRIED and whether there is a copy.
        for (std::string_view rest = text.View(); rest.size() > LINE; rest.remove_prefix(LINE + 1)) {
            uint64_t key = 0;
            std::from_chars(rest.data(), rest.data() + DIGITS, key, 16);
            Marks.emplace(key, PROGRESSMARK{static_cast<PROGRESSMARK::TRIED>(rest[DIGITS]), rest[DIGITS + 1] == 'c'});
        }
    }
    bool IsEmpty() const { return Marks.empty(); }
    static uint64_t KeyOf(const STRINGARRAY& record) {
        std::string mail;
        for (const char* key : {"MessageId", "Subject", "Body"})
            mail.append(record[key].View()).push_back('\n');
        return std::hash<std::string>{}(mail);
    }
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
    STRING AsText() const {
        std::string text;
        text.reserve(Marks.size() * (LINE + 1));
        for (const auto& [key, mark] : Marks) {
            char digits[DIGITS + 1];
            snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(key));
            text.append(digits).push_back(mark.Tried);
            text.append(mark.Copied ? "c\n" : "-\n");
        }
        return STRING(std::string_view(text));
    }

 private:
    static constexpr size_t DIGITS = 16;
    static constexpr size_t LINE = DIGITS + 2;
    std::unordered_multimap<uint64_t, PROGRESSMARK> Marks;
};

/// A mail with what becomes of it.
struct DECISION {
    STRINGARRAY& Record;
    ROAD Road;
    uint64_t Key;
    PROGRESSMARK Mark = {};
};

}  // namespace

SPAMMARKS MarkBySpamVerdict(STRINGARRAY& item, RECORDARRAY& records, int announced, const SPAMPARTS& parts) {
    // Nothing sets the error mark to more than "0" so far; a failed deletion may one day.
    if (item.GetNumber("DoSpamFilter") == 0 || item.GetNumber("@MoveDelError") != 0)
        return {};
    const VERDICTS verdicts(item, parts.State);
    const SUREIDS sure(records, announced, item.GetNumber("Type"));
    if (!sure.IsWhole())
        Trace("TARNWICK::MarkBySpamVerdict %d mails announced, %d listed: nothing is disposed of\n", announced,
              records.Count());

    SPAMMARKS marks;
    DISPOSEDMAILS before(item.Get("@DisposedMails"));
    std::vector<DECISION> decisions;
    for (int i = 0; i < records.Count(); ++i) {
        if (parts.StopAsked && parts.StopAsked())
            return {.Stopped = true};
        STRINGARRAY& record = records[i];
        const int points = record.GetNumber("X-SpamPoints");
        ROAD road = verdicts.RoadOf(points);
        if (road != ROAD::STAYS && !sure.Contains(record)) {
            if (sure.IsWhole())
                Trace("TARNWICK::MarkBySpamVerdict %s is no sure id, its mail stays\n",
                      record.Get("X-Message-Id").Text());
            road = ROAD::STAYS;
        }
        if (road != ROAD::STAYS || verdicts.Ignores(points))
            record.Set("X-Ignore", "1");
        // A mail that was sent away keeps its mark as long as it is listed, also while its points are others.
        if (!sure.IsWhole() || (road == ROAD::STAYS && before.IsEmpty()))
            continue;
        decisions.push_back({record, road, DISPOSEDMAILS::KeyOf(record), {}});
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
        } else {
            // It was on the list that has just been carried out, or on one before. A move that was said to be done
            // would only make another copy.
            if (decision.Road != ROAD::MOVED)
                again += id;
            mark.Tried = PROGRESSMARK::IN_VAIN;
        }
        now.Add(decision.Key, mark);
    }
    marks.Queued = !deletions.empty() || !moves.empty();
    if (marks.Queued)
        deletions += again;
    item.Set("@DeleteMessageId", STRING(std::string_view(deletions)));
    item.Set("@MoveMessageId", STRING(std::string_view(moves)));
    // A listing with gaps tells of no mail that it has gone.
    if (sure.IsWhole())
        item.Set("@DisposedMails", now.AsText());
    return marks;
}

void ForgetTries(STRINGARRAY& item) {
    DISPOSEDMAILS mails(item.Get("@DisposedMails"));
    mails.ForgetTries();
    item.Set("@DisposedMails", mails.AsText());
}

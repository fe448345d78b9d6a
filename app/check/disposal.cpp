#include "app/check/disposal.h"

#include <string>

#include "app/mailbox/mailboxes.h"

namespace {

/// A switch of the settings with its threshold.
struct VERDICT {
    VERDICT(const STRINGARRAY& state, const char* enabledKey, const char* pointsKey)
        : Enabled(state.GetNumber(enabledKey) != 0), Points(state.GetNumber(pointsKey)) {}
    bool Applies(int points) const { return Enabled && points >= Points; }

    const bool Enabled;
    const int Points;
};

}  // namespace

bool MarkBySpamVerdict(STRINGARRAY& item, RECORDARRAY& records, const STRINGARRAY& state, TRASHSTORE& trash) {
    // Nothing sets the error mark to more than "0" so far; a failed deletion may one day.
    if (item.GetNumber("DoSpamFilter") == 0 || item.GetNumber("@MoveDelError") != 0)
        return false;
    const VERDICT remove(state, "SpamDoDelete", "SpamDeletePoints");
    const VERDICT keepCopy(state, "SpamDoTrash", "SpamTrashPoints");
    const VERDICT move(state, "SpamDoMove", "SpamMovePoints");
    const VERDICT ignore(state, "SpamDoIgnore", "SpamIgnorePoints");
    const int type = item.GetNumber("Type");
    const bool canDelete = type != ITEMTYPE_HOTMAIL;
    const bool canMove = (type == ITEMTYPE_MAPI || type == ITEMTYPE_IMAP) && item.GetNumber("DoSpamMove") != 0;

    std::string deletions;
    std::string moves;
    for (int i = 0; i < records.Count(); ++i) {
        STRINGARRAY& record = records[i];
        const int points = record.GetNumber("X-SpamPoints");
        const std::string id = std::string(record.Get("X-Message-Id").View()) + "\n";
        if (canDelete && remove.Applies(points)) {
            deletions += id;
            record.Set("X-Ignore", "1");
        } else if (canDelete && keepCopy.Applies(points)) {
            trash.SaveToTrash(record);
            deletions += id;
            record.Set("X-Ignore", "1");
        } else if (canMove && move.Applies(points)) {
            moves += id;
            record.Set("X-Ignore", "1");
        }
        if (ignore.Applies(points))
            record.Set("X-Ignore", "1");
    }
    item.Set("@DeleteMessageId", STRING(std::string_view(deletions)));
    item.Set("@MoveMessageId", STRING(std::string_view(moves)));
    return !deletions.empty() || !moves.empty();
}

#include "app/mailbox/mapi.h"

#include <memory>
#include <optional>
#include <string>

#include "app/mailbox/mapilisting.h"
#include "app/mailbox/mapistore.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace {

STRING Number(int number) {
    STRING text;
    text.Format("%d", number);
    return text;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && ASCII::Equal(text.substr(text.size() - end.size()), end);
}

/// A folder that holds mail, in the session that has named it so.
struct TARGET {
    int Index = MAPICLASS::WASTEBASKET;
    STRING Name;

    /// A session that was made anew meanwhile may have numbered its folders otherwise.
    bool IsStill(const MAPICLASS& mapi) const {
        return Index == MAPICLASS::WASTEBASKET || mapi.GetMailFolderName(Index) == Name;
    }
};

/// By its whole name or, where no folder has that, by what follows the name of its store. Null if there is none.
std::optional<TARGET> FindFolder(const MAPICLASS& mapi, const STRING& folder) {
    const auto find = [&](bool (*isMeant)(std::string_view name, std::string_view wanted),
                          const STRING& wanted) -> std::optional<TARGET> {
        for (int i = 0; i < mapi.QueryHowManyMailFolders(); ++i) {
            const STRING name = mapi.GetMailFolderName(i);
            Trace("TARNWICK::MapiMove searching for %s in %s\n", folder.Text(), name.Text());
            if (!isMeant(name.View(), wanted.View()))
                continue;
            Trace("TARNWICK::MapiMove found %s in %s\n", folder.Text(), name.Text());
            return TARGET{i, name};
        }
        return {};
    };
    if (folder.Length() == 0)
        return {};
    const auto whole = find(ASCII::Equal, folder);
    return whole ? whole : find(EndsWith, STRING("- ") || folder);
}

/// What the session has listed, for as long as it does so.
struct LISTED {
    LISTING::WRITER Blocks;
    int Count = 0, Unread = 0;
    bool IsWhole = true;
};

bool MoveAll(const MAILBOXCALL& call, const STRING& ids, int text, const TARGET& target) {
    int running = 0;
    WORDCURSOR lines(ids, "\n");
    for (std::string_view line; lines.Next(line);) {
        if (line.empty())
            continue;
        if (call.StopAsked && call.StopAsked())
            return false;
        call.Progress.Show(text, STRING(" ") || Number(++running));
        const auto moved = call.Mapi->Do(
            MAPISTORE::CHANGES,
            [id = std::string(line), target](MAPICLASS& mapi, const STOPQUESTION& stopAsked) {
                return !stopAsked() && target.IsStill(mapi) && mapi.MoveInboxMessage(id, target.Index);
            },
            call.StopAsked);
        if (!moved.value_or(false))
            return false;
    }
    return true;
}

bool Get(const MAILBOXCALL& call, STRING& result) {
    const bool wanted = call.Item.GetNumber("DownloadMailTexts") != 0;
    return MapiGet(call, call.SummaryOnly ? MAPICLASS::NO_TEXTS : wanted ? MAPI_BODY_BYTES : 0, result);
}

}  // namespace

const MAILHANDLER MapiHandler = {Get, MapiDelete, MapiMove};

bool MapiGet(const MAILBOXCALL& call, int bytes, STRING& result) {
    const auto fail = [&](int text) {
        result = LISTING::ErrorText(call.Progress.Text(text).Text());
        return false;
    };
    if (!ASSERTION(call.Mapi, "this->pMapiClass"))
        return fail(TEXT_NO_MAIL_SESSION);
    call.Progress.Show(TEXT_READING, "");
    const auto listed = std::make_shared<LISTED>();
    const auto done = call.Mapi->Do(
        MAPISTORE::LISTS,
        [listed, bytes](MAPICLASS& mapi, const STOPQUESTION& stopAsked) {
            int next = bytes;
            return mapi.GetInboxMessages(bytes, [&](const MAPIMESSAGE& mail) {
                ++listed->Count;
                listed->Unread += !mail.IsRead;
                if (bytes != MAPICLASS::NO_TEXTS)
                    AppendMapiBlock(listed->Blocks, mail, next == MAPICLASS::NO_TEXTS ? 0 : next);
                // A mail that is left out would count as gone, and as new once there is room for it.
                const int64_t length = listed->Blocks.Length();
                if (length >= MapiTimes.ListingBytes)
                    next = MAPICLASS::NO_TEXTS;
                listed->IsWhole = length < MapiTimes.ListingBytes + MapiTimes.ListingBytes / 2;
                return stopAsked() || !listed->IsWhole ? MAPICLASS::NO_MORE : next;
            });
        },
        call.StopAsked);
    if (!done)
        return fail(TEXT_NO_MAIL_SESSION);
    if (!*done || !listed->IsWhole)
        return fail(TEXT_NO_MAIL_LIST);
    result = listed->Blocks.Take(LISTING::SummaryLine(Number(listed->Count), Number(listed->Unread), true, "0").View());
    return true;
}

bool MapiDelete(const MAILBOXCALL& call, const STRING& ids, STRING& error) {
    Trace("TARNWICK::MapiDelete %s\n", ids.Text());
    const bool done = call.Mapi && MoveAll(call, ids, TEXT_DELETING, {});
    error = done ? "OK" : "MAPI delete error!";
    Trace("TARNWICK::MapiDelete done %s\n", error.Text());
    return done;
}

bool MapiMove(const MAILBOXCALL& call, const STRING& ids, const STRING& folder, STRING& error) {
    Trace("TARNWICK::MapiMove to %s\n", folder.Text());
    error = "";
    // In the session's hands: it may go on searching when nobody waits any more.
    const auto found = std::make_shared<std::optional<TARGET>>();
    const auto search = [folder, found](MAPICLASS& mapi, const STOPQUESTION&) {
        *found = FindFolder(mapi, folder);
        return true;
    };
    const auto searched = call.Mapi ? call.Mapi->Do(MAPISTORE::CHANGES, search, call.StopAsked) : std::optional<bool>();
    if (!searched)
        return false;
    bool done = false;
    if (*searched && !*found) {
        error = STRING("Folder ") || folder || " not found";
    } else {
        done = *searched && MoveAll(call, ids, TEXT_MOVING, **found);
        error = done ? "OK" : "MAPI move error!";
    }
    Trace("TARNWICK::MapiMove done ok= %d\n", done);
    return done;
}

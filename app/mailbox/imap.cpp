#include "app/mailbox/imap.h"

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/mailbox/imapblock.h"
#include "app/mailbox/imapconversation.h"
#include "app/mailbox/imapreply.h"
#include "app/mailbox/knownmails.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"

namespace {

constexpr const char* NO_EXISTS = "IMAP99 BAD 'EXISTS' not found";
constexpr const char* NO_SEARCH = "IMAP99 BAD SEARCH result error";

// Bytes of a UID EXPUNGE beyond which the next UIDs get a command of their own.
constexpr int UIDS_BYTES = 900;

STRING Join(const char* word, const STRING& argument) {
    return STRING(word) || argument;
}

STRING Number(uint32_t number) {
    STRING text;
    text.Format("%u", number);
    return text;
}

bool IsInbox(const STRING& folder) {
    return folder.Length() == 0 || stricmp(folder.Text(), "INBOX", false) == 0;
}

// Under what UIDs are valid, as it is kept with an item: another folder may count with the same number.
STRING Validity(const STRING& folder, uint32_t number) {
    if (number == 0)
        return "";
    return IsInbox(folder) ? Number(number) : Number(number) || "|" || folder;
}

// Reads mails into blocks of a listing.
class READER {
 public:
    READER(IMAPCONVERSATION& talk, const MAILBOXCALL& call, int bytes)
        : Talk(talk), Call(call), Bytes(bytes), Blocks(talk, call, bytes) {}

    bool ReadFolder(const STRING& name, bool fast) {
        if (!Talk.Select(name, Folder, fast))
            return false;
        if (Folder.Count < 0)
            return Talk.Fail(NO_EXISTS);
        if (Folder.Count == 0 || Call.SummaryOnly)
            return true;
        bool plain = true;
        if (fast) {
            const std::string scope = std::string(Call.Server.View()) + "|" + Call.User.Text() + "|" +
                                      Validity(name, Folder.Validity).Text() + "|" + std::to_string(Bytes);
            if (!IMAP::ReadFolderFast(Talk, Call, Blocks, scope, Folder, Result, plain) && !plain)
                return false;
        }
        return !plain || ReadPlainly();
    }
    uint32_t UidValidity() const { return Folder.Validity; }
    STRING Take() {
        if (Result.NotNull())
            return std::move(Result);
        STRING count, unread = "?";
        count.Format("%d", Folder.Count);
        if (FlagsKnown)
            unread.Format("%d", Folder.Count - Seen);
        return Listing.Take(LISTING::SummaryLine(count, unread, true, "0").View());
    }

 private:
    bool ReadPlainly() {
        std::vector<uint32_t> numbers;
        bool found = false;
        if (!Talk.Ask("SEARCH ALL",
                      [&](std::string_view line) { found = IMAPREPLY::ReadSearch(line, numbers) || found; }))
            return false;
        if (!found)
            return Talk.Fail(NO_SEARCH);
        // Numbers grow with arrival: the newest mail comes first.
        int position = 1;
        for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
            if (Listing.Length() + (position - 1) * ImapTimes.MailPrice >= ImapTimes.ListingBytes)
                break;
            Blocks.ShowPosition(position++, Folder.Count);
            IMAPMAIL mail;
            if (!Blocks.Ask(*number, mail))
                return false;
            FlagsKnown = FlagsKnown || mail.FlagsKnown;
            Seen += mail.Seen;
            Blocks.Append(mail, Listing);
        }
        return true;
    }

    IMAPCONVERSATION& Talk;
    const MAILBOXCALL& Call;
    const int Bytes;
    IMAPBLOCKS Blocks;
    LISTING::WRITER Listing;
    STRING Result;  // of the fast way
    IMAPCONVERSATION::FOLDER Folder;
    int Seen = 0;
    bool FlagsKnown = false;
};

// Takes mails out of a folder.
class DISPOSAL {
 public:
    DISPOSAL(IMAPCONVERSATION& talk, const MAILBOXCALL& call, const STRING* target)
        : Talk(talk), Call(call), Target(target) {}

    bool Dispose(const STRING& ids) {
        if (!Talk.Connect())
            return false;
        CLOCK::Sleep(ImapTimes.PauseMs);
        if (!Talk.LogIn())
            return false;
        const bool byUid = Talk.CanExpungeByUid();
        // UIDs mean nothing but in the folder that was listed.
        const STRING folder = WatchedFolder(Call.Item);
        IMAPCONVERSATION::FOLDER selected;
        if (!Talk.Select(folder, selected))
            return false;
        const STRING then = Call.Item.Get("UidValidity"), now = Validity(folder, selected.Validity);
        if (then.Length() > 0 && !(then == now)) {
            Trace("TARNWICK::ImapDispose UIDVALIDITY was %s, is %s, nothing disposed of\n", then.Text(), now.Text());
            return true;
        }
        int running = 0;
        WORDCURSOR lines(ids, "\n");
        for (std::string_view id; lines.Next(id);) {
            uint64_t uid;
            if (!IMAPREPLY::ReadNumber(id, UINT32_MAX, uid) || uid == 0)
                continue;
            STRING position;
            position.Format(" %d", ++running);
            Call.Progress.Show(Target ? TEXT_MOVING : TEXT_DELETING, position);
            if (!DisposeOfOne(static_cast<uint32_t>(uid)))
                return false;
        }
        return byUid ? ExpungeMarked() : Talk.Ask("EXPUNGE");
    }

 private:
    // One mail goes; without a target for good. One that has gone is no error.
    bool DisposeOfOne(uint32_t uid) {
        const STRING id = Number(uid);
        bool found = false;
        // Asked this way, as there are servers that search for other UIDs than they are told.
        if (!Talk.Ask(Join("UID FETCH ", id) || " (UID)", [&](std::string_view line) {
                IMAPREPLY::FETCHED mail;
                IMAPREPLY::TakeFetch(line, IMAPREPLY::ANY_MAIL, mail);
                found = found || mail.Uid == uid;
            }))
            return false;
        if (!found)
            return true;
        if (Target && !Talk.Ask(Join("UID COPY ", id) || " " || IMAPCONVERSATION::FolderName(*Target)))
            return false;
        Marked.push_back(uid);
        return Talk.Ask(Join("UID STORE ", id) || " +FLAGS (\\Deleted)");
    }

    // What another program has marked stays.
    bool ExpungeMarked() {
        STRING set;
        for (size_t i = 0; i < Marked.size(); ++i) {
            set += set.Length() > 0 ? "," || Number(Marked[i]) : Number(Marked[i]);
            if (set.Length() < UIDS_BYTES && i + 1 < Marked.size())
                continue;
            if (!Talk.Ask(Join("UID EXPUNGE ", set)))
                return false;
            set = STRING();
        }
        return true;
    }

    IMAPCONVERSATION& Talk;
    const MAILBOXCALL& Call;
    const STRING* const Target;
    std::vector<uint32_t> Marked;
};

bool Get(const MAILBOXCALL& call, STRING& result) {
    const int bytes = call.Item.GetNumber("DownloadMailTexts") ? IMAP_BODY_BYTES : 0;
    return ImapGet(call, WatchedFolder(call.Item), bytes, result);
}

}  // namespace

STRING WatchedFolder(const STRINGARRAY& item) {
    return item.GetNumber("DoAltFolder") ? item.Get("AltFolder") : STRING("");
}

const MAILHANDLER ImapHandler = {Get, ImapDelete, ImapMove};

bool ImapGet(const MAILBOXCALL& call, const STRING& folder, int bytes, STRING& result) {
    TCPIPIO device("", "", "");
    return ImapRead(device, call, folder, bytes, result);
}

bool ImapRead(BASEIO& device, const MAILBOXCALL& call, const STRING& folder, int bytes, STRING& result) {
    result = "";
    call.Progress.Show(TEXT_CONNECTING, call.Server);
    IMAPCONVERSATION talk(device, call);
    READER reader(talk, call, bytes);
    const bool fast = FASTCHECK::IsDue(call);
    bool ok = talk.Connect() && talk.LogIn();
    if (talk.IsUnconnected())
        Trace("TCP::PopGet error: %s\n", talk.LastLine().Text());
    if (ok && !fast)
        CLOCK::Sleep(ImapTimes.PauseMs);
    ok = ok && reader.ReadFolder(folder, fast);
    // All is there: a server that has gone by now has nothing to add.
    if (!ok || (!talk.Ask("LOGOUT") && !talk.IsLost())) {
        result = LISTING::ErrorText(talk.LastLine().Text());
        return false;
    }
    device.DropCall();
    call.Item.Set("@UidValidity", Validity(folder, reader.UidValidity()));
    result = reader.Take();
    return true;
}

bool ImapDelete(const MAILBOXCALL& call, const STRING& ids, STRING& error) {
    TCPIPIO device("", "", "");
    return ImapDispose(device, call, ids, nullptr, error);
}

bool ImapMove(const MAILBOXCALL& call, const STRING& ids, const STRING& folder, STRING& error) {
    TCPIPIO device("", "", "");
    return ImapDispose(device, call, ids, &folder, error);
}

bool ImapDispose(BASEIO& device, const MAILBOXCALL& call, const STRING& ids, const STRING* folder, STRING& error) {
    const STRING source = WatchedFolder(call.Item);
    // One folder may be told in several ways.
    const auto onTheWire = [](const STRING& name) { return IMAPCONVERSATION::FolderName(name); };
    if (folder && (onTheWire(source) == onTheWire(*folder) || (IsInbox(source) && IsInbox(*folder)))) {
        Trace("TARNWICK::ImapDispose the mails are in %s\n", folder->Text());
        error = "OK";
        return true;
    }
    call.Progress.Show(TEXT_CONNECTING, call.Server);
    IMAPCONVERSATION talk(device, call);
    if (!DISPOSAL(talk, call, folder).Dispose(ids)) {
        error = talk.IsUnconnected() ? STRING("") : talk.LastWords(folder ? 2 : 1);
        return false;
    }
    talk.Ask("LOGOUT");
    error = "OK";
    return true;
}

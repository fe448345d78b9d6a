#include <algorithm>
#include <unordered_map>
#include <vector>

#include "app/mailbox/imap.h"
#include "app/mailbox/imapblock.h"
#include "app/mailbox/imapreply.h"
#include "app/mailbox/knownmails.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace IMAP {

namespace {

constexpr uint32_t LIST_MAILS = 50000;     // in one command: its reply stays within the limits of one
constexpr size_t BATCH_MAILS = 50;         // whose texts are asked for in one command
constexpr uint64_t BATCH_BYTES = 1 << 20;  // of these, as far as they are told
constexpr size_t WINDOW_COMMANDS = 8;      // on their way: some KB, which every system takes of a peer that is busy

// A mail of the folder; numbers are the places in the list.
struct ENTRY {
    uint32_t Uid = 0;
    std::optional<uint64_t> Size;
    bool FlagsKnown = false, Seen = false;
    int Place = -1;                    // in the last listing
    NEXTLISTING::NEWBLOCK Block = {};  // or in this one
};

class FASTREADER {
 public:
    FASTREADER(IMAPCONVERSATION& talk, const MAILBOXCALL& call, IMAPBLOCKS& blocks, const std::string& scope,
               IMAPCONVERSATION::FOLDER& folder)
        : Talk(talk), Call(call), Blocks(blocks), Folder(folder), Known(call.Item, scope), Listing(Known) {}

    bool Read(STRING& result, bool& plain) {
        if (IsUnchanged()) {
            result = Listing.TakeLast(Call.Item);
            return true;
        }
        if (!AskChanges() || (Entries.empty() && !AskList(plain)) || plain)
            return false;
        for (ENTRY& entry : Entries)
            entry.Place = Known.Find(std::to_string(entry.Uid), *entry.Size);
        if (!AskTexts() || !AskRest())
            return false;
        int seen = 0;
        for (auto entry = Entries.rbegin(); entry != Entries.rend() && !IsFull(Listing.Length(), Listing.Count());
             ++entry) {
            // Without a number that says so, a UID may be that of another mail at the next check.
            const std::string id = Folder.Validity ? std::to_string(entry->Uid) : std::string();
            if (entry->Place >= 0)
                Listing.AddKnown(entry->Place, {}, entry->Seen ? '1' : '0');
            else if (entry->Block.Length > 0)
                Listing.AddFetched(entry->Block, id);
            else
                continue;
            seen += entry->Seen;
        }
        STRING count, unread;
        count.Format("%d", Folder.Count);
        unread.Format("%d", Folder.Count - seen);
        Listing.SetState(State());
        result = Listing.Take(Call.Item, LISTING::SummaryLine(count, unread, true, "0"));
        return true;
    }

 private:
    // What is the same as long as nothing has come, gone or got other flags: but a server whose ModSeq stands still
    // while mails come knows nothing of flags, either. So it counts once it has been seen to grow with them, and until
    // it is seen not to.
    std::string State() const {
        if (Folder.UidNext == 0 || Folder.ModSeq == 0)
            return {};
        return (IsModSeqTrue() ? "true " : "new ") + Counters();
    }
    std::string Counters() const {
        return std::to_string(Folder.ModSeq) + " " + std::to_string(Folder.UidNext) + " " +
               std::to_string(Folder.Count);
    }
    // Reads what Counters has said of the last listing. True if ModSeq counted there.
    bool ReadCounters(IMAPCONVERSATION::FOLDER& before) const {
        std::string_view state = Known.State();
        const bool isTrue = ASCII::Take(state, ' ') == "true";
        return ASCII::ReadNumber(ASCII::Take(state, ' '), before.ModSeq) &&
               ASCII::ReadNumber(ASCII::Take(state, ' '), before.UidNext) && ASCII::ReadNumber(state, before.Count) &&
               isTrue;
    }
    bool IsModSeqTrue() const {
        IMAPCONVERSATION::FOLDER before;
        const bool wasTrue = ReadCounters(before);
        if (before.ModSeq == 0 || before.UidNext == 0)
            return false;
        return before.UidNext == Folder.UidNext ? wasTrue && before.ModSeq <= Folder.ModSeq
                                                : before.UidNext < Folder.UidNext && before.ModSeq < Folder.ModSeq;
    }
    bool IsUnchanged() const {
        return Folder.Validity && Known.State() == "true " + Counters() && Known.Count() == Folder.Count;
    }
    static bool IsFull(int64_t bytes, int mails) {
        return bytes + mails * ImapTimes.MailPrice >= ImapTimes.ListingBytes;
    }
    // True if what has been fetched leaves no room for a mail.
    bool IsFullAt(const ENTRY& entry) {
        return IsFull(Listing.Fetched().Length(), static_cast<int>(&Entries.back() - &entry));
    }

    static int64_t MostMails() { return ImapTimes.ListingBytes / std::max<int64_t>(ImapTimes.MailPrice, 1); }

    // Asks for what is new and for what has other flags, and takes all else from the last listing. No entries if not
    // every mail of that is still there, or what is said does not show it. False ends the conversation.
    bool AskChanges() {
        IMAPCONVERSATION::FOLDER before;
        if (!ReadCounters(before) || !IsModSeqTrue() || !Talk.CanAskChanges() || Known.Count() != before.Count ||
            Folder.Count < before.Count || Folder.Count > MostMails())
            return true;
        Entries.resize(static_cast<size_t>(Folder.Count));
        const auto were = static_cast<size_t>(before.Count);
        size_t at = were;
        Known.ForEach([&](std::string_view block, std::string_view id, uint64_t size) {
            ENTRY& entry = Entries[--at];
            if (!ASCII::ReadNumber(id, entry.Uid))
                entry.Uid = 0;
            entry.Size = size;
            entry.FlagsKnown = true;
            entry.Seen = block.substr(0, block.find("\n\n")).ends_with('1');
        });
        bool isSure = true;
        const std::string command = "FETCH 1:" + std::to_string(Folder.Count) +
                                    " (UID FLAGS RFC822.SIZE) (CHANGEDSINCE " + std::to_string(before.ModSeq) + ")";
        const bool good = Talk.Ask(STRING(std::string_view(command)), [&](std::string_view line) {
            uint32_t number;
            isSure = isSure && !IMAPREPLY::ReadExpunge(line, number);
            if (!IMAPREPLY::ReadFetchNumber(line, number) || number == 0 || number > Entries.size())
                return;
            IMAPREPLY::FETCHED told;
            IMAPREPLY::TakeFetch(line, number, told);
            ENTRY& entry = Entries[number - 1];
            isSure = isSure && !told.BadSize && (!told.Uid || !entry.Uid || entry.Uid == told.Uid);
            Learn(entry, told);
        });
        // One that has gone, and has one that came in its place in the count, moves those after it.
        if (!good || !isSure || !AreWhole() || (Entries.size() > were && Entries[were].Uid < before.UidNext))
            Entries.clear();
        return Talk.IsAnswered();
    }

    static void Learn(ENTRY& entry, const IMAPREPLY::FETCHED& told) {
        if (told.Uid)
            entry.Uid = told.Uid;
        if (told.Size)
            entry.Size = told.Size;
        entry.FlagsKnown = entry.FlagsKnown || told.FlagsKnown;
        entry.Seen = told.FlagsKnown ? told.Seen : entry.Seen;
    }

    // True if all is known of each mail, and UIDs grow.
    bool AreWhole() const {
        uint32_t before = 0;
        for (const ENTRY& entry : Entries) {
            if (entry.Uid <= before || !entry.Size || !entry.FlagsKnown)
                return false;
            before = entry.Uid;
        }
        return true;
    }

    // UID, flags and size of all that a listing has room for, the newest first. `plain`: what is said is not what every
    // server can say of all of them.
    bool AskList(bool& plain) {
        const uint32_t count = static_cast<uint32_t>(Folder.Count);
        const uint32_t oldest = static_cast<uint32_t>(std::max<int64_t>(int64_t{Folder.Count} - MostMails(), 0)) + 1;
        std::vector<std::vector<ENTRY>> pieces;
        for (uint32_t last = count, first; last >= oldest && !plain; last = first - 1) {
            first = std::max(oldest, last >= LIST_MAILS ? last - LIST_MAILS + 1 : 1);
            if (!AskPiece(first, last, pieces.emplace_back(), plain))
                return false;
        }
        for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece)
            Entries.insert(Entries.end(), piece->begin(), piece->end());
        Hidden = oldest - 1;
        plain = plain || !AreWhole();
        if (plain)
            Trace("IMAP::ReadFolderFast the list of mails is not a plain one\n");
        return true;
    }

    bool AskPiece(uint32_t first, uint32_t last, std::vector<ENTRY>& mails, bool& plain) {
        const std::string command =
            "FETCH " + std::to_string(first) + ":" + std::to_string(last) + " (UID FLAGS RFC822.SIZE)";
        const bool good = Talk.Ask(STRING(std::string_view(command)), [&](std::string_view line) {
            uint32_t number;
            plain = plain || IMAPREPLY::ReadExpunge(line, number);
            if (plain || !IMAPREPLY::ReadFetchNumber(line, number) || number < first || number > last)
                return;
            IMAPREPLY::FETCHED told;
            IMAPREPLY::TakeFetch(line, number, told);
            // Servers tell in order; in another one the list grows no further than what has been told.
            const size_t at = number - first;
            if (at > mails.size()) {
                plain = true;
                return;
            }
            if (at == mails.size())
                mails.emplace_back();
            ENTRY& entry = mails[at];
            plain = plain || told.BadSize || (entry.Uid && told.Uid && entry.Uid != told.Uid);
            Learn(entry, told);
        });
        plain = plain || !good || mails.size() != size_t{last} - first + 1;
        return Talk.IsAnswered();
    }

    // The texts of what is new, many mails in a command and several commands ahead of their replies.
    bool AskTexts() {
        struct BATCH {
            std::vector<uint32_t> Uids;
            uint32_t Command = 0;
        };
        std::vector<BATCH> batches(1);
        uint64_t bytes = 0;
        for (auto entry = Entries.rbegin(); entry != Entries.rend(); ++entry) {
            if (entry->Place >= 0)
                continue;
            if (batches.back().Uids.size() == BATCH_MAILS || bytes >= BATCH_BYTES) {
                batches.emplace_back();
                bytes = 0;
            }
            batches.back().Uids.push_back(entry->Uid);
            bytes += *entry->Size;
        }
        if (batches.back().Uids.empty())
            batches.pop_back();
        size_t sent = 0;
        for (size_t heard = 0; heard < batches.size(); ++heard) {
            for (; sent < std::min(heard + WINDOW_COMMANDS, batches.size()); ++sent) {
                batches[sent].Command = Talk.Send(CommandFor(batches[sent].Uids));
                OldestAsked = batches[sent].Uids.back();
            }
            if (!HearTexts(batches[heard].Command, batches[heard].Uids))
                return false;
            // What is on its way then is the last.
            const ENTRY* last = Find(batches[heard].Uids.back());
            if (last && IsFullAt(*last))
                batches.resize(sent);
        }
        return true;
    }

    STRING CommandFor(const std::vector<uint32_t>& uids) const {
        std::string set;
        for (auto uid = uids.rbegin(); uid != uids.rend(); ++uid)
            set += (set.empty() ? "" : ",") + std::to_string(*uid);
        const std::string body = Blocks.WantsBody() ? " " + Blocks.BodyItem() : "";
        const std::string command = "UID FETCH " + set + " (UID " + HEADER_ITEM + " " + FIELDS_ITEM + body + ")";
        return STRING(std::string_view(command));
    }

    bool HearTexts(uint32_t command, const std::vector<uint32_t>& uids) {
        Talk.Hear(command, [&](std::string_view line) {
            uint32_t number;
            if (IMAPREPLY::ReadExpunge(line, number))
                Forget(number);
            IMAPREPLY::FETCHED told;
            IMAPREPLY::TakeFetch(line, IMAPREPLY::ANY_MAIL, told);
            const ENTRY* entry = told.Uid && IsWhole(told) ? Find(told.Uid) : nullptr;
            // Nobody keeps more of it than what has been asked for.
            if (entry && entry->Place < 0 && entry->Block.Length == 0 && entry->Uid >= OldestAsked)
                Told.try_emplace(told.Uid, Mail(told));
        });
        for (const uint32_t uid : uids) {
            const auto mail = Told.find(uid);
            ENTRY* entry = Find(uid);
            if (!entry || mail == Told.end())
                continue;
            Blocks.ShowPosition(static_cast<int>(&Entries.back() - entry) + 1, Folder.Count);
            mail->second.Uid = uid;
            mail->second.Size = entry->Size;
            mail->second.Seen = entry->Seen;
            Add(*entry, mail->second);
            Told.erase(mail);
        }
        return Talk.IsAnswered();
    }

    // What was not shown with the others is asked for by itself.
    bool AskRest() {
        for (size_t at = Entries.size(); at > 0 && !IsFullAt(Entries[at - 1]); --at) {
            ENTRY& entry = Entries[at - 1];
            if (entry.Place >= 0 || entry.Block.Length > 0)
                continue;
            Trace("IMAP::ReadFolderFast UID %u is asked for by itself\n", entry.Uid);
            IMAPMAIL mail;
            if (!Blocks.Ask(Hidden + static_cast<uint32_t>(at), mail))
                return false;
            if (mail.Uid != entry.Uid)
                return Talk.Fail(NO_UID);
            entry.Seen = mail.Seen;
            Add(entry, mail);
        }
        return true;
    }

    void Add(ENTRY& entry, IMAPMAIL& mail) {
        Blocks.Append(mail, Listing.Fetched());
        entry.Block = Listing.EndBlock();
    }

    static bool IsHeader(std::string_view name) { return ASCII::Equal(name, "BODY[HEADER]"); }
    static bool IsFields(std::string_view name) { return ASCII::BeginsWith(name, "BODY[HEADER.FIELDS"); }
    static bool IsBody(std::string_view name) { return ASCII::BeginsWith(name, "BODY[1]"); }
    bool IsWhole(const IMAPREPLY::FETCHED& told) const {
        const auto has = [&](bool (*is)(std::string_view)) {
            return std::ranges::any_of(told.Sections, is, &IMAPREPLY::FETCHED::SECTION::Name);
        };
        return has(IsHeader) && has(IsFields) && (!Blocks.WantsBody() || has(IsBody));
    }
    static IMAPMAIL Mail(IMAPREPLY::FETCHED& told) {
        IMAPMAIL mail;
        for (auto& [name, text] : told.Sections)
            (IsHeader(name) ? mail.Header : IsFields(name) ? mail.Fields : mail.Body) = std::move(text);
        return mail;
    }

    ENTRY* Find(uint32_t uid) {
        const auto entry = std::ranges::lower_bound(Entries, uid, {}, &ENTRY::Uid);
        return entry != Entries.end() && entry->Uid == uid ? &*entry : nullptr;
    }
    // A mail has gone meanwhile.
    void Forget(uint32_t number) {
        if (number == 0 || number > Hidden + Entries.size())
            return;
        --Folder.Count;
        if (number <= Hidden)
            --Hidden;
        else
            Entries.erase(Entries.begin() + static_cast<ptrdiff_t>(number - Hidden) - 1);
    }

    IMAPCONVERSATION& Talk;
    const MAILBOXCALL& Call;
    IMAPBLOCKS& Blocks;
    IMAPCONVERSATION::FOLDER& Folder;
    const KNOWNMAILS Known;
    NEXTLISTING Listing;
    std::vector<ENTRY> Entries;  // by number, so by UID
    // By UID, until the command that asked for them is over: servers work on several commands at once.
    std::unordered_map<uint32_t, IMAPMAIL> Told;
    uint32_t OldestAsked = 0;  // the lowest UID in the commands so far
    uint32_t Hidden = 0;       // mails before them, for which a listing has no room
};

}  // namespace

bool ReadFolderFast(IMAPCONVERSATION& talk, const MAILBOXCALL& call, IMAPBLOCKS& blocks, const std::string& scope,
                    IMAPCONVERSATION::FOLDER& folder, STRING& result, bool& plain) {
    plain = false;
    const bool ok = FASTREADER(talk, call, blocks, scope, folder).Read(result, plain);
    if (!ok && !plain && !(call.StopAsked && call.StopAsked()))
        FASTCHECK::Doubt(call.Item, talk.LastLine());
    return ok;
}

}  // namespace IMAP

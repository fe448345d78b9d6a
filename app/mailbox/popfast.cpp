#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "app/mailbox/knownmails.h"
#include "app/mailbox/popconversation.h"
#include "corelib/base/trace.h"

namespace POP3 {

namespace {

// What may be on its way to a server: less than what any system takes of a peer that is busy saying something.
constexpr int WINDOW_BYTES = 4096;

// A mail as UIDL and LIST have it.
struct ENTRY {
    std::string Id;
    int64_t Size = -1;  // not told
    int Place = -1;     // in the last listing
};

// Under what ids mean the same mails, and blocks are the same texts.
std::string ScopeOf(const MAILBOXCALL& call, int lines) {
    return (call.Server || "|" || call.User || "|" || std::to_string(lines).c_str()).Text();
}

// Mails that the last listing of an item lacks, as the server refused to show them.
int CountMissing(const STRINGARRAY& item) {
    int missing = 0;
    if (item.Exists("@FileStore"))
        item.Look("@FileStore",
                  [&](const STRING& last) { missing = LISTING::ReadSummary(last).Count - LISTING::CountBlocks(last); });
    return missing;
}

class FASTREADER {
 public:
    FASTREADER(TALK& talk, const MAILBOXCALL& call, int lines)
        : Talk(talk), Call(call), Lines(lines), Known(call.Item, ScopeOf(call, lines)), Listing(Known) {}

    bool Read(STRING& result) {
        if (!Talk.LearnCapabilities())
            return false;
        Pipelines = Talk.CanPipeline();
        if (!AskLists())
            return false;
        for (int number = Drop.Count; number >= Oldest; --number)
            if (!IsKnown(number))
                Wanted.push_back(number);
        for (int number = Drop.Count; number >= Oldest && !IsFull(); --number)
            if (!Add(number))
                return false;
        if (!IsInStep())
            return false;
        if (Listing.Count() == 0 && Drop.Count > 0)
            return false;
        // With replies still to come the listing is full, and nobody waits for them.
        if (!IsQuitSent && NextToSend == NextToHear)
            Talk.Ask("QUIT");
        result = Listing.Take(Call.Item, LISTING::SummaryLine(Drop.CountText, Drop.CountText, false, Drop.SizeText));
        return true;
    }

    // Why the next check should be a plain one; empty if there is no reason. A server may refuse mails that are broken,
    // and does so again then; or commands that come ahead, though it has said that it takes them.
    STRING Doubt(bool isRead) const {
        if (!isRead)
            return Talk.IsRefused() && !Pipelines && Listing.Count() == 0 ? STRING("") : Talk.Error();
        return Pipelines && Refused > 0 && Refused > CountMissing(Call.Item) ? STRING("mails refused") : STRING("");
    }

 private:
    // Asks something whose command has gone ahead if the server likes that.
    bool Ask(const char* command) { return Pipelines ? Talk.Hear() : Talk.Ask(command); }

    bool AskLists() {
        if (Pipelines)
            Talk.Send("STAT\nUIDL\nLIST\n");
        if (!Ask("STAT") || !Talk.TakeState(Drop))
            return false;
        // As many as a listing can hold.
        const int64_t most = PopTimes.ListingBytes / std::max<int64_t>(PopTimes.MailPrice, 1);
        Oldest = static_cast<int>(std::max<int64_t>(Drop.Count - most, 1));
        bool named = Ask("UIDL");
        if (!named && !Talk.IsRefused())
            return false;
        if (named && !Talk.HearLines([&](std::string_view line, bool whole) {
                ENTRY* entry = EntryOf(line);
                named = named && whole && (!entry || (entry->Id.empty() && !line.empty()));
                if (named && entry)
                    entry->Id = line;
            }))
            return false;
        // Numbers are given to other mails as soon as one goes.
        const auto isNumber = [](const auto& entry) { return entry.second.Id == std::to_string(entry.first); };
        named = named && !std::ranges::all_of(Entries, isNumber);
        std::unordered_set<std::string_view> ids;
        for (const auto& [number, entry] : Entries)
            named = named && ids.insert(entry.Id).second;
        if (!named) {
            Trace("POP3::ShowAllFast no ids to know mails by\n");
            Entries.clear();
        }
        // Without ids the sizes serve only to spare a command for each mail.
        if (!Pipelines && !named)
            return true;
        if (!Ask("LIST"))
            return Talk.IsRefused();
        return Talk.HearLines([this](std::string_view line, bool whole) {
            ENTRY* entry = EntryOf(line);
            if (entry && (!whole || !ASCII::ReadNumber(line, entry->Size)))
                entry->Size = -1;
        });
    }

    // The mail that a line of UIDL or LIST begins with; the line becomes the rest. Null if no mail has that number.
    ENTRY* EntryOf(std::string_view& line) {
        int number = 0;
        const bool has = ASCII::ReadNumber(ASCII::Take(line, ' '), number) && number >= Oldest && number <= Drop.Count;
        return has ? &Entries[number] : nullptr;
    }

    bool IsKnown(int number) {
        const auto found = Entries.find(number);
        if (found == Entries.end())
            return false;
        ENTRY& entry = found->second;
        if (!entry.Id.empty() && entry.Size >= 0)
            entry.Place = Known.Find(entry.Id, static_cast<uint64_t>(entry.Size));
        return entry.Place >= 0;
    }

    bool IsFull() const { return Listing.Length() + Listing.Count() * PopTimes.MailPrice >= PopTimes.ListingBytes; }

    // False ends it all; a mail that is refused is left out.
    bool Add(int number) {
        const auto found = Entries.find(number);
        ENTRY entry = found == Entries.end() ? ENTRY() : found->second;
        MAILNUMBER mail{.Number = number, .Size = entry.Size, .IsNamed = true};
        if (entry.Place >= 0) {
            Listing.AddKnown(entry.Place, HeadLines(mail));
            return true;
        }
        STRING position;
        position.Format(" %d/%d", Drop.Count - number + 1, Drop.Count);
        Call.Progress.Show(TEXT_READING, position);
        bool shown = false, goesOn = true;
        if (Pipelines) {
            bool sure = false;
            goesOn = HearMail(mail, shown, sure);
            // This once the text may be what it is; another check asks again.
            if (!sure)
                entry.Id.clear();
        } else {
            shown = entry.Size >= 0 ? Talk.Ask(TopCommand(number, Lines)) && AppendMail(Talk, mail, Listing.Fetched())
                                    : ShowMail(Talk, number, Lines, Listing.Fetched());
            LastUnnamed = entry.Size >= 0 ? number : 0;
            goesOn = shown || Talk.IsRefused();
        }
        if (shown)
            Listing.AddFetched(Listing.EndBlock(), entry.Size >= 0 ? entry.Id : std::string());
        return goesOn;
    }

    // What TOP shows does not say what mail it is. Had a reply come too many, those after it would be those to other
    // commands, up to this one, which tells.
    bool IsInStep() {
        MAILNUMBER mail{.Number = LastUnnamed};
        return LastUnnamed == 0 || (Talk.Ask(ListCommand(LastUnnamed)) && Talk.TakeSize(mail, true));
    }

    // Of each mail LIST goes ahead of TOP: its reply says what mail it is about. So replies that are missing, too many
    // or mixed up cannot make one mail's text that of another.
    void FillWindow() {
        if (WindowBytes > WINDOW_BYTES / 2 || IsQuitSent)
            return;
        STRING commands;
        for (; NextToSend < Wanted.size() && WindowBytes < WINDOW_BYTES; ++NextToSend) {
            const STRING pair = CommandsFor(Wanted[NextToSend]);
            commands += pair;
            WindowBytes += pair.Length();
        }
        IsQuitSent = NextToSend == Wanted.size();
        if (IsQuitSent)
            commands += "QUIT\n";
        if (commands.Length() > 0)
            Talk.Send(commands);
    }

    STRING CommandsFor(int number) const { return ListCommand(number) || "\n" || TopCommand(number, Lines) || "\n"; }

    bool HearMail(MAILNUMBER& mail, bool& shown, bool& sure) {
        FillWindow();
        WindowBytes -= CommandsFor(mail.Number).Length();
        ++NextToHear;
        mail.Size = 0;
        const bool sized = Talk.Hear() && Talk.TakeSize(mail, true);
        if (!sized && !Talk.IsRefused())
            return false;
        const std::string named = Talk.Told();
        if (!Talk.Hear()) {
            ++Refused;
            return Talk.IsRefused();
        }
        shown = sized;
        // The same words twice may be one reply twice, and the one to TOP be taken for the text.
        const bool another = Talk.Told() != named;
        // What nobody can name is heard, and left out.
        LISTING::WRITER unused;
        if (!AppendMail(Talk, mail, sized ? Listing.Fetched() : unused))
            return false;
        // So may the one to QUIT be.
        sure = (!IsQuitSent || NextToHear < Wanted.size() || Talk.Hear()) && another;
        return true;
    }

    TALK& Talk;
    const MAILBOXCALL& Call;
    const int Lines;
    const KNOWNMAILS Known;
    NEXTLISTING Listing;
    MAILDROP Drop;
    int Oldest = 1;  // the lowest number that a listing has room for
    std::unordered_map<int, ENTRY> Entries;
    bool Pipelines = false;
    std::vector<int> Wanted;  // numbers of mails that are not known
    size_t NextToSend = 0, NextToHear = 0;
    int WindowBytes = 0;  // of commands whose replies are still to come
    bool IsQuitSent = false;
    int LastUnnamed = 0;  // the last number for which TOP stood alone
    int Refused = 0;      // mails whose commands came ahead
};

}  // namespace

bool ShowAllFast(TALK& talk, const MAILBOXCALL& call, int lines, STRING& result) {
    FASTREADER reader(talk, call, lines);
    const bool ok = reader.Read(result);
    const STRING doubt = reader.Doubt(ok);
    if (doubt.Length() > 0 && !(call.StopAsked && call.StopAsked()))
        FASTCHECK::Doubt(call.Item, doubt);
    return ok;
}

std::unordered_map<std::string, std::string> KnownIds(const MAILBOXCALL& call) {
    const bool withTexts = call.Item.Exists("DownloadMailTexts") && call.Item.GetNumber("DownloadMailTexts");
    std::unordered_map<std::string, std::string> ids;
    KNOWNMAILS(call.Item, ScopeOf(call, withTexts ? POP_BODY_LINES : 0))
        .ForEach([&ids](std::string_view block, std::string_view id, uint64_t) {
            const size_t end = block.find('\n', block.find('\n') + 1);
            if (!id.empty())
                ids.emplace(block.substr(0, end + 1), id);
        });
    return ids;
}

}  // namespace POP3

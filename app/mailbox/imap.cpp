#include "app/mailbox/imap.h"

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "app/mailbox/imapconversation.h"
#include "app/mailbox/imapreply.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"

namespace {

constexpr const char* NO_EXISTS = "IMAP99 BAD 'EXISTS' not found";
constexpr const char* NO_SEARCH = "IMAP99 BAD SEARCH result error";
constexpr const char* NO_SIZE = "IMAP99 BAD SIZE result error";
constexpr const char* NO_UID = "IMAP99 BAD UID (not found)";

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

STRING ReadFolderName(const STRINGARRAY& item) {
    return item.GetNumber("DoAltFolder") ? item.Get("AltFolder") : STRING("");
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
        : Talk(talk), Call(call), Bytes(bytes), NoText(call.Progress.Text(TEXT_NOT_FETCHED)) {}

    bool ReadFolder(const STRING& name) {
        if (!Talk.Select(name, Folder))
            return false;
        if (Folder.Count < 0)
            return Talk.Fail(NO_EXISTS);
        if (Folder.Count == 0 || Call.SummaryOnly)
            return true;
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
            if (!ReadMail(*number, position++))
                return false;
        }
        return true;
    }
    uint32_t UidValidity() const { return Folder.Validity; }
    STRING Take() {
        STRING count, unread = "?";
        count.Format("%d", Folder.Count);
        if (FlagsKnown)
            unread.Format("%d", Folder.Count - Seen);
        return Listing.Take(LISTING::SummaryLine(count, unread, true, "0").View());
    }

 private:
    bool ReadMail(uint32_t number, int position) {
        STRING text;
        text.Format(" %d/%d", position, Folder.Count);
        Call.Progress.Show(TEXT_READING, text);
        // Small commands, one mail after the other, so that the row shows how far it is.
        if (!Fetch(number, "(RFC822.SIZE)"))
            return false;
        if (Mail.BadSize)
            return Talk.Fail(NO_SIZE);
        if (Mail.Size) {
            const auto size = std::min<uint64_t>(*Mail.Size, std::numeric_limits<int>::max());
            text.Format("%s: %d\n", LISTING::SIZE_HEADER, static_cast<int>(size));
            Listing.Append(text.View());
        }
        if (!Fetch(number, "(BODY.PEEK[HEADER])"))
            return false;
        if (HasShortText())
            AppendField(LISTING::TRANSPORT_HEADER, STRING(std::string_view(*Mail.Text)).Escape("").View());
        if (!Fetch(number, "(BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)] FLAGS)"))
            return false;
        AppendFields();
        const bool seen = Mail.Seen;
        FlagsKnown = FlagsKnown || Mail.FlagsKnown;
        Seen += seen;
        // A server that refuses but tells is good enough.
        Fetch(number, "(UID)");
        if (!Talk.IsAnswered())
            return false;
        if (Mail.Uid == 0)
            return Talk.Fail(NO_UID);
        AppendField(LISTING::MESSAGEID_HEADER, Number(Mail.Uid).View());
        AppendField(LISTING::SEEN_HEADER, seen ? "1" : "0");
        Listing.Append("\n");
        if (!AppendBody(number))
            return false;
        Listing.Append(std::string_view(&LISTING::BLOCK_END, 1));
        return true;
    }

    bool Fetch(uint32_t number, const char* what) {
        Mail = {};
        return Talk.Ask(Join("FETCH ", Number(number)) || " " || what,
                        [&](std::string_view line) { IMAPREPLY::TakeFetch(line, number, Mail); });
    }

    // A text of five digits' length is left out.
    bool HasShortText() const { return Mail.Text && Mail.Text->size() <= 9999; }

    // The header lines that everybody wants.
    void AppendFields() {
        constexpr const char* NAMES[] = {"From: ", "To: ", "Subject: ", "Date: "};
        std::string_view fields[std::size(NAMES)];
        ForEachLine([&](std::string_view line) {
            for (size_t i = 0; i < std::size(NAMES); ++i)
                if (fields[i].empty() && ASCII::BeginsWith(line, NAMES[i]))
                    fields[i] = line;
        });
        for (std::string_view field : fields) {
            if (field.empty())
                continue;
            AppendClean(field);
            Listing.Append("\n");
        }
    }

    bool AppendBody(uint32_t number) {
        STRING part;
        part.Format("(BODY.PEEK[1]<0.%d>)", Bytes);
        Mail.Text.reset();
        if (Bytes > 0) {
            Fetch(number, part.Text());
            if (!Talk.IsAnswered())
                return false;
        }
        if (!HasShortText()) {
            Listing.Append(NoText.View());
            Listing.Append("\n");
            return true;
        }
        ForEachLine([&](std::string_view line) {
            if (line == "*" || line == ".")
                Listing.Append(" ");
            AppendClean(line);
            Listing.Append("\n");
        });
        return true;
    }

    // Walks over the lines of the fetched text. What stands after the last line break is a line, too, and be it empty.
    template <class WORK>
    void ForEachLine(WORK work) {
        if (!Mail.Text)
            return;
        std::erase(*Mail.Text, '\r');
        std::string_view rest = *Mail.Text;
        for (size_t end = 0; end != rest.npos; rest.remove_prefix(end == rest.npos ? 0 : end + 1)) {
            end = rest.find('\n');
            work(rest.substr(0, end));
        }
    }

    void AppendField(const char* name, std::string_view value) {
        Listing.Append(name);
        Listing.Append(": ");
        AppendClean(value);
        Listing.Append("\n");
    }

    // What a mail says can hold the byte that ends a block, and the one that ends a text.
    void AppendClean(std::string_view text) {
        constexpr std::string_view ENDS("\0\1", 2);
        for (size_t end; (end = text.find_first_of(ENDS)) != text.npos; text.remove_prefix(end + 1)) {
            Listing.Append(text.substr(0, end));
            Listing.Append(" ");
        }
        Listing.Append(text);
    }

    IMAPCONVERSATION& Talk;
    const MAILBOXCALL& Call;
    const int Bytes;
    const STRING NoText;
    LISTING::WRITER Listing;
    IMAPCONVERSATION::FOLDER Folder;
    IMAPREPLY::FETCHED Mail;  // as the last FETCH told
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
        const STRING folder = ReadFolderName(Call.Item);
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
    return ImapGet(call, ReadFolderName(call.Item), bytes, result);
}

}  // namespace

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
    bool ok = talk.Connect() && talk.LogIn();
    if (talk.IsUnconnected())
        Trace("TCP::PopGet error: %s\n", talk.LastLine().Text());
    if (ok)
        CLOCK::Sleep(ImapTimes.PauseMs);
    ok = ok && reader.ReadFolder(folder);
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
    const STRING source = ReadFolderName(call.Item);
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

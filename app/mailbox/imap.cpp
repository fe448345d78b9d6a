#include "app/mailbox/imap.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"

IMAPTIMES ImapTimes;

namespace {

constexpr int GET_LINE = 4096;
constexpr int DISPOSAL_LINE = 1024;
constexpr int REPLY_BLOCK = 4096;

constexpr const char* NO_END = "IMAP99 BAD reply without end";
constexpr const char* NO_EXISTS = "IMAP99 BAD 'EXISTS' not found";
constexpr const char* NO_SEARCH = "IMAP99 BAD SEARCH result error";
constexpr const char* NO_UID = "IMAP99 BAD UID (not found)";

uint32_t NextTag;

// The place of `word`, without regard to case; npos without one.
size_t FindText(std::string_view text, std::string_view word) {
    const auto at = std::search(text.begin(), text.end(), word.begin(), word.end(),
                                [](char a, char b) { return ASCII::Lower(a) == ASCII::Lower(b); });
    return at == text.end() ? text.npos : static_cast<size_t>(at - text.begin());
}

// The first line of a reply that begins with `start`, without regard to case, and its index; false without one.
bool FindLine(const STRING& reply, std::string_view start, std::string_view& line, int* index = nullptr) {
    WORDCURSOR lines(reply, "\n");
    for (int i = 0; lines.Next(line); ++i) {
        if (index)
            *index = i;
        if (LISTING::BeginsWith(line, start))
            return true;
    }
    return false;
}

// The number of mails as SELECT tells it; false if it does not.
bool ReadCount(const STRING& reply, int& count) {
    WORDCURSOR lines(reply, "\n");
    for (std::string_view line; lines.Next(line);) {
        if (FindText(line, "EXISTS") == line.npos)
            continue;
        count = atoi(STRING(line).Word(1, " ", WORD_NEVERNULL));
        return true;
    }
    return false;
}

// The literal of a reply. False without one, and for one of five digits and more.
bool ReadLiteral(std::string_view reply, std::string_view& text) {
    const size_t open = reply.find('{'), close = reply.find('}');
    if (open == reply.npos || close == reply.npos || close < open || close - open >= 6)
        return false;
    const int length = atoi(STRING(reply.substr(open + 1, close - open)));
    text = reply.substr(std::min(close + 3, reply.size()), static_cast<size_t>(std::max(length, 0)));
    return true;
}

STRING LoginName(const STRING& user) {
    for (char c : user.View())
        if (!ASCII::IsLetter(c) && !ASCII::IsDigit(c))
            return STRING("\"") || user.Escape("") || "\"";
    return user;
}

STRING Join(const char* word, const STRING& argument) {
    return STRING(word) || argument;
}

class CONVERSATION {
 public:
    CONVERSATION(BASEIO& device, int lineSize) : Device(device), LineSize(lineSize) {}

    /// Leaves the device's text as the last line if there is no connection.
    bool Connect(const STRING& server) {
        if (!Device.MakeCall((server || ":143").Text())) {
            Error = Device.GetInfo("LastErrorString");
            return false;
        }
        NextTag = 0;
        TCP::ReadLine(Device, Line, LineSize, ImapTimes.LineMs);
        return IsGood();
    }
    bool LogIn(const STRING& user, const STRING& password) {
        STRING bare = password;
        bare.Strip('B', " ");
        return Ask(Join("LOGIN ", LoginName(user)) || " " || bare);
    }
    /// Sends a command and reads its reply; true if the server agrees.
    bool Ask(const STRING& command, bool crlf = false) {
        Reply = ImapCommand(Device, command, Line, LineSize, crlf);
        return IsGood();
    }
    bool Fetch(std::string_view id, const char* what, bool crlf = false) {
        return Ask(Join("FETCH ", STRING(id)) || what, crlf);
    }
    /// Puts an error of our own in the place of the last line.
    bool Fail(const char* text) {
        snprintf(Line, sizeof Line, "%s", text);
        return false;
    }
    void HangUp() { Device.DropCall(); }

    STRING Reply;
    STRING Error;  // why there is no connection; null if there is one
    char Line[GET_LINE] = "";

 private:
    bool IsGood() const { return strstr(Line, " OK ") != nullptr; }

    BASEIO& Device;
    const int LineSize;
};

// Reads mails into blocks of a listing.
class READER {
 public:
    READER(CONVERSATION& talk, const PROGRESS& progress, int bytes)
        : Talk(talk), Progress(progress), Bytes(bytes), NoText(progress.Text(TEXT_NOT_FETCHED)) {}

    bool ReadFolder(const STRING& folder) {
        if (!Talk.Ask(Join("SELECT ", folder.Length() > 0 ? folder : STRING("INBOX"))))
            return false;
        if (!ReadCount(Talk.Reply, Count))
            return Talk.Fail(NO_EXISTS);
        if (Count == 0)
            return true;
        if (!Talk.Ask("SEARCH ALL"))
            return false;
        const STRING found = std::move(Talk.Reply);
        std::string_view ids;
        if (!FindLine(found, "* SEARCH", ids))
            return Talk.Fail(NO_SEARCH);
        ids.remove_prefix(std::min(ids.find(' ', 2), ids.size()));
        // Numbers grow with arrival: the newest mail comes first.
        for (int position = 1; Listing.Length() < ImapTimes.ListingBytes;) {
            const size_t blank = ids.rfind(' ');
            if (blank == ids.npos)
                break;
            const std::string_view id = ids.substr(blank + 1);
            ids = ids.substr(0, blank);
            if (!id.empty() && !ReadMail(id, position++))
                return false;
        }
        return true;
    }
    STRING Take() {
        STRING count, unread = "?";
        count.Format("%d", Count);
        if (FlagsKnown)
            unread.Format("%d", Count - Seen);
        return Listing.Take(LISTING::SummaryLine(count, unread, true, "0").View());
    }

 private:
    bool ReadMail(std::string_view id, int position) {
        STRING text;
        text.Format(" %d/%d", position, Count);
        Progress.Show(TEXT_READING, text);
        if (!Talk.Fetch(id, " (RFC822.SIZE)"))
            return false;
        if (const int at = Talk.Reply.Pos(".SIZE "); at != -1) {
            text.Format("%s: %d\n", LISTING::SIZE_HEADER, atoi(Talk.Reply.Mid(at + 5, NUMBER_BYTES)));
            Listing.Append(text.View());
        }
        if (!Talk.Fetch(id, " (BODY.PEEK[HEADER])", true))
            return false;
        if (std::string_view header; ReadLiteral(Talk.Reply.View(), header))
            AppendField(LISTING::TRANSPORT_HEADER, STRING(header).Escape("").View());
        if (!Talk.Fetch(id, " (BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)] FLAGS)"))
            return false;
        const bool seen = AppendFields();
        Talk.Fetch(id, " (UID)");
        std::string_view uid = Talk.Reply.View();
        const size_t at = FindText(uid, "UID");
        if (at == uid.npos)
            return Talk.Fail(NO_UID);
        uid.remove_prefix(std::min(at + 4, uid.size()));
        AppendField(LISTING::MESSAGEID_HEADER, uid.substr(0, uid.find_first_of(")\n")));
        AppendField(LISTING::SEEN_HEADER, seen ? "1" : "0");
        Listing.Append("\n");
        AppendBody(id);
        Listing.Append(std::string_view(&LISTING::BLOCK_END, 1));
        return true;
    }

    // The header lines that everybody wants; true if the mail has been seen.
    bool AppendFields() {
        constexpr const char* NAMES[] = {"From: ", "To: ", "Subject: ", "Date: "};
        std::string_view fields[std::size(NAMES)], flags;
        WORDCURSOR lines(Talk.Reply, "\n");
        for (std::string_view line; lines.Next(line);) {
            for (size_t i = 0; i < std::size(NAMES); ++i)
                if (fields[i].empty() && LISTING::BeginsWith(line, NAMES[i]))
                    fields[i] = line;
            if (flags.empty() && FindText(line, "FLAGS") != line.npos)
                flags = line;
        }
        for (std::string_view field : fields) {
            if (field.empty())
                continue;
            AppendClean(field);
            Listing.Append("\n");
        }
        const bool seen = FindText(flags, "\\seen") != flags.npos;
        FlagsKnown = FlagsKnown || !flags.empty();
        Seen += seen;
        return seen;
    }

    void AppendBody(std::string_view id) {
        STRING part;
        part.Format(" (BODY.PEEK[1]<0.%d>)", Bytes);
        if (Bytes > 0)
            Talk.Fetch(id, part.Text(), true);
        std::string_view body;
        if (Bytes <= 0 || !ReadLiteral(Talk.Reply.View(), body)) {
            Listing.Append(NoText.View());
            Listing.Append("\n");
            return;
        }
        for (size_t end = 0; end != body.npos; body.remove_prefix(end == body.npos ? 0 : end + 1)) {
            end = body.find('\n');
            std::string_view line = body.substr(0, end);
            if (end != body.npos && line.ends_with('\r'))
                line.remove_suffix(1);
            if (line == "*" || line == ".")
                Listing.Append(" ");
            AppendClean(line);
            Listing.Append("\n");
        }
    }

    void AppendField(const char* name, std::string_view value) {
        Listing.Append(name);
        Listing.Append(": ");
        AppendClean(value);
        Listing.Append("\n");
    }

    // What a mail says can hold the byte that ends a block.
    void AppendClean(std::string_view text) {
        for (size_t end; (end = text.find(LISTING::BLOCK_END)) != text.npos; text.remove_prefix(end + 1)) {
            Listing.Append(text.substr(0, end));
            Listing.Append(" ");
        }
        Listing.Append(text);
    }

    static constexpr int NUMBER_BYTES = 24;

    CONVERSATION& Talk;
    const PROGRESS& Progress;
    const int Bytes;
    const STRING NoText;
    LISTING::WRITER Listing;
    int Count = 0;
    int Seen = 0;
    bool FlagsKnown = false;
};

// One mail goes; without a folder for good.
bool DisposeOfOne(CONVERSATION& talk, const STRING& id, const STRING* folder) {
    if (!talk.Ask(Join("SEARCH (UID ", id) || ")"))
        return false;
    std::string_view line;
    int index;
    // A mail that has gone is no error.
    if (!FindLine(talk.Reply, "* SEARCH ", line, &index))
        return true;
    const STRING number(line.substr(std::min(size_t{9} + static_cast<size_t>(index), line.size())));
    return (!folder || talk.Ask(Join("COPY ", number) || " " || *folder)) &&
           talk.Ask(Join("STORE ", number) || " +FLAGS \\deleted");
}

bool DisposeOfAll(CONVERSATION& talk, const PROGRESS& progress, const STRING& server, const STRING& user,
                  const STRING& password, const STRING& ids, const STRING* folder) {
    if (!talk.Connect(server))
        return false;
    CLOCK::Sleep(ImapTimes.PauseMs);
    // Whatever folder the item reads.
    if (!talk.LogIn(user, password) || !talk.Ask("SELECT INBOX"))
        return false;
    int running = 0;
    WORDCURSOR lines(ids, "\n");
    for (std::string_view id; lines.Next(id);) {
        if (id.empty())
            continue;
        STRING position;
        position.Format(" %d", ++running);
        progress.Show(folder ? TEXT_MOVING : TEXT_DELETING, position);
        if (!DisposeOfOne(talk, STRING(id), folder))
            return false;
    }
    return talk.Ask("EXPUNGE");
}

bool Dispose(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
             const STRING& ids, const STRING* folder, STRING& error) {
    TCPIPIO device("", "", "");
    CONVERSATION talk(device, DISPOSAL_LINE);
    progress.Show(TEXT_CONNECTING, server);
    if (!DisposeOfAll(talk, progress, server, user, password, ids, folder)) {
        error = STRING(talk.Line).Word(folder ? 2 : 1, " ", WORD_NEVERNULL | 1);
        return false;
    }
    talk.Ask("LOGOUT");
    error = "OK";
    return true;
}

bool Get(const MAILBOXCALL& call, STRING& result) {
    const STRING folder = call.Item.GetNumber("DoAltFolder") ? call.Item.Get("AltFolder") : STRING("");
    const int bytes = call.Item.GetNumber("DownloadMailTexts") ? IMAP_BODY_BYTES : 0;
    return ImapGet(call.Progress, call.Server, call.User, call.Password, folder, bytes, result);
}

bool Delete(const MAILBOXCALL& call, const STRING& ids, STRING& error) {
    return ImapDelete(call.Progress, call.Server, call.User, call.Password, ids, error);
}

bool Move(const MAILBOXCALL& call, const STRING& ids, const STRING& folder, STRING& error) {
    return ImapMove(call.Progress, call.Server, call.User, call.Password, ids, folder, error);
}

}  // namespace

const MAILHANDLER ImapHandler = {Get, Delete, Move};

STRING ImapCommand(BASEIO& device, const STRING& command, char* line, int size, bool crlf) {
    STRING tag;
    tag.Format("IMAPCMD_%u ", NextTag++);
    const int64_t start = CLOCK::Seconds();
    TCP::WriteCommand(device, (tag || command).Text(), line, size, ImapTimes.LineMs);
    STRING text(REPLY_BLOCK);
    bool continued = false;  // what has come now is the rest of a line that was longer than the buffer
    while (continued || strncmp(line, tag.Text(), static_cast<size_t>(tag.Length())) != 0) {
        const size_t length = strlen(line);
        text.AppendBytes(std::string_view(line, length));
        // Full, or full with a return as its last byte: the rest of the line is still to come. A list of mails and the
        // length of a literal know of no line break here.
        continued = length + 2 >= static_cast<size_t>(size);
        if (!continued)
            text.AppendBytes(crlf ? "\r\n" : "\n");
        if (text.Length() > ImapTimes.ReplyBytes || CLOCK::Seconds() - start > ImapTimes.ReplySeconds) {
            snprintf(line, static_cast<size_t>(size), "%s", NO_END);
            break;
        }
        if (!TCP::ReadLine(device, line, size, ImapTimes.LineMs))
            break;
    }
    text.AppendBytes(std::string_view(line));
    text.AppendBytes("\n");
    return text;
}

bool ImapGet(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
             const STRING& folder, int bytes, STRING& result) {
    TCPIPIO device("", "", "");
    return ImapRead(device, progress, server, user, password, folder, bytes, result);
}

bool ImapRead(BASEIO& device, const PROGRESS& progress, const STRING& server, const STRING& user,
              const STRING& password, const STRING& folder, int bytes, STRING& result) {
    result = "";
    progress.Show(TEXT_CONNECTING, server);
    CONVERSATION talk(device, GET_LINE);
    READER reader(talk, progress, bytes);
    bool ok = talk.Connect(server);
    if (!ok && talk.Error.NotNull()) {
        Trace("TCP::PopGet error: %s\n", talk.Error.Text());
        talk.Fail((STRING("-ERR ") || talk.Error).Text());
    }
    ok = ok && talk.LogIn(user, password);
    if (ok)
        CLOCK::Sleep(ImapTimes.PauseMs);
    if (!ok || !reader.ReadFolder(folder) || !talk.Ask("LOGOUT")) {
        result = LISTING::ErrorText(talk.Line);
        return false;
    }
    talk.HangUp();
    result = reader.Take();
    return true;
}

bool ImapDelete(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
                const STRING& ids, STRING& error) {
    return Dispose(progress, server, user, password, ids, nullptr, error);
}

bool ImapMove(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
              const STRING& ids, const STRING& folder, STRING& error) {
    return Dispose(progress, server, user, password, ids, &folder, error);
}

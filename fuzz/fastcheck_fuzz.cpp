// Checks of a mailbox that changes between them, and whose server may lie, by the fast way and by the plain one.

#include <map>
#include <optional>
#include <vector>

#include "app/mailbox/imap.h"
#include "app/mailbox/pop3.h"
#include "bench/unwatched.h"
#include "corelib/base/ascii.h"
#include "corelib/net/tcpio.h"
#include "fuzz/fuzz.h"
#include "fuzz/listingblocks.h"
#include "tests/servers/answeringdevice.h"
#include "tests/support/times.h"

namespace {

constexpr int CHECKS = 4;

// What the input wants, one decision after the other; nothing at its end.
class CHOICES {
 public:
    CHOICES(const uint8_t* data, size_t size) : Rest(reinterpret_cast<const char*>(data), size) {}
    int Next(int below) {
        if (Rest.empty())
            return 0;
        const int choice = static_cast<unsigned char>(Rest.front()) % below;
        Rest.remove_prefix(1);
        return choice;
    }

 private:
    std::string_view Rest;
};

struct MAIL {
    int Serial = 0;  // what mail it is
    int Size = 0;
    std::string Id;
    uint32_t Uid = 0;
    bool Seen = false;
    int ModSeq = 0;
    std::string Text() const { return "M: " + std::to_string(Serial) + "\r\n\r\n"; }
};

// A mailbox, and what becomes of one of its replies.
class MAILBOX {
 public:
    explicit MAILBOX(CHOICES& choices) : Choices(choices), Capable(choices.Next(4)) {}

    void Change() {
        ++ModSeq;
        for (int changes = Choices.Next(4); changes > 0; --changes) {
            const int what = Choices.Next(9);
            MAIL* mail = Mails.empty() ? nullptr : &Mails[static_cast<size_t>(Choices.Next(100)) % Mails.size()];
            if (what < 4 || !mail)
                Add();
            else if (what < 6)
                Mails.erase(Mails.begin() + (mail - Mails.data()));
            else if (what == 6)
                mail->Seen = !mail->Seen, mail->ModSeq = ModSeq;
            else if (what == 7)
                Validity = static_cast<uint32_t>(Choices.Next(3));
            else  // an id comes back with another mail, or is that of two; no two such mails have one size
                *mail = {++Serial,  10 * Serial, Choices.Next(2) == 1 ? mail->Id : Mails[0].Id,
                         mail->Uid, false,       ModSeq};
        }
    }
    // Of the replies to come, one will not be what it should.
    void Lie(bool lies) {
        LieAt = lies ? Choices.Next(12) : -1;
        LieKind = Choices.Next(6);
        Replies = 0;
        Held.clear();
    }
    std::string Twisted(std::string reply) {
        if (Replies++ != LieAt)
            return std::exchange(Held, "").insert(0, reply);
        switch (LieKind) {
            case 0:
                return "";
            case 1:
                return reply + reply;
            case 2:
                Held = reply;
                return "";
            case 3:
                return reply.substr(0, reply.size() / 2);
            case 4:
                return "-ERR no\r\n";
            default:
                return "+OK\r\n";
        }
    }

    CHOICES& Choices;
    const int Capable;
    std::vector<MAIL> Mails;
    uint32_t Validity = 1;
    uint32_t UidNext = 1;
    int ModSeq = 1;

 private:
    void Add() {
        static constexpr const char* IDS[] = {"id", "", "1 ", "\x7f"};
        ++Serial;
        MAIL mail{Serial, 1 + Choices.Next(3), IDS[Choices.Next(4)] + std::to_string(Serial), UidNext++, false, ModSeq};
        if (Choices.Next(8) == 7)
            mail.Id = std::string(130, 'x') + mail.Id;
        Mails.push_back(mail);
    }

    int Serial = 0;
    int LieAt = -1, LieKind = 0, Replies = 0;
    std::string Held;
};

// As a check keeps a listing.
void Keep(STRINGARRAY& item, const STRING& listing) {
    std::string kept(listing.Line(0).View());
    const char* separator = "\n";
    for (const std::string& block : Blocks(listing)) {
        kept.append(separator).append("X-SpamPoints: 7\n").append(block);
        separator = "\1";
    }
    if (*separator == '\n')
        kept += '\n';
    item.Set("@FileStore", STRING(std::string_view(kept)));
    item.Set("@KnownMails", item.Get("@ListedMails"));
}

// A reply that comes twice is in a text then, by either way; as one without a size makes it 0.
std::string WithoutReplies(const std::string& block) {
    std::string kept;
    for (std::string_view rest = block; !rest.empty();) {
        const std::string_view line = ASCII::Take(rest, '\n');
        if (!line.starts_with("+OK"))
            kept.append(line).append("\n");
    }
    return kept;
}

// The fast listing is the plain one. Of a server that lies it may lack mails; those that it has are the plain ones.
void Compare(bool lies, bool isRead, const STRING& fast, const STRING& plain) {
    if (!lies || !isRead) {
        Never(!lies && (!isRead || !(fast == plain)));
        return;
    }
    const std::vector<std::string> wanted = Blocks(plain);
    auto at = wanted.begin();
    for (const std::string& block : Blocks(fast)) {
        if (block.starts_with("X-Size: 0\n"))
            continue;
        at = std::find(at, wanted.end(), WithoutReplies(block));
        Never(at == wanted.end());
        ++at;
    }
}

class POPSERVER {
 public:
    explicit POPSERVER(MAILBOX& mailbox) : Mailbox(mailbox) {}
    template <class WORK>
    bool Run(STRINGARRAY& item, bool fast, WORK work) {
        UNWATCHED row;
        row.Item = item;
        row.Item.Set("FastCheck", fast ? "1" : "0");
        Deleted.clear();
        bool ok = false;
        {
            ANSWERINGDEVICE device("+OK\r\n", [this](const std::string& line) {
                const bool isOurs = line == "CAPA" || line.starts_with("USER") || line.starts_with("PASS");
                return isOurs ? Reply(line) : Mailbox.Twisted(Reply(line));
            });
            ok = work(device, row.Call("server", "joe", "pw"));
        }
        item = row.Item;
        return ok;
    }
    std::vector<int> Deleted;  // serials

 private:
    std::string Reply(const std::string& line) {
        const std::vector<MAIL>& mails = Mailbox.Mails;
        if (line == "CAPA")
            return Mailbox.Capable == 0   ? "-ERR\r\n"
                   : Mailbox.Capable == 1 ? "+OK\r\n.\r\n"
                                          : "+OK\r\nPIPELINING\r\n.\r\n";
        if (line == "STAT")
            return "+OK " + std::to_string(mails.size()) + " " + std::to_string(mails.size() * 9) + "\r\n";
        if (!line.starts_with("LIST") && !line.starts_with("UIDL") && !line.starts_with("TOP ") &&
            !line.starts_with("DELE"))
            return "+OK\r\n";
        const bool ids = line.starts_with("UIDL");
        const auto entry = [&](size_t number) {
            const MAIL& mail = mails[number - 1];
            return std::to_string(number) + " " + (ids ? mail.Id : std::to_string(mail.Size)) + "\r\n";
        };
        if (line.size() == 4) {
            std::string reply = "+OK\r\n";
            for (size_t number = 1; number <= mails.size(); ++number)
                reply += entry(number);
            return reply + ".\r\n";
        }
        const auto number = static_cast<size_t>(atoi(line.c_str() + line.find(' ')));
        if (number < 1 || number > mails.size())
            return "-ERR none\r\n";
        if (line.starts_with("DELE"))
            Deleted.push_back(mails[number - 1].Serial);
        return line.starts_with("TOP ") ? "+OK\r\n" + mails[number - 1].Text() + ".\r\n" : "+OK " + entry(number);
    }
    MAILBOX& Mailbox;
};

void CheckPop(CHOICES& choices) {
    MAILBOX mailbox(choices);
    POPSERVER server(mailbox);
    STRINGARRAY item;
    item.Set("@ListedMails", "");
    for (int check = 0; check < CHECKS; ++check) {
        mailbox.Change();
        STRING plain, fast;
        STRINGARRAY other;
        const auto read = [](STRING& listing) {
            return [&listing](BASEIO& device, const MAILBOXCALL& call) { return PopRead(device, call, 0, listing); };
        };
        const bool lies = choices.Next(3) == 1;
        mailbox.Lie(false);
        SHRINKABLE::PopTimes.ReplyMs = 20000;
        Never(!server.Run(other, false, read(plain)) && !mailbox.Mails.empty());
        mailbox.Lie(lies);
        SHRINKABLE::PopTimes.ReplyMs = lies ? 4 : 20000;
        item.Set("@ListedMails", "");
        item.Set("@PlainChecks", "0");
        const bool isRead = server.Run(item, true, read(fast));
        Compare(lies, isRead, fast, plain);
        if (isRead)
            Keep(item, fast);
        mailbox.Lie(false);
    }
}

class IMAPSERVER {
 public:
    explicit IMAPSERVER(MAILBOX& mailbox) : Mailbox(mailbox) {}
    bool Read(STRINGARRAY& item, bool fast, bool disturbs, STRING& listing) {
        UNWATCHED row;
        row.Item = item;
        row.Item.Set("FastCheck", fast ? "1" : "0");
        Disturbs = disturbs;
        bool ok = false;
        {
            ANSWERINGDEVICE device("* OK\r\n", [this](const std::string& line) {
                const size_t end = line.find(' ') + 1;
                const bool isOurs = line.substr(end, 5) == "LOGIN";
                const std::string reply = Reply(line.substr(end)) + line.substr(0, end) + "OK x\r\n";
                return isOurs ? reply : Mailbox.Twisted(reply);
            });
            ok = ImapRead(device, row.Call("server", "joe", "pw"), "", 9, listing);
        }
        item = row.Item;
        return ok;
    }

 private:
    std::string Reply(const std::string& command) {
        std::vector<MAIL>& mails = Mailbox.Mails;
        const std::string count = std::to_string(mails.size());
        if (command.starts_with("LOGIN"))
            return Mailbox.Capable < 2 ? "" : "* CAPABILITY CONDSTORE\r\n";
        if (command.starts_with("SELECT"))
            return "* " + count + " EXISTS\r\n* OK [UIDVALIDITY " + std::to_string(Mailbox.Validity) +
                   "] x\r\n* OK [UIDNEXT " + std::to_string(Mailbox.UidNext) + "] x\r\n* OK [HIGHESTMODSEQ " +
                   std::to_string(Mailbox.Capable == 3 ? 1 : Mailbox.ModSeq) + "] x\r\n";
        if (command == "SEARCH ALL") {
            std::string found = "* SEARCH";
            for (size_t number = 1; number <= mails.size(); ++number)
                found += " " + std::to_string(number);
            return found + "\r\n";
        }
        const bool byUid = command.starts_with("UID FETCH ");
        if (!byUid && !command.starts_with("FETCH "))
            return "";
        std::string reply;
        if (Disturbs && byUid && !mails.empty()) {
            const size_t gone = static_cast<size_t>(Mailbox.Choices.Next(100)) % mails.size();
            mails.erase(mails.begin() + static_cast<ptrdiff_t>(gone));
            reply = "* " + std::to_string(gone + 1) + " EXPUNGE\r\n";
            Disturbs = false;
        } else if (Disturbs) {
            reply = "* " + std::to_string(mails.size() + 1) + " EXISTS\r\n* X {3}\r\n* 1\r\n";
            if (!mails.empty())
                reply += std::string("* 1 FETCH (FLAGS (") + (mails[0].Seen ? "\\Seen" : "x") + "))\r\n";
        }
        const size_t items = command.find(" ("), changed = command.find("CHANGEDSINCE ");
        const int since = changed == command.npos ? -1 : atoi(command.c_str() + changed + 13);
        const std::string set = "," + command.substr(byUid ? 10 : 6, items - (byUid ? 10 : 6)) + ",";
        for (size_t number = 1; number <= mails.size(); ++number) {
            const MAIL& mail = mails[number - 1];
            const std::string name = std::to_string(byUid ? mail.Uid : number);
            if (mail.ModSeq <= since || (set.find(":") == set.npos && set.find("," + name + ",") == set.npos))
                continue;
            reply += "* " + std::to_string(number) + " FETCH (" + Items(command.substr(items), mail) + ")\r\n";
        }
        return reply;
    }
    static std::string Items(const std::string& wanted, const MAIL& mail) {
        const auto wants = [&wanted](const char* what) { return wanted.find(what) != wanted.npos; };
        const std::string text = mail.Text();
        const auto value = [&](int kind) {
            return kind % 3 == 0   ? "{" + std::to_string(text.size()) + "}\r\n" + text
                   : kind % 3 == 1 ? "\"text " + std::to_string(mail.Serial) + "\""
                                   : std::string("NIL");
        };
        std::string items = wants("[1]") && mail.Serial % 2 ? "BODY[1]<0> " + value(mail.Serial) : "X (y \"z)\")";
        if (wants("UID"))
            items += " UID " + std::to_string(mail.Uid);
        if (wants("SIZE"))
            items += " RFC822.SIZE " + std::to_string(mail.Size);
        if (wants("FLAGS"))
            items += mail.Seen ? " FLAGS (\\Seen a)" : " FLAGS ()";
        if (wants("PEEK[HEADER]"))
            items += " BODY[HEADER] " + value(mail.Serial / 2);
        if (wants("HEADER.FIELDS"))
            items += " BODY[HEADER.FIELDS (x)] " + value(mail.Serial / 3);
        if (wants("[1]") && mail.Serial % 2 == 0)
            items += " BODY[1]<0> " + value(mail.Serial);
        return items;
    }
    MAILBOX& Mailbox;
    bool Disturbs = false;
};

void CheckImap(CHOICES& choices) {
    MAILBOX mailbox(choices);
    IMAPSERVER server(mailbox);
    STRINGARRAY item;
    for (int check = 0; check < CHECKS; ++check) {
        mailbox.Change();
        STRING plain, fast;
        const int mood = choices.Next(4);
        const bool lies = mood == 1;
        mailbox.Lie(lies);
        SHRINKABLE::ImapTimes.LineMs = lies ? 4 : 20000;
        item.Set("@ListedMails", "");
        item.Set("@PlainChecks", "0");
        const bool isRead = server.Read(item, true, mood == 2, fast);
        STRINGARRAY other;
        mailbox.Lie(false);
        SHRINKABLE::ImapTimes.LineMs = 20000;
        // Of a mailbox that gets empty meanwhile nobody asks for flags.
        Never(!server.Read(other, false, false, plain));
        if (mailbox.Mails.empty() && isRead) {
            Never(!Blocks(fast).empty());
            continue;
        }
        Compare(lies, isRead, fast, plain);
        if (isRead)
            Keep(item, fast);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SHRINKABLE::TcpTimes.ReadFailedMs = 1;
    SHRINKABLE::PopTimes.GreetingMs = 20000;
    CHOICES choices(data, size);
    SHRINKABLE::ImapTimes.PauseMs = 0;
    choices.Next(2) == 0 ? CheckPop(choices) : CheckImap(choices);
    return 0;
}

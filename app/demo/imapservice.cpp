#include "app/demo/imapservice.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "corelib/base/ascii.h"
#include "corelib/base/strings.h"

namespace {

constexpr const char* INBOX = "INBOX";
constexpr const char* FOLDERS[] = {INBOX, "spam"};
constexpr size_t MOST_CONVERSATIONS = 8;
constexpr const char* DONE = "OK done";
constexpr const char* UNKNOWN = "BAD unknown command or arguments";

// The next word; one in quotes without them.
std::string Word(std::string_view& rest) {
    std::string word;
    if (rest.starts_with('"')) {
        size_t at = 1;
        for (; at < rest.size() && rest[at] != '"'; ++at) {
            at += rest[at] == '\\' && at + 1 < rest.size();
            word += rest[at];
        }
        rest.remove_prefix(std::min(at + 1, rest.size()));
    } else {
        word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(word.size());
    }
    rest.remove_prefix(rest.starts_with(' '));
    return word;
}

std::string_view WithoutParentheses(std::string_view text) {
    return text.starts_with('(') && text.ends_with(')') ? text.substr(1, text.size() - 2) : text;
}

// The next item of a FETCH, whose brackets may hold blanks.
std::string_view NextItem(std::string_view& rest) {
    size_t end = 0;
    for (bool inside = false; end < rest.size() && (inside || rest[end] != ' '); ++end)
        inside = rest[end] == '[' || (inside && rest[end] != ']');
    const std::string_view item = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return item;
}

size_t HeaderEnd(std::string_view text) {
    const size_t end = text.find("\r\n\r\n");
    return end == text.npos ? text.size() : end + 4;
}

// The header lines whose names stand in the list, or do not; folded ones whole.
std::string HeaderFields(std::string_view header, std::string_view names, bool listed) {
    const std::string list = " " + ASCII::Upper(names) + " ";
    std::string result;
    bool taken = false;
    while (header.size() > 2) {
        const size_t end = std::min(header.find("\r\n"), header.size() - 2) + 2;
        const std::string_view line = header.substr(0, end);
        if (!line.starts_with(' ') && !line.starts_with('\t'))
            taken = (list.find(" " + ASCII::Upper(line.substr(0, line.find(':'))) + " ") != list.npos) == listed;
        if (taken)
            result += line;
        header.remove_prefix(end);
    }
    return result + "\r\n";
}

// The first part of a mail's text: all of it, unless it has several parts.
std::string_view FirstPart(std::string_view text) {
    constexpr std::string_view BOUNDARY = "boundary=";
    const size_t header = HeaderEnd(text), at = text.substr(0, header).find(BOUNDARY);
    std::string_view body = text.substr(header);
    if (at == text.npos)
        return body;
    std::string_view rest = text.substr(at + BOUNDARY.size(), text.find("\r\n", at) - at - BOUNDARY.size());
    const std::string line = "--" + Word(rest);
    const size_t begin = body.find(line);
    if (begin == body.npos)
        return body;
    body.remove_prefix(HeaderEnd(body.substr(begin)) + begin);
    return body.substr(0, body.find("\r\n" + line));
}

// What a BODY[section] holds; false if there is no such section.
bool Section(std::string_view text, const std::string& section, std::string& content) {
    constexpr std::string_view FIELDS = "HEADER.FIELDS ", FIELDS_NOT = "HEADER.FIELDS.NOT ";
    const std::string_view wanted = section;
    const std::string_view header = text.substr(0, HeaderEnd(text));
    if (wanted.empty())
        content = text;
    else if (wanted == "HEADER")
        content = header;
    else if (wanted == "TEXT")
        content = text.substr(header.size());
    else if (wanted == "1")
        content = FirstPart(text);
    else if (wanted.starts_with(FIELDS))
        content = HeaderFields(header, WithoutParentheses(wanted.substr(FIELDS.size())), true);
    else if (wanted.starts_with(FIELDS_NOT))
        content = HeaderFields(header, WithoutParentheses(wanted.substr(FIELDS_NOT.size())), false);
    else
        return false;
    return true;
}

std::string Literal(const std::string& content) {
    return " {" + std::to_string(content.size()) + "}\r\n" + content;
}

}  // namespace

IMAPSESSION::IMAPSESSION(DEMOSTORE& store, std::string user, std::string password)
    : Mailbox(store), User(std::move(user)), Password(std::move(password)) {}

std::string IMAPSESSION::Reply(std::string_view line) {
    std::string_view rest = line;
    if (!IdleTag.empty()) {
        const bool good = ASCII::Equal(line, "DONE");
        return std::exchange(IdleTag, {}) + (good ? " OK done\r\n" : " BAD that is not DONE\r\n");
    }
    const std::string tag = Word(rest), command = Word(rest);
    if (command.empty())
        return "* BAD no command\r\n";
    if (IsSelected && ASCII::Equal(command, "IDLE")) {
        IdleTag = tag;
        return "+ idling\r\n";
    }
    Untagged.clear();
    const std::string state = Carry(command, rest);
    return Untagged + tag + " " + state + "\r\n";
}

std::string IMAPSESSION::Unasked() {
    std::string news;
    if (IdleTag.empty())
        return news;
    const DEMOSTORE::MAILS present = Mailbox.Mails(Folder);
    for (size_t i = Mails.size(); i-- > 0;) {
        if (std::ranges::find(present, Mails[i]) != present.end())
            continue;
        news += "* " + std::to_string(i + 1) + " EXPUNGE\r\n";
        Mails.erase(Mails.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (present.size() > Mails.size())
        news += "* " + std::to_string(present.size()) + " EXISTS\r\n";
    Mails = present;
    Deleted.assign(Mails.size(), false);
    return news;
}

std::string IMAPSESSION::Carry(std::string_view command, std::string_view arguments) {
    if (ASCII::Equal(command, "LOGOUT")) {
        Untagged = "* BYE\r\n";
        End();
        return DONE;
    }
    if (ASCII::Equal(command, "CAPABILITY")) {
        Untagged = "* CAPABILITY IMAP4rev1 IDLE\r\n";
        return DONE;
    }
    if (ASCII::Equal(command, "NOOP"))
        return DONE;
    if (!LoggedIn)
        return ASCII::Equal(command, "LOGIN") ? LogIn(arguments) : UNKNOWN;
    if (ASCII::Equal(command, "SELECT") || ASCII::Equal(command, "EXAMINE"))
        return Select(arguments, ASCII::Equal(command, "EXAMINE"));
    if (ASCII::Equal(command, "LIST")) {
        for (const char* folder : FOLDERS)
            Untagged += std::string("* LIST () \"/\" ") + folder + "\r\n";
        return DONE;
    }
    const bool byUid = ASCII::Equal(command, "UID");
    const std::string word = byUid ? Word(arguments) : std::string(command);
    return IsSelected ? Selected(word, arguments, byUid) : UNKNOWN;
}

std::string IMAPSESSION::Selected(std::string_view command, std::string_view arguments, bool byUid) {
    if (ASCII::Equal(command, "SEARCH"))
        return Search(arguments, byUid);
    if (ASCII::Equal(command, "CLOSE") || ASCII::Equal(command, "EXPUNGE")) {
        IsSelected = ASCII::Equal(command, "EXPUNGE");
        Expunge(!IsSelected);
        return DONE;
    }
    const std::vector<size_t> which = Indexes(Word(arguments), byUid);
    if (ASCII::Equal(command, "FETCH"))
        return Fetch(which, arguments, byUid);
    if (ASCII::Equal(command, "STORE"))
        return Store(which, arguments);
    return ASCII::Equal(command, "COPY") ? Copy(which, arguments) : UNKNOWN;
}

std::string IMAPSESSION::LogIn(std::string_view arguments) {
    const std::string user = Word(arguments), password = Word(arguments);
    LoggedIn = user == User && password == Password;
    return LoggedIn ? "OK logged in" : "NO invalid user or password";
}

std::string IMAPSESSION::Select(std::string_view arguments, bool readOnly) {
    const std::string folder = Word(arguments);
    IsSelected = std::ranges::any_of(FOLDERS, [&](const char* name) { return ASCII::Equal(folder, name); });
    if (!IsSelected)
        return "NO no such folder";
    ReadOnly = readOnly;
    Folder = ASCII::Equal(folder, INBOX) ? "" : folder;
    Mails = Mailbox.Mails(Folder);
    Deleted.assign(Mails.size(), false);
    Untagged = "* FLAGS (\\Seen \\Deleted)\r\n* OK [PERMANENTFLAGS (\\Seen \\Deleted)]\r\n* " +
               std::to_string(Mails.size()) + " EXISTS\r\n* 0 RECENT\r\n* OK [UIDVALIDITY 1]\r\n";
    return readOnly ? "OK [READ-ONLY] selected" : "OK [READ-WRITE] selected";
}

std::string IMAPSESSION::Search(std::string_view arguments, bool byUid) {
    std::vector<size_t> found(Mails.size());
    for (size_t i = 0; i < found.size(); ++i)
        found[i] = i;
    std::string_view keys = WithoutParentheses(arguments);
    while (!keys.empty()) {
        const std::string key = ASCII::Upper(Word(keys));
        std::vector<size_t> named;
        if (key == "UID")
            named = Indexes(Word(keys), true);
        else if (!key.empty() && (ASCII::IsDigit(key[0]) || key[0] == '*'))
            named = Indexes(key, false);
        else if (key != "ALL" && key != "SEEN" && key != "UNSEEN")
            return UNKNOWN;
        else
            named = found;
        std::erase_if(found, [&](size_t i) {
            return !std::ranges::binary_search(named, i) ||
                   (key.ends_with("SEEN") && Mailbox.IsSeen(Mails[i]->Number) != (key == "SEEN"));
        });
    }
    Untagged = "* SEARCH";
    for (size_t i : found)
        Untagged += " " + std::to_string(byUid ? static_cast<size_t>(Mails[i]->Number) : i + 1);
    Untagged += "\r\n";
    return DONE;
}

std::string IMAPSESSION::Fetch(const std::vector<size_t>& which, std::string_view items, bool byUid) {
    items = WithoutParentheses(items);
    if (ASCII::Equal(items, "FAST"))
        items = "FLAGS RFC822.SIZE";
    for (size_t index : which) {
        std::string answers = byUid ? "UID " + std::to_string(Mails[index]->Number) : "";
        for (std::string_view rest = items; !rest.empty();) {
            const std::string_view item = NextItem(rest);
            if (byUid && ASCII::Equal(item, "UID"))
                continue;
            answers += answers.empty() ? "" : " ";
            if (!FetchItem(index, item, answers))
                return UNKNOWN;
        }
        Untagged += "* " + std::to_string(index + 1) + " FETCH (" + answers + ")\r\n";
    }
    return DONE;
}

bool IMAPSESSION::FetchItem(size_t index, std::string_view item, std::string& answer) {
    const DEMOMAIL& mail = *Mails[index];
    std::string name = ASCII::Upper(item), content;
    if (name == "FLAGS")
        answer += name + " " + Flags(index);
    else if (name == "UID")
        answer += name + " " + std::to_string(mail.Number);
    else if (name == "RFC822.SIZE")
        answer += name + " " + std::to_string(mail.Text.size());
    else if (name == "RFC822" || name == "RFC822.HEADER")
        answer += name + Literal(name == "RFC822" ? mail.Text : mail.Text.substr(0, HeaderEnd(mail.Text)));
    const bool peek = name.starts_with("BODY.PEEK["), body = peek || name.starts_with("BODY[");
    if (body) {
        const size_t open = name.find('['), close = name.find(']');
        if (close == name.npos || !Section(mail.Text, name.substr(open + 1, close - open - 1), content))
            return false;
        answer += "BODY" + name.substr(open, close + 1 - open);
        const std::string partial = name.substr(close + 1);
        if (const size_t point = partial.find('.'); partial.starts_with('<') && point != partial.npos) {
            const int from = std::max(atoi(STRING(partial.substr(1))), 0);
            const int count = std::max(atoi(STRING(partial.substr(point + 1))), 0);
            content = content.substr(std::min(static_cast<size_t>(from), content.size()), static_cast<size_t>(count));
            answer += "<" + std::to_string(from) + ">";
        }
        answer += Literal(content);
    }
    if ((name == "RFC822" || (body && !peek)) && !ReadOnly)
        Mailbox.SetSeen(mail.Number, true);
    return body || name == "FLAGS" || name == "UID" || name == "RFC822" || name == "RFC822.SIZE" ||
           name == "RFC822.HEADER";
}

std::string IMAPSESSION::Store(const std::vector<size_t>& which, std::string_view arguments) {
    const std::string what = ASCII::Upper(Word(arguments)), flags = ASCII::Upper(arguments);
    const bool adds = what.starts_with('+'), takes = what.starts_with('-');
    const std::string kind = what.substr(adds || takes);
    if (kind != "FLAGS" && kind != "FLAGS.SILENT")
        return UNKNOWN;
    if (ReadOnly)
        return "NO read-only";
    const bool seen = flags.find("\\SEEN") != flags.npos, deleted = flags.find("\\DELETED") != flags.npos;
    for (size_t index : which) {
        if (seen || (!adds && !takes))
            Mailbox.SetSeen(Mails[index]->Number, seen && !takes);
        if (deleted || (!adds && !takes))
            Deleted[index] = deleted && !takes;
        if (kind == "FLAGS")
            Untagged += "* " + std::to_string(index + 1) + " FETCH (FLAGS " + Flags(index) + ")\r\n";
    }
    return DONE;
}

std::string IMAPSESSION::Copy(const std::vector<size_t>& which, std::string_view arguments) {
    const std::string folder = Word(arguments);
    if (std::ranges::none_of(FOLDERS, [&](const char* name) { return ASCII::Equal(folder, name); }))
        return "NO [TRYCREATE] no such folder";
    for (size_t index : which)
        Mailbox.Deliver(Mails[index]->Text, ASCII::Equal(folder, INBOX) ? "" : folder,
                        Mailbox.IsSeen(Mails[index]->Number));
    return DONE;
}

void IMAPSESSION::Expunge(bool silently) {
    std::vector<int> numbers;
    // From the last one down, so that the numbers of those to come stay as they are.
    for (size_t i = ReadOnly ? 0 : Mails.size(); i-- > 0;) {
        if (!Deleted[i])
            continue;
        numbers.push_back(Mails[i]->Number);
        Mails.erase(Mails.begin() + static_cast<std::ptrdiff_t>(i));
        Deleted.erase(Deleted.begin() + static_cast<std::ptrdiff_t>(i));
        if (!silently)
            Untagged += "* " + std::to_string(i + 1) + " EXPUNGE\r\n";
    }
    Mailbox.Remove(numbers);
}

std::vector<size_t> IMAPSESSION::Indexes(std::string_view set, bool byUid) const {
    const auto name = [&](size_t i) { return byUid ? Mails[i]->Number : static_cast<int>(i) + 1; };
    const int last = Mails.empty() ? 0 : name(Mails.size() - 1);
    std::vector<size_t> indexes;
    for (size_t i = 0; i < Mails.size(); ++i) {
        for (std::string_view rest = set; !rest.empty();) {
            const std::string_view range = rest.substr(0, rest.find(','));
            rest.remove_prefix(std::min(range.size() + 1, rest.size()));
            const size_t colon = range.find(':');
            const auto bound = [&](std::string_view text) { return text == "*" ? last : atoi(STRING(text)); };
            const int a = bound(range.substr(0, colon));
            const int b = colon == range.npos ? a : bound(range.substr(colon + 1));
            if (name(i) >= std::min(a, b) && name(i) <= std::max(a, b)) {
                indexes.push_back(i);
                break;
            }
        }
    }
    return indexes;
}

std::string IMAPSESSION::Flags(size_t index) const {
    std::string flags = Mailbox.IsSeen(Mails[index]->Number) ? "\\Seen" : "";
    if (Deleted[index])
        flags += flags.empty() ? "\\Deleted" : " \\Deleted";
    return "(" + flags + ")";
}

IMAPSERVICE::IMAPSERVICE(DEMOSTORE& store, const std::string& user, const std::string& password)
    : DEMOSERVICE([&store, user, password] { return std::make_unique<IMAPSESSION>(store, user, password); },
                  MOST_CONVERSATIONS) {}

#include "app/core/tracelines.h"

#include <algorithm>
#include <deque>

#include "corelib/base/ascii.h"

namespace {

constexpr const char* LEFT_OUT = "<left out>";
constexpr std::string_view RETURNED = " returned ", ENTRY_HEAD = "--- ", TAG = "IMAPCMD_";
// The program itself writes none that is longer; looking through such would take long.
constexpr size_t LINE_BYTES = 8192;

/// What of a line is shown after its beginning. Numbers: figures alone. Talk: a command for a server, and its answer.
enum class SHOW { Nothing, Beginning, Numbers, Talk, All };

struct RULE {
    std::string_view Beginning;
    SHOW Show;
};

// The first one that fits holds; lines of no rule show their first word and figures.
constexpr RULE RULES[] = {
    {" ", SHOW::Nothing},
    {"EVENTSEM::", SHOW::Nothing},
    {"MUTEXSEM::", SHOW::Nothing},
    {"STRING::Make", SHOW::Nothing},
    {"BASEIO::Read got", SHOW::Nothing},
    {"TCPIPIO::RECV", SHOW::Nothing},
    {"TCPIPIO::SEND", SHOW::Nothing},
    {"GetArgValue(", SHOW::Nothing},
    {"OSYS::GetStringFromResource", SHOW::Nothing},
    {"TARNWICK::MakeNewTooltip", SHOW::Nothing},
    {"TARNWICK WinProc", SHOW::Nothing},
    {"TASKBARICON::TASKBARICON   ", SHOW::Nothing},
    {"LISTVIEW::InsertRecord ", SHOW::Nothing},

    {"TCP::WriteCommand ", SHOW::Talk},
    {"TALK::Send ", SHOW::Talk},
    {"TCP::PopGet error: ", SHOW::All},
    {"EMAIL::SendMail ", SHOW::All},
    {"EMAIL::", SHOW::Beginning},
    {"TCPIPIO::", SHOW::All},
    {"BASEIO::", SHOW::All},
    {"PACE::", SHOW::All},
    {"RINGBUFFER::", SHOW::All},
    {"WEBGET::Get read done ", SHOW::All},
    {"WEBGET::Get connect error ", SHOW::All},
    {"WEBGET::Beautify ", SHOW::All},
    {"WEBGET::ReadData ", SHOW::All},

    {"Tarnwick Version ", SHOW::All},
    {"Started ", SHOW::All},
    {"Compiled ", SHOW::All},
    {"Running under", SHOW::All},
    {"Windows ", SHOW::All},
    {"Loading commandline.ini", SHOW::All},
    {"TestArg", SHOW::All},
    {"REGISTRY::Read ", SHOW::All},
    {"STOREDPASSWORDS::", SHOW::All},
    {"KEYRING::", SHOW::All},
    {"DESKTOPNOTICE::", SHOW::All},
    {"RECORDARRAY::", SHOW::All},
    {"STRINGARRAY line ", SHOW::All},
    {"DATAFILES::", SHOW::All},
    {"TRASHSTORE::", SHOW::All},
    {"MAPICLASS::Contructor New", SHOW::Beginning},
    {"MAPICLASS::", SHOW::All},
    {"WM_", SHOW::All},
    {"START PROGRAM: r", SHOW::All},
    {"START PROGRAM", SHOW::Beginning},
    {"*** ASSERTION FAILED", SHOW::All},

    {"PUSHWATCH::", SHOW::All},
    {"FASTCHECK::", SHOW::All},
    {"IMAP::", SHOW::All},
    {"POP3::", SHOW::All},
    {"MAILGET HOTMAIL home inbox", SHOW::Beginning},
    {"MAILGET ", SHOW::All},
    {"TARNWICK::GetMailbox ", SHOW::All},
    {"TARNWICK::DeleteMail ok= ", SHOW::All},
    {"TARNWICK::MoveMail ok= ", SHOW::All},
    {"TARNWICK::ImapDispose UIDVALIDITY ", SHOW::All},
    {"TARNWICK::MapiCallback", SHOW::All},
    {"TARNWICK::HandleNewMail listcount", SHOW::Beginning},
    {"TARNWICK::HandleNewMail email play sound", SHOW::Beginning},
    {"TARNWICK::HandleNewMail post email start program", SHOW::Beginning},
    {"TARNWICK::HandleNewMail ", SHOW::All},
    {"TARNWICK::AfterHandleMail ", SHOW::All},
    {"TARNWICK::UpdateItem the ", SHOW::All},
    {"TARNWICK::Open ", SHOW::All},
    {"TARNWICK::SpamFilter done", SHOW::All},
    {"TARNWICK::SpamFilter '", SHOW::Beginning},
    {"TARNWICK::SetCookie", SHOW::Beginning},
    {"TARNWICK::UrlToHostDoc", SHOW::Beginning},
    {"TARNWICK::GetTypeIndex keyword", SHOW::Beginning},
    {"TARNWICK::GetTypeIndex ", SHOW::All},
    {"TARNWICK::BuildMailHash", SHOW::All},
    {"OSYS::", SHOW::All},
    {"TARNWCIK::SpamFromFormatting alphacount", SHOW::All},
    {"TARNWCIK::SpamFromFormatting returns", SHOW::All},
    // Figures in them are those of mails, codes above all, or of the user's commands.
    {"TARNWCIK::SpamFromFormatting ", SHOW::Beginning},
    {"TARNWCIK::SpamFrom ", SHOW::Beginning},
    {"TARNWICK::StartMailProgram ", SHOW::Beginning},
    {"TARNWICK::WM__STARTMAILPROGRAM ", SHOW::Beginning},
    {"INBOX::DoCommand answer ", SHOW::Beginning},
    {"WINDOW::~WINDOW ", SHOW::Beginning},
    {"TARNWICK::ScrollLockBlinking", SHOW::All},
    {"TARNWICK::TARNWICK starts", SHOW::All},
    {"TARNWICK::~TARNWICK", SHOW::All},
};

// Commands whose words tell nothing of anybody, as far as they are of PROTOCOL_WORDS.
constexpr std::string_view COMMANDS[] = {"CAPA",  "CAPABILITY", "NOOP",   "STLS",     "STARTTLS", "STAT", "UIDL",
                                         "LIST",  "TOP",        "RETR",   "DELE",     "RSET",     "QUIT", "UID",
                                         "FETCH", "STORE",      "SEARCH", "EXPUNGE",  "SELECT",   "MOVE", "EXAMINE",
                                         "CLOSE", "LOGOUT",     "ENABLE", "UNSELECT", "COPY",     "DATA", "IDLE"};
// Of others that much is shown: what they are.
constexpr std::string_view OTHER_COMMANDS[] = {"USER", "PASS", "LOGIN", "AUTH", "AUTHENTICATE", "APOP",  "EHLO",
                                               "HELO", "MAIL", "RCPT",  "ID",   "LSUB",         "XLIST", "STATUS"};
constexpr std::string_view PROTOCOL_WORDS[] = {
    "OK",       "NO",     "BAD",     "BYE",     "PREAUTH",     "FLAGS",     "PERMANENTFLAGS", "EXISTS",
    "RECENT",   "FETCH",  "EXPUNGE", "SEARCH",  "UID",         "RFC822",    "SIZE",           "BODY",
    "PEEK",     "HEADER", "FIELDS",  "TEXT",    "INBOX",       "MODSEQ",    "HIGHESTMODSEQ",  "NOMODSEQ",
    "UIDNEXT",  "UNSEEN", "READ",    "WRITE",   "UIDVALIDITY", "ONLY",      "CHANGEDSINCE",   "SILENT",
    "SEEN",     "DRAFT",  "DELETED", "FLAGGED", "ANSWERED",    "CONDSTORE", "CLOSED",         "ALL",
    "VANISHED", "NIL",    "COPYUID", "STATUS",  "UNAVAILABLE", "BYTES",     "OCTETS",         "MESSAGES",
    "MAILBOX",  "SELECT", "IDLING"};

template <size_t N>
bool IsOneOf(std::string_view word, const std::string_view (&list)[N]) {
    return std::ranges::any_of(list, [word](std::string_view one) { return ASCII::Equal(word, one); });
}

// Made of figures, signs and words of the protocol alone?
bool IsProtocol(std::string_view word) {
    while (!word.empty()) {
        const auto letters = static_cast<size_t>(std::ranges::find_if_not(word, ASCII::IsLetter) - word.begin());
        if (letters > 0 && !IsOneOf(word.substr(0, letters), PROTOCOL_WORDS) && word.substr(0, 6) != "RFC822")
            return false;
        word.remove_prefix(letters);
        while (!word.empty() && !ASCII::IsLetter(word[0])) {
            if (static_cast<unsigned char>(word[0]) >= 0x80 || word[0] == '@')
                return false;
            word.remove_prefix(1);
        }
    }
    return true;
}

// Figures, also after a word of the program's own: "rc=5".
bool IsNumber(std::string_view word) {
    const size_t mark = word.find('=') + 1;
    const std::string_view name = word.substr(0, mark == 0 ? 0 : mark - 1), value = word.substr(mark);
    return std::ranges::all_of(name, ASCII::IsLetterOrDigit) &&
           std::ranges::all_of(ASCII::Trim(value, "-,."), ASCII::IsDigit);
}

// The words that pass; what stands in place of the others is said once in a row.
template <class TEST>
std::string Filtered(std::string_view text, TEST passes) {
    std::string shown;
    bool hidden = false;
    while (!text.empty()) {
        const std::string_view word = ASCII::Take(text, ' ');
        if (word.empty())
            continue;
        const bool good = passes(word);
        if (good || !hidden)
            shown += (shown.empty() ? "" : " ") + std::string(good ? word : LEFT_OUT);
        hidden = !good;
    }
    return shown;
}

std::string ShownCommand(std::string_view command) {
    std::string shown;
    std::string_view verb = ASCII::Take(command, ' ');
    if (verb.starts_with(TAG) && std::ranges::all_of(verb.substr(TAG.size()), ASCII::IsDigit)) {
        shown = std::string(verb) + " ";
        verb = ASCII::Take(command, ' ');
    }
    const std::string_view name = ASCII::TrimRight(verb, ".");
    const bool known = IsOneOf(name, COMMANDS);
    if (!known && !IsOneOf(name, OTHER_COMMANDS))
        return shown + LEFT_OUT;
    shown += verb;
    if (!command.empty())
        shown += " " + (known ? Filtered(command, IsProtocol) : std::string(LEFT_OUT));
    return shown;
}

std::string ShownReply(std::string_view reply, REDACTION& redaction) {
    std::string whole = redaction.Clean(reply);
    std::string_view rest = reply;
    std::string_view first = ASCII::Take(rest, ' ');
    if (first.starts_with("-ERR"))
        return whole;
    const bool tagged = first.starts_with("IMAP") || first == "*";
    std::string_view second = rest.substr(0, rest.find(' '));
    if (tagged && (ASCII::Equal(second, "NO") || ASCII::Equal(second, "BAD") || ASCII::Equal(second, "BYE") ||
                   ASCII::Equal(second, "CAPABILITY")))
        return whole;
    const bool number = first.size() >= 3 && std::ranges::all_of(first.substr(0, 3), ASCII::IsDigit);
    if (number && (first[0] == '4' || first[0] == '5'))
        return whole;
    if (tagged || first == "+OK")
        return std::string(first) + " " + Filtered(rest.substr(0, rest.find_first_of("\"{")), IsProtocol);
    if (number)
        return std::string(first.substr(0, 3)) + " " + LEFT_OUT;
    return LEFT_OUT;
}

std::string ShownTalk(std::string_view text, REDACTION& redaction) {
    constexpr std::string_view BEFORE = "before ";
    std::string shown;
    if (text.starts_with(BEFORE)) {
        shown = BEFORE;
        text.remove_prefix(BEFORE.size());
    }
    const size_t returned = text.find(RETURNED);
    shown += ShownCommand(text.substr(0, returned));
    if (returned != text.npos)
        shown += std::string(RETURNED) + ShownReply(text.substr(returned + RETURNED.size()), redaction);
    return shown;
}

SHOW RuleOf(std::string_view text, std::string_view& beginning) {
    for (const RULE& rule : RULES)
        if (text.starts_with(rule.Beginning)) {
            beginning = rule.Beginning;
            return rule.Show;
        }
    return SHOW::Numbers;
}

bool IsOwnByte(char c) {
    return ASCII::IsLetterOrDigit(c) || c == ':' || c == '~' || c == '_';
}

std::string ShownText(std::string_view text, REDACTION& redaction) {
    std::string_view beginning;
    const SHOW show = RuleOf(text, beginning);
    const std::string_view behind = text.substr(beginning.size());
    if (show == SHOW::Talk)
        return std::string(beginning) + ShownTalk(behind, redaction);
    if (show == SHOW::Beginning)
        return std::string(beginning) + (behind.empty() ? "" : LEFT_OUT);
    // The program's own name for what it does is nobody's, whatever users are called.
    std::string_view rest = text;
    const std::string_view first = ASCII::Take(rest, ' ');
    const bool ours = first.find("::") != first.npos && std::ranges::all_of(first, IsOwnByte);
    const std::string name = ours ? std::string(first) + (rest.empty() ? "" : " ") : "";
    if (show == SHOW::All)
        return name + redaction.Clean(ours ? rest : text);
    return name + redaction.Clean(Filtered(ours ? rest : text, IsNumber), false);
}

// "[0012.34:abc] "
size_t PrefixLength(std::string_view line) {
    const size_t end = line.find("] ");
    const bool prefix =
        line.starts_with('[') && end != line.npos && end < 24 &&
        std::ranges::all_of(
            line.substr(1, end - 1), [](char c) { return ASCII::HexValue(c) >= 0 || c == '.' || c == ':'; });
    return prefix ? end + 2 : 0;
}

}  // namespace

std::string ShownTrace(std::string_view log, REDACTION& redaction, size_t most) {
    std::deque<std::string_view> lines;
    while (!log.empty()) {
        const std::string_view line = ASCII::TrimRight(ASCII::Take(log, '\n'), "\r");
        const size_t prefix = PrefixLength(line);
        std::string_view beginning;
        // What an entry has in further lines is text of others.
        if (prefix == 0 || line.size() > LINE_BYTES || RuleOf(line.substr(prefix), beginning) == SHOW::Nothing)
            continue;
        lines.push_back(line);
        if (lines.size() > most)
            lines.pop_front();
    }
    std::string all;
    for (const std::string_view line : lines) {
        const size_t prefix = PrefixLength(line);
        all += std::string(line.substr(0, prefix)) + ShownText(line.substr(prefix), redaction) + "\n";
    }
    return all;
}

std::string ShownFault(std::string_view log, REDACTION& redaction) {
    const size_t last = log.rfind("\n" + std::string(ENTRY_HEAD));
    std::string_view entry = last == log.npos ? log : log.substr(last + 1);
    if (!entry.starts_with(ENTRY_HEAD))
        return "";
    // How lines begin that the program makes of its own; further ones belong to what it was working on.
    constexpr std::string_view OWN[] = {
        ENTRY_HEAD,       "    Condition:", "    Bedingung:", "    Location :", "    Datei:",
        "    Last Err.:", "    Code :",     "    Fault:",     "    Exception:", "    Stack:"};
    constexpr std::string_view INFO[] = {"    Add. Info:", "    Info :"};
    constexpr std::string_view ROW = "        ";
    std::string shown;
    while (!entry.empty()) {
        const std::string_view line = ASCII::TrimRight(ASCII::Take(entry, '\n'), "\r");
        const auto begins = [line](std::string_view own) { return line.starts_with(own); };
        const size_t blank = line.rfind(' ');
        const bool place = begins(ROW) && blank == ROW.size() - 1 && line.find("0x") != line.npos;
        if (place || std::ranges::any_of(OWN, begins))
            shown += redaction.Clean(line, false) + "\n";
        else if (std::ranges::any_of(INFO, begins))
            shown += std::string(line.substr(0, line.find(':') + 1)) + " " + LEFT_OUT + "\n";
    }
    return shown;
}

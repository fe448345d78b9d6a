#include "app/core/redaction.h"

#include <algorithm>
#include <set>

#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/hexdigits.h"
#include "corelib/base/strings.h"

namespace {

constexpr const char* NAMES[] = {"password",  "login", "address", "account", "user",
                                 "directory", "name",  "server",  "code"};

constexpr size_t START_BYTES = 4;   // by which longer secrets are looked up
constexpr size_t PART_BYTES = 5;    // from here on a secret is also found in the middle of a word
constexpr size_t CODE_LENGTH = 16;  // a run of that many letters and digits is no word

// Where many people have their mail: their names tell nobody's.
constexpr std::string_view PROVIDERS[] = {
    "gmail.com", "googlemail.com", "google.com",  "outlook.com", "office365.com", "hotmail.com",  "live.com",
    "yahoo.com", "yahoo.de",       "me.com",      "icloud.com",  "aol.com",       "gmx.net",      "gmx.com",
    "gmx.de",    "web.de",         "t-online.de", "ionos.de",    "ionos.com",     "ionos.co.uk",  "1und1.de",
    "posteo.de", "mailbox.org",    "freenet.de",  "strato.de",   "fastmail.com",  "kasserver.com"};

// What follows the last point of a file's name, or of what IMAP calls the parts of a mail.
constexpr std::string_view NO_DOMAINS[] = {"ini", "dat", "log", "txt",  "cpp",  "h",    "dll",    "so",   "exe", "tmp",
                                           "wav", "key", "bad", "lock", "html", "size", "header", "peek", "text"};

// How an "@" is written.
constexpr std::string_view PLAIN_AT = "@";
constexpr std::string_view AT_FORMS[] = {PLAIN_AT, "%40", "=40", "&#64;", "\\x40", "\xef\xbc\xa0"};

// What a password stands after.
constexpr std::string_view PASSWORD_KEYS[] = {"password=", "passwd=", "pass=", "pwd=", "token=", "secret="};
constexpr std::string_view LOGIN_COMMANDS[] = {"PASS", "USER", "LOGIN", "APOP", "AUTH", "AUTHENTICATE"};
// After one of those it is a server's sentence about the command.
constexpr std::string_view SENTENCE_WORDS[] = {"command", "failed", "failure", "is",    "not",  "disabled",
                                               "denied",  "first",  "or",      "error", "with", "and"};

bool IsWordByte(char c) {
    return ASCII::IsLetterOrDigit(c) || static_cast<unsigned char>(c) >= 0x80;
}

bool IsLocalByte(char c) {
    return IsWordByte(c) || std::string_view("!#$%&'*+-/=?^_`{|}~.").find(c) != std::string_view::npos;
}

bool IsDomainByte(char c) {
    return IsWordByte(c) || c == '.' || c == '-' || c == '_' || c == '%';
}

bool IsCodeByte(char c) {
    return ASCII::IsLetterOrDigit(c) || std::string_view("+/=_-").find(c) != std::string_view::npos;
}

template <class LIST>
bool IsOneOf(std::string_view text, const LIST& list) {
    return std::ranges::any_of(list, [text](std::string_view one) { return ASCII::Equal(text, one); });
}

bool IsThisMachine(std::string_view host) {
    return ASCII::Equal(host, "localhost") || host.starts_with("127.") || host == "::1";
}

bool IsOfProvider(std::string_view host) {
    return std::ranges::any_of(PROVIDERS, [host](std::string_view domain) {
        return ASCII::Equal(host, domain) ||
               (host.size() > domain.size() && host[host.size() - domain.size() - 1] == '.' &&
                ASCII::Equal(host.substr(host.size() - domain.size()), domain));
    });
}

// Four numbers, as a machine's address has them.
bool IsNumericAddress(std::string_view host) {
    int parts = 0;
    while (!host.empty()) {
        int number = 0;
        if (!ASCII::ReadNumber(ASCII::Take(host, '.'), number) || number > 255)
            return false;
        ++parts;
    }
    return parts == 4;
}

bool IsHostName(std::string_view host) {
    const std::string_view last = host.substr(host.rfind('.') + 1);
    const bool letters = last.starts_with("xn--") || std::ranges::none_of(last, ASCII::IsDigit);
    return last.size() >= 2 && last.size() < host.size() && letters && !IsOneOf(last, NO_DOMAINS);
}

std::string PercentEncoded(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        if (ASCII::IsLetterOrDigit(c))
            encoded += c;
        else
            encoded += "%" + HEX::ToHex({&c, 1});
    }
    return encoded;
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text)
        (c == '"' || c == '\\' ? escaped += '\\' : escaped) += c;
    return escaped;
}

// What of a text is the same in every Base64 text that holds it, with `before` bytes in front of it modulo 3.
std::string InBase64(std::string_view text, size_t before) {
    const std::string whole = std::string(before, 'x') + std::string(text);
    const STRING base64 = STRING(std::string_view(whole)).ToBase64();
    const size_t begin = before == 0 ? 0 : before + 1, end = whole.size() * 8 / 6;
    return begin < end ? std::string(base64.View().substr(begin, end - begin)) : "";
}

// The same address in every spelling.
std::string AddressIdentity(std::string_view address, size_t at, size_t length) {
    std::string_view local = address.substr(0, at), domain = address.substr(at + length);
    local.remove_prefix(std::min(local.find_last_of("=?&/:|\"") + 1, local.size()));
    return ASCII::Lower(local) + "@" + ASCII::Lower(ASCII::TrimRight(domain, "."));
}

}  // namespace

void REDACTION::Add(std::string_view form, const SECRET& secret) {
    if (form.empty())
        return;
    Secrets.push_back({ASCII::Lower(form), secret.Kind, secret.Identity});
    const std::string& text = Secrets.back().Text;
    if (text.size() < START_BYTES)
        Short.push_back(Secrets.size() - 1);
    else
        ByStart[text.substr(0, START_BYTES)].push_back(Secrets.size() - 1);
}

void REDACTION::Hide(std::string_view text, KIND kind) {
    text = ASCII::Trim(text, " \t\r\n");
    if (text.empty())
        return;
    const size_t at = text.find('@');
    const bool address = kind != PASSWORD && at != text.npos && at > 0;
    const SECRET secret{"", address ? ADDRESS : kind,
                        kind == PASSWORD ? ""
                        : address        ? AddressIdentity(text, at, 1)
                                         : ASCII::Lower(text)};
    const STRING narrow = CODEPAGE::FromUtf8(text);
    std::set<std::string> forms = {std::string(text), PercentEncoded(text), Escaped(text), std::string(narrow.View())};
    // Logins travel in it; lists of friends, which may be long, do not.
    for (size_t before = 0; before < 3 && kind != NAME && text.size() >= START_BYTES; ++before)
        forms.insert(InBase64(text, before));
    for (const std::string& form : forms)
        Add(form, secret);
    if (!secret.Identity.empty())
        Numbers[secret.Kind].try_emplace(secret.Identity, static_cast<int>(Numbers[secret.Kind].size()) + 1);
    // Servers call users by what stands in front of the "@".
    if (address && kind == USER)
        Hide(text.substr(0, at), USER);
}

void REDACTION::HideServer(std::string_view server) {
    const size_t colon = server.rfind(':');
    const bool port = colon != server.npos && server.find(':') == colon;
    const std::string_view host = ASCII::Trim(server.substr(0, port ? colon : server.size()), " []");
    if (!IsOfProvider(host) && !IsThisMachine(host))
        Hide(host, SERVER);
}

void REDACTION::FindSecrets(std::string_view line, std::vector<SPAN>& spans) const {
    const std::string lower = ASCII::Lower(line);
    const auto check = [&](size_t place, size_t index) {
        const SECRET& secret = Secrets[index];
        const size_t end = place + secret.Text.size();
        if (lower.compare(place, secret.Text.size(), secret.Text) != 0)
            return;
        const bool inWord =
            (place > 0 && IsWordByte(lower[place - 1])) || (end < lower.size() && IsWordByte(lower[end]));
        if (secret.Text.size() >= PART_BYTES || !inWord)
            spans.push_back({place, end, secret.Kind, secret.Identity});
    };
    for (size_t place = 0; place < lower.size(); ++place) {
        for (const size_t index : Short)
            check(place, index);
        if (const auto found = ByStart.find(lower.substr(place, START_BYTES)); found != ByStart.end())
            for (const size_t index : found->second)
                check(place, index);
    }
}

namespace {

struct FOUND {
    size_t Begin, End;
    std::string Identity;
};

// Calls for each run of such bytes.
template <class TEST, class CALL>
void ForRuns(std::string_view line, TEST isPart, CALL call) {
    for (size_t begin = 0; begin < line.size();) {
        size_t end = begin;
        while (end < line.size() && isPart(line[end]))
            ++end;
        if (end > begin)
            call(begin, end);
        begin = std::max(end, begin + 1);
    }
}

void FindAddresses(std::string_view line, std::vector<FOUND>& found) {
    for (const std::string_view form : AT_FORMS) {
        size_t next = 0, floor = 0;
        for (size_t at = 0; (at = line.find(form, next)) != line.npos;) {
            size_t begin = at, end = at + form.size();
            next = end;
            if (begin > 0 && line[begin - 1] == '"' && begin > 1) {
                const size_t quote = line.rfind('"', begin - 2);
                begin = quote == line.npos ? begin : quote;
            }
            while (begin > floor && IsLocalByte(line[begin - 1]))
                --begin;
            // A name and a password may stand in front of a host in the same way.
            if (begin > 1 && line[begin - 1] == ':' && IsLocalByte(line[begin - 2]))
                for (--begin; begin > 0 && IsLocalByte(line[begin - 1]);)
                    --begin;
            if (begin == at)
                continue;
            if (end < line.size() && line[end] == '[')
                end = std::min(line.find(']', end), line.size() - 1) + 1;
            const size_t domain = end;
            while (end < line.size() && IsDomainByte(line[end]))
                ++end;
            // What else such forms of it may be is no address, and nothing further on in the same run: "rc=4096".
            if (form != PLAIN_AT) {
                next = end;
                floor = domain;
                if (!IsHostName(ASCII::TrimRight(line.substr(domain, end - domain), ".")))
                    continue;
            }
            found.push_back({begin, end, AddressIdentity(line.substr(begin, end - begin), at - begin, form.size())});
        }
    }
}

// Who logs in by a web address stands in it.
void FindLogins(std::string_view line, std::vector<FOUND>& found) {
    size_t end = 0;
    for (size_t at = 0; (at = line.find("://", end)) != line.npos;) {
        const size_t begin = at + 3;
        end = std::min(line.find_first_of(" \t\"<>", begin), line.size());
        const size_t length = line.substr(begin, end - begin).rfind('@');
        if (length != line.npos && length > 0)
            found.push_back({begin, begin + length, ""});
    }
    for (const std::string_view key : PASSWORD_KEYS)
        for (size_t at = ASCII::Find(line, key); at != line.npos; at = ASCII::Find(line, key, end)) {
            const size_t begin = at + key.size();
            end = std::min(line.find_first_of(" &;\"<>", begin), line.size());
            found.push_back({begin, end, ""});
        }
    for (const std::string_view command : LOGIN_COMMANDS)
        for (size_t at = line.find(command); at != line.npos; at = line.find(command, at + 1)) {
            const size_t begin = at + command.size() + 1;
            const bool word = (at == 0 || !IsWordByte(line[at - 1])) && begin < line.size() && line[begin - 1] == ' ';
            std::string_view next = line.substr(std::min(begin, line.size()));
            if (word && !IsOneOf(ASCII::TrimRight(ASCII::Take(next, ' '), ".,:;"), SENTENCE_WORDS))
                found.push_back({begin, line.size(), ""});
        }
}

void FindServers(std::string_view line, std::vector<FOUND>& found) {
    const auto isName = [](char c) { return IsWordByte(c) || c == '.' || c == '-'; };
    ForRuns(line, isName, [&](size_t begin, size_t end) {
        while (end > begin && (line[end - 1] == '.' || line[end - 1] == '-'))
            --end;
        const std::string_view host = line.substr(begin, end - begin);
        if ((IsNumericAddress(host) || IsHostName(host)) && !IsThisMachine(host) && !IsOfProvider(host))
            found.push_back({begin, end, ASCII::Lower(host)});
    });
    const auto isNumber = [](char c) { return ASCII::HexValue(c) >= 0 || c == ':' || c == '.'; };
    ForRuns(line, isNumber, [&](size_t begin, size_t end) {
        const std::string_view host = line.substr(begin, end - begin);
        const bool alone =
            (begin == 0 || !IsWordByte(line[begin - 1])) && (end == line.size() || !IsWordByte(line[end]));
        const bool digits = std::ranges::any_of(host, [](char c) { return ASCII::HexValue(c) >= 0; });
        if (alone && digits && (std::ranges::count(host, ':') > 2 || host.find("::") != host.npos) &&
            !IsThisMachine(host))
            found.push_back({begin, end, ASCII::Lower(host)});
    });
}

// The folders of users, whose names are mostly those of people.
void FindHomes(std::string_view line, std::vector<FOUND>& found) {
    for (const std::string_view folder : {"users", "home", "documents and settings"})
        for (size_t at = ASCII::Find(line, folder); at != line.npos; at = ASCII::Find(line, folder, at + 1)) {
            const size_t begin = at + folder.size() + 1;
            const auto isSlash = [&](size_t i) { return i < line.size() && (line[i] == '\\' || line[i] == '/'); };
            if (at == 0 || !isSlash(at - 1) || !isSlash(begin - 1))
                continue;
            size_t end = line.find_first_of("\\/\"':;,<>|", begin);
            if (!isSlash(end))
                end = std::min(std::min(line.find(' ', begin), end), line.size());
            found.push_back({begin, end, ""});
        }
}

void FindCodes(std::string_view line, std::vector<FOUND>& found) {
    ForRuns(line, IsCodeByte, [&](size_t begin, size_t end) {
        const std::string_view run = line.substr(begin, end - begin);
        const bool digit = std::ranges::any_of(run, ASCII::IsDigit), lower = std::ranges::any_of(run, ASCII::IsLower);
        const bool hex = std::ranges::all_of(run, [](char c) { return ASCII::HexValue(c) >= 0; });
        if (run.size() >= CODE_LENGTH && digit && (lower || hex))
            found.push_back({begin, end, std::string(run)});
    });
}

}  // namespace

std::string REDACTION::Shown(const SPAN& span) {
    std::string text = std::string("<") + NAMES[span.Kind];
    if (!span.Identity.empty()) {
        std::map<std::string, int>& numbers = Numbers[span.Kind];
        text += " " +
                std::to_string(numbers.try_emplace(span.Identity, static_cast<int>(numbers.size()) + 1).first->second);
    }
    return text + ">";
}

std::string REDACTION::Clean(std::string_view line, bool codes) {
    std::vector<SPAN> spans;
    const auto add = [&](auto find, KIND kind) {
        std::vector<FOUND> found;
        find(line, found);
        for (FOUND& one : found)
            if (one.End > one.Begin)
                spans.push_back({one.Begin, one.End, kind, std::move(one.Identity)});
    };
    FindSecrets(line, spans);
    add(FindAddresses, ADDRESS);
    add(FindLogins, LOGIN);
    add(FindServers, SERVER);
    add(FindHomes, USER);
    if (codes)
        add(FindCodes, CODE);
    std::ranges::sort(spans, {}, &SPAN::Begin);
    std::string clean;
    size_t at = 0;
    for (size_t i = 0; i < spans.size();) {
        // What overlaps goes as one, named by what of it matters most.
        SPAN all = std::move(spans[i]);
        size_t length = all.End - all.Begin;
        for (++i; i < spans.size() && spans[i].Begin < all.End; ++i) {
            SPAN& next = spans[i];
            const size_t nextLength = next.End - next.Begin;
            if (next.Kind < all.Kind || (next.Kind == all.Kind && nextLength > length)) {
                all.Kind = next.Kind;
                all.Identity = std::move(next.Identity);
                length = nextLength;
            }
            all.End = std::max(all.End, next.End);
        }
        clean += line.substr(at, all.Begin - at);
        clean += Shown(all);
        at = all.End;
    }
    clean += line.substr(at);
    for (char& c : clean)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f')
            c = ' ';
    return clean;
}

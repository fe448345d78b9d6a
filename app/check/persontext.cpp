#include "app/check/persontext.h"

#include <algorithm>
#include <initializer_list>
#include <string>

#include "app/mailbox/account.h"
#include "app/mailbox/protection.h"
#include "corelib/base/ascii.h"
#include "corelib/base/utf8.h"
#include "corelib/net/tcpio.h"

namespace {

// Texts that our own side makes where a server says nothing or nothing useful.
constexpr struct {
    std::string_view Reason;
    int Text;
} OWN_REASONS[] = {
    {"No response", TEXT_UNREACHABLE},
    {"No TCP/IP socket or service", TEXT_UNREACHABLE},
    {"Host not found", TEXT_NO_HOST},
    {"Remote disconnected", TEXT_HUNG_UP},
    {"Recv failed", TEXT_HUNG_UP},
    {"Timeout", TEXT_NO_ANSWER},
    {"Read Timeout", TEXT_NO_ANSWER},
    {"Too slow", TEXT_TOO_SLOW},
    {"Stopped", TEXT_STOPPED},
    {"Canceled", TEXT_STOPPED},
    {"Mail table not found", TEXT_BAD_PAGES},
    {"No meta http-equiv found", TEXT_BAD_PAGES},
    {"Not supported!", TEXT_NO_MOVE},
    {"Unknown Error", TEXT_UNKNOWN_FAULT},
    {"TLS only", TEXT_ENCRYPTED_PORT},
    {"No STARTTLS", TEXT_NO_STARTTLS},
    {"No login method", TEXT_NO_LOGIN_WAY},
    {"Connection cut off", TEXT_HUNG_UP},
    {"No password", TEXT_LOCKED_PASSWORD},
    {"No proxy password", TEXT_LOCKED_PROXY},
};

// Does the text hold one of those words, in any case?
bool Holds(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(), [text](std::string_view word) { return ASCII::Holds(text, word); });
}

std::string_view Trimmed(std::string_view text) {
    return ASCII::Trim(text, " \t\r");
}

// Takes the first word off the text.
std::string_view TakeWord(std::string_view& text) {
    const std::string_view word = text.substr(0, text.find(' '));
    text = Trimmed(text.substr(word.size()));
    return word;
}

// What stands after "Error: ", also of a check that a run in another language has recorded.
std::string_view Reason(std::string_view recorded, const STRING& prefix) {
    const std::string_view own = Trimmed(prefix.View());
    if (recorded.starts_with(own))
        return Trimmed(recorded.substr(own.size()));
    const std::string_view word = recorded.substr(0, recorded.find(':'));
    const bool other = word.size() < recorded.size() && std::all_of(word.begin(), word.end(), ASCII::IsLetter);
    return Trimmed(other ? recorded.substr(word.size() + 1) : recorded);
}

// A server's words without those of its protocol.
struct REPLY {
    explicit REPLY(std::string_view text);

    std::string_view Text;
    bool IsFirst = false;   // to the first command of an IMAP conversation, which is the login
    std::string_view Code;  // in brackets, the first one
};

REPLY::REPLY(std::string_view text) : Text(text) {
    std::string_view rest = text;
    const std::string_view first = TakeWord(rest);
    const auto isRefusal = [](std::string_view word) { return word == "NO" || word == "BAD" || word == "BYE"; };
    if (ASCII::Equal(first, "-ERR") || isRefusal(first)) {
        Text = rest;
    } else if (first == "*" || first.starts_with("IMAP")) {
        std::string_view behind = rest;
        if (isRefusal(TakeWord(behind))) {
            IsFirst = first == "IMAPCMD_0";
            Text = behind;
        }
    }
    while (Text.starts_with('[') && Text.size() > 1 && ASCII::IsUpper(Text[1]) && Text.find(']') != Text.npos) {
        const std::string_view code = Text.substr(1, Text.find(']') - 1);
        Code = Code.empty() ? code.substr(0, code.find(' ')) : Code;
        Text = Trimmed(Text.substr(code.size() + 2));
    }
}

// The server of the item as its user wrote it, and its port.
struct PLACE {
    explicit PLACE(const STRINGARRAY& item) : Security(MAILACCOUNT::Security(item).Kind) {
        Server = MAILACCOUNT::Address(item).Host();
        const std::string_view text = Server.View();
        const size_t mark = text.find_last_of(": ");
        if (mark != text.npos && ASCII::IsNumber(text.substr(mark + 1)))
            Port = text.substr(mark + 1);
        else
            Port = std::to_string(Security == SECURITY_TLS ? MAILACCOUNT::Kind(item).TlsPort
                                                           : MAILACCOUNT::Kind(item).Port);
    }
    // Such a port waits for a handshake: whoever waits for a greeting there gets silence or a hang-up.
    bool IsEncrypted() const { return Security != SECURITY_TLS && (Port == "995" || Port == "993" || Port == "465"); }

    const int Security;
    STRING Server;
    std::string Port;
};

std::string Plain(std::string_view text) {
    std::string plain(text);
    std::replace(plain.begin(), plain.end(), '\t', ' ');
    std::erase_if(plain, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
    return std::string(Trimmed(plain));
}

// A sentence that another one can follow.
std::string Ended(const std::string& text) {
    return std::string_view(".!?").find(text.back()) != std::string_view::npos ? text : text + ".";
}

// Logins that are refused for another reason than their words, by a code or by what providers say.
constexpr struct {
    int Text;
    std::string_view Codes, Words;  // split by "|"
} REFUSALS[] = {
    {TEXT_APP_PASSWORD, "", "application-specific password|app password|app-specific|application password"},
    {TEXT_WEB_LOGIN, "WEBALERT", "web login|web browser"},
    {TEXT_ENCRYPTED_LOGIN, "PRIVACYREQUIRED", "tls|ssl|encrypt|plaintext|plain text"},
    {TEXT_ACCOUNT_IN_USE, "IN-USE|INUSE|LIMIT", "too many|in use"},
    {TEXT_SERVER_TROUBLE, "UNAVAILABLE|SYS/TEMP|LOGIN-DELAY", ""},
    {TEXT_ACCOUNT_LOCKED, "CONTACTADMIN|EXPIRED|SYS/PERM", "locked|disabled|suspended"},
};

// Is one of the texts, split by "|", true of `matches`?
template <class MATCHES>
bool AnyOf(std::string_view texts, MATCHES matches) {
    while (!texts.empty())
        if (matches(ASCII::Take(texts, '|')))
            return true;
    return false;
}

constexpr size_t MOST_OF_A_NAME = 80;  // bytes

// The certificate's faults, as their report has them, in the user's language.
STRING FaultTexts(std::string_view faults, const TEXTS& texts) {
    constexpr std::string_view NAMES[] = {"expired",     "not yet valid", "other name", "unknown issuer",
                                          "self-signed", "revoked",       "weak",       "not valid"};
    STRING all("");
    while (!faults.empty()) {
        // A name in it may hold commas.
        const std::string_view fault = Trimmed(ASCII::Take(faults, ','));
        const auto name = std::ranges::find_if(NAMES, [&](std::string_view each) { return fault.starts_with(each); });
        all += all.Length() > 0 ? ", " : "";
        if (name == std::end(NAMES)) {
            all.AppendBytes(fault);
            continue;
        }
        all += texts.Part(TEXT_CERTIFICATE_FAULTS, static_cast<int>(name - std::begin(NAMES)));
        if (const std::string_view whose = Trimmed(fault.substr(name->size())); !whose.empty())
            all += STRING(" (\"") || STRING(UTF8::Cut(whose, MOST_OF_A_NAME)) || "\")";
    }
    return all;
}

// As people compare them, and as a window can break them into lines.
STRING InGroups(std::string_view digits) {
    constexpr size_t GROUP = 8;
    STRING groups("");
    for (; !digits.empty(); digits.remove_prefix(std::min(GROUP, digits.size())))
        groups += STRING(groups.Length() > 0 ? " " : "") || STRING(digits.substr(0, GROUP));
    return groups;
}

class EXPLANATION {
 public:
    EXPLANATION(const STRINGARRAY& item, const TEXTS& texts)
        : Kind(MAILACCOUNT::Kind(item)),
          Place(item),
          Refused(Place.Security != SECURITY_NONE && item.Exists(REFUSED_CERTIFICATE) ? item.Get(REFUSED_CERTIFICATE)
                                                                                      : STRING("")),
          Texts(texts) {}

    std::string Of(std::string_view reason) const {
        if (reason.empty())
            return Own(TEXT_NO_ANSWER);
        const std::string plain = Plain(reason);
        std::string_view rest = plain, number = plain;
        if (ASCII::Equal(TakeWord(rest), "TCPIO") || plain.starts_with("WEBGET "))
            number = rest;
        rest = number;
        if (ASCII::IsNumber(TakeWord(rest)) && !rest.empty()) {
            // Numbers of our own side stand in front of its reasons, and a web server's in front of its own words.
            if (const int text = OwnReason(rest))
                return Own(text);
            if (const std::string why = OfTls(rest); !why.empty())
                return why;
            if (Kind.Domain)
                return WebStatus(number);
            if (number.starts_with("999 "))
                return Text(TEXT_NOT_UNDERSTOOD);
        } else if (const int text = OwnReason(number)) {
            return Own(text);
        }
        if (const std::string why = OfTls(number); !why.empty())
            return why;
        const bool foreign = std::ranges::any_of(AllKinds(), [&](const MAILBOXKIND& other) {
            return other.Type != Kind.Type && other.Greeting && plain.starts_with(other.Greeting);
        });
        if (plain.starts_with("IMAP99 ") || plain.empty() || foreign)
            return Text(TEXT_NOT_UNDERSTOOD);
        return Kind.Domain ? WebStatus(plain) : Refusal(REPLY(plain));
    }

 private:
    static int OwnReason(std::string_view reason) {
        for (const auto& own : OWN_REASONS)
            if (ASCII::Equal(own.Reason, reason))
                return own.Text;
        return 0;
    }
    std::string Own(int text) const {
        const bool silent = text == TEXT_NO_ANSWER || text == TEXT_HUNG_UP;
        if (text == TEXT_NO_LOGIN_WAY && Place.Security == SECURITY_NONE)
            text = TEXT_ENCRYPTED_LOGIN;
        return Text(silent && Place.IsEncrypted() ? TEXT_ENCRYPTED_PORT : text);
    }
    // Why a line is not protected as it should be; empty if that is not what has failed.
    std::string OfTls(std::string_view reason) const {
        // Of a certificate that was there, and not of one that a server tells of.
        if (Refused.Length() > 0 && CertificateDigits(reason) == Refused) {
            ASCII::Take(reason, ':');
            STRING text = Texts.Get(TEXT_UNTRUSTED);
            // First what is sure: the rest may hold what a stranger has put into a name.
            text.Replace("$1", InGroups(Refused.View()).Text());
            text.Replace("$2", FaultTexts(reason.substr(0, reason.rfind("; SHA-256 ")), Texts).Text());
            return std::string(text.View());
        }
        constexpr std::string_view FAILED = "TLS failed";
        if (!reason.starts_with(FAILED))
            return {};
        if (Kind.HasServer() && Place.Security == SECURITY_TLS && reason.ends_with(TLS_IN_CLEAR))
            return Text(TEXT_PLAIN_PORT, Place.Port);
        return Text(TEXT_TLS_FAILED, std::string(ASCII::TrimLeft(reason.substr(FAILED.size()), ": ")));
    }
    std::string WebStatus(std::string_view status) const {
        if (status.find("401 ") != status.npos || status.find("403 ") != status.npos)
            return Text(TEXT_LOGIN_REFUSED) + " " + Text(TEXT_LOGIN_ADVICE);
        return Text(TEXT_WEB_STATUS, std::string(status));
    }
    std::string Refusal(const REPLY& reply) const {
        const std::string words(reply.Text);
        const auto why = std::ranges::find_if(REFUSALS, [&](const auto& refusal) {
            return AnyOf(refusal.Codes, [&](std::string_view code) { return ASCII::Equal(code, reply.Code); });
        });
        const bool byCode = reply.Code.starts_with("AUTH") || why != std::end(REFUSALS);
        const bool otherCode = !reply.Code.empty() && !byCode && reply.Code != "ALERT";
        const bool login =
            Kind.HasServer() &&
            (byCode ||
             (!otherCode && (reply.IsFirst || Holds(words, {"login", "logon", "log in", "auth", "passw", "kennwort",
                                                            "credential", "user name", "username"}))));
        if (!login)
            return words.empty() ? Text(TEXT_REFUSED) : words;
        const auto told = std::ranges::find_if(REFUSALS, [&](const auto& refusal) {
            return AnyOf(refusal.Words, [&](std::string_view each) { return ASCII::Holds(words, each); });
        });
        const int advice = why != std::end(REFUSALS)    ? why->Text
                           : told != std::end(REFUSALS) ? told->Text
                                                        : TEXT_LOGIN_ADVICE;
        return Ended(words.empty() ? Text(TEXT_LOGIN_REFUSED) : words) + " " + Text(advice);
    }
    std::string Text(int id) const {
        if (id == TEXT_ENCRYPTED_PORT)
            return Text(id, Place.Port);
        const std::string_view server = Place.Server.View();
        return Text(id, Plain(id == TEXT_NO_HOST ? server.substr(0, server.find_first_of(": ")) : server));
    }
    std::string Text(int id, const std::string& value) const {
        STRING text = Texts.Get(id);
        text.Replace("$1", value.c_str());
        return std::string(text.View());
    }

    const MAILBOXKIND& Kind;
    const PLACE Place;
    const STRING Refused;
    const TEXTS& Texts;
};

}  // namespace

STRING PersonText(const STRING& value, const STRINGARRAY& item, const TEXTS& texts) {
    const STRING line = value.Line(0, WORD_NEVERNULL);
    if (!MAILACCOUNT::Counts(item).Failed || line.Length() == 0)
        return line.Word(0, "|", WORD_NEVERNULL);
    const STRING prefix = texts.Get(TEXT_CHECK_FAILED);
    return prefix || EXPLANATION(item, texts).Of(Reason(line.View(), prefix)).c_str();
}

#include "app/console/addaccount.h"

#include <algorithm>
#include <functional>

#include "app/check/trylogin.h"
#include "app/common/displaytext.h"
#include "app/console/accountlist.h"
#include "app/console/consolefrontend.h"
#include "app/console/consoletexts.h"
#include "app/console/session.h"
#include "app/console/switches.h"
#include "app/console/terminal.h"
#include "app/core/tarnwick.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/ascii.h"
#include "corelib/base/utf8.h"
#include "corelib/base/wipe.h"
#include "corelib/net/mxlookup.h"

namespace {

constexpr int PORT_MAX = 65535;
constexpr const char* INBOX = "INBOX";

// Turns %41 into its byte; false for a "%" without two digits, a control byte and a "|", which splits the stored text.
// A bare ":" is refused too: after it people write a password, which would end up in the account's name.
bool PercentDecode(std::string_view text, STRING& result) {
    result = "";
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == ':')
            return false;
        if (c == '%') {
            const int byte = ASCII::HexByte(text.substr(i + 1));
            if (byte < 0)
                return false;
            c = static_cast<char>(byte);
            i += 2;
        }
        if (static_cast<unsigned char>(c) < 32 || c == 127 || c == '|')
            return false;
        result.AppendBytes(&c, 1);
    }
    return result.Length() > 0;
}

ADDRESSFAULT ServerFault(std::string_view server) {
    const size_t colon = server.find(':');
    if (!IsHostName(server.substr(0, colon)))
        return ADDRESSFAULT::Form;
    if (colon == server.npos)
        return ADDRESSFAULT::None;
    const std::string_view port = server.substr(colon + 1);
    int number = 0;
    const bool good = port.size() <= 5 && ASCII::ReadNumber(port, number) && number >= 1 && number <= PORT_MAX;
    return good ? ADDRESSFAULT::None : ADDRESSFAULT::Port;
}

int FaultText(ADDRESSFAULT fault) {
    switch (fault) {
        case ADDRESSFAULT::Scheme:
            return CTEXT_BAD_SCHEME;
        case ADDRESSFAULT::Port:
            return CTEXT_BAD_PORT;
        case ADDRESSFAULT::Password:
            return CTEXT_PASSWORD_IN_ADDRESS;
        default:
            return CTEXT_BAD_ADDRESS;
    }
}

// Finds the server of a plain address, and tells what was found. False, with an error, if the domain names none.
bool FindServer(TARNWICK& application, CONSOLEFRONTEND& frontEnd, ACCOUNTWISH& wish) {
    const auto text = [&](int id, const STRING& value) {
        return ConsoleText(application.Texts(), id, DISPLAYTEXT::Safe(value.View()));
    };
    const STRING user = wish.Address.User;
    const SERVERPROPOSAL proposal =
        ProposeServers(MailDomain(user.View()), [&application] { return application.Cycle().IsStopRequested(); });
    if (TakeProposal(proposal, wish)) {
        frontEnd.Print(
            text(CTEXT_SERVER_NAMED, MAILACCOUNT::Scheme(wish.Address.Type, wish.Security) || wish.Address.Server));
        return true;
    }
    std::string guesses;
    for (const int type : {ITEMTYPE_IMAP, ITEMTYPE_POP3})
        if (const OFFEREDSERVICE& service = proposal.Of(type); service.Origin == OFFEREDSERVICE::USUAL)
            guesses += "\n    " + WithUsualForms("/ADD:") +
                       DISPLAYTEXT::Safe(
                           (MAILACCOUNT::Scheme(type, service.Security()) || user || "@" || service.Server).View());
    frontEnd.PrintError(text(guesses.empty()   ? CTEXT_SERVER_NONE
                             : proposal.Silent ? CTEXT_SERVER_SILENT
                                               : CTEXT_SERVER_UNNAMED,
                             user) +
                        guesses);
    return false;
}

STRING AskPassword(const TEXTS& texts, const std::string& account) {
    if (TERMINAL::InputIsTerminal())
        TERMINAL::WriteError(ConsoleText(texts, CTEXT_PASSWORD, account));
    std::string line;
    TERMINAL::ReadLine(line, true);
    STRING password = Secret(STRING(line));
    Wipe(line);
    return password;
}

bool ReadsFolder(const STRINGARRAY& item, const STRING& folder) {
    const STRING own = item.GetNumber("DoAltFolder") ? item.Get("AltFolder") : STRING("");
    return folder.Length() == 0 || folder == (own.Length() > 0 ? own : STRING(INBOX));
}

int FindAccount(const TARNWICK& application, const ACCOUNTWISH& wish) {
    for (int i = 0; i < application.Items.Count(); ++i) {
        const STRINGARRAY& item = application.Items[i];
        if (MAILACCOUNT::Address(item) == wish.Address && ReadsFolder(item, wish.Folder))
            return i;
    }
    return -1;
}

// A name that no account has: one user may have mailboxes on several servers.
STRING NewName(const TARNWICK& application, const MAILADDRESS& address, const STRING& folder) {
    const bool isWhole = address.User.Pos('@') != -1;
    const STRING name = (isWhole ? address.User : address.User || "@" || address.Host()) ||
                        (folder.Length() > 0 ? STRING(" ") || folder : STRING(""));
    const STRING kind = application.Texts().Part(TEXT_KINDS, KindOf(address.Type).Name);
    const STRING longer = name || " (" || (isWhole ? kind || " " || address.Host() : kind) || ")";
    STRING free = name;
    for (int n = 1; application.FindName(free.Text()) != -1; ++n)
        free = n == 1 ? longer : longer || " " || std::to_string(n).c_str();
    return free;
}

// Adds the account, or gives it the new password and security, and tries its login. An exit code.
int AddAccount(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const ACCOUNTWISH& wish,
               const std::function<STRING(const std::string& name)>& askPassword) {
    const auto text = [&](int id, const std::string& value) { return ConsoleText(application.Texts(), id, value); };
    const int known = FindAccount(application, wish);
    const STRING folder = wish.Folder == STRING(INBOX) ? STRING("") : wish.Folder;
    STRINGARRAY item = known != -1 ? application.Items[known] : application.NewItem();
    if (known == -1)
        item.Set("Name", NewName(application, wish.Address, folder));
    const std::string name = DISPLAYTEXT::Safe(item.Get("Name").View());
    const STRING password = askPassword(name);
    if (password.Length() == 0) {
        frontEnd.PrintError(text(CTEXT_NO_PASSWORD, name));
        return EXIT_NO_START;
    }
    if (known == -1) {
        MAILACCOUNT::SetAddress(item, wish.Address, password);
        MAILACCOUNT::SetSecurity(item, wish.Security);
        if (folder.Length() > 0) {
            item.Set("DoAltFolder", "1");
            item.Set("AltFolder", folder);
        }
    } else {
        STRINGARRAY& present = application.Items[known];
        MAILACCOUNT::SetPassword(present, password);
        // One of old stays as it is if it can.
        if (MAILACCOUNT::Kind(present).HasServer() && MAILACCOUNT::Security(present).Kind != wish.Security)
            MAILACCOUNT::SetSecurity(present, wish.Security);
    }
    bool saved = known != -1 ? application.SaveTables(SAVE_ITEMS) : application.AddItem(item);
    saved = application.SaveSettings() && saved;
    if (!saved) {
        frontEnd.PrintError(text(CTEXT_NOT_SAVED, DISPLAYTEXT::Path(application.DataDir())));
        return EXIT_NO_START;
    }
    frontEnd.Print(text(known != -1 ? CTEXT_DUPLICATE : CTEXT_ADDED, name));
    return ShowLogin(application, frontEnd, FindAccount(application, wish));
}

}  // namespace

int ShowLogin(TARNWICK& application, CONSOLEFRONTEND& frontEnd, int index) {
    STRINGARRAY& item = application.Items[index];
    const auto text = [&](int id, const std::string& value) { return ConsoleText(application.Texts(), id, value); };
    const auto isStopped = [&] { return application.Cycle().IsStopRequested(); };
    STRING outcome, certificate;
    bool good = TryLogin(item, application.Mailboxes(), application.Texts(), outcome, certificate);
    if (!good && !isStopped() && certificate.Length() > 0 &&
        frontEnd.AskYesNo(item.Get("Name"), TrustQuestion(application.Texts(), outcome))) {
        MAILACCOUNT::SetTrustedCertificate(item, certificate);
        if (!application.SaveTables(SAVE_ITEMS)) {
            frontEnd.PrintError(text(CTEXT_NOT_SAVED, DISPLAYTEXT::Path(application.DataDir())));
            return EXIT_NO_START;
        }
        good = TryLogin(item, application.Mailboxes(), application.Texts(), outcome, certificate);
    }
    if (good) {
        frontEnd.Print(text(CTEXT_LOGIN_GOOD, DISPLAYTEXT::Safe(outcome.View())));
        return EXIT_GOOD;
    }
    // Whoever breaks it off knows why there is no outcome.
    if (isStopped())
        return EXIT_CHECK_FAILED;
    frontEnd.PrintError(text(CTEXT_LOGIN_BAD, DISPLAYTEXT::Safe(outcome.View())));
    if (certificate.Length() > 0)
        frontEnd.PrintError(text(CTEXT_TRUST_HINT, CommandName() + " \"" + WithUsualForms("/TRUST:") +
                                                       DISPLAYTEXT::Safe(item.Get("Name").View()) + "=" +
                                                       certificate.Text() + "\""));
    return EXIT_CHECK_FAILED;
}

int TrustCertificate(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const STRING& text) {
    const TEXTS& texts = application.Texts();
    const auto refuse = [&](const std::string& message) {
        frontEnd.PrintError(message);
        return EXIT_NO_START;
    };
    constexpr size_t SHA256_DIGITS = 64;
    const size_t mark = text.View().rfind('=');
    std::string digits =
        ASCII::Lower(mark == std::string_view::npos ? std::string_view("?") : text.View().substr(mark + 1));
    std::erase_if(digits, [](char c) { return c == ':' || c == ' '; });
    const bool good =
        digits.size() == SHA256_DIGITS && std::ranges::all_of(digits, [](char c) { return ASCII::HexValue(c) >= 0; });
    if (!good && !digits.empty())
        return refuse(ConsoleText(texts, CTEXT_BAD_FINGERPRINT, DISPLAYTEXT::Safe(text.View())));
    std::string message;
    const int index = FindAccount(application, texts, STRING(text.View().substr(0, mark)), message);
    if (index == -1)
        return refuse(message);
    MAILACCOUNT::SetTrustedCertificate(application.Items[index], STRING(std::string_view(digits)));
    const std::string name = DISPLAYTEXT::Safe(application.Items[index].Get("Name").View());
    const int handle = application.Items[index].GetNumber("@Handle");
    if (!application.SaveTables(SAVE_ITEMS))
        return refuse(ConsoleText(texts, CTEXT_NOT_SAVED, DISPLAYTEXT::Path(application.DataDir())));
    frontEnd.Print(ConsoleText(texts, good ? CTEXT_TRUSTED : CTEXT_TRUST_ENDED, name));
    return ShowLogin(application, frontEnd, application.FindHandle(handle));
}

ADDRESSFAULT ParseMailAddress(std::string_view text, ACCOUNTWISH& wish) {
    MAILADDRESS& address = wish.Address;
    for (const MAILBOXKIND& kind : AllKinds()) {
        STRING prefix;
        for (wish.Security = SECURITY_NONE; wish.Security <= SECURITY_STARTTLS; ++wish.Security) {
            prefix = MAILACCOUNT::Scheme(kind.Type, wish.Security);
            if (prefix.Length() > 0 && ASCII::BeginsWith(text, prefix.View()))
                break;
        }
        if (wish.Security > SECURITY_STARTTLS)
            continue;
        text.remove_prefix(static_cast<size_t>(prefix.Length()));
        if (text.ends_with('/'))
            text.remove_suffix(1);
        address.Type = kind.Type;
        if (!kind.HasServer()) {
            const bool good = text.find('@') == text.npos && PercentDecode(text, address.User);
            return good ? ADDRESSFAULT::None : ADDRESSFAULT::Form;
        }
        // The last one: users of many services are addresses themselves.
        const size_t at = text.rfind('@');
        if (at != text.npos && text.substr(0, at).find(':') != text.npos)
            return ADDRESSFAULT::Password;
        if (at == text.npos || !PercentDecode(text.substr(0, at), address.User))
            return ADDRESSFAULT::Form;
        std::string_view server = text.substr(at + 1);
        if (const size_t slash = server.find('/'); slash != server.npos && kind.HasFolders) {
            if (!PercentDecode(server.substr(slash + 1), wish.Folder))
                return ADDRESSFAULT::Form;
            if (ASCII::Equal(wish.Folder.View(), INBOX))
                wish.Folder = INBOX;
            server = server.substr(0, slash);
        }
        address.Server = STRING(server);
        return ServerFault(address.Server.View());
    }
    return ADDRESSFAULT::Scheme;
}

std::string WithoutPassword(std::string_view word) {
    const size_t scheme = word.find("://"), at = word.rfind('@');
    const bool whole = at == word.npos && scheme != word.npos;
    const size_t start = scheme == word.npos || at < scheme ? 0 : scheme + 3;
    const size_t colon = word.find(':', start), end = whole ? word.size() : at;
    const bool held =
        end != word.npos && colon < end && !(whole && std::ranges::all_of(word.substr(colon + 1), ASCII::IsDigit));
    return !held ? std::string(word) : std::string(word.substr(0, colon + 1)) + "..." + std::string(word.substr(end));
}

bool IsPlainAddress(std::string_view text, MAILADDRESS& address) {
    const size_t at = text.rfind('@');
    // What these bytes mean in an address with a scheme has no place in one without.
    if (at == text.npos || at == 0 || text.find_first_of("%/: \t") != text.npos || !PercentDecode(text, address.User))
        return false;
    return ServerFault(text.substr(at + 1)) == ADDRESSFAULT::None;
}

bool TakeProposal(const SERVERPROPOSAL& proposal, ACCOUNTWISH& wish) {
    wish.Address.Type = proposal.BestType(ITEMTYPE_IMAP);
    const OFFEREDSERVICE& service = proposal.Of(wish.Address.Type);
    wish.Address.Server = service.Server;
    wish.Security = service.Security();
    return service.IsNamed();
}

int AddAccounts(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const std::vector<STRING>& addresses,
                const STRING& passwordFile) {
    const TEXTS& texts = application.Texts();
    const auto refuse = [&](int id, const std::string& value) {
        frontEnd.PrintError(ConsoleText(texts, id, value));
        return EXIT_NO_START;
    };
    std::vector<ACCOUNTWISH> accounts(addresses.size());
    for (size_t i = 0; i < addresses.size(); ++i) {
        if (IsPlainAddress(addresses[i].View(), accounts[i].Address)) {
            if (!FindServer(application, frontEnd, accounts[i]))
                return EXIT_NO_START;
            continue;
        }
        const ADDRESSFAULT fault = ParseMailAddress(addresses[i].View(), accounts[i]);
        if (fault != ADDRESSFAULT::None)
            return refuse(FaultText(fault), DISPLAYTEXT::Safe(WithoutPassword(addresses[i].View())));
    }
    STRING passwords = Secret("");
    const bool fromFile = passwordFile.Length() > 0;
    if (fromFile && !passwords.Load(passwordFile.Text(), "r"))
        return refuse(CTEXT_PASSWORD_FILE, DISPLAYTEXT::Path(passwordFile));
    if (passwords.View().starts_with(UTF8::MARK))
        passwords.DeleteLeft(static_cast<int>(UTF8::MARK.size()));
    const auto readable = std::ranges::find(accounts, static_cast<int>(SECURITY_NONE), &ACCOUNTWISH::Security);
    if (readable != accounts.end())
        frontEnd.Print(
            ConsoleText(texts, CTEXT_READABLE, MAILACCOUNT::Scheme(readable->Address.Type, SECURITY_NONE).Text()));
    int worst = EXIT_GOOD;
    for (size_t i = 0; i < accounts.size() && !application.Cycle().IsStopRequested(); ++i) {
        const int code = AddAccount(application, frontEnd, accounts[i], [&](const std::string& name) {
            return fromFile ? passwords.Line(static_cast<int>(i), WORD_NEVERNULL) : AskPassword(texts, name);
        });
        worst = std::max(worst, code);
    }
    if (application.Cycle().IsStopRequested())
        return EXIT_CHECK_FAILED;
    if (worst != EXIT_NO_START)
        frontEnd.Print(ConsoleText(texts, worst == EXIT_GOOD ? CTEXT_NEXT : CTEXT_LOGIN_REPAIR, CommandName()));
    return worst;
}

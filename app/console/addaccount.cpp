#include "app/console/addaccount.h"

#include <algorithm>
#include <functional>

#include "app/check/trylogin.h"
#include "app/common/displaytext.h"
#include "app/console/consolefrontend.h"
#include "app/console/consoletexts.h"
#include "app/console/session.h"
#include "app/console/terminal.h"
#include "app/core/tarnwick.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/ascii.h"
#include "corelib/base/utf8.h"
#include "corelib/net/mxlookup.h"

namespace {

constexpr int PORT_MAX = 65535;

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
        case ADDRESSFAULT::Encrypted:
            return CTEXT_ENCRYPTED_SCHEME;
        case ADDRESSFAULT::Port:
            return CTEXT_BAD_PORT;
        default:
            return CTEXT_BAD_ADDRESS;
    }
}

// Is it the kind's scheme with the "s" of an encrypted connection, such as imaps://?
bool IsEncryptedScheme(std::string_view text, const MAILBOXKIND& kind) {
    const std::string_view prefix = kind.Scheme ? kind.Scheme : "";
    const size_t name = prefix.find(':');
    return kind.HasServer() && name != prefix.npos && ASCII::BeginsWith(text, prefix.substr(0, name)) &&
           ASCII::BeginsWith(text.substr(name), "s://");
}

// Finds the server of a plain address, and tells what was found. False, with an error, if the domain names none.
bool FindServer(TARNWICK& application, CONSOLEFRONTEND& frontEnd, MAILADDRESS& address) {
    const auto text = [&](int id, const STRING& value) {
        return ConsoleText(application.Texts(), id, DISPLAYTEXT::Safe(value.View()));
    };
    const SERVERPROPOSAL proposal = ProposeServers(MailDomain(address.User.View()),
                                                   [&application] { return application.Cycle().IsStopRequested(); });
    if (TakeProposal(proposal, address)) {
        const bool plain = proposal.Of(address.Type).Origin == OFFEREDSERVICE::NAMED;
        frontEnd.Print(text(plain ? CTEXT_SERVER_NAMED : CTEXT_SERVER_ENCRYPTED, address.Server));
        return true;
    }
    std::string guesses;
    for (const int type : {ITEMTYPE_IMAP, ITEMTYPE_POP3})
        if (const OFFEREDSERVICE& service = proposal.Of(type); service.Origin == OFFEREDSERVICE::USUAL)
            guesses += "\n    /ADD:" +
                       DISPLAYTEXT::Safe((STRING(KindOf(type).Scheme) || address.User || "@" || service.Server).View());
    frontEnd.PrintError(text(guesses.empty()   ? CTEXT_SERVER_NONE
                             : proposal.Silent ? CTEXT_SERVER_SILENT
                                               : CTEXT_SERVER_UNNAMED,
                             address.User) +
                        guesses);
    return false;
}

STRING AskPassword(const TEXTS& texts, const std::string& account) {
    if (TERMINAL::InputIsTerminal())
        TERMINAL::WriteError(ConsoleText(texts, CTEXT_PASSWORD, account));
    std::string line;
    TERMINAL::ReadLine(line, true);
    return STRING(std::string_view(line));
}

int FindAddress(const TARNWICK& application, const MAILADDRESS& address) {
    for (int i = 0; i < application.Items.Count(); ++i)
        if (MAILACCOUNT::Address(application.Items[i]) == address)
            return i;
    return -1;
}

// A name that no account has: one user may have mailboxes on several servers.
STRING NewName(const TARNWICK& application, const MAILADDRESS& address) {
    const bool isWhole = address.User.Pos('@') != -1;
    const STRING name = isWhole ? address.User : address.User || "@" || address.Host();
    const STRING kind = application.Texts().Part(TEXT_KINDS, KindOf(address.Type).Name);
    const STRING longer = name || " (" || (isWhole ? kind || " " || address.Host() : kind) || ")";
    STRING free = name;
    for (int n = 1; application.FindName(free.Text()) != -1; ++n)
        free = n == 1 ? longer : longer || " " || std::to_string(n).c_str();
    return free;
}

// Adds the account, or gives it the new password, and tries its login. An exit code.
int AddAccount(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const MAILADDRESS& address,
               const std::function<STRING(const std::string& name)>& askPassword) {
    const auto text = [&](int id, const std::string& value) { return ConsoleText(application.Texts(), id, value); };
    const int known = FindAddress(application, address);
    STRINGARRAY item = known != -1 ? application.Items[known] : application.NewItem();
    if (known == -1)
        item.Set("Name", NewName(application, address));
    const std::string name = DISPLAYTEXT::Safe(item.Get("Name").View());
    const STRING password = askPassword(name);
    if (password.Length() == 0) {
        frontEnd.PrintError(text(CTEXT_NO_PASSWORD, name));
        return EXIT_NO_START;
    }
    MAILACCOUNT::SetAddress(item, address, password);
    if (known != -1)
        MAILACCOUNT::SetPassword(application.Items[known], password);
    bool saved = known != -1 ? application.SaveTables(SAVE_ITEMS) : application.AddItem(item);
    saved = application.SaveSettings() && saved;
    if (!saved) {
        frontEnd.PrintError(text(CTEXT_NOT_SAVED, DISPLAYTEXT::Path(application.DataDir())));
        return EXIT_NO_START;
    }
    frontEnd.Print(text(known != -1 ? CTEXT_DUPLICATE : CTEXT_ADDED, name));
    STRING outcome;
    if (TryLogin(item, application.Mailboxes(), application.Texts(), outcome)) {
        frontEnd.Print(text(CTEXT_LOGIN_GOOD, DISPLAYTEXT::Safe(outcome.View())));
        return EXIT_GOOD;
    }
    // Whoever breaks it off knows why there is no outcome.
    if (application.Cycle().IsStopRequested())
        return EXIT_CHECK_FAILED;
    frontEnd.PrintError(text(CTEXT_LOGIN_BAD, DISPLAYTEXT::Safe(outcome.View())));
    return EXIT_CHECK_FAILED;
}

}  // namespace

ADDRESSFAULT ParseMailAddress(std::string_view text, MAILADDRESS& address) {
    for (const MAILBOXKIND& kind : AllKinds()) {
        const std::string_view prefix = kind.Scheme ? kind.Scheme : "";
        if (prefix.empty() || !ASCII::BeginsWith(text, prefix))
            continue;
        text.remove_prefix(prefix.size());
        if (text.ends_with('/'))
            text.remove_suffix(1);
        address.Type = kind.Type;
        if (!kind.HasServer()) {
            const bool good = text.find('@') == text.npos && PercentDecode(text, address.User);
            return good ? ADDRESSFAULT::None : ADDRESSFAULT::Form;
        }
        // The last one: users of many services are addresses themselves.
        const size_t at = text.rfind('@');
        if (at == text.npos || !PercentDecode(text.substr(0, at), address.User))
            return ADDRESSFAULT::Form;
        address.Server = STRING(text.substr(at + 1));
        return ServerFault(address.Server.View());
    }
    const bool encrypted =
        std::ranges::any_of(AllKinds(), [&](const MAILBOXKIND& kind) { return IsEncryptedScheme(text, kind); });
    return encrypted ? ADDRESSFAULT::Encrypted : ADDRESSFAULT::Scheme;
}

bool IsPlainAddress(std::string_view text, MAILADDRESS& address) {
    const size_t at = text.rfind('@');
    // What these bytes mean in an address with a scheme has no place in one without.
    if (at == text.npos || at == 0 || text.find_first_of("%/: \t") != text.npos || !PercentDecode(text, address.User))
        return false;
    return ServerFault(text.substr(at + 1)) == ADDRESSFAULT::None;
}

bool TakeProposal(const SERVERPROPOSAL& proposal, MAILADDRESS& address) {
    address.Type = proposal.BestType(ITEMTYPE_IMAP);
    const OFFEREDSERVICE& service = proposal.Of(address.Type);
    address.Server = service.Server;
    return service.IsNamed();
}

int AddAccounts(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const std::vector<STRING>& addresses,
                const STRING& passwordFile) {
    const TEXTS& texts = application.Texts();
    const auto refuse = [&](int id, const std::string& value) {
        frontEnd.PrintError(ConsoleText(texts, id, value));
        return EXIT_NO_START;
    };
    std::vector<MAILADDRESS> accounts(addresses.size());
    for (size_t i = 0; i < addresses.size(); ++i) {
        if (IsPlainAddress(addresses[i].View(), accounts[i])) {
            if (!FindServer(application, frontEnd, accounts[i]))
                return EXIT_NO_START;
            continue;
        }
        const ADDRESSFAULT fault = ParseMailAddress(addresses[i].View(), accounts[i]);
        if (fault != ADDRESSFAULT::None)
            return refuse(FaultText(fault), DISPLAYTEXT::Safe(addresses[i].View()));
    }
    STRING passwords;
    const bool fromFile = passwordFile.Length() > 0;
    if (fromFile && !passwords.Load(passwordFile.Text(), "r"))
        return refuse(CTEXT_PASSWORD_FILE, DISPLAYTEXT::Path(passwordFile));
    if (passwords.View().starts_with(UTF8::MARK))
        passwords.DeleteLeft(static_cast<int>(UTF8::MARK.size()));
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

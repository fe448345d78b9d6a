#include "app/console/addaccount.h"

#include "app/console/consoletexts.h"
#include "app/console/displaytext.h"
#include "app/console/terminal.h"
#include "app/core/tarnwick.h"
#include "corelib/base/ascii.h"

namespace {

constexpr int EXIT_REFUSED = 2;
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
            if (i + 2 >= text.size() || ASCII::HexValue(text[i + 1]) < 0 || ASCII::HexValue(text[i + 2]) < 0)
                return false;
            c = static_cast<char>(ASCII::HexValue(text[i + 1]) * 16 + ASCII::HexValue(text[i + 2]));
            i += 2;
        }
        if (static_cast<unsigned char>(c) < 32 || c == 127 || c == '|')
            return false;
        result.AppendBytes(&c, 1);
    }
    return result.Length() > 0;
}

bool ValidServer(std::string_view server) {
    const size_t colon = server.find(':');
    const std::string_view host = server.substr(0, colon);
    for (char c : host)
        if (!ASCII::IsLetterOrDigit(c) && c != '.' && c != '-' && c != '_')
            return false;
    if (host.empty() || colon == server.npos)
        return !host.empty();
    const std::string_view port = server.substr(colon + 1);
    int number = 0;
    return port.size() <= 5 && ASCII::ReadNumber(port, number) && number >= 1 && number <= PORT_MAX;
}

bool ReadPassword(const STRING& file, const TEXTS& texts, const std::string& account, STRING& password,
                  std::string& message) {
    if (file.Length() > 0) {
        STRING content;
        if (!content.Load(file.Text(), "r")) {
            message = ConsoleText(texts, CTEXT_PASSWORD_FILE, DISPLAYTEXT::Path(file));
            return false;
        }
        password = content.Line(0, WORD_NEVERNULL);
    } else {
        if (TERMINAL::InputIsTerminal())
            TERMINAL::WriteError(ConsoleText(texts, CTEXT_PASSWORD, account));
        std::string line;
        TERMINAL::ReadLine(line, true);
        password = STRING(std::string_view(line));
    }
    if (password.Length() == 0)
        message = ConsoleText(texts, CTEXT_NO_PASSWORD);
    return password.Length() > 0;
}

int FindAddress(const TARNWICK& application, const MAILADDRESS& address) {
    for (int i = 0; i < application.Items.Count(); ++i)
        if (MAILACCOUNT::Address(application.Items[i]) == address)
            return i;
    return -1;
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
        if (at == text.npos || !PercentDecode(text.substr(0, at), address.User) || !ValidServer(text.substr(at + 1)))
            return ADDRESSFAULT::Form;
        address.Server = STRING(text.substr(at + 1));
        return ADDRESSFAULT::None;
    }
    return ADDRESSFAULT::Scheme;
}

int AddAccount(TARNWICK& application, const TEXTS& texts, std::string_view text, const STRING& passwordFile,
               std::string& message) {
    MAILADDRESS address;
    const ADDRESSFAULT fault = ParseMailAddress(text, address);
    if (fault != ADDRESSFAULT::None) {
        const int id = fault == ADDRESSFAULT::Scheme ? CTEXT_BAD_SCHEME : CTEXT_BAD_ADDRESS;
        message = ConsoleText(texts, id, DISPLAYTEXT::Safe(text));
        return EXIT_REFUSED;
    }
    const STRING name = address.User.Pos('@') != -1 ? address.User : address.User || "@" || address.Host();
    STRING password;
    if (!ReadPassword(passwordFile, texts, DISPLAYTEXT::Safe(name.View()), password, message))
        return EXIT_REFUSED;

    const int known = FindAddress(application, address);
    bool saved;
    if (known != -1) {
        MAILACCOUNT::SetPassword(application.Items[known], password);
        saved = application.SaveTables(SAVE_ITEMS);
    } else {
        STRINGARRAY item = application.NewItem();
        item.Set("Name", name);
        MAILACCOUNT::SetAddress(item, address, password);
        saved = application.AddItem(item);
    }
    if (application.pState.GetNumber("ConnectionType") == -1)
        application.pState.Set("ConnectionType", "0");
    saved = application.SaveSettings() && saved;
    const int id = !saved ? CTEXT_NOT_SAVED : known != -1 ? CTEXT_DUPLICATE : CTEXT_ADDED;
    message = ConsoleText(texts, id, saved ? DISPLAYTEXT::Safe(name.View()) : DISPLAYTEXT::Path(application.DataDir()));
    return saved ? 0 : EXIT_REFUSED;
}

// Addresses of /ADD: what is taken can be stored and sent to a server, and says the same when it is written anew.

#include "app/console/addaccount.h"
#include "corelib/base/ascii.h"
#include "fuzz/fuzz.h"

namespace {

// Each byte as %41.
std::string Encoded(const STRING& text) {
    constexpr const char* DIGITS = "0123456789ABCDEF";
    std::string result;
    for (char c : text.View()) {
        const auto byte = static_cast<unsigned char>(c);
        result += {'%', DIGITS[byte >> 4], DIGITS[byte & 15]};
    }
    return result;
}

}  // namespace

FUZZ_TARGET(text) {
    ACCOUNTWISH wish;
    if (ParseMailAddress(text, wish) != ADDRESSFAULT::None)
        return;
    const MAILADDRESS& address = wish.Address;
    const MAILBOXKIND& kind = KindOf(address.Type);
    Always(kind.Scheme && address.User.Length() > 0 && kind.HasServer() == (address.Server.Length() > 0));
    for (const STRING& part : {address.User, address.Server})
        for (char c : part.View())
            Always(static_cast<unsigned char>(c) >= 32 && c != 127 && c != '|');
    STRINGARRAY item;
    MAILACCOUNT::SetAddress(item, address, "");
    Always(MAILACCOUNT::Address(item) == address);
    const size_t colon = address.Server.View().find(':');
    if (colon != std::string_view::npos) {
        const std::string port(address.Server.View().substr(colon + 1));
        Always(ASCII::IsNumber(port));
        Always(atoi(port.c_str()) >= 1 && atoi(port.c_str()) <= 65535);
    }
    const std::string server = (kind.HasServer() ? "@" : "") + std::string(address.Server.View());
    ACCOUNTWISH again;
    const std::string scheme(MAILACCOUNT::Scheme(address.Type, wish.Security).View());
    Always(ParseMailAddress(scheme + Encoded(address.User) + server, again) == ADDRESSFAULT::None);
    Always(again.Address == address && again.Security == wish.Security);
}

// Addresses of /ADD: what is taken can be stored and sent to a server, and says the same when it is written anew.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "app/console/addaccount.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/ascii.h"

namespace {

void Require(bool condition) {
    if (!condition)
        __builtin_trap();
}

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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    MAILADDRESS address;
    if (ParseMailAddress({reinterpret_cast<const char*>(data), size}, address) != ADDRESSFAULT::None)
        return 0;
    const bool web = address.Type == ITEMTYPE_HOTMAIL;
    Require(web || address.Type == ITEMTYPE_POP3 || address.Type == ITEMTYPE_IMAP);
    Require(address.User.Length() > 0 && web == (address.Server.Length() == 0));
    for (const STRING& part : {address.User, address.Server})
        for (char c : part.View())
            Require(static_cast<unsigned char>(c) >= 32 && c != 127 && c != '|');
    // "server|user" comes apart as it was put together.
    const STRING source = address.Server || "|" || address.User;
    Require(source.Word(0, "|", WORD_NEVERNULL) == address.Server || web);
    const size_t colon = address.Server.View().find(':');
    if (colon != std::string_view::npos) {
        const std::string port(address.Server.View().substr(colon + 1));
        Require(ASCII::IsNumber(port));
        Require(atoi(port.c_str()) >= 1 && atoi(port.c_str()) <= 65535);
    }
    const std::string scheme = web ? "webmail://" : address.Type == ITEMTYPE_POP3 ? "pop3://" : "imap://";
    const std::string server(address.Server.View());
    MAILADDRESS again;
    Require(ParseMailAddress(scheme + Encoded(address.User) + (web ? "" : "@" + server), again) == ADDRESSFAULT::None);
    Require(again.Type == address.Type && again.User == address.User && again.Server == address.Server);
    return 0;
}

#include "corelib/net/tlsio.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "corelib/base/ascii.h"
#include "corelib/base/utf8.h"
#include "corelib/net/sockets.h"

namespace {

constexpr size_t SHOWN_BYTES = 200;

constexpr struct {
    TLSFAULT Fault;
    const char* Text;
} FaultTexts[] = {
    {TLSFAULT_EXPIRED, "expired"},
    {TLSFAULT_NOT_YET_VALID, "not yet valid"},
    {TLSFAULT_OTHER_NAME, "other name"},
    {TLSFAULT_UNKNOWN_ISSUER, "unknown issuer"},
    {TLSFAULT_SELF_SIGNED, "self-signed"},
    {TLSFAULT_REVOKED, "revoked"},
    {TLSFAULT_WEAK, "weak"},
    {TLSFAULT_OTHER, "not valid"},
};

}  // namespace

STRING TLSREPORT::Why() const {
    STRING why("");
    for (const auto& [fault, text] : FaultTexts) {
        if (!(Faults & fault))
            continue;
        if (why.Length() > 0)
            why += ", ";
        why += text;
        if (fault == TLSFAULT_UNKNOWN_ISSUER && UnknownIssuer.Length() > 0)
            why += STRING(" ") || UnknownIssuer;
    }
    return why;
}

STRING TLS::ShownText(std::string_view text) {
    std::string shown(UTF8::IsValid(text) ? UTF8::Cut(text, SHOWN_BYTES) : "?");
    std::erase_if(shown, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
    // Lines, and directions of reading, that would make of what stands around it something else.
    for (const char* mark : {"\u061c", "\u200e", "\u200f", "\u2028", "\u2029", "\u202a", "\u202b", "\u202c", "\u202d",
                             "\u202e", "\u2066", "\u2067", "\u2068", "\u2069"})
        for (size_t at = 0; (at = shown.find(mark, at)) != shown.npos;)
            shown.erase(at, strlen(mark));
    return STRING(std::string_view(shown));
}

bool TLS::SameSha256(const STRING& trusted, const STRING& sha256) {
    std::string digits;
    std::copy_if(trusted.View().begin(), trusted.View().end(), std::back_inserter(digits),
                 [](char c) { return c != ' ' && c != ':'; });
    return !digits.empty() && ASCII::Equal(digits, sha256.View());
}

namespace {

bool ReadAddress(const STRING& serverName, uint32_t* address) {
    return std::none_of(serverName.View().begin(), serverName.View().end(), ASCII::IsLetter) &&
           SOCKETS::ParseAddress(serverName.Text(), address);
}

}  // namespace

bool TLS::IsAddress(const STRING& serverName) {
    uint32_t address;
    return ReadAddress(serverName, &address);
}

bool TLS::IsAddress(const STRING& serverName, std::string_view bytes) {
    uint32_t address;
    if (bytes.size() != 4 || !ReadAddress(serverName, &address))
        return false;
    return std::equal(bytes.begin(), bytes.end(), std::begin({24, 16, 8, 0}), [&](char byte, int shift) {
        return static_cast<unsigned char>(byte) == (address >> shift & 255);
    });
}

bool TLS::NameMatches(std::string_view name, const STRING& serverName) {
    std::string_view host = serverName.View();
    if (IsAddress(serverName))
        return false;
    if (name.starts_with("*.")) {
        name.remove_prefix(1);
        host.remove_prefix(std::min(host.find('.'), host.size()));
        if (name.find('.', 1) == std::string_view::npos)
            return false;
    }
    return !name.empty() && ASCII::Equal(name, host);
}

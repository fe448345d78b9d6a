#include "app/mailbox/account.h"

#include <algorithm>
#include <string>
#include <utility>

#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/wipe.h"

STRING MAILADDRESS::Host() const {
    const char* domain = KindOf(Type).Domain;
    return domain ? STRING(domain) : Server;
}

bool MAILADDRESS::operator==(const MAILADDRESS& other) const {
    return Type == other.Type && User == other.User && ASCII::Equal(Server.View(), other.Server.View());
}

namespace MAILACCOUNT {

const MAILBOXKIND& Kind(const STRINGARRAY& item) {
    return KindOf(item.GetNumber("Type"));
}

MAILADDRESS Address(const STRINGARRAY& item) {
    const MAILBOXKIND& kind = Kind(item);
    const STRING source = item.Get("Source");
    // What stands in the place of a server that there is none of has differed from version to version.
    const auto part = [&](bool exists, int n) { return exists ? source.Word(n, "|", WORD_NEVERNULL) : STRING(""); };
    return {item.GetNumber("Type"), part(kind.HasUser, 1), part(kind.HasServer(), 0)};
}

STRING Password(const STRINGARRAY& item) {
    return Secret(item.Get(PASSWORD_KEY));
}

bool IsPasswordLocked(const STRINGARRAY& record, const char* key) {
    const STRING sealed = STRING(key) || SEALED_SUFFIX;
    return record.Get(key).Length() == 0 && record.Exists(sealed.Text()) && record.Get(sealed.Text()).Length() > 0;
}

void SetAddress(STRINGARRAY& item, const MAILADDRESS& address, const STRING& password) {
    const MAILBOXKIND& kind = KindOf(address.Type);
    const STRING server = kind.HasServer() ? address.Server : STRING(kind.StoredServer);
    item.SetNumber("Type", address.Type);
    const bool hasUser = kind.HasUser || (kind.StoredUser && address.User == kind.StoredUser);
    item.Set("Source", CODEPAGE::ToUtf8(server || "|" || (hasUser ? address.User : STRING(""))));
    SetPassword(item, kind.HasUser ? password : STRING(""));
}

void SetPassword(STRINGARRAY& item, STRING password) {
    password = CODEPAGE::ToUtf8(Secret(std::move(password)));
    password.SetFlags(password.GetFlags() | STRINGFLAG_BINARY);
    // One that nobody could open stays until there is another.
    if (password.Length() > 0 || (item.Exists(PASSWORD_KEY) && Password(item).Length() > 0))
        item.Delete((STRING(PASSWORD_KEY) || SEALED_SUFFIX).Text());
    item.Set(PASSWORD_KEY, std::move(password));
}

MAILSECURITY Security(const STRINGARRAY& item) {
    const auto value = [&item](const char* key) { return item.Exists(key) ? item.Get(key) : STRING(""); };
    const STRING kind = value("Security");
    if (kind.Length() == 0 || Kind(item).TlsPort == 0)
        return {};
    return {ReadSecurity(kind), true, value("TrustedCertificate")};
}

SECURITY ReadSecurity(const STRING& stored) {
    return stored.Length() == 0 || stored == "0" ? SECURITY_NONE : stored == "2" ? SECURITY_STARTTLS : SECURITY_TLS;
}

void SetSecurity(STRINGARRAY& item, int kind) {
    item.SetNumber("Security", kind);
}

void SetTrustedCertificate(STRINGARRAY& item, const STRING& sha256) {
    item.Set("TrustedCertificate", sha256);
}

STRING Scheme(int type, int security) {
    const MAILBOXKIND& kind = KindOf(type);
    // Without a server there is nothing to choose.
    if (!kind.Scheme || (!kind.HasServer() && security != SECURITY_TLS))
        return "";
    const char* const ends[] = {"://", "s://", "+tls://"};
    const STRING scheme(kind.Scheme);
    return kind.HasServer() ? scheme.Word(0, ":") || ends[security] : scheme;
}

STRING Destination(const STRING& server, int type, int security) {
    const MAILBOXKIND& kind = KindOf(type);
    return server || (":" + std::to_string(security == SECURITY_TLS ? kind.TlsPort : kind.Port)).c_str();
}

STRING FollowPort(const STRING& server, int type, int before, int after) {
    const MAILBOXKIND& kind = KindOf(type);
    const auto usual = [&](int security) { return security == SECURITY_TLS ? kind.TlsPort : kind.Port; };
    const std::string end = ":" + std::to_string(usual(before));
    const std::string_view text = server.View();
    return usual(before) != usual(after) && text.ends_with(end) ? STRING(text.substr(0, text.size() - end.size()))
                                                                : server;
}

MAILCOUNTS Counts(const STRINGARRAY& item) {
    const STRING text = item.Get("LastRC");
    const STRING unread = text.Word(1, "|", WORD_NEVERNULL);
    return {atoi(text), atoi(unread), unread.Pos('?') == -1, text.Pos('E') != -1};
}

void SetCounts(STRINGARRAY& item, const MAILCOUNTS& counts) {
    STRING text(FAILED_COUNTS);
    if (!counts.Failed)
        text.Format("%d|%d%s", counts.Total, counts.Unread, counts.UnreadKnown ? "" : "?");
    item.Set("LastRC", text);
}

STRING Printable(const STRING& text) {
    STRING result = text.NotNull() ? text : STRING("");
    char* const end = std::remove_if(result.Data(), result.Data() + result.Length(),
                                     [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
    result.Truncate(static_cast<int>(end - result.Data()));
    return result;
}

}  // namespace MAILACCOUNT

#include "app/mailbox/account.h"

#include <utility>

#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"

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
    return item.Get("Source2");
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
    password = CODEPAGE::ToUtf8(password);
    password.SetFlags(password.GetFlags() | STRINGFLAG_BINARY);
    item.Set("Source2", std::move(password));
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
    std::string result;
    for (char c : text.View())
        if (static_cast<unsigned char>(c) >= ' ' && c != '\x7f')
            result += c;
    return STRING(std::string_view(result));
}

}  // namespace MAILACCOUNT

#include "app/mailbox/kinds.h"

#include <algorithm>

#include "app/mailbox/hotmail.h"
#include "app/mailbox/imap.h"
#include "app/mailbox/mapi.h"
#include "app/mailbox/pop3.h"

namespace {

constexpr const char* WEB = "hotmail";  // whatever the service is called, files have it so

constexpr MAILBOXKIND KINDS[] = {
    {.Type = ITEMTYPE_POP3,
     .Name = PART_KIND_POP3,
     .Handler = &PopHandler,
     .Scheme = "pop3://",
     .Port = POP3_PORT,
     .TlsPort = POP3S_PORT,
     .Greeting = "+OK",
     .CanDelete = true,
     .IsFiltered = true,
     .HasNumberIds = true},
    {.Type = ITEMTYPE_IMAP,
     .Name = PART_KIND_IMAP,
     .Handler = &ImapHandler,
     .Scheme = "imap://",
     .Port = IMAP_PORT,
     .TlsPort = IMAPS_PORT,
     .Greeting = "* ",
     .CanDelete = true,
     .CanMove = true,
     .HasFolders = true,
     .CanPush = true,
     .IsFiltered = true},
    {.Type = ITEMTYPE_HOTMAIL,
     .Name = PART_KIND_WEBMAIL,
     .Handler = &HotmailHandler,
     .Scheme = "webmail://",
     .Port = 80,
     .TlsPort = 443,
     .StoredServer = WEB,
     .Domain = HOTMAIL_MAIL_DOMAIN,
     .StartPage = "http://www.hotmail.com/",
     .MinSeconds = 60},
    {.Type = ITEMTYPE_MAPI,
     .Name = PART_KIND_MAPI,
     .Handler = &MapiHandler,
     .HasSession = true,
     .StoredServer = "mapi",
     .StoredUser = "Mapi",
     .HasUser = false,
     .CanDelete = true,
     .CanMove = true,
     .IsFiltered = true},
    // Kinds of earlier versions' files.
    {.Type = 4, .StoredServer = WEB, .StartPage = "http://mail.example.com/", .Successor = ITEMTYPE_HOTMAIL},
    {.Type = 5, .StoredServer = WEB, .StartPage = "http://mail.example.net/", .Successor = ITEMTYPE_HOTMAIL},
    {.Type = 6},
};

constexpr MAILBOXKIND UNKNOWN;

}  // namespace

std::span<const MAILBOXKIND> AllKinds() {
    return KINDS;
}

const MAILBOXKIND& KindOf(int type) {
    const auto found = std::ranges::find(KINDS, type, &MAILBOXKIND::Type);
    return found != std::end(KINDS) ? *found : UNKNOWN;
}

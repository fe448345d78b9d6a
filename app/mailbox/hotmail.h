#pragma once

#include <cstdint>

#include "app/mailbox/mailhandler.h"
#include "app/mailbox/websession.h"

/// The web-mail service: it has no mail protocol, so its pages are read as a browser would. Each call logs in anew.
/// What the service sees of user and password is their plain text: a password with "&" in it breaks the log-in address.

/// Where the service is, and its bounds.
inline constexpr const char* HOTMAIL_LOGIN_HOST = "login.webmail.example";
inline constexpr const char* HOTMAIL_DISPLAY_HOST = "www.webmail.example";  // only shown
inline constexpr const char* HOTMAIL_MAIL_DOMAIN = "webmail.example";
inline constexpr int64_t HOTMAIL_LISTING_BYTES = 1 << 30;  // reading ends after the mail that passes this

/// The listing of what an inbox page shows, the last row first; false with "-ERR " if there is no
/// table. fetchBody fetches each mail's own page too.
[[nodiscard]] bool HotmailListing(WEBSESSION& session, const PROGRESS& progress, const STRING& user, bool fetchBody,
                                  STRING& page, STRING& result);

/// Reads the inbox: the listing, or false and "-ERR " with a number and a text.
[[nodiscard]] bool HotmailGet(const MAILBOXCALL& call, const STRING& host, bool fetchBody, STRING& result);

/// Deletes mails by their ids, one a line. The status number of the log-in: what the service says to the deletions is
/// not looked at, as the next check shows what is still there.
[[nodiscard]] int HotmailDelete(const MAILBOXCALL& call, const STRING& ids);

/// The row of web mail in the table of handlers.
extern const MAILHANDLER HotmailHandler;

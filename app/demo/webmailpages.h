#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/demo/mailstore.h"

/// The pages of the demo's web-mail service, in HTML, bytes of Windows code page 1252.
namespace WEBMAILPAGES {

enum class EDITION { English, German, French };

/// What the inbox shows of a mail.
struct ENTRY {
    std::string Id;  // name of its check box
    std::string From;
    std::string Subject;
    std::string Size;
    bool IsNew;
};
/// Of a mail whose address has no name the address is shown.
ENTRY MakeEntry(const DEMOMAIL& mail, bool isNew);
/// The number of the mail whose check box has that name, 0 if it is none.
int MailNumber(std::string_view id);

/// Sends the browser on.
std::string RefreshPage(const std::string& url);
std::string WrongPasswordPage(EDITION edition);
std::string HomePage(EDITION edition, const std::string& inboxUrl, int unread);
/// mailUrl stands in front of the id of the mail that a link leads to.
std::string InboxPage(EDITION edition, const std::string& mailUrl, const std::vector<ENTRY>& entries);
std::string MailPage(const DEMOMAIL& mail);

}  // namespace WEBMAILPAGES

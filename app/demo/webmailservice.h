#pragma once

#include <set>
#include <string>
#include <string_view>

#include "app/demo/demoservice.h"
#include "app/demo/webmailpages.h"

/// A web-mail service in small: log-in with a cookie and redirects, a home page, the inbox, its form for deleting. One
/// thread.
class WEBMAILSITE {
 public:
    /// Mails up to that number have been read already.
    WEBMAILSITE(DEMOSTORE& store, std::string user, std::string password, WEBMAILPAGES::EDITION edition, int readUpTo);

    /// The answer, status line and all, to a whole request as a browser sends it to its proxy.
    std::string Answer(std::string_view request);

 private:
    std::string Page(std::string_view path, std::string_view query);
    std::string Inbox() const;
    std::string Mail(int number);
    bool IsNew(const DEMOMAIL& mail) const { return mail.Number > ReadUpTo && !Read.contains(mail.Number); }

    DEMOSTORE& Store;
    const std::string User, Password, Session;
    const WEBMAILPAGES::EDITION Edition;
    const int ReadUpTo;
    std::set<int> Read;
};

/// A web proxy (HTTP/1.0) behind which there is nothing but that service, whatever the host is called.
class WEBMAILSERVICE : public DEMOSERVICE {
 public:
    WEBMAILSERVICE(DEMOSTORE& store, const std::string& user, const std::string& password,
                   WEBMAILPAGES::EDITION edition, int readUpTo);
};

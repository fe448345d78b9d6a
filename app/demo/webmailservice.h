#pragma once

#include <string>
#include <string_view>

#include "app/demo/demoservice.h"
#include "app/demo/webmailpages.h"

/// A web-mail service in small: log-in with a cookie and redirects, a home page, the inbox, its form for deleting. One
/// thread.
class WEBMAILSITE {
 public:
    WEBMAILSITE(DEMOSTORE& store, std::string user, std::string password, WEBMAILPAGES::EDITION edition);

    /// The answer, status line and all, to a whole request as a browser sends it to its proxy.
    std::string Answer(std::string_view request);

 private:
    std::string Page(std::string_view path, std::string_view query);
    std::string Inbox() const;
    std::string Mail(int number);

    DEMOSTORE& Store;
    const std::string User, Password, Session;
    const WEBMAILPAGES::EDITION Edition;
};

/// A web proxy (HTTP/1.0) behind which there is nothing but that service, whatever the host is called.
class WEBMAILSERVICE : public DEMOSERVICE {
 public:
    WEBMAILSERVICE(DEMOSTORE& store, const std::string& user, const std::string& password,
                   WEBMAILPAGES::EDITION edition = WEBMAILPAGES::EDITION::English);
};

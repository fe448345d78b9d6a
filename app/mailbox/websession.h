#pragma once

#include <cstddef>

#include "app/mailbox/mailhandler.h"
#include "corelib/base/stringarray.h"

/// What servers may lay down in a session. Cookies that pass these are not taken.
struct WEBLIMITS {
    int Cookies = 1000;
    size_t CookieBytes = 16384;  // name, domain and value of one
};
extern WEBLIMITS WebLimits;

/// Takes the cookies out of a response (its Set-Cookie lines) into the jar: key name "|" domain, value the cookie's.
/// What is said of their age and path is passed over, as a session lasts for seconds.
void SetCookie(const STRING& result, STRINGARRAY& cookies);

/// The "Cookie: " line for a host with all cookies whose domain it ends in; empty if the jar is.
STRING CookieHeader(const STRINGARRAY& cookies, const STRING& host);

/// Resolves a link in the simple way of the service's pages: one that is not absolute stands after baseHost and
/// baseDir as it is.
void UrlToHostDoc(const STRING& url, const STRING& baseHost, const char* baseDir, STRING& hostOut, STRING& docOut);

/// A small browser session: requests through the proxy of the settings (DoHttpProxy, HttpProxy), with redirects and a
/// jar of cookies. It knows where it is, so that links can be followed from there.
class WEBSESSION {
 public:
    /// A stop cancels a transfer and ends a circle of redirects, which has no other end; the result then begins with
    /// "TCPIO 998 Canceled". Both references outlive the session.
    WEBSESSION(const STRINGARRAY& settings, const STOPQUESTION& stopAsked) : Settings(settings), StopAsked(stopAsked) {}

    /// Fetches a document and whatever it redirects to. The number of the last answer's first line (see WEBGET).
    int WebFetch(const STRING& host, const STRING& doc, STRING& result);
    /// Posts a form to `url`, which is host and path in one text, with "$(USER)" and "$(PASS)" in its body filled in,
    /// and follows a redirect.
    int WebPost(const STRING& url, const STRING& body, const STRING& user, const STRING& password, STRING& result);

    bool IsStopped() const { return StopAsked(); }
    /// Where the last request went.
    const STRING& Host() const { return PresentHost; }
    const STRING& Doc() const { return PresentDoc; }

 private:
    class CLIENT;
    int Request(CLIENT& client, const STRING& host, const STRING& doc, STRING& result);
    int FollowRedirects(CLIENT& client, int status, STRING& result);

    const STRINGARRAY& Settings;
    const STOPQUESTION& StopAsked;
    STRINGARRAY Cookies;
    STRING PresentHost, PresentDoc;
};

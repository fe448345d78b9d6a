#include "app/mailbox/websession.h"

#include <string_view>

#include "app/mailbox/account.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/headerblock.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"
#include "corelib/net/webget.h"

WEBLIMITS WebLimits;

namespace {

constexpr std::string_view HTTP = "http://";
constexpr std::string_view HTTPS = "https://";
constexpr int NO_STATUS = 999;
constexpr int CANCELED = 998;

int OutputFiles = 0;  // so far; for the traces of the one thread that reads mailboxes

bool Named(const STRING& name, const char* what) {
    return ASCII::Equal(name.View(), what);
}

bool IsRedirect(int status) {
    return status == 301 || status == 302;
}

// Splits host and path, which begins with a "/".
void SplitUrl(const STRING& url, STRING& host, STRING& doc) {
    STRING path = url.Word(1, "/", 1 | WORD_NEVERNULL);
    host = url.Word(0, "/");
    doc = STRING("/") || path;
}

bool IsSecure(const STRING& hostOrUrl) {
    return ASCII::BeginsWith(hostOrUrl.View(), HTTPS);
}

// The same for a link with its scheme, which a secure host keeps; false for one without.
bool SplitLink(const STRING& url, STRING& host, STRING& doc) {
    const std::string_view scheme = IsSecure(url) ? HTTPS : HTTP;
    if (!ASCII::BeginsWith(url.View(), scheme))
        return false;
    SplitUrl(url.Mid(static_cast<int>(scheme.size())), host, doc);
    if (scheme == HTTPS && host.NotNull())
        host = STRING(HTTPS) || host;
    return true;
}

// The words of one Set-Cookie line.
void TakeCookie(const STRING& line, STRINGARRAY& cookies) {
    STRING name = "", value = "", domain = "";
    WORDCURSOR items(line, ";");
    for (std::string_view piece; items.Next(piece);) {
        STRING item(piece);
        item.Strip('L', " \t");
        const STRING itemName = item.Word(0, "=", WORD_NEVERNULL), itemValue = item.Word(1, "=", 1 | WORD_NEVERNULL);
        if (itemName.Length() == 0 || itemValue.Length() == 0 || Named(itemName, "expires") || Named(itemName, "path"))
            continue;
        Trace("TARNWICK::SetCookie %s=%s\n", itemName.Text(), itemValue.Text());
        if (Named(itemName, "domain")) {
            domain = itemValue;
        } else {
            name = itemName;
            value = itemValue;
        }
    }
    const STRING key = name || "|" || domain;
    const bool fits =
        static_cast<size_t>(key.Length()) + static_cast<size_t>(value.Length()) <= WebLimits.CookieBytes &&
        (cookies.Count() < WebLimits.Cookies || cookies.Exists(key.Text()));
    if (name.Length() > 0 && fits)
        cookies.Set(key.Text(), value);
}

}  // namespace

void SetCookie(const STRING& result, STRINGARRAY& cookies) {
    // Line by line, as a server may set any number of them.
    std::string_view header = HeaderBlock(result.View());
    while (!header.empty()) {
        const size_t end = header.find('\n');
        const STRING line = ReadHeaderField(header.substr(0, end), "Set-Cookie");
        if (line.NotNull())
            TakeCookie(line, cookies);
        header.remove_prefix(end == header.npos ? header.size() : end + 1);
    }
}

STRING CookieHeader(const STRINGARRAY& cookies, const STRING& host) {
    STRING header = "";
    for (int i = 0; i < cookies.Count(); ++i) {
        if (i == 0)
            header = "Cookie: ";
        const STRING name = cookies.KeyAt(i).Word(0, "|", WORD_NEVERNULL);
        const STRING domain = cookies.KeyAt(i).Word(1, "|", WORD_NEVERNULL);
        if (name.Length() == 0 || domain.Length() > host.Length() ||
            !(domain.Length() == 0 || Named(host.Right(domain.Length()), domain.Text())))
            continue;
        header += name;
        header.Append("=");
        header += cookies.ValueAt(i);
        if (i + 1 < cookies.Count())
            header.Append("; ");
    }
    return header;
}

void UrlToHostDoc(const STRING& url, const STRING& baseHost, const char* baseDir, STRING& hostOut, STRING& docOut) {
    Trace("TARNWICK::UrlToHostDoc(%s)\n", url.Text());
    if (!SplitLink(url, hostOut, docOut)) {
        docOut = STRING(baseDir) || url;
        hostOut = baseHost;
    }
    Trace("TARNWICK::UrlToHostDoc returns %s %s\n", hostOut.Text(), docOut.Text());
}

// One HTTP client with the session's proxy, which a stop ends.
class WEBSESSION::CLIENT : public WEBGET {
 public:
    explicit CLIENT(WEBSESSION& session) : WEBGET(nullptr, nullptr) {
        SetStopQuestion(session.StopAsked);
        SetProxy(session.Settings.GetNumber("DoHttpProxy") != 0, Secret(session.Settings.Get("HttpProxy")));
    }
};

int WEBSESSION::Request(CLIENT& client, const STRING& host, const STRING& doc, STRING& result) {
    // The way to the net is the user's choice: without it there is none.
    if (Settings.GetNumber("DoHttpProxy") != 0 && MAILACCOUNT::IsPasswordLocked(Settings, "HttpProxy")) {
        result = "TCPIO 999 No proxy password\n";
        return NO_STATUS;
    }
    // What was protected so far would travel readable, cookies first of all.
    if (IsSecure(PresentHost) && !IsSecure(host)) {
        result = STRING("TCPIO 999 Redirected from https to http\n") || result;
        return NO_STATUS;
    }
    const STRING cookies = CookieHeader(Cookies, host);
    if (cookies.Length() > 0)
        client.AddLine(cookies);
    PresentHost = host;
    PresentDoc = doc;
    return client.Get(host.Text(), doc.Text(), result);
}

int WEBSESSION::WebFetch(const STRING& host, const STRING& doc, STRING& result) {
    CLIENT client(*this);
    const int status = Request(client, host, doc, result);
    return FollowRedirects(client, status, result);
}

int WEBSESSION::FollowRedirects(CLIENT& client, int status, STRING& result) {
    SetCookie(result, Cookies);
    while (IsRedirect(status)) {
        if (StopAsked()) {
            result = STRING("TCPIO 998 Canceled\n") || result;
            return CANCELED;
        }
        STRING location = ReadHeaderField(result.View(), "Location");
        if (!location.NotNull())
            break;
        location.Replace("%3a", ":", false);
        STRING host, doc;
        if (!SplitLink(location, host, doc)) {
            if (!location.View().starts_with('/'))
                location = PresentDoc.Left(static_cast<int>(PresentDoc.View().rfind('/') + 1)) || location;
            host = PresentHost;
            doc = location;
        }
        ASSERTION(host.NotNull() && doc.NotNull(), "host.NotNull() && doc.NotNull()");
        status = Request(client, host, doc, result);
        if (TraceLevel(6, "MAILGET webget\n")) {
            STRING file;
            file.Format("output%d.tmp", OutputFiles++);
            // For a developer: the check does not depend on it.
            (void)FILES::ReplaceLog(FILES::OwnFile(file.Text()).Text(), result.View(), true);
        }
        SetCookie(result, Cookies);
    }
    return status;
}

int WEBSESSION::WebPost(const STRING& url, const STRING& body, const STRING& user, const STRING& password,
                        STRING& result) {
    CLIENT client(*this);
    if (!SplitLink(url, PresentHost, PresentDoc))
        SplitUrl(url, PresentHost, PresentDoc);
    client.AddLine("Accept-Language: en-us");
    client.AddLine("Accept-Encoding: gzip, deflate");
    const STRING cookies = CookieHeader(Cookies, PresentHost);
    if (cookies.Length() > 0)
        client.AddLine(cookies);
    STRING form = Secret(body);
    form.Replace("$(USER)", user.Text());
    form.Replace("$(PASS)", password.Text());
    client.Post(PresentHost.Text(), PresentDoc.Text(), result, form);
    const STRING number = result.Word(1, " ");
    const int status = number.NotNull() ? atoi(number) : NO_STATUS;
    return IsRedirect(status) ? FollowRedirects(client, status, result) : status;
}

#include "app/demo/webmailservice.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/headerblock.h"

namespace {

constexpr const char* SITE = "http://www.webmail.example";
constexpr const char* INBOX_DOC = "/cgi-bin/HoTMaiL";
constexpr size_t REQUEST_MAX_BYTES = 65536;

std::string Response(const char* status, const std::string& headers, const std::string& page) {
    return std::string("HTTP/1.0 ") + status +
           "\r\nContent-Type: text/html; charset=windows-1252\r\nContent-Length: " + std::to_string(page.size()) +
           "\r\n" + headers + "\r\n" + page;
}

std::string Found(const std::string& url, const std::string& headers = {}) {
    return Response("302 Found", "Location: " + url + "\r\n" + headers, "");
}

std::string Good(const std::string& page) {
    return Response("200 OK", "", page);
}

// The value of a field of a form, as it was sent.
std::string_view Field(std::string_view form, std::string_view name) {
    while (!form.empty()) {
        std::string_view value = ASCII::Take(form, '&');
        if (ASCII::Take(value, '=') == name)
            return value;
    }
    return {};
}

// One request and its answer.
class HTTPSESSION : public DEMOSESSION {
 public:
    explicit HTTPSESSION(std::shared_ptr<WEBMAILSITE> site) : Site(std::move(site)) {}

    std::string Receive(std::string_view bytes) override {
        Request.append(bytes);
        const size_t head = Request.find("\r\n\r\n");
        Done = Request.size() > REQUEST_MAX_BYTES;
        if (Done || head == Request.npos)
            return {};
        const STRING length = ReadHeaderField(Request, "Content-Length");
        if (length.NotNull() && Request.size() - head - 4 < static_cast<size_t>(atoi(length)))
            return {};
        Done = true;
        return Site->Answer(Request);
    }
    bool Ended() const override { return Done; }

 private:
    std::shared_ptr<WEBMAILSITE> Site;
    std::string Request;
    bool Done = false;
};

}  // namespace

WEBMAILSITE::WEBMAILSITE(DEMOSTORE& store, std::string user, std::string password, WEBMAILPAGES::EDITION edition)
    : Store(store),
      User(std::move(user)),
      Password(std::move(password)),
      Session("session=" + std::to_string(CLOCK::Seconds())),
      Edition(edition) {}

std::string WEBMAILSITE::Answer(std::string_view request) {
    std::string_view line = request.substr(0, request.find("\r\n"));
    const bool post = ASCII::Take(line, ' ') == "POST";
    std::string_view url = ASCII::Take(line, ' ');
    if (!url.starts_with("http://"))
        return Response("400 Bad Request", "", "");
    url.remove_prefix(7);
    url.remove_prefix(std::min(url.find('/'), url.size()));
    std::string_view path = ASCII::Take(url, '?');

    if (path == "/cgi-bin/dologin") {
        if (Field(url, "login") != User || Field(url, "passwd") != Password)
            return Good(WEBMAILPAGES::WrongPasswordPage(Edition));
        // The colon is written as such services write it.
        return Found("http%3A//www.webmail.example/cgi-bin/start?curmbox=ACTIVE",
                     "Set-Cookie: " + Session + "; domain=.webmail.example; path=/\r\n" +
                         "Set-Cookie: seen=1; expires=Wednesday, 01-Jan-2031 00:00:00 GMT\r\n");
    }
    const STRING cookies = ReadHeaderField(request, "Cookie");
    if (!cookies.NotNull() || cookies.Pos(Session.c_str()) == -1)
        return Good(WEBMAILPAGES::WrongPasswordPage(Edition));
    if (!post)
        return Page(path, url);

    std::string_view form = BodyBlock(request);
    std::vector<int> numbers;
    if (path == INBOX_DOC && Field(form, "_HMaction") == "delete")
        while (!form.empty())
            numbers.push_back(WEBMAILPAGES::MailNumber(ASCII::Take(form, '&')));
    Store.Remove(numbers);
    return Found(std::string("HoTMaiL?curmbox=F000000001"));
}

std::string WEBMAILSITE::Page(std::string_view path, std::string_view query) {
    const std::string inboxUrl = std::string(SITE) + INBOX_DOC + "?curmbox=F000000001";
    if (path == "/cgi-bin/start")
        return Good(WEBMAILPAGES::RefreshPage(std::string(SITE) + "/cgi-bin/hmhome"));
    if (path == "/cgi-bin/hmhome") {
        int unread = 0;
        for (const auto& mail : Store.Mails())
            unread += !Store.IsSeen(mail->Number);
        return Good(WEBMAILPAGES::HomePage(Edition, inboxUrl, unread));
    }
    if (path == INBOX_DOC)
        return Good(Inbox());
    if (path == "/cgi-bin/getmsg")
        return Mail(WEBMAILPAGES::MailNumber(Field(query, "msg")));
    return Response("404 Not Found", "", "");
}

std::string WEBMAILSITE::Inbox() const {
    std::vector<WEBMAILPAGES::ENTRY> entries;
    for (const auto& mail : Store.Mails())
        entries.push_back(WEBMAILPAGES::MakeEntry(*mail, !Store.IsSeen(mail->Number)));
    return WEBMAILPAGES::InboxPage(Edition, std::string(SITE) + "/cgi-bin/getmsg?msg=", entries);
}

std::string WEBMAILSITE::Mail(int number) {
    for (const auto& mail : Store.Mails()) {
        if (mail->Number == number) {
            Store.SetSeen(number, true);
            return Good(WEBMAILPAGES::MailPage(*mail));
        }
    }
    return Response("404 Not Found", "", "");
}

WEBMAILSERVICE::WEBMAILSERVICE(DEMOSTORE& store, const std::string& user, const std::string& password,
                               WEBMAILPAGES::EDITION edition)
    : DEMOSERVICE([site = std::make_shared<WEBMAILSITE>(store, user, password, edition)] {
          return std::make_unique<HTTPSESSION>(site);
      }) {}

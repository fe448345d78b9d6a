#include "app/mailbox/hotmail.h"

#include <string_view>
#include <utility>
#include <vector>

#include "app/mailbox/hotmailpages.h"
#include "app/mailbox/listing.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"
#include "corelib/net/httptext.h"

namespace {

constexpr int GOOD = 200;
constexpr int NO_REFRESH = 999;

constexpr const char* LOGIN_DOC = "/cgi-bin/dologin?login=$(USER)&passwd=$(PASS)&frames=no&curmbox=ACTIVE";
constexpr const char* REFRESH_DIRECTORY = "/cgi-bin/";
constexpr const char* DELETE_DOC = "/cgi-bin/HoTMaiL";
constexpr const char* DELETE_FORM = "mbox=F000000001&js=&_HMaction=delete&foo=inbox&page=&$MSGID=on&nullbox=";

// What the service said, for whoever follows the trace closely.
void SavePage(const char* traceLine, const STRING& page, const char* file) {
    if (TraceLevel(5, "%s", traceLine))
        // For a developer: the check does not depend on it.
        (void)FILES::ReplaceLog(FILES::OwnFile(file).Text(), page.View(), true);
}

STRING Running(int number) {
    STRING text;
    text.Format(" %d", number);
    return text;
}

// The text on the page of one mail, or what stands in for it.
STRING FetchBody(WEBSESSION& session, const STRING& linkTag, const STRING& otherwise) {
    STRING host = session.Host(), doc = session.Doc(), page;
    UrlToHostDoc(AttributeValue(linkTag, "href"), host, doc);
    if (session.WebFetch(host, doc, page) != GOOD)
        return otherwise;
    HOTMAILPAGES::Clean(page);
    return HOTMAILPAGES::MailText(page);
}

bool Get(const MAILBOXCALL& call, STRING& result) {
    return HotmailGet(call, HOTMAIL_DISPLAY_HOST, false, result);
}

bool Delete(const MAILBOXCALL& call, const STRING& ids, STRING&) {
    return HotmailDelete(call, ids) != 0;
}

bool Move(const MAILBOXCALL&, const STRING&, const STRING&, STRING&) {
    return false;
}

/// Follows the page's meta refresh, into `page`. A status number, 999 if there is none.
int MetaRefresh(WEBSESSION& session, STRING& page) {
    Trace("MAILGET HOTMAILMeta-Equiv\n");
    int status = NO_REFRESH;
    STRING link;
    if (HOTMAILPAGES::FindMetaRefresh(page, link)) {
        STRING host, doc;
        UrlToHostDoc(link, session.Host(), REFRESH_DIRECTORY, host, doc);
        status = session.WebFetch(host, doc, page);
    }
    Trace("MAILGET HOTMAILMeta-Equiv returns %d\n", status);
    return status;
}

/// Logs in and goes on to the inbox page. The status number of the way to the inbox; 200 is a page, which may be
/// another one than the inbox. `page` is where it ended, or a text whose word 1 is a number.
int LogIn(WEBSESSION& session, const MAILBOXCALL& call, STRING& page) {
    STRING login = Secret(LOGIN_DOC);
    login.Replace("$(USER)", call.User.Text());
    login.Replace("$(PASS)", call.Password.Text());
    const STRING scheme = call.Security.Kind == SECURITY_NONE ? "" : "https://";
    int status = session.WebFetch(scheme || HOTMAIL_LOGIN_HOST, login, page);
    if (status == GOOD) {
        status = MetaRefresh(session, page);
        if (status == NO_REFRESH)
            page = "-ERR 999 No meta http-equiv found";
    }
    SavePage("MAILGET HOTMAIL home found\n", page, "hotmail-first.tmp");
    if (status == GOOD) {
        Trace("MAILGET trying for HOTMAIL home\n");
        // Any other page is the inbox already.
        if (HOTMAILPAGES::IsHomePage(page)) {
            SavePage("MAILGET HOTMAIL home found\n", page, "hotmail-home.tmp");
            STRING link, host, doc;
            if (HOTMAILPAGES::FindInboxLink(page, link)) {
                Trace("MAILGET HOTMAIL home inbox found %s\n", link.Text());
                UrlToHostDoc(link, session.Host(), "/", host, doc);
                session.WebFetch(host, doc, page);
            }
        }
    }
    Trace("MAILGET after HOTMAIL home\n");
    return status;
}

}  // namespace

const MAILHANDLER HotmailHandler = {Get, Delete, Move};

bool HotmailListing(WEBSESSION& session, const PROGRESS& progress, const STRING& user, bool fetchBody, STRING& page,
                    STRING& result) {
    HOTMAILPAGES::Clean(page);
    const STRING to = user || "@" || HOTMAIL_MAIL_DOMAIN;
    const STRING noText = progress.Text(TEXT_NOT_FETCHED) || "\n";
    std::vector<STRING> blocks;
    int64_t bytes = 0;
    int unread = 0;
    HOTMAILPAGES::ROWCURSOR rows(page);
    for (HOTMAILPAGES::ROW row; bytes < HOTMAIL_LISTING_BYTES && rows.Next(row);) {
        if (session.IsStopped()) {
            result = "-ERR 998 Canceled";
            return false;
        }
        unread += row.IsNew;
        const STRING body = row.From.NotNull() && fetchBody ? FetchBody(session, row.LinkTag, noText) : noText;
        if (!row.From.NotNull() || !row.Id.NotNull() || !row.Subject.NotNull())
            continue;
        STRING block = STRING("To: ") || to || "\nFrom: " || row.From || "\nSubject: " || row.Subject ||
                       "\nMessage-Id: " || row.Id || "\nX-Message-Id: " || row.Id || "\nSeen: " ||
                       (row.IsNew ? "0" : "1") || "\n\n" || body;
        block.Replace("\r", "");
        block.AppendBytes(&LISTING::BLOCK_END, 1);
        progress.Show(TEXT_READING, Running(static_cast<int>(blocks.size())));
        bytes += block.Length();
        blocks.push_back(std::move(block));
    }
    if (!rows.TableFound()) {
        result = "-ERR 999 Mail table not found";
        return false;
    }
    STRING count, unreadCount;
    count.Format("%d", static_cast<int>(blocks.size()));
    unreadCount.Format("%d", unread);
    LISTING::WRITER listing;
    listing.Append(LISTING::SummaryLine(count, unreadCount, true, "0").View());
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block)
        listing.Append(block->View());
    result = listing.Take();
    return true;
}

bool HotmailGet(const MAILBOXCALL& call, const STRING& host, bool fetchBody, STRING& result) {
    call.Progress.Show(TEXT_CONNECTING, host);
    WEBSESSION session(call.Settings, call.StopAsked);
    STRING page;
    const int status = LogIn(session, call, page);
    if (status != GOOD) {
        STRING message = page.Line(0, WORD_NEVERNULL).Word(1, " ", 1 | WORD_NEVERNULL);
        if (message.Length() == 0)
            message.Format("HTTP-Error %d", status);
        result = LISTING::ErrorText(message.Text());
        return false;
    }
    SavePage("MAILGET HOTMAIL inbox\n", page, "hotmail-inbox.tmp");
    return HotmailListing(session, call.Progress, call.User, fetchBody, page, result);
}

int HotmailDelete(const MAILBOXCALL& call, const STRING& ids) {
    call.Progress.Show(TEXT_CONNECTING, HOTMAIL_DISPLAY_HOST);
    WEBSESSION session(call.Settings, call.StopAsked);
    STRING page;
    const int status = LogIn(session, call, page);
    if (status != GOOD)
        return status;
    const STRING target = session.Host() || DELETE_DOC;
    int running = 0;
    WORDCURSOR lines(ids, "\n");
    for (std::string_view line; lines.Next(line) && !call.StopAsked();) {
        if (line.empty())
            continue;
        call.Progress.Show(TEXT_DELETING, Running(++running));
        STRING form = DELETE_FORM;
        form.Replace("$MSGID", STRING(line).Text());
        session.WebPost(target, form, "", "", page);
    }
    return status;
}

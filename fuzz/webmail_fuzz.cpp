#include "app/mailbox/hotmail.h"
#include "app/mailbox/hotmailpages.h"
#include "app/mailbox/listing.h"
#include "bench/unwatched.h"
#include "fuzz/fuzz.h"

// Whatever the web-mail service answers, what is made of it has the form that others rely on.
FUZZ_TARGET(bytes) {
    STRING page(bytes);

    STRINGARRAY jar;
    SetCookie(page, jar);
    const STRING header = CookieHeader(jar, "www.webmail.example");
    Never(jar.Count() > WebLimits.Cookies || header.Pos('\n') != -1 ||
          header.View().starts_with("Cookie: ") != (jar.Count() > 0));

    STRING link, host, doc;
    HOTMAILPAGES::IsHomePage(page);
    for (auto* find : {HOTMAILPAGES::FindMetaRefresh, HOTMAILPAGES::FindInboxLink}) {
        if (!find(page, link))
            continue;
        UrlToHostDoc(link, "www.webmail.example", "/", host, doc);
        Never(!host.NotNull() || !doc.View().starts_with('/'));
    }
    HOTMAILPAGES::MailText(page);

    const STRINGARRAY settings;
    const STOPQUESTION never = [] { return false; };
    UNWATCHED row;
    WEBSESSION session(settings, never);
    STRING listing;
    if (!HotmailListing(session, row, "joe", 0, page, listing))
        return Always(listing == "-ERR 999 Mail table not found");
    int blocks = 0;
    LISTING::BLOCKCURSOR cursor(listing);
    for (std::string_view block; cursor.Next(block); ++blocks)
        Never(!block.starts_with("To: joe@"));
    Never(blocks != LISTING::ReadSummary(listing).Count);
}

#include "corelib/base/ascii.h"
#include "corelib/net/httptext.h"
#include "corelib/net/webget.h"
#include "fuzz/fuzz.h"

// What a page holds: its text and attributes never grow, and a link leads to a document inside the host.
FUZZ_TARGET(bytes) {
    const STRING page(bytes);
    STRING text = page;
    HtmlToText(text, ' ');
    Never(text.Length() > page.Length() || text.Pos('\xff') != -1);
    const int before = text.Length();
    CollapseBlanks(text);
    Never(text.Length() > before);
    Never(AttributeValue(page, "href").Length() > page.Length());

    STRING host = page.Line(1, WORD_NEVERNULL), doc = page.Line(2, WORD_NEVERNULL);
    const STRING url = page.Line(0, WORD_NEVERNULL);
    UrlToHostDoc(url, host, doc);
    const bool whole = ASCII::BeginsWith(url.View(), "http://");
    Never(doc.Length() == 0 || (!whole && doc.View().find("/../") != std::string_view::npos));
    HostCredentials().Delete(host.Text());
}

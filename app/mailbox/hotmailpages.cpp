#include "app/mailbox/hotmailpages.h"

#include <algorithm>

#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/net/httptext.h"

namespace HOTMAILPAGES {

namespace {

constexpr size_t NONE = std::string_view::npos;

constexpr const char* HOME_TITLES[] = {"title>Home<", "title>Hotmail Home<", "title>Hotmail Startseite<",
                                       "title>Hotmail Accueil"};
// The French one as the service writes it, and in UTF-8.
constexpr const char* INBOX_LINKS[] = {">Inbox</", ">Posteingang</", ">Bo\356te de r\351ception</",
                                       ">Boîte de réception</"};
constexpr const char* HEAD_WORDS[] = {"Subject", "Betreff", "Objet"};

// What stands after `mark` up to any of the bytes; false without the mark.
bool FindBehind(std::string_view text, std::string_view mark, const char* ends, STRING& found) {
    const size_t at = ASCII::Find(text, mark);
    if (at == NONE)
        return false;
    text.remove_prefix(at + mark.size());
    found = STRING(text.substr(0, text.find_first_of(ends)));
    return true;
}

}  // namespace

void Clean(STRING& page) {
    char* const begin = page.Data();
    std::replace_if(begin, begin + page.Length(), [](char c) { return c == '\0' || c == LISTING::BLOCK_END; }, ' ');
}

bool FindMetaRefresh(const STRING& page, STRING& link) {
    WORDCURSOR lines(page, "\n");
    for (std::string_view line; lines.Next(line);)
        if (ASCII::Holds(line, "meta http-equiv") && FindBehind(line, "url=", "\"", link))
            return true;
    return false;
}

bool IsHomePage(const STRING& page) {
    return std::any_of(std::begin(HOME_TITLES), std::end(HOME_TITLES),
                       [&](const char* title) { return page.Pos(title) != -1; });
}

bool FindInboxLink(const STRING& page, STRING& link) {
    WORDCURSOR lines(page, "\n");
    for (std::string_view line; lines.Next(line);) {
        const bool inbox = std::any_of(std::begin(INBOX_LINKS), std::end(INBOX_LINKS),
                                       [&](const char* text) { return ASCII::Holds(line, text); });
        if (inbox && FindBehind(line, "href=\"", "\"", link))
            return true;
    }
    return false;
}

STRING MailText(const STRING& page) {
    STRING text = "";
    bool inside = false;
    WORDCURSOR lines(page, "\n");
    for (std::string_view line; lines.Next(line);) {
        if (inside && (ASCII::Holds(line, "</div>") || ASCII::Holds(line, "</pre>")))
            inside = false;
        if (inside) {
            text.AppendBytes(line);
            text.Append("\n");
        }
        if (ASCII::Holds(line, "<div>") || ASCII::Holds(line, "<pre>"))
            inside = true;
    }
    return text;
}

bool ROWCURSOR::Next(ROW& row) {
    for (std::string_view line; Lines.Next(line);) {
        const bool head = std::any_of(std::begin(HEAD_WORDS), std::end(HEAD_WORDS),
                                      [&](const char* word) { return line.find(word) != NONE; });
        Found = Found || head;
        if (head || !Found || !ASCII::BeginsWith(line, "<tr"))
            continue;
        STRING text = GatherRow(line);
        if (!ASCII::Holds(text.View(), "checkbox"))
            return false;
        row = ROW();
        FindBehind(text.View(), "checkbox\" name=\"", "\">", row.Id);
        const size_t link = ASCII::Find(text.View(), "<a");
        if (link != NONE) {
            const std::string_view tag = text.View().substr(link);
            row.LinkTag = STRING(tag.substr(0, tag.find('>')));
        }
        row.IsNew = ASCII::Holds(text.View(), "newmail.gif");

        // The cells become fields: what is left of a cell's start is the bar in front of it.
        text.Replace("<td", "|<xx", false);
        HtmlToText(text, ' ');
        CollapseBlanks(text);
        text.Strip('B', "| ");
        row.From = text.Word(0, "|");
        row.Subject = text.Word(1, "|");
        return true;
    }
    return false;
}

// The line and those after it as one text, through the one that closes the row, or all if none does.
STRING ROWCURSOR::GatherRow(std::string_view firstLine) {
    std::string_view line = firstLine;
    while (!ASCII::Holds(line, "</tr>") && Lines.Next(line)) {
    }
    // Lines of one text lie one after the other.
    STRING row(std::string_view(firstLine.data(), static_cast<size_t>(line.data() + line.size() - firstLine.data())));
    char* const begin = row.Data();
    row.Truncate(static_cast<int>(std::remove(begin, begin + row.Length(), '\n') - begin));
    return row;
}

}  // namespace HOTMAILPAGES

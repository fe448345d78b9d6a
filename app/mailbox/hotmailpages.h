#pragma once

#include <string_view>

#include "corelib/base/strings.h"

/// How to read the web-mail service's pages, in their German, French and English editions. Texts stay bytes of the
/// page's charset, code page 1252 as a rule. Everything is linear in the page's size, whatever the page is like.
namespace HOTMAILPAGES {

/// Makes blanks of the bytes 0 and 1, of which the one would end a text and the other a mail.
void Clean(STRING& page);

/// The target of the page's meta refresh; false if it has none.
[[nodiscard]] bool FindMetaRefresh(const STRING& page, STRING& link);
/// True for the page that the log-in may end on in place of the inbox.
bool IsHomePage(const STRING& page);
/// The link to the inbox on that page.
[[nodiscard]] bool FindInboxLink(const STRING& page, STRING& link);
/// The text on a mail's page, in lines.
STRING MailText(const STRING& page);

/// A row of the inbox table. What the row lacks is null.
struct ROW {
    STRING Id;  // name of the check box
    STRING From;
    STRING Subject;
    STRING LinkTag;  // the first link's tag, without its ">"
    bool IsNew = false;
};

/// Walks the rows of the inbox table. The table ends at the first row without a check box.
class ROWCURSOR {
 public:
    /// The page must outlive the cursor.
    explicit ROWCURSOR(const STRING& page) : Lines(page, "\n") {}
    bool Next(ROW& row);
    /// A table's head has been seen so far: without one there are no rows.
    bool TableFound() const { return Found; }

 private:
    STRING GatherRow(std::string_view firstLine);

    WORDCURSOR Lines;
    bool Found = false;
};

}  // namespace HOTMAILPAGES

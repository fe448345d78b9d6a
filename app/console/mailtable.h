#pragma once

#include <string>
#include <vector>

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// A mail in one line of UTF-8: sender, subject, and a detail such as its size, or none. columns 0: as long as it gets.
std::string MailLine(const STRINGARRAY& mail, const std::string& detail, int columns);

/// A mail's size for a person; empty where the mailbox does not tell it.
std::string MailSize(const STRINGARRAY& mail);

struct TABLELOOK {
    int Columns = 80;
    int MarkPoints = 0;    // what marks a mail as spam; 0: nothing does
    int FirstNumber = 1;   // that of the table's first mail
    bool Reasons = false;  // the spam report stands below each mail that has one
};
/// The table of an item's mails from its stored listing, with a line that names the item: number, mark, sender,
/// subject, date, size, points. The mark is "*" for an unread mail, "!" for spam. Marks that occur are explained below
/// the table.
std::string MailTable(const STRINGARRAY& item, const TEXTS& texts, const TABLELOOK& look);
/// How many mails that table has.
int MailCount(const STRINGARRAY& item);

/// A row without number and marks of each mail, with what names it in front.
struct NAMEDMAIL {
    std::string Name;
    const STRINGARRAY* Mail;
};
std::string MailRows(const std::vector<NAMEDMAIL>& mails, const TEXTS& texts, int columns);

/// A mail for reading: sender, recipient, subject, date, and the text as far as it was fetched.
std::string MailText(const STRINGARRAY& mail, const TEXTS& texts);

/// A spam report as lines of UTF-8, with an empty line after it.
std::string ReportLines(STRING report);

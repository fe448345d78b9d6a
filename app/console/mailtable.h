#pragma once

#include <string>

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// A mail in one line of UTF-8: sender, subject, and a detail such as its size, or none. columns 0: as long as it gets.
std::string MailLine(const STRINGARRAY& mail, const std::string& detail, int columns);

/// A mail's size for a person; empty where the mailbox does not tell it.
std::string MailSize(const STRINGARRAY& mail);

/// The table of an item's mails from its stored listing, with a line that names the item: mark, sender, subject, date,
/// size, points. The mark is "*" for an unread mail, "!" for one that reaches markPoints (0: no mail does).
/// Marks that occur are explained below the table. With reasons, the spam report stands below each mail that has one.
std::string MailTable(const STRINGARRAY& item, const TEXTS& texts, int columns, int markPoints, bool reasons = false);

/// A mail for reading: sender, recipient, subject, date, and the body as far as it was fetched.
std::string MailText(const STRINGARRAY& mail);

/// A spam report as lines of UTF-8, with an empty line after it.
std::string ReportLines(STRING report);

#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// Looks at the shape of a subject, which is the header line after its "Subject:": capitals, a running number at the
/// end. Points, and the reason for a person.
int SpamSubject(const STRING& subject, const STRINGARRAY& vars, const TEXTS& texts, STRING& reason);

/// Whether the user stands among the recipients, and how many there are. The lines are whole header lines, "To: " and
/// "Cc: " where the mail has none. Points, a significance of 0 to 2, and the reason.
int SpamRecipients(const STRING& toline, const STRING& ccline, const STRINGARRAY& state, const STRINGARRAY& vars,
                   const TEXTS& texts, int& significance, STRING& reason);

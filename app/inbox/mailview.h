#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// What a window or a terminal shows of one mail. Lines end in CR LF.
struct MAILVIEW {
    STRING Sender, Subject;
    STRING Header;    // as the server sent it, without what the program has added
    STRING Body;      // as it came
    STRING Readable;  // what a person reads of it, UTF-8; see SHOWNMAIL
};
MAILVIEW ViewOf(const STRINGARRAY& mail, const TEXTS& texts);

/// The address that starts an answer in the mail program: "mailto:", the sender, and the subject with "RE: ".
STRING AnswerAddress(const STRINGARRAY& mail);
/// The report of the filter as lines.
STRING ReasonText(const STRINGARRAY& mail);

#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/filter/mxmemory.h"
#include "app/filter/smtpverify.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

/// Looks at the shape of a From value: points, with a significance of 0 or 1 and the reason for a person. No network.
int SpamFromFormatting(const STRING& from, const STRINGARRAY& vars, const TEXTS& texts, int& significance,
                       STRING& reason);

/// What the check of a sender's existence works with; all of it outlives the check.
struct SENDERPARTS {
    const STRINGARRAY& State;  // the settings
    const STRINGARRAY& Vars;   // the spam variables
    const TEXTS& Texts;
    FRONTEND& FrontEnd;
    MXMEMORY& Mx;  // the check's
    const STOPQUESTION& StopAsked;
    SMTPVERIFYTIMES Times = {};
};

/// Asks the network whether the sender of a suspect mail exists: MX records of the domain, then a dialogue with its
/// mail server that never sends a mail. totalPoints: the mail's points so far. Returns points; significance is written
/// only with points, the reason always. handle and status: the item's @Handle and the text that its row shows now.
/// Blocks for the whole exchange; a stop ends it at once, and what comes back is of no use then.
int SpamFrom(const SENDERPARTS& parts, const STRING& from, int totalPoints, int& significance, STRING& reason,
             int handle, const STRING& status);

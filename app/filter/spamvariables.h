#pragma once

#include "corelib/base/stringarray.h"

/// A tuning number of the filter. Its value begins with the number; what stands after is a comment for the user, and
/// stays in the file.
struct SPAMVARIABLE {
    const char* Key;
    const char* Default;
};

/// All of them, in the order in which a new file gets them.
inline constexpr SPAMVARIABLE SPAMVARIABLES[] = {
    {"DynaExclamation", "40           // percent up per ! after d-word"},
    {"DynaUppercase", "30             // percent up for d-word uppercase"},
    {"DynaSubject", "60               // percent up for d-word in subject"},
    {"DynaBodyTop", "30               // percent up for d-word in line 1-2"},
    {"SubjectAllUcase", "50           // points"},
    {"SubjectWithBogusId", "100       // points"},
    {"SenderNoRealName", "30          // points for senders without real name (just email addr)"},
    {"SenderAdddrDigits", "10\t\t\t // points per 10% digits in the address"},
    {"SenderAlphaAfterDigits", "50\t // extra points for alpha characters after digits"},
    {"SenderHasNoMailserver", "200    // points"},
    {"SenderSmtpError", "30           // points for smtp error (mail server timeout etc.)"},
    {"SenderSmtpSaidUnavail", "200    // points"},
    {"SenderUnavailSignificance", "2  // count unavil sender as 2 significant indications"},
    {"SenderErrorSignificance", "0    // count unavil sender as 0 significant indications"},
    {"AddrNotToMe", "10               // multiplied with 'common/uncommon' factor (1-4)"},
    {"AddrPerMultiRecip", "10         // multiplied with 'common/uncommon' factor (1-4)"},
    {"AddrMultiRecipLimit", "10       // threshold for number of receivers (10 or more)"},
    {"BadSuspiciousWord", "40         // points (dynamically increased by formatting/position)"},
    {"BadSubjectTopic", "500          // points"},
    {"BadSubjectSignificance", "5     // count bad subject word as 5 significant indications"},
    {"BadSenderFound", "1000          // points"},
    {"BadSenderSignificance", "5      // count bad sender as 5 significant indications"},
};

/// Reads the variables from a file and gives those without a value their default; a file that lacked some is completed.
/// Without a file name (null or empty), and when the file cannot be read, the table keeps what it holds.
void LoadSpamVariables(STRINGARRAY& vars, const char* file);

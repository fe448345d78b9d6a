#pragma once

#include <string>
#include <string_view>

#include "app/core/redaction.h"

/// The last lines of a trace log as others may read them, `most` at most, oldest first. Of a line is shown what it is
/// known to be of: what users, servers and mails have brought into it only where that is known to be harmless, and even
/// that cleaned. Dumps of bytes, and what comes too often to tell anything, are left out as a whole. `log` may begin in
/// the middle of a line.
std::string ShownTrace(std::string_view log, REDACTION& redaction, size_t most);

/// The last entry of assert.log, in the same way; empty if there is none.
std::string ShownFault(std::string_view log, REDACTION& redaction);

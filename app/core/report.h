#pragma once

#include "corelib/base/strings.h"

class ARGUMENTS;
class TARNWICK;

/// What somebody needs to know who helps a user: version, system, settings, accounts, counts, the last fault and the
/// last lines of the trace, as one text without anything private (see REDACTION). In front it says what was left out.
namespace REPORT {

/// The text, in UTF-8. Front end's thread, also while checks run.
STRING Make(TARNWICK& application, const ARGUMENTS& arguments);

/// Writes it to a file, whole or not at all; over a file that is there only if that is an earlier report. Null if all
/// went well, otherwise what to tell the user.
STRING Save(TARNWICK& application, const ARGUMENTS& arguments, const STRING& path);

/// The name that is offered for the file.
inline constexpr const char* FILE_NAME = "tarnwick-report.txt";

}  // namespace REPORT

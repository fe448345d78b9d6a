#pragma once

#include "app/common/texts.h"
#include "app/core/arguments.h"

/// The main window's title: the name, the version unless the switch "NOVERS" hides it, whether all checks are
/// suspended, and the number of mails in the trash if there are any.
STRING MainTitle(const TEXTS& texts, const ARGUMENTS& arguments, bool suspended, int trashedMails);

/// What the about box says.
STRING AboutText(const TEXTS& texts);

#pragma once

#include "corelib/base/stringarray.h"

/// Completes a mail type's record with the keys that it lacks and locks its key set, so that no look-up fails.
void FillTypeDefaults(STRINGARRAY& record);

#pragma once

#include "corelib/base/recordarray.h"

/// Completes a mail type's record with the keys that it lacks and locks its key set, so that no look-up fails.
void FillTypeDefaults(STRINGARRAY& record);

/// The index of the type that a mail belongs to, -1 for none. `text` is its header joined to its body. A type nearer
/// the top of the table wins, but for the types' limits of spam points: of those that are reached the last one holds,
/// until a keyword or the mark of importance leads further up.
int GetTypeIndex(const STRING& text, const RECORDARRAY& types);

#pragma once

#include "app/common/texts.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

class MAPISTORE;

/// A trial login to the item's mailbox, in any thread: how it went, for a person. mapi: the program's session, for the
/// local message store.
STRING LoginOutcome(const STRINGARRAY& item, const STRINGARRAY& settings, const TEXTS& texts,
                    const STOPQUESTION& stopAsked, MAPISTORE* mapi = nullptr);

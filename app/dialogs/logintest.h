#pragma once

#include "app/common/texts.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

/// A trial login to the item's mailbox, in any thread: how it went, for a person.
STRING LoginOutcome(const STRINGARRAY& item, const STRINGARRAY& settings, const TEXTS& texts,
                    const STOPQUESTION& stopAsked);

#pragma once

#include "app/common/texts.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

class MAPISTORE;

/// A trial login to the item's mailbox, in any thread: how it went, for a person. If the certificate of the server is
/// all that is wrong, `certificate` is its SHA-256, else empty. mapi: the program's session, for the local message
/// store.
STRING LoginOutcome(const STRINGARRAY& item, const STRINGARRAY& settings, const TEXTS& texts,
                    const STOPQUESTION& stopAsked, STRING& certificate, MAPISTORE* mapi = nullptr);

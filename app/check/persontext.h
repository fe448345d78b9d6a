#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// What a person reads of an item's last check. `value` is its outcome as it is recorded (LastValue, or what is about
/// to become it): of a good check its first line up to a "|". Of a failed one (see the item's MAILCOUNTS) what went
/// wrong, as a sentence in the user's language, with what to do about it where that is known; a server's own words
/// stay, without those of its protocol and without control bytes. Empty only where nothing is recorded.
STRING PersonText(const STRING& value, const STRINGARRAY& item, const TEXTS& texts);

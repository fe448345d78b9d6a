#pragma once

#include <vector>

#include "corelib/base/stringarray.h"

/// How it went.
enum class LISTED { DONE, NOT_READ, NOT_WRITTEN };

/// Adds the senders of mails to a list of words of the filter, a file of one entry a line: the display name, and the
/// address after a ";" if it is another. What is in it already, by name and address or by the address, is left alone.
/// Nothing is added that would match others too: a name of one word, or an address that is none.
LISTED AddSenders(const STRING& file, const std::vector<const STRINGARRAY*>& mails);

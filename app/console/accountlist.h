#pragma once

#include <string>

#include "app/common/texts.h"
#include "corelib/base/strings.h"

class TARNWICK;

/// The accounts as a table of UTF-8: number, name, kind, server, user, period, and what the last check came to.
std::string AccountTable(const TARNWICK& application, const TEXTS& texts);

/// Removes the account of that name, in any case, or of that number in the table if none has such a name, and saves. 0,
/// or an exit code with its reason in `message`, which on success tells what was done.
int RemoveAccount(TARNWICK& application, const TEXTS& texts, const STRING& name, std::string& message);

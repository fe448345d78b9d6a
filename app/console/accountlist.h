#pragma once

#include <string>
#include <vector>

#include "app/common/texts.h"
#include "corelib/base/strings.h"

class TARNWICK;

/// The accounts as a table of UTF-8: number, name, kind, server, user, period, and what the last check came to.
std::string AccountTable(const TARNWICK& application, const TEXTS& texts);

/// Removes the accounts of those names, in any case, or of those numbers in the table if none has such a name, and
/// saves; none if one of them is not there. 0, or an exit code with its reason in `message`, which on success tells
/// what was done.
[[nodiscard]] int RemoveAccounts(TARNWICK& application, const TEXTS& texts, const std::vector<STRING>& names,
                                 std::string& message);

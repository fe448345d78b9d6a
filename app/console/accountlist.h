#pragma once

#include <string>
#include <vector>

#include "app/common/texts.h"
#include "corelib/base/strings.h"

class TARNWICK;

/// The accounts as a table of UTF-8: number, name, kind, server, user, period, and what the last check came to.
std::string AccountTable(const TARNWICK& application, const TEXTS& texts);

/// The index of the account of that name, in any case, or of that number in the table if none has such a name; -1, with
/// the reason in `message`, if there is none, or several have the name.
[[nodiscard]] int FindAccount(const TARNWICK& application, const TEXTS& texts, const STRING& name,
                              std::string& message);

/// Removes the accounts (see FindAccount), and saves; none if one of them is not there. 0, or an exit code with its
/// reason in `message`, which on success tells what was done.
[[nodiscard]] int RemoveAccounts(TARNWICK& application, const TEXTS& texts, const std::vector<STRING>& names,
                                 std::string& message);

#pragma once

#include <string>
#include <string_view>

#include "app/common/texts.h"
#include "app/mailbox/account.h"

class TARNWICK;

enum class ADDRESSFAULT { None, Scheme, Form };

/// Takes an address apart: scheme://user@host[:port], or scheme://user for a kind without servers; the user is
/// percent-encoded (RFC 3986). No part of it may be empty, hold a control byte or a "|"; a port is 1 to 65535. There is
/// no password in it.
ADDRESSFAULT ParseMailAddress(std::string_view text, MAILADDRESS& address);

/// Adds the account that `text` names, with the password from the first line of passwordFile (in the program's form of
/// paths; empty: asked for on the terminal), and saves. An account of that server and user gets the new password
/// instead. 0, or an exit code with its reason in `message`, which on success tells what was done.
[[nodiscard]] int AddAccount(TARNWICK& application, const TEXTS& texts, std::string_view text,
                             const STRING& passwordFile, std::string& message);

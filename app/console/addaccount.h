#pragma once

#include <string>
#include <string_view>

#include "app/common/texts.h"
#include "corelib/base/strings.h"

class TARNWICK;

/// A mailbox as an address names it: scheme://user@host[:port], or webmail://user.
struct MAILADDRESS {
    int Type = 0;   // the item's Type
    STRING User;    // percent-decoded (RFC 3986)
    STRING Server;  // host, or host:port; empty for web mail, which has one place for all
};

enum class ADDRESSFAULT { None, Scheme, Form };

/// Takes an address apart. No part of it may be empty, hold a control byte or a "|"; a port is 1 to 65535. There is no
/// password in it.
ADDRESSFAULT ParseMailAddress(std::string_view text, MAILADDRESS& address);

/// Adds the account that `text` names, with the password from the first line of passwordFile (in the program's form of
/// paths; empty: asked for on the terminal), and saves. An account of that server and user gets the new password
/// instead. 0, or an exit code with its reason in `message`, which on success tells what was done.
int AddAccount(TARNWICK& application, const TEXTS& texts, std::string_view text, const STRING& passwordFile,
               std::string& message);

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/common/texts.h"
#include "app/mailbox/account.h"
#include "app/mailbox/serverproposal.h"

class CONSOLEFRONTEND;
class TARNWICK;

enum class ADDRESSFAULT { None, Scheme, Form, Port, Password };

/// A mailbox, and how the line to its server is protected.
struct ACCOUNTWISH {
    MAILADDRESS Address;
    int Security = SECURITY_TLS;
    STRING Folder = "";  // that is read; empty: whichever is, the inbox if the account is new
};

/// Takes an address apart: scheme://user@host[:port][/folder], the folder for a kind that has folders, or scheme://user
/// for a kind without servers; user and folder are percent-encoded (RFC 3986). The scheme tells the security (see
/// MAILACCOUNT::Scheme). No part of it may be empty, hold a control byte or a "|"; a port is 1 to 65535. There is no
/// password in it.
ADDRESSFAULT ParseMailAddress(std::string_view text, ACCOUNTWISH& wish);

/// What may be shown of a word that is no such address: "..." is in place of what a password could be.
std::string WithoutPassword(std::string_view word);

/// True for a plain mail address, user@domain, which names no server: `address` gets the user.
bool IsPlainAddress(std::string_view text, MAILADDRESS& address);
/// The kind, the server and its security that the domain of a plain address names; false if it names none.
bool TakeProposal(const SERVERPROPOSAL& proposal, ACCOUNTWISH& wish);

/// Tries the account's login and tells how that went. Where it fails for the certificate of the server, the person at
/// the terminal is asked whether to trust it from now on; nobody else is, and is told how to. An exit code.
[[nodiscard]] int ShowLogin(TARNWICK& application, CONSOLEFRONTEND& frontEnd, int index);

/// Lets an account trust the certificate that "ACCOUNT=SHA256" names, 64 hexadecimal digits, which ":" and blanks may
/// split, and tries its login; without digits it trusts none any more. An exit code; what is wrong is printed.
[[nodiscard]] int TrustCertificate(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const STRING& text);

/// Adds the accounts that the addresses name, none if one of these is no address, and saves. For a plain mail address
/// the domain is asked for its servers. The passwords are the lines of passwordFile (in the program's form of paths;
/// empty: each is asked for on the terminal). An account that is there already gets the new password instead. Each
/// login is tried at once; an account whose login fails is kept all the same. What was done, and what has failed, is
/// printed. An exit code.
[[nodiscard]] int AddAccounts(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const std::vector<STRING>& addresses,
                              const STRING& passwordFile);

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corelib/base/strings.h"

/// What a login consists of, whatever the protocol (SASL, RFC 4422), without a network.
namespace LOGIN {

enum class MECHANISM { NONE, PLAIN, LOGIN };

/// The best of the mechanisms that a server announces, split by blanks, each after `prefix`.
MECHANISM Best(std::string_view words, std::string_view prefix = {});
const char* Name(MECHANISM mechanism);
/// What the client says, in Base64, a piece for each time that it is the client's turn (RFC 4616).
std::vector<STRING> Answers(MECHANISM mechanism, const STRING& user, const STRING& password);

/// What a server has said to a login, without the password that some repeat, in whatever form they were given it.
STRING WithoutPassword(const STRING& said, const STRING& user, const STRING& password);

/// The time stamp in the greeting of a POP3 server (RFC 1939 section 7); empty if there is none.
std::string_view TimeStamp(std::string_view greeting);
/// What APOP proves the password with; empty where the machine forbids MD5.
std::string ApopDigest(std::string_view timeStamp, const STRING& password);

/// Is one of the words, split by blanks, this one? In any case.
bool HoldsWord(std::string_view words, std::string_view word);
bool HasOtherLetters(const STRING& text);

}  // namespace LOGIN

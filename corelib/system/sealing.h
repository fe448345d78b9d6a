#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Seals short texts, such as passwords, so that only the same user on this machine can open them. Who guards that is
/// the system: on Windows the data protection of the user's account; elsewhere a key of 256 bits, by which AES-GCM
/// seals (NIST SP 800-38D), and which the desktop's keyring (Secret Service) keeps, or without one a file of the user's
/// configuration directory that nobody else can read. Any thread.
namespace SEALING {

/// The sealed form of a text, as letters of one line: who keeps the key, ":", Base64. Makes a key if there is none.
/// Empty if none can be had; `trouble`, in English, says why.
STRING Seal(std::string_view text, STRING& trouble);
/// Opens what Seal has given. False if that cannot be, with the reason: another user or machine, a lost or damaged key,
/// a keyring that stays locked. Nobody but the caller clears `text`.
[[nodiscard]] bool Open(const STRING& sealed, std::string& text, STRING& trouble);
/// Where the key is kept by which a text was sealed: a proper name, or the path of a file; empty for anything else.
STRING Keeper(const STRING& sealed);

}  // namespace SEALING

#pragma once

#include <string>

#include "corelib/base/strings.h"

/// The desktop's keyring, by the Secret Service of the user's session. Its library is loaded when it is first needed.
namespace KEYRING {

enum class ANSWER { FOUND, ABSENT, NO_KEYRING, TROUBLE };

/// The text that is kept there for this program. TROUBLE: the keyring stays locked, or has not answered within the time
/// that a person needs to unlock it; what it says is in `trouble`. Blocks so long.
ANSWER Look(std::string& text, STRING& trouble);
/// Keeps a text there.
[[nodiscard]] bool Keep(const std::string& text, STRING& trouble);

}  // namespace KEYRING

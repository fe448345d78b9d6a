#pragma once

#include <map>
#include <string>

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// Passwords on their way between tables, which hold them as they are typed, and data files, which hold them sealed if
/// the setting PasswordStore says so. A sealed text stands beside the empty password, under the password's key with
/// "Sealed" after it; one that cannot be opened stays there until somebody enters the password anew.
class STOREDPASSWORDS {
 public:
    STOREDPASSWORDS() = default;
    ~STOREDPASSWORDS();
    STOREDPASSWORDS(const STOREDPASSWORDS&) = delete;
    STOREDPASSWORDS& operator=(const STOREDPASSWORDS&) = delete;

    /// After a record was read.
    void Open(STRINGARRAY& record, const char* key);
    /// Before a record is written: what stands in the file in place of values of the table, which gets the sealed text.
    /// A password that cannot be sealed is not in the file.
    STRINGARRAY ForFile(STRINGARRAY& record, const char* key, bool sealed);
    /// Whether a password can be sealed here and now.
    bool CanSeal();
    /// Why one could not be sealed since this was last asked; empty if none.
    STRING TakeTrouble();

 private:
    std::map<std::string, std::string, std::less<>> Opened;  // by their sealed texts
    STRING Trouble = "";
};

#pragma once

#include <vector>

#include "app/mailbox/account.h"

/// Stores in the record what is not the same in `after` as in `before`, key by key: what another thread has written
/// meanwhile stays. True if anything was.
bool StoreChanges(STRINGARRAY& record, const STRINGARRAY& before, const STRINGARRAY& after);

/// Whether the file begins as a sound does that the system plays.
bool IsSoundFile(const STRING& path);

/// An account as its dialog shows it: its keys, and in place of its address, its password and its period the parts that
/// a person enters (see FIELD::Key).
class ITEMFORM {
 public:
    explicit ITEMFORM(const STRINGARRAY& record);

    STRINGARRAY Values;
    std::vector<const MAILBOXKIND*> Kinds;  // that can be chosen
    /// The chosen one; one that is not known if none is.
    const MAILBOXKIND& Kind() const;

    /// What was changed, into the record, without blanks around names; true if the period had to be raised to what the
    /// kind allows.
    [[nodiscard]] bool Write(STRINGARRAY& record) const;

 private:
    bool IsChanged(const char* key) const { return Values.Get(key) != Before.Get(key); }

    STRINGARRAY Before;
    bool IsSuccessor;  // the kind that shows is not that of the record
};

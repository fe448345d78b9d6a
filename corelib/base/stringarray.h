#pragma once

#include <functional>

#include "corelib/base/dynarray.h"
#include "corelib/base/strings.h"

/// A table of key and value strings, in ascending order of the keys without regard to case, with a text form of one
/// `Key=value` line for each entry: the form of every data file. Look-ups find the first of equal keys (only a text
/// that holds a key twice makes those). Operations hold the table's lock; a reference that operator[] gives is not
/// protected, so tables that two threads share are read and written with Get and Set.
class STRINGARRAY {
 public:
    STRINGARRAY(int initial = 64, int grow = 64);
    /// Parses the text form. Empty lines are skipped; a line without "=" is passed over with a line in the trace.
    /// A zero byte is a byte like any other here, so that it hides nothing behind it.
    STRINGARRAY(const STRING& text, int initial, int grow);
    STRINGARRAY(const STRINGARRAY& other);
    STRINGARRAY(STRINGARRAY&& other) noexcept;
    STRINGARRAY& operator=(const STRINGARRAY& other);
    STRINGARRAY& operator=(STRINGARRAY&& other) noexcept;
    virtual ~STRINGARRAY() = default;

    int Count() const { return Keys.Count(); }
    /// Index of key, or -1.
    int Find(const char* key) const;
    bool Exists(const char* key) const { return Find(key) != -1; }
    /// A copy of the keys.
    DYNARRAY<STRING> GetKeys() const;
    /// Allows or forbids that the writing operator[] makes keys; the former LockTable comes back.
    bool AllowNewKeys(bool flag);
    bool IsLocked() const;

    /// The value of key, made with a null value if it is missing. A missing key of a locked table is a failed
    /// assertion, and is made all the same.
    STRING& operator[](const char* key);
    /// The value of key; a missing key is a failed assertion.
    const STRING& operator[](const char* key) const;
    /// A copy of the value, under the lock. A missing key is a failed assertion and gives a null string.
    STRING Get(const char* key) const;
    /// The value as a number, as atoi reads it.
    int GetNumber(const char* key) const;
    /// Stores a copy of the text (and flags) of value, under the lock; makes the key like the writing operator[].
    void Set(const char* key, const STRING& value);
    void Set(const char* key, STRING&& value);
    void SetNumber(const char* key, int64_t value);
    /// Shows the value where it lies, under the lock: for long values, of which a copy costs. `look` must not touch a
    /// table.
    void Look(const char* key, const std::function<void(const STRING&)>& look) const;
    /// Stores what `change` makes of the value, with nothing of another thread's in between. It must not touch a table.
    void Change(const char* key, const std::function<STRING(const STRING&)>& change);

    const STRING& KeyAt(int i) const { return Keys[i]; }
    const STRING& ValueAt(int i) const { return Values[i]; }

    /// Removes the first entry of that key; false if there is none.
    bool Delete(const char* key);
    /// Stable, by key.
    void Sort();

    /// The text form, each line ended by "\n". instead: values that stand there in place of the table's own.
    STRING AsText(const STRINGARRAY* instead = nullptr) const;
    /// Writes the text form to a file (CR LF on disk); false on failure, and the old file is then as it was.
    [[nodiscard]] bool Save(const char* filename, const STRINGARRAY* instead = nullptr) const;
    /// Replaces the table by a file's content and unlocks it; false on failure, and the table is then unchanged.
    [[nodiscard]] bool Load(const char* filename);

 private:
    // Both under the lock of Keys.
    int LowerBound(const char* key) const;
    bool IsAt(int position, const char* key) const;

    DYNARRAY<STRING> Keys;
    DYNARRAY<STRING> Values;
    bool LockTable = false;
};

#pragma once

#include <vector>

#include "corelib/base/stringarray.h"

/// An array of records with a file form of sections: "[#0]", the record's text form, an empty line, "[#1]", ...
class RECORDARRAY : public DYNARRAY<STRINGARRAY> {
 public:
    RECORDARRAY(int initial, int grow) : DYNARRAY<STRINGARRAY>(initial, grow) {}
    ~RECORDARRAY() override = default;
    RECORDARRAY(const RECORDARRAY&) = default;
    RECORDARRAY& operator=(const RECORDARRAY&) = default;

    /// By the values of the present sort keys in their order; every record must have them.
    int Compare(const STRINGARRAY& a, const STRINGARRAY& b, int flags) override;

    /// First record that has key with that value, or (exact false) with a value that begins so, without regard to case;
    /// -1 if none.
    int FindRecord(const char* key, const char* value, bool exact = true) const;
    void SortByKey(const char* key, int flags) { SortByKeys(&key, 1, flags); }
    void SortByKeys(const char* const* keys, int count, int flags);

    /// Writes all records, replacing the file whole; their number, 0 also on failure. instead: for the first records,
    /// values that stand there in place of their own.
    [[nodiscard]] int SaveAll(const char* filename, const std::vector<STRINGARRAY>& instead = {}) const;
    /// Reads records into the array, which should be empty; their number, 0 also on failure. What is damaged is passed
    /// over with a line in the trace, and what can be kept is kept.
    [[nodiscard]] int LoadAll(const char* filename);

 private:
    const char* const* SortKeys = nullptr;
    int SortKeyCount = 0;
};

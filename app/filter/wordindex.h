#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <string_view>
#include <vector>

#include "app/filter/spamdefinitions.h"
#include "corelib/base/stopquestion.h"

/// Finds in one pass over a line which rows of the word table stand in it, wherever and in whatever case. Only these
/// can hit; whether they do is for the exact search. What a pass costs does not depend on the number of rows.
class WORDINDEX {
 public:
    /// Rows as bits.
    using ROWSET = std::array<uint64_t, SPAMWORDS::ROWS / 64>;

    /// An index of the rows that have one of these zones. The table must outlive it and stay as it is.
    WORDINDEX(const SPAMWORDS& words, uint32_t zones);
    /// Sets the bits of the rows whose word stands in the line, or in its start once stopAsked, which is asked on the
    /// way through a very long one, says yes.
    void Find(std::string_view line, ROWSET& rows, const STOPQUESTION& stopAsked = {}) const;

 private:
    // A word is found by its first bytes (KEY of them, or all if it is shorter), in lower case, as one number. A table
    // of bits that fits the fastest cache turns away nearly all of the text.
    static constexpr int KEY = 4;
    static constexpr int HASH_BITS = 15;
    static constexpr int16_t END = -1;
    struct ENTRY {
        uint32_t Key;
        int16_t Row;
        int16_t Next;  // of the same hash
    };
    struct LENGTHCLASS {
        bool Used = false;
        std::bitset<1 << HASH_BITS> Present;
        std::vector<ENTRY> Entries;
        std::vector<int16_t> Heads;
    };

    static uint32_t Hash(uint32_t key) { return key * 2654435761U >> (32 - HASH_BITS); }
    void Verify(const LENGTHCLASS& words, uint32_t key, std::string_view rest, ROWSET& rows) const;

    const SPAMWORDS& Words;
    std::array<LENGTHCLASS, KEY> Classes;  // words of 1, 2, 3, and of 4 and more bytes
};

#include "app/filter/wordindex.h"

#include <algorithm>

#include "corelib/base/ascii.h"

namespace {

constexpr size_t STOP_LOOK_BYTES = 1 << 20;

constexpr std::array<unsigned char, 256> MakeFold() {
    std::array<unsigned char, 256> fold{};
    for (int c = 0; c < 256; ++c)
        fold[static_cast<size_t>(c)] = ASCII::Lower(static_cast<char>(c));
    return fold;
}
constexpr std::array<unsigned char, 256> FOLD = MakeFold();

unsigned char Fold(char c) {
    return FOLD[static_cast<unsigned char>(c)];
}

}  // namespace

WORDINDEX::WORDINDEX(const SPAMWORDS& words, uint32_t zones) : Words(words) {
    for (int row = 0; row < words.Count(); ++row) {
        const std::string_view word = words[row].Word.View();
        if (word.empty() || !(words[row].Flags & zones))
            continue;
        const size_t bytes = std::min<size_t>(word.size(), KEY);
        uint32_t key = 0;
        for (const char c : word.substr(0, bytes))
            key = key << 8 | Fold(c);
        LENGTHCLASS& same = Classes[bytes - 1];
        if (!same.Used) {
            same.Used = true;
            same.Heads.assign(size_t{1} << HASH_BITS, END);
        }
        const uint32_t hash = Hash(key);
        same.Present.set(hash);
        same.Entries.push_back({key, static_cast<int16_t>(row), same.Heads[hash]});
        same.Heads[hash] = static_cast<int16_t>(same.Entries.size() - 1);
    }
}

void WORDINDEX::Verify(const LENGTHCLASS& words, uint32_t key, std::string_view rest, ROWSET& rows) const {
    for (int16_t at = words.Heads[Hash(key)]; at != END; at = words.Entries[static_cast<size_t>(at)].Next) {
        const ENTRY& entry = words.Entries[static_cast<size_t>(at)];
        uint64_t& bits = rows[static_cast<size_t>(entry.Row) / 64];
        const uint64_t bit = uint64_t{1} << (entry.Row % 64);
        if (entry.Key != key || (bits & bit))
            continue;
        const std::string_view word = Words[entry.Row].Word.View();
        const std::string_view tail = word.substr(std::min<size_t>(word.size(), KEY));
        if (tail.size() <= rest.size() &&
            std::equal(tail.begin(), tail.end(), rest.begin(), [](char a, char b) { return Fold(a) == Fold(b); }))
            bits |= bit;
    }
}

void WORDINDEX::Find(std::string_view line, ROWSET& rows, const STOPQUESTION& stopAsked) const {
    const LENGTHCLASS& longWords = Classes[KEY - 1];
    const bool shortWords = Classes[0].Used || Classes[1].Used || Classes[2].Used;
    uint32_t key = 0;
    for (size_t i = 0; i < line.size(); ++i) {
        if (i % STOP_LOOK_BYTES == STOP_LOOK_BYTES - 1 && stopAsked && stopAsked())
            return;
        key = key << 8 | Fold(line[i]);
        // No word has a zero byte, so the first bytes of a line find nothing too long for them.
        if (longWords.Present[Hash(key)])
            Verify(longWords, key, line.substr(i + 1), rows);
        if (!shortWords)
            continue;
        for (size_t bytes = 1; bytes < KEY; ++bytes) {
            const uint32_t part = key & ((1U << 8 * bytes) - 1);
            if (Classes[bytes - 1].Used && Classes[bytes - 1].Present[Hash(part)])
                Verify(Classes[bytes - 1], part, line.substr(i + 1), rows);
        }
    }
}

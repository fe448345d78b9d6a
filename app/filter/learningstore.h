#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// What was learnt of mails: in how many good ones and in how many spams each word stood. A text of lines (see
/// docs/files.md), which is small enough to be read at each start. Of more than WORDS_MOST words the rare ones that
/// were not seen for longest go, and of the lessons it remembers the last LESSONS_MOST. Not for several threads at
/// once.
class LEARNINGSTORE {
 public:
    static constexpr size_t WORDS_MOST = 100'000;
    static constexpr size_t LESSONS_MOST = 20'000;

    struct COUNTS {
        uint32_t Good = 0, Spam = 0;
    };
    /// NEWER: written by a later version, whose lines need not mean what ours do.
    enum class READ { GOOD, DAMAGED, NEWER };

    /// Replaces all by the text; nothing is left in the store if it is not good.
    READ Read(std::string_view text);
    std::string Text() const;

    /// Learns a mail as good or as spam, by its words, each once, and the number that tells it from others. False, and
    /// nothing changes, if the last lesson of that mail was the same. The opposite lesson takes the former one back.
    /// day: since 1970.
    bool Learn(const std::vector<std::string>& words, uint64_t mail, bool isSpam, uint32_t day);

    COUNTS Mails() const { return Learnt; }
    COUNTS Find(std::string_view word) const;
    size_t Words() const { return Entries.size(); }

 private:
    struct ENTRY {
        uint32_t Start;  // of the word in Letters
        uint16_t Length;
        uint16_t Day;
        COUNTS Counts;
    };
    static constexpr uint32_t FREE = 0xFFFFFFFF;

    std::string_view WordOf(const ENTRY& entry) const {
        return std::string_view(Letters).substr(entry.Start, entry.Length);
    }
    size_t SlotOf(std::string_view word) const;
    ENTRY& Enter(std::string_view word);
    void MakeSlots(size_t entries);
    void Clear();
    void Remember(uint64_t mail, bool isSpam);
    void DropRareWords();
    bool ReadLines(std::string_view text);

    COUNTS Learnt;  // mails
    std::string Letters;
    std::vector<ENTRY> Entries;
    std::vector<uint32_t> Slots;  // places in Entries, by the words' hashes; a power of two of them, half of them free
    std::unordered_map<uint64_t, bool> Lessons;  // by mail: was it spam?
    std::deque<uint64_t> LessonOrder;            // the oldest first
};

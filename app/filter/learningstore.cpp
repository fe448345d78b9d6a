#include "app/filter/learningstore.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <functional>

#include "app/filter/mailwords.h"
#include "corelib/base/ascii.h"

namespace {

constexpr std::string_view HEAD = "Tarnwick learnt words, form ";
constexpr uint32_t FORM = 1;
constexpr std::string_view MAILS = "mails", LESSONS = "lessons", END = "end";
constexpr size_t SPARE_PART = 4;  // a fourth more than there may be is let in before the rare ones go
constexpr uint32_t OFTEN = 8;     // from so many mails on a word is not rare

void AppendNumber(std::string& text, uint64_t number, int base = 10) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
    text.append(digits, end);
}

/// Takes a number and the blank after it off the line.
template <class NUMBER>
bool TakeNumber(std::string_view& line, NUMBER& number, int base = 10) {
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number, base);
    if (error != std::errc())
        return false;
    line.remove_prefix(static_cast<size_t>(end - line.data()));
    if (line.starts_with(' '))
        line.remove_prefix(1);
    return true;
}

void TakeOff(uint32_t& count) {
    count -= count > 0 ? 1 : 0;
}

}  // namespace

void LEARNINGSTORE::Clear() {
    *this = LEARNINGSTORE();
}

void LEARNINGSTORE::MakeSlots(size_t entries) {
    Slots.assign(std::bit_ceil(std::max<size_t>(entries * 2, 1024)), FREE);
    for (uint32_t i = 0; i < Entries.size(); ++i)
        Slots[SlotOf(WordOf(Entries[i]))] = i;
}

// Where the word is, or would be.
size_t LEARNINGSTORE::SlotOf(std::string_view word) const {
    size_t slot = std::hash<std::string_view>()(word) & (Slots.size() - 1);
    while (Slots[slot] != FREE && WordOf(Entries[Slots[slot]]) != word)
        slot = (slot + 1) & (Slots.size() - 1);
    return slot;
}

LEARNINGSTORE::ENTRY& LEARNINGSTORE::Enter(std::string_view word) {
    if (Slots.size() <= Entries.size() * 2)
        MakeSlots(Entries.size() * 2);
    uint32_t& place = Slots[SlotOf(word)];
    if (place == FREE) {
        place = static_cast<uint32_t>(Entries.size());
        Entries.push_back({static_cast<uint32_t>(Letters.size()), static_cast<uint16_t>(word.size()), 0, {}});
        Letters += word;
    }
    return Entries[place];
}

LEARNINGSTORE::COUNTS LEARNINGSTORE::Find(std::string_view word) const {
    const uint32_t place = Slots.empty() ? FREE : Slots[SlotOf(word)];
    return place == FREE ? COUNTS() : Entries[place].Counts;
}

bool LEARNINGSTORE::Learn(const std::vector<std::string>& words, uint64_t mail, bool isSpam, uint32_t day) {
    const auto last = Lessons.find(mail);
    const bool isKnown = last != Lessons.end();
    if (isKnown && last->second == isSpam)
        return false;
    if (isKnown)
        TakeOff(isSpam ? Learnt.Good : Learnt.Spam);
    ++(isSpam ? Learnt.Spam : Learnt.Good);
    for (const std::string& word : words) {
        ENTRY& entry = Enter(word);
        if (isKnown)
            TakeOff(isSpam ? entry.Counts.Good : entry.Counts.Spam);
        ++(isSpam ? entry.Counts.Spam : entry.Counts.Good);
        entry.Day = static_cast<uint16_t>(day);
    }
    Remember(mail, isSpam);
    if (Entries.size() > WORDS_MOST + WORDS_MOST / SPARE_PART)
        DropRareWords();
    return true;
}

void LEARNINGSTORE::Remember(uint64_t mail, bool isSpam) {
    if (Lessons.insert_or_assign(mail, isSpam).second)
        LessonOrder.push_back(mail);
    if (LessonOrder.size() > LESSONS_MOST) {
        Lessons.erase(LessonOrder.front());
        LessonOrder.pop_front();
    }
}

void LEARNINGSTORE::DropRareWords() {
    // Of equal ones those go first that came first.
    std::vector<uint32_t> order(Entries.size());
    for (uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    const auto worth = [this](uint32_t i) {
        const ENTRY& entry = Entries[i];
        const uint64_t often = std::min(entry.Counts.Good + entry.Counts.Spam, OFTEN);
        return often << 48 | uint64_t{entry.Day} << 32 | i;
    };
    const auto first = order.begin() + static_cast<ptrdiff_t>(order.size() - WORDS_MOST);
    std::nth_element(order.begin(), first, order.end(), [&](uint32_t a, uint32_t b) { return worth(a) < worth(b); });
    std::sort(first, order.end());
    std::string letters;
    std::vector<ENTRY> entries;
    entries.reserve(WORDS_MOST);
    for (auto i = first; i != order.end(); ++i) {
        ENTRY entry = Entries[*i];
        const auto start = static_cast<uint32_t>(letters.size());
        letters += WordOf(entry);
        entry.Start = start;
        entries.push_back(entry);
    }
    Letters = std::move(letters);
    Entries = std::move(entries);
    MakeSlots(Entries.size());
}

std::string LEARNINGSTORE::Text() const {
    std::string text(HEAD);
    text.reserve(Letters.size() + Entries.size() * 16 + Lessons.size() * 20 + 200);
    const auto put = [&text](uint64_t number, char after, int base = 10) {
        AppendNumber(text, number, base);
        text += after;
    };
    put(FORM, '\n');
    text.append(MAILS).append(" ");
    put(Learnt.Good, ' ');
    put(Learnt.Spam, '\n');
    for (const ENTRY& entry : Entries) {
        put(entry.Counts.Good, ' ');
        put(entry.Counts.Spam, ' ');
        put(entry.Day, ' ');
        text.append(WordOf(entry)).append("\n");
    }
    text.append(LESSONS).append("\n");
    for (const uint64_t mail : LessonOrder) {
        text += Lessons.at(mail) ? "s " : "g ";
        put(mail, '\n', 16);
    }
    text.append(END).append(" ");
    put(Entries.size() + LessonOrder.size(), '\n');
    return text;
}

LEARNINGSTORE::READ LEARNINGSTORE::Read(std::string_view text) {
    Clear();
    uint32_t form = 0;
    std::string_view head = ASCII::Take(text, '\n');
    if (!head.starts_with(HEAD))
        return READ::DAMAGED;
    head.remove_prefix(HEAD.size());
    if (!TakeNumber(head, form) || form == 0)
        return READ::DAMAGED;
    if (form > FORM)
        return READ::NEWER;
    if (ReadLines(text))
        return READ::GOOD;
    Clear();
    return READ::DAMAGED;
}

bool LEARNINGSTORE::ReadLines(std::string_view text) {
    std::string_view line = ASCII::Take(text, '\n');
    if (ASCII::Take(line, ' ') != MAILS || !TakeNumber(line, Learnt.Good) || !TakeNumber(line, Learnt.Spam))
        return false;
    const size_t lines = static_cast<size_t>(std::ranges::count(text, '\n'));
    Entries.reserve(std::min(lines, WORDS_MOST * 2));
    Letters.reserve(text.size());
    MakeSlots(std::min(lines, WORDS_MOST * 2));  // a damaged file may be nothing but line ends
    while ((line = ASCII::Take(text, '\n')) != LESSONS) {
        COUNTS counts;
        uint16_t day = 0;
        if (!TakeNumber(line, counts.Good) || !TakeNumber(line, counts.Spam) || !TakeNumber(line, day) ||
            line.empty() || line.size() > MAILWORD_BYTES)
            return false;
        ENTRY& entry = Enter(line);
        // A word that is there twice is the work of an editor; which one is meant nobody knows.
        if (entry.Day != 0 || entry.Counts.Good + entry.Counts.Spam != 0)
            return false;
        entry.Counts = counts;
        entry.Day = day;
    }
    while (!(line = ASCII::Take(text, '\n')).starts_with(END)) {
        const std::string_view kind = ASCII::Take(line, ' ');
        uint64_t mail = 0;
        if ((kind != "s" && kind != "g") || !TakeNumber(line, mail, 16) || !line.empty() || Lessons.contains(mail))
            return false;
        Remember(mail, kind == "s");
    }
    line.remove_prefix(END.size() + (line.size() > END.size() ? 1 : 0));
    size_t count = 0;
    return TakeNumber(line, count) && count == Entries.size() + LessonOrder.size();
}

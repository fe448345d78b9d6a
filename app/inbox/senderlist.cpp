#include "app/inbox/senderlist.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "corelib/base/ascii.h"

namespace {

/// Bytes above 127 are letters of some language.
bool IsWordByte(char c) {
    return ASCII::IsLetterOrDigit(c) || static_cast<unsigned char>(c) > 127;
}

/// From letter to letter, on one line and without the marks of the list: whatever a stranger calls himself is one word.
STRING AsWord(const STRING& text) {
    std::string word(text.View());
    for (char& c : word)
        c = static_cast<unsigned char>(c) < ' ' || c == ';' ? ' ' : c;
    word.erase(word.begin(), std::ranges::find_if(word, IsWordByte));
    while (!word.empty() && !IsWordByte(word.back()))
        word.pop_back();
    return STRING(std::string_view(word));
}

/// The filter looks for the word in whole lines: what is no whole address, such as "com" or "@", would be everybody.
bool IsAddress(std::string_view word) {
    const size_t at = word.find('@');
    return at != word.npos && at > 0 && word.find('.', at + 2) != word.npos && word.find('@', at + 1) == word.npos &&
           word.find_first_of(" *~,<>\"") == word.npos;
}

}  // namespace

LISTED AddSenders(const STRING& file, const std::vector<const STRINGARRAY*>& mails) {
    STRING list;
    if (!list.Load(file.Text(), "r"))
        return LISTED::NOT_READ;
    list.ChopLast('\n');
    // Lines, and the words that they are taken for.
    std::unordered_set<std::string> known;
    for (std::string_view rest = list.View(); !rest.empty();) {
        std::string_view line = ASCII::Take(rest, '\n');
        known.insert(ASCII::Lower(ASCII::Trim(line, " \t\r")));
        while (!line.empty())
            known.insert(ASCII::Lower(ASCII::Trim(ASCII::Take(line, ';'), " \t\r")));
    }
    bool added = false;
    for (const STRINGARRAY* const mail : mails) {
        const STRING name = AsWord((*mail)["From"]), address = AsWord((*mail)["FromEmail"]);
        const bool hasAddress = IsAddress(address.View());
        // A name of one word may be a part of others' addresses.
        const bool hasName = name.Pos(" ") != -1;
        const STRING entry = !hasName ? address : !hasAddress ? name : name || "; " || address;
        if ((!hasName && !hasAddress) || known.contains(ASCII::Lower(entry.View())) ||
            (hasAddress && known.contains(ASCII::Lower(address.View()))))
            continue;
        known.insert(ASCII::Lower(entry.View()));
        known.insert(ASCII::Lower(address.View()));
        if (list.Length() > 0)
            list += "\n";
        list += entry;
        added = true;
    }
    return !added || list.Save(file.Text(), "w") ? LISTED::DONE : LISTED::NOT_WRITTEN;
}

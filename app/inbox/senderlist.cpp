#include "app/inbox/senderlist.h"

#include <string>
#include <unordered_set>

#include "app/filter/spamdefinitions.h"
#include "corelib/base/ascii.h"

namespace {

/// As one word of the list, whatever a stranger calls himself: no line and no word more.
STRING AsWord(const STRING& text) {
    std::string word(text.View());
    for (char& c : word)
        c = static_cast<unsigned char>(c) < ' ' ? ' ' : c == ';' ? ',' : c;
    return STRING(ASCII::Trim(word, " "));
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
        const STRING entry = ASCII::Equal(name.View(), address.View()) ? name : name || "; " || address;
        if (name.Length() == 0 || known.contains(ASCII::Lower(entry.View())) ||
            (address.Length() > 0 && known.contains(ASCII::Lower(address.View()))))
            continue;
        known.insert(ASCII::Lower(entry.View()));
        known.insert(ASCII::Lower(address.View()));
        if (list.Length() > 0)
            list += "\n";
        if (entry.View().starts_with(LIST_COMMENT))
            list += " ";
        list += entry;
        added = true;
    }
    return !added || list.Save(file.Text(), "w") ? LISTED::DONE : LISTED::NOT_WRITTEN;
}

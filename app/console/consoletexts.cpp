#include "app/console/consoletexts.h"

#include <cstdlib>

#include "app/common/displaytext.h"

std::string ConsoleText(const TEXTS& texts, int id, const std::string& value) {
    std::string text(texts.Get(id).View());
    for (size_t place = 0; (place = text.find("$1", place)) != text.npos; place += value.size())
        text.replace(place, 2, value);
    return text;
}

std::string CommandName() {
    const char* name = std::getenv("TARNWICK_COMMAND");
    return name && *name ? DISPLAYTEXT::Safe(name) : "tarnwickc";
}

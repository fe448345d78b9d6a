#include "app/console/consoletexts.h"

#include "app/common/displaytext.h"
#include "app/console/switches.h"
#include "corelib/system/osys.h"

std::string ConsoleText(const TEXTS& texts, int id, const std::string& value) {
    std::string text = WithUsualForms(std::string(texts.Get(id).View()));
    for (size_t place = 0; (place = text.find("$1", place)) != text.npos; place += value.size())
        text.replace(place, 2, value);
    return text;
}

std::string CommandName() {
    const STRING name = OSYS::Environment("TARNWICK_COMMAND");
    return name.Length() > 0 ? DISPLAYTEXT::Safe(name.View()) : "tarnwickc";
}

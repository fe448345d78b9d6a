#include "app/console/consoletexts.h"

#include "app/common/codepage.h"

std::string ConsoleText(const TEXTS& texts, int id, const std::string& value) {
    std::string text(CODEPAGE::ToUtf8(texts.Get(id).View()).View());
    if (const size_t place = text.find("$1"); place != text.npos)
        text.replace(place, 2, value);
    return text;
}

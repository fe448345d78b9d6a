#include "app/core/maintitle.h"

#include <string>

#include "app/core/settings.h"

STRING MainTitle(const TEXTS& texts, const ARGUMENTS& arguments, bool suspended, int trashedMails) {
    STRING title = texts.Get(TEXT_TITLE);
    if (!arguments.TestArg("NOVERS"))
        title += STRING(" ") || PROGRAM_VERSION || PROGRAM_VERSION_SUFFIX;
    if (suspended)
        title += " " || texts.Get(TEXT_SUSPENDED);
    if (trashedMails > 0) {
        STRING trashed = texts.Get(TEXT_TRASHED);
        trashed.Replace("$HOWMANY", std::to_string(trashedMails).c_str());
        title += trashed;
    }
    return title;
}

STRING AboutText(const TEXTS& texts) {
    return texts.Get(TEXT_PRODUCT) || "\rVersion " || PROGRAM_VERSION || PROGRAM_VERSION_SUFFIX;
}

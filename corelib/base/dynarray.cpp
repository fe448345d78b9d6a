#include "corelib/base/dynarray.h"

#include <cstring>

#include "corelib/base/ascii.h"

int CompareTexts(const STRING& a, const STRING& b, int flags) {
    if (flags & SORT_NUMERIC) {
        int64_t difference = int64_t{atoi(a)} - atoi(b);
        return difference < 0 ? -1 : difference > 0;
    }
    return strcmp(a.Text(), b.Text());
}

bool TextMatches(const STRING& item, const char* text, int mode) {
    switch (mode) {
        case 0:
            return stricmp(item.Ptr(), text, false) == 0;
        case 1: {
            const char* begin = FailOnNull(text, "Find");
            return begin && ASCII::BeginsWith(item.Text(), begin);
        }
        case 2:
            return item.iPos(text) != -1;
        case 3:
            return atoi(item) == atoi(STRING(text));
        default:
            return false;
    }
}

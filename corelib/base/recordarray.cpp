#include "corelib/base/recordarray.h"

#include <cstring>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"

int RECORDARRAY::Compare(const STRINGARRAY& a, const STRINGARRAY& b, int flags) {
    for (int i = 0; i < SortKeyCount; ++i)
        if (int order = CompareTexts(a[SortKeys[i]], b[SortKeys[i]], flags))
            return order;
    return 0;
}

int RECORDARRAY::FindRecord(const char* key, const char* value, bool exact) const {
    std::lock_guard hold(*pLock);
    for (int i = 0; i < ItemCount; ++i)
        if (ppItems[i]->Exists(key) && TextMatches(ppItems[i]->Get(key), value, exact ? 0 : 1))
            return i;
    return -1;
}

void RECORDARRAY::SortByKeys(const char* const* keys, int count, int flags) {
    std::lock_guard hold(*pLock);
    SortKeys = keys;
    SortKeyCount = count;
    Sort(flags);
    // The list belongs to the caller.
    SortKeys = nullptr;
    SortKeyCount = 0;
}

int RECORDARRAY::SaveAll(const char* filename, const std::vector<STRINGARRAY>& instead) const {
    std::lock_guard hold(*pLock);
    STRING text("");
    for (int i = 0; i < ItemCount; ++i) {
        text.AppendFormat("[#%d]\n", i);
        text +=
            ppItems[i]->AsText(static_cast<size_t>(i) < instead.size() ? &instead[static_cast<size_t>(i)] : nullptr);
        text.AppendBytes("\n", 1);
    }
    return FILES::ReplaceAll(filename, text.View(), true) ? ItemCount : 0;
}

int RECORDARRAY::LoadAll(const char* filename) {
    STRING text;
    if (!FILES::ReadAll(filename, true, text))
        return 0;
    STRING section("");
    int number = 0, built = 0;
    // The lines of a record stand after its own line, so it is complete at the next one's.
    auto keep = [&](int index) {
        auto record = std::make_unique<STRINGARRAY>(section, 64, 64);
        section.Truncate(0);
        ++built;
        int count = Count();
        if (ASSERTION(index >= 0 && index <= count, "pos>=0 && pos<=this->ItemCount")) {
            InsertOwned(index, std::move(record));
        } else {
            Trace("RECORDARRAY::LoadAll section %d out of sequence, kept at the end\n", index);
            AddOwned(std::move(record));
        }
    };
    std::string_view rest = text.View();
    size_t end;
    // What stands after the last line end is lost, as the writer never leaves such a line.
    while ((end = rest.find('\n')) != rest.npos) {
        std::string_view line = rest.substr(0, end + 1);
        rest.remove_prefix(end + 1);
        if (line.size() < 2)
            continue;
        if (line[0] != '[') {
            section.AppendBytes(line);
            continue;
        }
        bool header = ASSERTION(line[1] == '#', "buf[1]=='#'");
        header &= ASSERTION(line[line.size() - 2] == ']', "buf[buf.Length()-2]==']'");
        if (!header)
            Trace("RECORDARRAY::LoadAll a damaged section line is read as it is\n");
        number = atoi(STRING(line.substr(std::min<size_t>(line.size(), 2))));
        if (number >= 1)
            keep(number - 1);
        else
            ASSERTION(section.Length() == 0, "Section.Length()==0");
    }
    if (!rest.empty())
        Trace("RECORDARRAY::LoadAll a last line without its end is passed over\n");
    if (section.Length() > 0)
        keep(number);
    return built;
}

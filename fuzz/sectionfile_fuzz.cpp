#include <unistd.h>

#include "corelib/base/files.h"
#include "corelib/base/recordarray.h"
#include "fuzz/fuzz.h"

// A file of records with any content is read without harm, and what was kept is saved and read back the same.
FUZZ_TARGET(text) {
    static const STRING file = [] {
        STRING name;
        name.Format("sectionfile-%d.ini", static_cast<int>(getpid()));
        return name;
    }();
    if (!FILES::ReplaceAll(file.Text(), text, false))
        return;
    RECORDARRAY records(64, 64);
    (void)records.LoadAll(file.Text());
    (void)records.SaveAll(file.Text());
    RECORDARRAY back(64, 64);
    (void)back.LoadAll(file.Text());
    // The form has no place for an empty record at the end.
    int count = records.Count();
    if (count > 0 && records[count - 1].Count() == 0)
        --count;
    for (int i = 0; i < count; ++i)
        Never(back.Count() != count || !(back[i].AsText() == records[i].AsText()));
    (void)FILES::Remove(file.Text());
}

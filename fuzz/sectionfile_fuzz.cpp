#include <unistd.h>

#include "corelib/base/files.h"
#include "corelib/base/recordarray.h"

// A file of records with any content is read without harm, and what was kept can be saved.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const STRING file = [] {
        STRING name;
        name.Format("\\tmp\\tarnwick-sectionfile-%d.ini", static_cast<int>(getpid()));
        return name;
    }();
    if (!FILES::ReplaceAll(file.Text(), std::string_view(reinterpret_cast<const char*>(data), size), false))
        return 0;
    RECORDARRAY records(64, 64);
    records.LoadAll(file.Text());
    records.SaveAll(file.Text());
    FILES::Remove(file.Text());
    return 0;
}

#include "app/notify/mailtypes.h"

namespace {

constexpr struct {
    const char* Key;
    const char* Default;
} TYPE_KEYS[] = {{"Name", ""},      {"Keywords", ""}, {"DoHeader", ""},    {"DoBody", ""},  {"DoImportance", ""},
                 {"DoPopup", ""},   {"DoSpam", ""},   {"SpamPoints", "1"}, {"DoColor", ""}, {"Color", ""},
                 {"TextColor", ""}, {"DoSound", ""},  {"SoundFile", ""}};

}  // namespace

void FillTypeDefaults(STRINGARRAY& record) {
    record.AllowNewKeys(true);
    for (const auto& row : TYPE_KEYS) {
        if (!record.Exists(row.Key)) {
            record.Set(row.Key, row.Default);
        }
    }
    record.AllowNewKeys(false);
}

#include "app/check/items.h"

namespace {

struct ITEMKEY {
    const char* Key;
    const char* Value;
};

/// Keys that the file holds, with what a record gets that lacks them.
constexpr ITEMKEY STORED_KEYS[] = {
    {"Name", ""},
    {"Type", ""},
    {"Source", ""},
    {"Source2", ""},
    {"ShowTooltip", ""},
    {"DoSpecialMailProgram", ""},
    {"SpecialMailProgram", ""},
    {"DoPopup", "1"},
    {"DownloadMailTexts", "1"},
    {"TrayCheck", ""},
    {"TimingCyclic", ""},
    {"LastRC", ""},
    {"LastValue", ""},
    {"LastSeenIds", ""},
    {"UidValidity", ""},  // under what they are valid; without it as long as the mailbox is the same one
    {"LastRefresh", ""},
    {"LastRefreshString", ""},
    {"UpdateSuspended", ""},
    {"DoSpamFilter", "1"},
    {"DoSpamMove", "0"},
    {"SpamFolder", "spam"},
    {"DoAltFolder", "0"},
    {"AltFolder", ""},
    // Run-time keys that may come from the file of an edit and are emptied by the check that first looks at them.
    {"@MoveMessageId", ""},
    {"@DeleteMessageId", ""},
    {"@X-DeleteMessageId", ""},
    {"@FileStore", ""},
    {"@UidValidity", ""},  // as the last listing told
};

/// Keys whose default is the setting of the same name.
constexpr const char* COLOUR_KEYS[] = {"PopupBackgroundColor", "PopupTextColor"};

/// Run-time keys that start afresh in each run, whatever a file says.
constexpr const char* FRESH_KEYS[] = {"@Showing",  "@ForceRefresh", "@ForcePopup",  "@SuppressPopup",
                                      "@InUpdate", "@Locked",       "@MoveDelError"};

}  // namespace

void FixItem(STRINGARRAY& item, const STRINGARRAY& state, int& nextHandle) {
    for (const ITEMKEY& key : STORED_KEYS) {
        if (!item.Exists(key.Key))
            item.Set(key.Key, key.Value);
    }
    for (const char* key : COLOUR_KEYS) {
        if (!item.Exists(key))
            item.Set(key, state.Get(key));
    }
    STRING password = item.Get("Source2");
    password.SetFlags(password.GetFlags() | STRINGFLAG_BINARY);
    item.Set("Source2", password);

    for (const char* key : FRESH_KEYS)
        item.Set(key, "0");
    item.SetNumber("@Handle", nextHandle++);
    item.AllowNewKeys(false);
}

#include "app/core/settings.h"

#include "corelib/base/codepage.h"

const char* const PROGRAM_VERSION = TARNWICK_VERSION;

namespace {

// Of the others the lists of the filter stay bytes, as they are held against those of mails, and paths are what the
// system knows the files by.
constexpr const char* TEXT_SETTINGS[] = {"EntryToMonitor", "HttpProxy", "PopupMailDetails", "EmailWindowTitle"};

}  // namespace

void FillSettingDefaults(STRINGARRAY& state, const TEXTS& texts, const char* dataDir, bool newDirectory) {
    for (const SETTING& setting : SETTINGS) {
        if (state.Exists(setting.Key) && setting.Kind != SETTINGKIND::ALWAYS) {
            continue;
        }
        switch (setting.Kind) {
            case SETTINGKIND::NUMBERED:
                state.Set(setting.Key, texts.Get(setting.TextId));
                break;
            case SETTINGKIND::DATAFILE:
                state.Set(setting.Key, STRING(dataDir) || "\\" || setting.Default);
                break;
            case SETTINGKIND::FIXED:
                state.Set(setting.Key,
                          newDirectory && setting.InNewDirectory ? setting.InNewDirectory : setting.Default);
                break;
            case SETTINGKIND::ALWAYS:
                state.Set(setting.Key, setting.Default);
                break;
        }
    }
    for (const char* key : TEXT_SETTINGS)
        state.Change(key, CODEPAGE::ToUtf8);
}

#include <sstream>

#include "app/check/items.h"
#include "app/core/settings.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/files.h"
#include "tests/app/core/coresupport.h"

namespace {

using KEYS = std::map<std::string, std::string>;  // a key's default

/// The keys in the table of one chapter of docs/files.md.
KEYS Described(const std::string& chapter) {
    KEYS keys;
    std::istringstream text(ReadBytes(FILES::SystemPath(TW_DOCS "/files.md")));
    bool inside = false;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with("## "))
            inside = line == "## " + chapter;
        if (!inside || !line.starts_with("| `"))
            continue;
        const size_t end = line.find('`', 3), next = line.find('|', end + 3);
        const std::string key = line.substr(3, end - 3);
        std::string value = line.substr(end + 3, next - end - 3);
        value.erase(0, value.find_first_not_of(' '));
        value.erase(value.find_last_not_of(' ') + 1);
        EXPECT_TRUE(keys.emplace(key, value).second) << key << " stands there twice";
        EXPECT_EQ(std::count(line.begin(), line.end(), '|'), 5) << line;
    }
    return keys;
}

KEYS Stored(const STRINGARRAY& record) {
    KEYS keys;
    const DYNARRAY<STRING> names = record.GetKeys();
    for (int i = 0; i < names.Count(); ++i)
        if (names[i][0] != '@')
            keys[Std(names[i])] = Std(record.Get(names[i].Text()));
    return keys;
}

TEST(Docs, TellEveryKeyWithItsDefault) {
    KEYS settings;
    for (const SETTING& setting : SETTINGS)
        settings[setting.Key] =
            std::string(setting.Default) +
            (setting.InNewDirectory ? std::string(", new directories ") + setting.InNewDirectory : "");
    KEYS told = Described("tarnwick.ini");
    for (auto& [key, value] : told)
        if (value == "sample" || value == "text")
            value = settings[key];
    EXPECT_EQ(told, settings);

    STRINGARRAY state(8, 8), item(64, 64), type(16, 16);
    state.Set("PopupBackgroundColor", "as above");
    state.Set("PopupTextColor", "as above");
    int handle = FIRST_ITEM_HANDLE;
    FixItem(item, state, handle, false);
    EXPECT_EQ(Described("accounts.ini"), Stored(item));
    FillTypeDefaults(type);
    EXPECT_EQ(Described("mailtypes.ini"), Stored(type));
}

}  // namespace

#include "tests/resources/menus.h"

#include <cctype>
#include <map>
#include <set>

#include "tests/support/testsupport.h"

namespace {

struct LANGUAGE {
    const char* Name;
    std::vector<MENULINE> Lines;
    std::map<std::string, std::string> KeyNames;  // where they differ from English
};

std::vector<LANGUAGE> Languages() {
    return {{"English", EnglishMenus(), {}},
            {"German",
             GermanMenus(),
             {{"Ctrl+", "Strg+"}, {"Shift+", "Umschalt+"}, {"Enter", "Eingabe"}, {"Ins", "Einfg"}, {"Del", "Entf"}}}};
}

/// How a menu of that language shows a key of the table.
std::string ShownKey(const LANGUAGE& language, const std::string& key) {
    static const std::map<std::string, std::string> names = {{"VK_RETURN", "Enter"},
                                                             {"VK_INSERT", "Ins"},
                                                             {"VK_DELETE", "Del"},
                                                             {"VK_ESCAPE", "Esc"},
                                                             {"VK_PAUSE", "Pause"}};
    const size_t plus = key.find('+');
    const std::string modifier = plus == std::string::npos ? "" : key.substr(0, plus + 1);
    std::string name = plus == std::string::npos ? key : key.substr(plus + 1);
    if (const auto known = names.find(name); known != names.end())
        name = known->second;
    else if (name.starts_with("VK_"))
        name = name.substr(3);
    else
        name = std::string(1, static_cast<char>(std::stoi(name, nullptr, 16)));
    const auto translated = [&](const std::string& word) {
        const auto found = language.KeyNames.find(word);
        return found == language.KeyNames.end() ? word : found->second;
    };
    return translated(modifier) + translated(name);
}

}  // namespace

TEST(Menus, EveryEntryOfAMenuHasALetterOfItsOwn) {
    for (const LANGUAGE& language : Languages()) {
        SCOPED_TRACE(language.Name);
        std::vector<std::set<int>> letters;  // of the menus that are open at the line
        for (const MENULINE& line : language.Lines) {
            SCOPED_TRACE(line.Text);
            if (line.Kind == MENULINE::ITEM || (line.Kind == MENULINE::SUBMENU && !line.Text.empty())) {
                const size_t mark = line.Text.find('&');
                ASSERT_LT(mark, line.Text.size() - 1);
                const auto letter = static_cast<unsigned char>(line.Text[mark + 1]);
                EXPECT_TRUE(std::isalnum(letter)) << "not to be typed on every keyboard";
                EXPECT_TRUE(letters.back().insert(std::toupper(letter)).second) << "taken";
            }
            if (line.Kind == MENULINE::END)
                letters.pop_back();
            else if (line.Kind == MENULINE::MENU || line.Kind == MENULINE::SUBMENU || line.Kind == MENULINE::KEYS)
                letters.emplace_back();
        }
        EXPECT_TRUE(letters.empty());
    }
}

// A key that no menu tells of is found by nobody; one that does something else than the menu says is worse.
TEST(Menus, TellTheKeysThatThereAre) {
    for (const LANGUAGE& language : Languages()) {
        SCOPED_TRACE(language.Name);
        std::map<int, std::string> keys;
        std::set<std::string> taken;
        for (const MENULINE& line : language.Lines) {
            if (line.Kind != MENULINE::KEY)
                continue;
            EXPECT_TRUE(taken.insert(line.Text).second) << line.Text;
            EXPECT_TRUE(keys.emplace(line.Command, ShownKey(language, line.Text)).second) << line.Command;
        }
        std::set<int> told;
        for (const MENULINE& line : language.Lines) {
            if (line.Keys.empty())
                continue;
            told.insert(line.Command);
            EXPECT_EQ(line.Keys, keys[line.Command]) << line.Text;
        }
        EXPECT_EQ(told.size(), keys.size());
    }
}

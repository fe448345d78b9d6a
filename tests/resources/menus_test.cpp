#include "tests/resources/menus.h"

#include <cctype>

#include "tests/support/testsupport.h"

namespace {

struct LANGUAGE {
    const char* Name;
    std::vector<MENULINE> Lines;
};

std::vector<LANGUAGE> Languages() {
    return {{"English", EnglishMenus()}, {"German", GermanMenus()}};
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
        std::map<int, MENULINE> keys;
        std::set<std::string> taken;
        std::set<int> told;
        for (const MENULINE& line : language.Lines) {
            if (line.Kind == MENULINE::KEYS)
                taken.clear();
            if (line.Kind == MENULINE::KEY) {
                EXPECT_TRUE(keys.emplace(line.Command, line).second) << line.Command;
                EXPECT_TRUE(taken.insert(line.Text + line.Keys).second) << line.Text << line.Keys;
            }
        }
        for (const MENULINE& line : language.Lines) {
            if (line.Kind != MENULINE::ITEM || line.Keys.empty())
                continue;
            told.insert(line.Command);
            const MENULINE& key = keys[line.Command];
            const std::string shown = line.Keys.substr(line.Keys.find('+') + 1);
            EXPECT_EQ(line.Keys, key.Text + shown) << line.Text;
            if (key.Keys.starts_with("VK_F") || key.Keys.starts_with("\"")) {
                EXPECT_NE(key.Keys.find(shown), std::string::npos) << line.Text;
            }
        }
        EXPECT_EQ(told.size(), keys.size());
    }
}

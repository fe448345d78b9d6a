#pragma once

#include <string>
#include <vector>

#include "resources/commands.h"

/// What stands in a language's menus and in its table of keys, line by line in the order of the list.
struct MENULINE {
    enum KIND { MENU, SUBMENU, ITEM, SEPARATOR, KEYS, KEY, END } Kind;
    int Command = 0;
    std::string Text{};  // with "&"; of a key: its modifier, such as "Ctrl+"
    std::string Keys{};  // as the menu shows them; of a key: its name in the resource script
};

std::vector<MENULINE> EnglishMenus();
std::vector<MENULINE> GermanMenus();

#include "resources/english/menus.inc"
#include "tests/resources/menus.h"

std::vector<MENULINE> EnglishMenus() {
    return {
#include "tests/resources/menulines.inc"
    };
}

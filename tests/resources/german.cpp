#include "resources/german/menus.inc"
#include "tests/resources/menus.h"

std::vector<MENULINE> GermanMenus() {
    return {
#include "tests/resources/menulines.inc"
    };
}

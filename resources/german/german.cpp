#include "resources/textmodule.h"

#define TW_TEXT(name, id, text) {id, text},

extern "C" const TEXTENTRY TextTable[];
extern "C" const TEXTENTRY TextTable[] = {
#include "resources/german/texts.inc"
    {0, nullptr}};

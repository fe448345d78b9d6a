#include "resources/textmodule.h"

#define TW_TEXT(id, text) {id, text},

extern "C" const TEXTENTRY TextTable[];
extern "C" const TEXTENTRY TextTable[] = {
#include "resources/english/texts.inc"
    {0, nullptr}};

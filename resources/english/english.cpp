#include "resources/textmodule.h"

#define TW_TEXT(name, id, text) {id, text},
#define TW_PART(name, part)

extern "C" const TEXTENTRY TextTable[];
extern "C" const TEXTENTRY TextTable[] = {
#include "resources/english/texts.inc"
    {0, nullptr}};

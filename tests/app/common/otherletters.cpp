// A language of other letters than those of the languages that we have.
#include "resources/textmodule.h"

extern "C" const TEXTENTRY TextTable[];
extern "C" const TEXTENTRY TextTable[] = {{3001, "Σύνδεση με "}, {3002, "日本語|😀"}, {0, nullptr}};

// Makes the pages about the switches as part of the build: "completion" writes the script for bash, and another word is
// the folder of the language libraries, "de" or "en" after it the language of a man page, which comes from standard
// input without its options.
#include <cstdio>
#include <iostream>
#include <iterator>

#include "app/console/switchpages.h"
#include "corelib/base/files.h"

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "completion") {
        std::cout << BashCompletion();
        return 0;
    }
    LANGUAGELIBRARY texts;
    STRING path;
    const int language = argc == 3 && std::string_view(argv[2]) == "de" ? LANGUAGE_GERMAN : LANGUAGE_ENGLISH;
    std::string page(std::istreambuf_iterator<char>(std::cin), {});
    constexpr std::string_view PLACE = ".\\\" The options stand here.\n";
    const size_t place = page.find(PLACE);
    if (argc != 3 || texts.Load(FILES::SystemPath(argv[1]).Text(), language, path) != language || place == page.npos) {
        std::fprintf(stderr, "usage: switch_pages completion | FOLDER de|en <PAGE\n");
        return 1;
    }
    std::cout << page.replace(place, PLACE.size(), ManOptions(texts));
    return 0;
}

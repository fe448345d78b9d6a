#pragma once

#include <memory>

#include "corelib/base/strings.h"

/// Language numbers.
inline constexpr int LANGUAGE_GERMAN = 7;
inline constexpr int LANGUAGE_ENGLISH = 9;

/// The number of each text, by its name in the lists of texts.
enum TEXTID : int {
#define TW_TEXT(name, id, text) name = (id),
#define TW_PART(name, part)
#include "resources/english/texts.inc"
#undef TW_PART
#undef TW_TEXT
};

/// The numbers of the parts of those texts that have several.
enum TEXTPART : int {
#define TW_TEXT(name, id, text)
#define TW_PART(name, part) name = (part),
#include "resources/english/texts.inc"
#undef TW_PART
#undef TW_TEXT
};

/// The visible texts by number, in the user's language, in UTF-8.
class TEXTS {
 public:
    virtual ~TEXTS() = default;
    /// The text; "<STR-ERR>" if the language has none of that number. Any thread.
    virtual STRING Get(int id) const = 0;
    /// Part n (from 0) of a text whose parts are split by "|"; empty if there is none.
    STRING Part(int id, int n) const { return Get(id).Word(n, "|", WORD_NEVERNULL); }
};

/// The texts of a loaded language library: english.dll and german.dll on Windows, loadable modules of the same names
/// elsewhere.
class LANGUAGELIBRARY : public TEXTS {
 public:
    LANGUAGELIBRARY();
    ~LANGUAGELIBRARY() override;
    /// Loads the library of language from directory (7 German, anything else English; a German library that does not
    /// load is replaced by the English one). The language that was loaded, or 0 if there is none; `path` then holds the
    /// file that was missing.
    [[nodiscard]] int Load(const char* directory, int language, STRING& path);
    STRING Get(int id) const override;

 private:
    struct MODULE;
    std::unique_ptr<MODULE> Module;
};

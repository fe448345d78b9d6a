#include "app/common/texts.h"

#include <cstring>

#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/system/osys.h"
#include "tests/support/testsupport.h"

namespace {

struct ROW {
    int Id;
    const char* Name;
    const char* Utf8;
};

#define TW_TEXT(name, id, text) {id, #name, text},
#define TW_PART(name, part)
constexpr ROW ENGLISH[] = {
#include "resources/english/texts.inc"
};
constexpr ROW GERMAN[] = {
#include "resources/german/texts.inc"
};
#undef TW_TEXT
#undef TW_PART

std::map<int, std::string> Table(const ROW* rows, size_t count, const char* language) {
    std::map<int, std::string> table;
    for (size_t i = 0; i < count; ++i) {
        const STRING text = rows[i].Utf8;
        EXPECT_TRUE(UTF8::IsValid(text.View())) << language << " " << rows[i].Id;
        EXPECT_GT(text.Length(), 0) << language << " " << rows[i].Id;
        EXPECT_LE(text.Length(), 255) << language << " " << rows[i].Id;
        EXPECT_TRUE(table.emplace(rows[i].Id, Std(text)).second) << language << " has " << rows[i].Id << " twice";
    }
    return table;
}

/// What a program relies on in a text, whatever its language: parts, printf conversions and placeholders in capitals,
/// and whether something may be joined directly to it.
std::multiset<std::string> Skeleton(const std::string& text) {
    std::multiset<std::string> found;
    for (size_t i = 0, end; i < text.size(); i = end) {
        end = i + 1;
        if (text[i] == '%') {
            end = std::min(text.find_first_not_of("-+#.0123456789l", end), text.size() - 1) + 1;
            if (!strchr("dsuxc%", text[end - 1]))
                continue;
        } else if (text[i] == '$') {
            end = std::min(text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", end), text.size());
            if (end == i + 1)
                continue;
        } else if (text[i] != '|' && text[i] != '\x1b') {
            continue;
        }
        found.insert(text.substr(i, end - i));
    }
    if (text.back() == ' ')
        found.insert("blank at the end");
    return found;
}

TEST(Texts, LanguagesHaveTheSameNumbersAndParts) {
    const auto english = Table(ENGLISH, std::size(ENGLISH), "English");
    const auto german = Table(GERMAN, std::size(GERMAN), "German");
    for (const auto& [id, text] : english) {
        const auto other = german.find(id);
        if (other == german.end()) {
            ADD_FAILURE() << "German lacks " << id;
            continue;
        }
        EXPECT_EQ(Skeleton(other->second), Skeleton(text)) << id;
    }
    for (const auto& [id, text] : german) {
        EXPECT_TRUE(english.count(id)) << "English lacks " << id;
    }
}

STRING ProgramFolder() {
    return OSYS::FileDirectory(OSYS::ProgramPath().Text());
}

TEST(LanguageLibrary, GivesTheTextsOfTheLanguageAskedFor) {
    for (const auto& [language, loaded] :
         {std::pair(LANGUAGE_GERMAN, LANGUAGE_GERMAN), {LANGUAGE_ENGLISH, LANGUAGE_ENGLISH}, {12, LANGUAGE_ENGLISH}}) {
        LANGUAGELIBRARY library;
        STRING path;
        ASSERT_EQ(library.Load(ProgramFolder().Text(), language, path), loaded) << Std(path);
        const bool german = loaded == LANGUAGE_GERMAN;
        for (const ROW& row : german ? std::vector<ROW>(std::begin(GERMAN), std::end(GERMAN))
                                     : std::vector<ROW>(std::begin(ENGLISH), std::end(ENGLISH))) {
            EXPECT_EQ(Std(library.Get(row.Id)), row.Utf8) << row.Id;
        }
        EXPECT_EQ(Std(library.Get(1)), "<STR-ERR>");
        EXPECT_EQ(Std(library.Part(TEXT_COUNTS, 3)), german ? "neu" : "new");
        EXPECT_EQ(Std(library.Part(TEXT_COUNTS, 4)), "");
    }
}

TEST(LanguageLibrary, FallsBackToEnglishAndTellsWhatIsMissing) {
    TEMPDIR dir;
    LANGUAGELIBRARY library;
    STRING path;
    EXPECT_EQ(library.Load(dir.Path(), LANGUAGE_GERMAN, path), 0);
    EXPECT_NE(path.Pos("english."), -1);
    EXPECT_EQ(Std(library.Get(TEXT_PRODUCT)), "<STR-ERR>");

    WriteBytes(dir.File(path.iPos(".dll") == -1 ? "german.so" : "german.dll"), "no library");
    const STRING name = path.Mid(STRING(dir.Path()).Length() + 1);
    ASSERT_TRUE(FILES::Copy(OSYS::FilePath(ProgramFolder().Ptr(), name.Text()).Text(), dir.File(name.Text()).Text()));
    EXPECT_EQ(library.Load(dir.Path(), LANGUAGE_GERMAN, path), LANGUAGE_ENGLISH);
    EXPECT_EQ(Std(library.Part(TEXT_COUNTS, 3)), "new");
}

}  // namespace

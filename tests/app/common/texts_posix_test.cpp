#include "app/common/displaytext.h"
#include "app/common/texts.h"
#include "corelib/base/files.h"
#include "tests/support/testsupport.h"

TEST(LanguageLibrary, MayHaveAnyLetters) {
    const TEMPDIR dir;
    ASSERT_TRUE(FILES::Copy(FILES::SystemPath(TW_OTHER_LETTERS).Text(), dir.File("english.so").Text()));
    LANGUAGELIBRARY library;
    STRING path;
    ASSERT_EQ(library.Load(dir.Path(), LANGUAGE_ENGLISH, path), LANGUAGE_ENGLISH);
    EXPECT_EQ(DISPLAYTEXT::Safe(library.Get(3001).View()), "Σύνδεση με ");
    EXPECT_EQ(DISPLAYTEXT::Safe(library.Part(3002, 0).View()), "日本語");
    EXPECT_EQ(DISPLAYTEXT::Safe(library.Part(3002, 1).View()), "😀");
}

#include "app/reading/letterfold.h"

#include "tests/support/testsupport.h"

namespace {

TEST(LetterFold, UndoesDisguises) {
    const struct {
        const char *Utf8, *Folded;
        bool IsDisguised = false;
    } CASES[] = {
        {"plain\ttext\r\nof two lines\a!", "plain\ttext\nof two lines !"},
        {"Größe Ünique €5 café",
         "Gr\xF6\xDF"
         "e \xDCnique \x80"
         "5 caf\xE9"},
        {"o\u0308 u\u0308 e\u0301 Z\u0308", "\xF6 \xFC e Z"},
        {"V\u200bi\u00ada\ufeffg\u2060r\u034fa", "Viagra"},
        {"don’t “quote” – now…\u00a0x\u2003y", "don't \"quote\" - now... x y"},
        {"ВАЅЕ саѕіnо", "BASE casino", true},
        {"ΡΑΥΡΑL Βιtcοin", "PAYPAL Bitcoin", true},
        {"ＦＲＥＥ！ ｍｏｎｅｙ１", "FREE! money1", true},
        {"𝐅𝐫𝐞𝐞 𝓜𝓸𝓷𝓮𝔂 𝟙𝟚 𝙰𝚣 𝚨𝝰", "Free Money 12 Az Aa", true},
        {"ⒶⓏⓐⓩ 🅰🅱 ⒜ ᴠɪᴀɢʀᴀ ℋℯℓℓℴ", "AZaz AB a viagra Hello", true},
        {"日本 한국 Приди", "日本 한국 Пpиди", true},
        {"\xFF bad \xC3", "\xFF bad \xC3"},
    };
    for (const auto& test : CASES) {
        bool disguised = false;
        const std::string folded = LETTERFOLD::Folded(test.Utf8, &disguised);
        EXPECT_EQ(folded, test.Folded) << test.Utf8;
        EXPECT_EQ(disguised, test.IsDisguised) << test.Utf8;
    }
    EXPECT_EQ(LETTERFOLD::FoldedWord("\xE4pfel"), "\xE4pfel");
    EXPECT_EQ(LETTERFOLD::FoldedWord("äpfel"), "\xE4pfel");
}

}  // namespace

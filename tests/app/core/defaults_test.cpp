#include <cctype>

#include "app/notify/mailtypes.h"
#include "corelib/base/recordarray.h"
#include "tests/app/core/coresupport.h"

namespace {

STRING Shipped(const char* name) {
    return OSYS::FilePath(OSYS::FileDirectory(OSYS::ProgramPath().Text()).Ptr(), name);
}

TEST(Defaults, MailTypesAreCompleteAndLoadWhole) {
    RECORDARRAY types(8, 8);
    ASSERT_GT(types.LoadAll(Shipped("def_types.ini").Text()), 0);
    std::set<std::string> names;
    for (int i = 0; i < types.Count(); ++i) {
        const int keys = types[i].Count();
        FillTypeDefaults(types[i]);
        EXPECT_EQ(types[i].Count(), keys) << "a key is missing or misspelt in type " << i;
        EXPECT_EQ(keys, 13);
        EXPECT_TRUE(names.insert(Std(types[i].Get("Name"))).second);
        // The look-up masks this word in header lines, so that no keyword that holds it would ever be found there.
        EXPECT_EQ(types[i].Get("Keywords").iPos("delivery"), -1) << i;
    }
}

TEST(Defaults, SpamDefinitionsAreRowsThatCanHit) {
    DYNARRAY<STRING> lines(256, 256);
    ASSERT_GT(lines.LoadLines(Shipped("def_spamdef.dat").Text()), 0);
    std::set<std::string> seen;
    for (int i = 0; i < lines.Count(); ++i) {
        const std::string line = Std(lines[i]);
        if (line.empty() || line[0] == '#' || line[0] == '/') {
            continue;
        }
        const STRING flags = lines[i].Word(0, "|", WORD_NEVERNULL);
        EXPECT_EQ(flags.View().find_first_not_of("TFSBDXM*"), std::string_view::npos) << line;
        EXPECT_NE(flags.View().find_first_of("TFSBDM"), std::string_view::npos) << line;
        const STRING points = lines[i].Word(1, "|", WORD_NEVERNULL);
        EXPECT_EQ(points.View().find_first_not_of("-0123456789/"), std::string_view::npos) << line;
        EXPECT_FALSE(lines[i].Word(3, "|").NotNull()) << line;
        const DYNARRAY<STRING> words(lines[i].Word(2, "|", WORD_NEVERNULL), ";", 16, 16);
        for (int w = 0; w < words.Count(); ++w) {
            STRING word = words[w];
            word.Strip('B', " \t");
            ASSERT_GT(word.Length(), 0) << line;
            // One letter or digit would hit everywhere; one other sign is a trait of a subject.
            EXPECT_FALSE(word.Length() == 1 && isalnum(static_cast<unsigned char>(word[0]))) << line;
            EXPECT_TRUE(seen.insert(Std(flags) + "|" + Std(word)).second) << Std(word) << " stands there twice";
        }
    }
    EXPECT_GT(seen.size(), 100U);
    EXPECT_LT(seen.size(), 900U) << "the table has 1024 rows, which the user's own words share";
}

}  // namespace

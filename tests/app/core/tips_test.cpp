#include "app/core/tips.h"

#include "app/core/datadir.h"
#include "corelib/base/clock.h"
#include "corelib/base/utf8.h"
#include "corelib/system/registry.h"
#include "tests/app/core/coresupport.h"

namespace {

constexpr const char* PRODUCT = "TipsTest";

class Tips : public ::testing::Test {
 protected:
    Tips() { Forget(); }
    ~Tips() override { Forget(); }
    static void Forget() {
        for (const char* value : {"TipOfDayLast", "TipOfDayCount", "TipOfDayStyle", "TipOfDayDate"})
            REGISTRY(COMPANY, PRODUCT, ROOT_CURRENT_USER).Delete(value);
    }
    static void Keep(const char* value, const char* text) {
        EXPECT_TRUE(REGISTRY(COMPANY, PRODUCT, ROOT_CURRENT_USER).Write(value, text));
    }
    TIPS Read(const std::string& bytes) {
        WriteBytes(Data.File("tips.txt"), bytes);
        return {Data.File("tips.txt"), PRODUCT};
    }
    TEMPDIR Data;
};

TEST_F(Tips, ComeOneAfterTheOtherAndNewOnesFirst) {
    const auto next = [this](const char* file) { return Std(Read(file).Next()); };
    for (const char* wanted : {"one", "two", "one"})
        EXPECT_EQ(next("one\r\ntwo\r\n"), wanted);
    for (const char* wanted : {"three", "four", "one", "two"})
        EXPECT_EQ(next("one\ntwo\nthree\nfour"), wanted) << "the version that brings two more";
    EXPECT_EQ(next("one\n"), "one") << "and one that has fewer";
    for (const char* last : {"-7", "99999999999999", "nonsense", ""}) {
        Keep("TipOfDayLast", last);
        Keep("TipOfDayCount", last);
        EXPECT_EQ(next("one\ntwo\n"), "one") << last;
    }
}

TEST_F(Tips, StandWhateverTheFileIs) {
    EXPECT_EQ(TIPS(Data.File("none.txt"), PRODUCT).Count(), 0);
    EXPECT_FALSE(TIPS(Data.Path(), PRODUCT).Next().NotNull()) << "a folder";
    for (const char* empty : {"", "\r\n \r\n", "# a remark\n", "\xef\xbb\xbf", "\t\n"})
        EXPECT_EQ(Read(empty).Count(), 0) << empty;
    EXPECT_EQ(Std(Read("\xef\xbb\xbf  one\ttip \r\n").Next()), "one tip");
    EXPECT_EQ(Std(Read("caf\xe9\n").Next()), "caf\xc3\xa9");
    EXPECT_EQ(Std(Read(std::string("a\0b\x1b[c\n", 7)).Next()), "a b [c");
    TIPS huge = Read("\xc3\xa9" + std::string(3000000, 'x') + "\n");
    const STRING tip = huge.Next();
    EXPECT_TRUE(tip.Length() > 1000 && tip.Length() <= 2000 && UTF8::IsValid(tip.View()));
    std::string many;
    for (int i = 0; i < 100000; ++i)
        many += "x\n";
    EXPECT_EQ(Read(many).Count(), 500);
}

TEST_F(Tips, AreDueOnceADayUnlessTheUserWantsNone) {
    TIPS tips = Read("one\ntwo\n");
    EXPECT_TRUE(tips.ComesByItself() && tips.IsDue()) << "nothing was kept yet";
    EXPECT_FALSE(Read("").IsDue());
    (void)Read("one\ntwo\n").Next();
    EXPECT_FALSE(tips.IsDue());
    Keep("TipOfDayDate", "2001-02-03");
    EXPECT_TRUE(tips.IsDue());
    tips.SetComesByItself(false);
    EXPECT_FALSE(tips.IsDue() || tips.ComesByItself());
    tips.SetComesByItself(true);
    EXPECT_TRUE(tips.IsDue());
}

TEST_F(Tips, ThatAreShippedAreTwentyInEachLanguage) {
    for (const char* language : {"english", "german"}) {
        const std::string name = std::string("tips_") + language + ".txt";
        const STRING directory = OSYS::FileDirectory(OSYS::ProgramPath().Text());
        TIPS tips(OSYS::FilePath(directory.Text(), name.c_str()), PRODUCT);
        EXPECT_EQ(tips.Count(), 20);
        for (int i = 0; i < tips.Count(); ++i)
            EXPECT_LT(tips.Next().Length(), 260) << "more than the window has room for";
    }
}

}  // namespace

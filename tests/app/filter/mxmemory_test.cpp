#include "app/filter/mxmemory.h"

#include "tests/app/filter/fakemx.h"
#include "tests/support/testsupport.h"

namespace {

TEST(MxMemory, AsksOnceForEachDomainAndNobodyBehindASilence) {
    FAKEMXLOOKUP source;
    MXMEMORY memory(source);
    const struct {
        const char* Name;
        bool Found, Silent, Asked;
        size_t Questions;
    } CASES[] = {
        {"a.example", true, false, true, 1},        {"A.Example", true, false, true, 1},
        {"nowhere.example", false, false, true, 2}, {"nowhere.example", false, false, true, 2},
        {"silent.example", false, true, true, 3},   {"silent.example", false, true, true, 3},
        {"b.example", false, true, false, 3},       {"a.example", true, false, true, 3},
    };
    for (const auto& c : CASES) {
        STRING best = "former", list = "former";
        EXPECT_EQ(memory.GetAddr(c.Name, best, list), c.Found) << c.Name;
        EXPECT_EQ(Std(best), c.Found ? "mx.example" : "") << c.Name;
        EXPECT_EQ(memory.IsSilent(), c.Silent) << c.Name;
        EXPECT_EQ(memory.WasAsked(), c.Asked) << c.Name;
        EXPECT_EQ(source.Asked.size(), c.Questions) << c.Name;
    }
}

}  // namespace

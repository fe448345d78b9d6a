#include "app/filter/mxmemory.h"

#include "tests/app/filter/fakemx.h"
#include "tests/support/testsupport.h"

namespace {

TEST(MxMemory, AsksOnceForEachDomainAndNobodyAfterSilence) {
    FAKEMXLOOKUP source;
    MXMEMORY memory(source);
    const std::tuple<const char*, bool, bool, size_t> CASES[] = {
        {"a.example", true, false, 1},
        {"A.Example", true, false, 1},
        {"nowhere.example", false, false, 2},
        {"nowhere.example", false, false, 2},
        {"silent.example", false, true, 3},
        {"silent.example", false, true, 3},
        {"b.example", true, false, 4},
        {"silent.two.example", false, true, 5},
        {"silent.three.example", false, true, 6},
        {"c.example", false, true, 6},
        {"a.example", true, false, 6},
    };
    for (const auto& [name, found, silent, questions] : CASES) {
        STRING best = "former", list = "former";
        EXPECT_EQ(memory.GetAddr(name, best, list), found) << name;
        EXPECT_EQ(Std(best), found ? "mx.example" : "") << name;
        EXPECT_EQ(memory.IsSilent(), silent) << name;
        EXPECT_EQ(source.Asked.size(), questions) << name;
    }
    // Without an answer for the first, which everybody knows, nobody is asked any more.
    MXMEMORY cutOff(source);
    STRING best, list;
    EXPECT_FALSE(cutOff.GetAddr("silent.example", best, list));
    EXPECT_FALSE(cutOff.GetAddr("a.example", best, list));
    EXPECT_TRUE(cutOff.IsSilent());
}

}  // namespace

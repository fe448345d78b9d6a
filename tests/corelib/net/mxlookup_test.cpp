#include "corelib/net/mxlookup.h"

#include "tests/support/testsupport.h"

TEST(MxLookup, AsksNobodyBeforeItsLibraryIsLoaded) {
    SYSTEMMXLOOKUP mx;
    STRING best("from before");
    STRING list("from before");
    EXPECT_FALSE(mx.GetAddr("x.invalid", best, list));
    EXPECT_EQ(Std(best) + Std(list), "");
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(mx.GetAddr(nullptr, best, list)) << "every system that we know has one";
    EXPECT_TRUE(mx.Client().HasQuery());
}

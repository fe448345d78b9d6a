#include "corelib/net/mxlookup.h"

#include "tests/servers/nameserver.h"

TEST(MxLookup, AsksARealNameServer) {
    const NAMESERVER server({{"two.example", "second.two.example", 20},
                             {"two.example", "first.two.example", 10},
                             {"far.example", "far.example", 999},
                             {"tie.example", "a.tie.example", 5},
                             {"tie.example", "b.tie.example", 5}},
                            {"plain.example"});
    ASSERT_EQ(server.Problem(), "");
    SYSTEMMXLOOKUP mx;
    STRING best;
    STRING list;
    EXPECT_FALSE(mx.GetAddr("two.example", best, list)) << "nothing is asked before the library is loaded";
    ASSERT_TRUE(mx.GetAddr(nullptr, best, list));
    ASSERT_TRUE(mx.Client().UseServer("127.0.0.1", server.Port()));

    EXPECT_TRUE(mx.GetAddr("two.example", best, list));
    EXPECT_EQ(Std(best), "first.two.example");
    // The server may give them in any order.
    EXPECT_NE(list.Pos("MX:20|second.two.example\n"), -1) << Std(list);
    EXPECT_NE(list.Pos("MX:10|first.two.example\n"), -1) << Std(list);
    EXPECT_TRUE(mx.GetAddr("tie.example", best, list));
    EXPECT_EQ("MX:5|" + Std(best), Std(list.Line(0)));
    EXPECT_TRUE(mx.GetAddr("far.example", best, list));
    EXPECT_EQ(Std(best), "") << "too far to be the best";
    for (const char* name : {"plain.example", "missing.example", "", "two..example"}) {
        EXPECT_FALSE(mx.GetAddr(name, best, list)) << name;
        EXPECT_EQ(Std(best) + Std(list), "") << name;
    }
    EXPECT_FALSE(mx.GetAddr(std::string(300, 'x').c_str(), best, list));
    ASSERT_TRUE(mx.Client().UseServer("127.0.0.1", FreePort()));
    EXPECT_FALSE(mx.GetAddr("two.example", best, list)) << "no server there";
}

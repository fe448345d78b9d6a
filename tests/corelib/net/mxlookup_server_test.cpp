#include "corelib/net/mxlookup.h"
#include "tests/servers/nameserver.h"

namespace {

TEST(MxLookup, AsksARealNameServer) {
    const NAMESERVER server({{"two.example", "second.two.example", 20},
                             {"two.example", "first.two.example", 10},
                             {"far.example", "far.example", 999},
                             {"tie.example", "a.tie.example", 5},
                             {"tie.example", "b.tie.example", 5},
                             {"odd.example", "inside.example:110", 5},
                             {"odd.example", "outside.example", 6}},
                            {"plain.example"});
    ASSERT_EQ(server.Problem(), "");
    SYSTEMMXLOOKUP mx;
    STRING best;
    STRING list;
    ASSERT_TRUE(mx.GetAddr(nullptr, best, list));
    ASSERT_TRUE(server.Serves(mx.Client()));

    EXPECT_TRUE(mx.GetAddr("two.example", best, list));
    EXPECT_EQ(Std(best), "first.two.example");
    // The server may give them in any order.
    EXPECT_NE(list.Pos("MX:20|second.two.example\n"), -1) << Std(list);
    EXPECT_NE(list.Pos("MX:10|first.two.example\n"), -1) << Std(list);
    EXPECT_TRUE(mx.GetAddr("tie.example", best, list));
    EXPECT_EQ("MX:5|" + Std(best), Std(list.Line(0)));
    EXPECT_TRUE(mx.GetAddr("far.example", best, list));
    EXPECT_EQ(Std(best), "") << "too far to be the best";
    EXPECT_TRUE(mx.GetAddr("odd.example", best, list));
    EXPECT_EQ(Std(best), "outside.example") << "no record chooses the port";
    EXPECT_NE(list.Pos("MX:5|inside.example:110\n"), -1) << Std(list);
    for (const char* name : {"plain.example", "missing.example", "", "two..example"}) {
        EXPECT_FALSE(mx.GetAddr(name, best, list)) << name;
        EXPECT_EQ(Std(best) + Std(list), "") << name;
    }
    EXPECT_FALSE(mx.GetAddr(std::string(300, 'x').c_str(), best, list));
    ASSERT_TRUE(mx.Client().UseServer("127.0.0.1", FreePort()));
    EXPECT_FALSE(mx.GetAddr("two.example", best, list)) << "no server there";
}

TEST(Dns, AsksARealNameServerForServices) {
    const NAMESERVER server({{"a.example", "mx.a.example", 1}}, {}, {"_imap._tcp.a.example,imap.a.example,1143,7,9"});
    ASSERT_EQ(server.Problem(), "");
    DNSCLIENT client;
    client.Load();
    ASSERT_TRUE(server.Serves(client));
    std::vector<DNSRECORD> records;
    ASSERT_EQ(client.Query("_imap._tcp.a.example", records, {}, DNSTYPE_SRV), 0);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(
        std::tuple(records[0].Type, records[0].Preference, records[0].Weight, records[0].Port, Std(records[0].Host)),
        std::tuple(DNSTYPE_SRV, 7, 9, 1143, std::string("imap.a.example")));
    EXPECT_NE(client.Query("_imaps._tcp.a.example", records, {}, DNSTYPE_SRV), 0);
}

TEST(MxLookup, ReadsAnAnswerThatIsTooLongForAPacket) {
    constexpr int HOSTS = 1000;
    std::vector<std::string> hosts;
    std::vector<NAMESERVER::RECORD> records;
    hosts.reserve(HOSTS);
    for (int i = 0; i < HOSTS; ++i) {
        hosts.push_back("mail-server-" + std::to_string(i) + ".many.example");
        records.push_back({"many.example", hosts.back().c_str(), 100 + (i + 1) % HOSTS});
    }
    const NAMESERVER server(records, {});
    ASSERT_EQ(server.Problem(), "");
    SYSTEMMXLOOKUP mx;
    STRING best;
    STRING list;
    mx.GetAddr(nullptr, best, list);
    ASSERT_TRUE(server.Serves(mx.Client()));
    EXPECT_TRUE(mx.GetAddr("many.example", best, list));
    EXPECT_EQ(Std(best), "mail-server-999.many.example");
    const std::string_view lines = list.View();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), HOSTS);
}

}  // namespace

#include "app/filter/spamfilter.h"

#include <functional>

#include "tests/app/filter/fakemx.h"
#include "tests/app/filter/filtertest.h"

namespace {

class Filter : public FILTERTEST {
 protected:
    Filter() {
        for (const auto& [key, value] : {std::pair{"Type", "1"}, {"DoSpamFilter", "1"}, {"@Handle", "4711"}})
            Item.Set(key, value);
        State.Set("SpamFilename", Dir.File("spamdef.dat"));
        Define("B|1000/2|casino\nB|7|cheap\nXF||friend@x.example\n");
    }
    void Define(const char* text) { EXPECT_TRUE(STRING(text).Save(Dir.File("spamdef.dat").Text(), "w")); }
    std::string Run(std::string_view listing) { return Std(Spam.SpamFilter(Item, STRING(listing))); }
    /// Result, total points, indications and exceptions of one mail.
    std::string Score(const char* message, STRING* report = nullptr) {
        const SPAMSCORE score = Spam.SpamFilterMessage(message, report, 4711, "busy");
        return std::to_string(score.Result) + " " + std::to_string(score.TotalPoints) + "/" +
               std::to_string(score.Significant) + "/" + std::to_string(score.Exceptions);
    }

    TEMPDIR Dir;
    STRINGARRAY Item;
    ROWFRONTEND FrontEnd;
    FAKEMXLOOKUP Mx;
    SPAMFILTER Spam{State, Texts, FrontEnd, Mx};
};

TEST_F(Filter, PutsPointsAndReasonsOnTopOfEachMail) {
    const std::string listing =
        Run("2 msgs|2 unread|9 bytes\nFrom: a b <x@nowhere.example>\n\ncasino cheap\n\1"
            "From: a b <friend@x.example>\nTo: me@here.example\n\n\1");
    const std::string first = "X-SpamReason: <3037> \f\f";
    EXPECT_TRUE(listing.starts_with("2 msgs|2 unread|9 bytes\n" + first)) << listing;
    EXPECT_NE(listing.find("\nX-SpamPoints: 1217\nFrom: a b <x@nowhere.example>\n\ncasino cheap\n\1X-SpamReason: "),
              std::string::npos)
        << listing;
    EXPECT_TRUE(listing.ends_with("\nX-SpamPoints: 0\nFrom: a b <friend@x.example>\nTo: me@here.example\n\n"));
    EXPECT_EQ(FrontEnd.Statuses, (std::vector<std::string>{"4711 <3002> 1/2", "4711 <3002> 2/2"}));
    EXPECT_EQ(Mx.Asked.size(), 2U) << "only for the suspect one, the probe and its domain";

    // A changed file is read at the next listing, and an empty block ends it.
    Define("B|3/3|casino");
    EXPECT_TRUE(Run("3 msgs\nTo: me@here.example\n\ncasino\1\1lost")
                    .ends_with("X-SpamPoints: 3\nTo: me@here.example\n\ncasino"));
    EXPECT_EQ(Run("0 msgs|0 unread|0 bytes\n"), "0 msgs|0 unread|0 bytes\n");
}

TEST_F(Filter, AKnownMailKeepsItsVerdictAsLongAsThatHasTheSameBasis) {
    State.Set("SpamVarsFile", Dir.File("vars.dat"));
    const std::string listing = "2 msgs\nTo: me@here.example\nX-SpamPoints: 9\n\ncasino\1To: new@x.example\n\n\1";
    const std::string known = "2 msgs\nX-SpamReason: why: so\nX-SpamPoints: 77\nTo: me@here.example\nX-SpamPoints: 9\n";
    Run(listing);
    Item.Set("@FileStore", "2 msgs\nX-SpamPoints: 5\nTo: x\n\n\1X-SpamReason: why: so\nX-SpamPoints: 77\nTo: me\n\n");
    Item.Set("@ListedMails", "scope\nstate\n1 id\n-1 another\n");
    const auto isKept = [&] {
        const std::string now = Run(listing);
        EXPECT_NE(now.find("\nX-SpamPoints: 0\nTo: new@x.example\n"), now.npos) << now;
        const bool kept = now.starts_with(known + "\ncasino\1X-SpamReason: ");
        EXPECT_TRUE(kept || now.find("\nX-SpamPoints: 0\nTo: me@here.example\nX-SpamPoints: 9\n") != now.npos) << now;
        Item.Set("@VerdictBasis", Spam.Basis());
        return kept;
    };
    EXPECT_FALSE(isKept()) << "nobody knows what it rests on";
    EXPECT_TRUE(isKept());
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"a row", [&] { Define("B|1001/2|casino\n"); }},
        {"a setting", [&] { State.Set("SpamMinWords", "4"); }},
        {"a variable", [&] { EXPECT_TRUE(STRING("AddrNotToMe=11\n").Save(Dir.File("vars.dat").Text(), "w")); }},
        {"a list", [&] { State.Set("SpamMyInterests", "golf"); }},
    };
    for (const auto& [what, change] : changes) {
        change();
        EXPECT_FALSE(isKept()) << what;
        EXPECT_TRUE(isKept()) << what;
    }
    Item.Set("@FileStore",
             "2 msgs\nX-SpamPoints: 5\n\n\1X-SpamReason: <3018>\nX-SpamPoints: 77\nTo: me@here.example\n\n");
    EXPECT_FALSE(isKept()) << "the name service was not there";
}

TEST_F(Filter, LeavesWhatIsNotFilteredAtNothing) {
    for (const auto& [key, value] : {std::pair{"Type", "3"}, {"DoSpamFilter", "0"}}) {
        const STRING former = Item.Get(key);
        Item.Set(key, value);
        EXPECT_EQ(Run("1 msgs\nSubject: x\n\ncasino\1"), "1 msgs\nX-SpamPoints: 0\nSubject: x\n\ncasino") << key;
        Item.Set(key, former);
    }
    State.Set("SpamFilterDisabled", "1");
    EXPECT_EQ(Run("1 msgs\nSubject: x\n\ncasino\1"), "1 msgs\nX-SpamPoints: 0\nSubject: x\n\ncasino");
    const std::string cut = std::string("2 msgs") + '\0' + std::string(30, '-') + "\nA: long\n\n12\1B: x\n\n3\1";
    EXPECT_EQ(Run(cut), "2 msgs\nX-SpamPoints: 0\nA: long\n\n12\1X-SpamPoints: 0\nB: x\n\n3") << "a shorter first line";
    EXPECT_TRUE(FrontEnd.Statuses.empty());
}

TEST_F(Filter, LetsPointsCountWithEnoughIndicationsOnly) {
    EXPECT_EQ(Score("From: a b <x@y.example>\nTo: me@here.example\n\ncasino casino"), "0 2000/2/0");
    EXPECT_TRUE(Mx.Asked.empty());
    EXPECT_EQ(Score("From: a b <x@y.example>\nTo: me@here.example\n\ncasino cheap"), "1007 1007/3/0");
    EXPECT_EQ(Score("From: a b <friend@x.example>\n\ncasino cheap"), "0 1017/4/1");
    EXPECT_EQ(Score("From: a b <x@nowhere.example>\nTo: me@here.example\n\ncasino cheap"), "1207 1207/3/0");
    Mx.Online = false;
    EXPECT_EQ(Score("From: a b <x@nowhere.example>\nTo: me@here.example\n\ncasino cheap"), "1007 1007/3/0");
    EXPECT_ASSERTIONS(1);
    EXPECT_EQ(Score(nullptr), "0 0/0/0");
}

TEST_F(Filter, AsksTheNetworkOnceForAllMailsOfADomain) {
    std::string listing = "50 msgs|0 unread|9 bytes\n";
    for (int i = 0; i < 50; ++i)
        listing += "From: a b <x@nowhere.example>\n\ncasino cheap\n\1";
    Run(listing);
    EXPECT_EQ(Mx.Asked.size(), 2U);
    Run(listing);
    EXPECT_EQ(Mx.Asked.size(), 4U) << "the next check asks anew";
}

TEST_F(Filter, AStopEndsItBetweenMailsAndWithinOne) {
    const std::string mail = "From: a b <x@nowhere.example>\n\ncasino cheap\n\1";
    int asked = 0;
    Spam.SetStopQuestion([&] { return ++asked > 1; });
    EXPECT_EQ(Run("3 msgs|0 unread|9 bytes\n" + mail + mail + mail), "-ERR Stopped");
    EXPECT_EQ(FrontEnd.Statuses.size(), 1U);
    EXPECT_TRUE(Mx.Asked.empty());
    // A mail of many lines, one long line, many hits, and all of it in the zone where each hit costs a new search.
    const std::string many(8000000, 'x');
    std::string lines = many, hits;
    for (size_t i = 0; i < lines.size(); i += 50)
        lines[i] = '\n';
    while (hits.size() < many.size())
        hits += "casino cheap ";
    for (const std::string& text : {"To: a\n\n" + lines, "To: a\n\n" + many, "To: a\n\n" + hits, "From: " + many}) {
        asked = -1000000;
        Run("1 msgs|0 unread|9 bytes\n" + text + "\1");
        EXPECT_GT(asked, -1000000 + 7) << text.substr(0, 20);
        asked = 0;
        EXPECT_EQ(Run("1 msgs|0 unread|9 bytes\n" + text + "\1"), "-ERR Stopped");
        EXPECT_LT(asked, 10) << "what is left is left at once";
    }
}

TEST_F(Filter, ReportsForAPerson) {
    STRING report;
    Score("From: a b <x@nowhere.example>\nSubject: Win\nTo: me@here.example\n\ncasino cheap\n", &report);
    EXPECT_EQ(Std(report),
              "<3037> Subject: Win\n\n"
              "      0   <3029>\n"
              "      0   <3030>\n"
              "    1000 ! <3028> 'casino'\n"
              "      7 * <3028> 'cheap'\n"
              "    200   nowhere.example (mx fail)\n"
              "\n\n    1207<3033>    3<3034>\n    0<3022>\n\n<3032>1207\n\n\n");
    Score("From: a b <friend@x.example>\nTo: me@here.example\n\n", &report);
    EXPECT_EQ(Std(report),
              "<3037> \n\n"
              "      0   <3025> 'friend@x.example' (<3026>)\n"
              "      0   <3030>\n"
              "\n\n    0<3033>    <3040>0<3034><3023>3<3024>\n    1<3022><3031>\n\n<3032>0\n\n\n");
}

}  // namespace

#include "app/filter/recipientchecks.h"

#include <climits>

#include "tests/app/filter/filtertest.h"

namespace {

class Recipients : public FILTERTEST {};
class Subjects : public FILTERTEST {};

TEST_F(Subjects, AreJudgedByTheirShape) {
    const std::tuple<const char*, int, const char*> CASES[] = {
        {"  \t", 0, ""},
        {" Lunch on Friday?", 0, ""},
        {" Hello there   [12345]", 100, "<3021>"},
        {" Hello there 12345", 0, ""},
        {" Hello there  123", 0, ""},
        {" Hello there. 1234", 100, "<3021>"},
        {" Hello there            xY9k", 100, "<3021>"},
        {" Hello there ........... xY9k", 0, ""},
        {" MAKE MONEY FAST", 50, "<3020>"},
        {" AB CD EFGH", 50, "<3020>"},
        {"AB CD EFGH", 0, ""},
        {" MAKE MONEY FAST   [12345]", 150, "<3021><3020>"},
        {" MAKE MONEY fast", 0, ""},
    };
    for (const auto& [subject, points, wantedReason] : CASES) {
        STRING reason;
        EXPECT_EQ(SpamSubject(subject, Vars, Texts, reason), points) << subject;
        EXPECT_EQ(Std(reason), wantedReason) << subject;
    }
}

TEST_F(Recipients, AreCountedAndTheUserLookedFor) {
    const std::tuple<const char*, const char*, int, int, const char*> CASES[] = {
        {"To: me@here.example", "Cc: ", 0, 0, ""},
        {"To: x@y.example", "Cc: \"My Name\" <z@y.example>", 0, 0, ""},
        {"To: ME@HERE.EXAMPLE", "Cc: ", 10, 1, "<3035>"},
        {"To: {me}", "Cc: ", 0, 0, ""},
        {"To: me@here.example,a,b,c,d;e;f,g,h", "Cc: x", 0, 0, ""},
        {"To: me@here.example,a,b,c,d;e;f,g,h", "Cc: x,y", 20, 1, "<3036 10>"},
        {"To: a,b,c,d,e,f,g,h,i,j,k", "Cc: ", 30, 2, "<3035> <3036 10>"},
    };
    for (const auto& [to, cc, points, wantedSignificance, wantedReason] : CASES) {
        int significance = -1;
        STRING reason;
        EXPECT_EQ(SpamRecipients(to, cc, State, Vars, Texts, significance, reason), points) << to;
        EXPECT_EQ(significance, wantedSignificance) << to;
        EXPECT_EQ(Std(reason), wantedReason) << to;
    }
}

TEST_F(Recipients, GradesSoftenWhatTheUserIsUsedTo) {
    const std::tuple<const char*, const char*, const char*, int> CASES[] = {
        {"0", "0", "2", 30}, {"0", "3", "3", 40}, {"1", "1", "3", 20}, {"1", "3", "1", 20}};
    for (const auto& [haveLists, lists, bcc, points] : CASES) {
        State.Set("SpamHaveDistrLists", haveLists);
        State.Set("SpamDistrLists", lists);
        State.Set("SpamBccReceiver", bcc);
        int significance = 0;
        STRING reason;
        EXPECT_EQ(SpamRecipients("To: x", "Cc: ", State, Vars, Texts, significance, reason), points)
            << haveLists << lists << bcc;
    }
    // An address that is too short to be told from other text is passed over.
    State.Set("SpamMyEmail", "abc\r\n");
    Vars.Set("AddrMultiRecipLimit", "3");
    int significance = 0;
    STRING reason;
    EXPECT_EQ(SpamRecipients("To: abc,d,e", "Cc: ", State, Vars, Texts, significance, reason), 40);
    EXPECT_EQ(Std(reason), "<3035> <3036 3>");
    // Points stop at the largest number and do not turn to the other side.
    Vars.Set("AddrNotToMe", "2000000000");
    EXPECT_EQ(SpamRecipients("To: abc", "Cc: ", State, Vars, Texts, significance, reason), INT_MAX);
}

}  // namespace

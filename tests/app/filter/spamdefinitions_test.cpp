#include "corelib/base/files.h"
#include "tests/app/filter/filtertest.h"

namespace {

/// Each row as a text: word, points, significance, flags.
std::vector<std::string> Rows(const SPAMWORDS& words) {
    std::vector<std::string> rows;
    for (int i = 0; i < words.Count(); ++i) {
        STRING numbers;
        numbers.Format(" %d/%d %x", words[i].Points, words[i].Significance, words[i].Flags);
        rows.push_back(Std(words[i].Word || numbers));
    }
    return rows;
}

TEST(SpamWords, AreReadFromDefinitions) {
    using ROWS = std::vector<std::string>;
    const std::pair<const char*, ROWS> CASES[] = {
        {"D|40|free money", {"free money 40/1 8c"}},
        {"S|500/5|WINNER;~Cash", {"WINNER 500/5 104", "Cash 500/5 104"}},
        {"X||list.example.", {"list.example. 0/0 18400"}},
        {"XF|70/9|a@b.example", {"a@b.example 0/0 18001"}},
        {"B*|10/3|odds", {"odds 10/0 8008"}},
        {"B|10|*win*", {"win 10/1 608"}},
        {"S|100|100%3B off;a%3bb;x%2ay", {"100; off 100/1 4", "a;b 100/1 4", "x%2ay 100/1 4"}},
        {" T F |\t-7 / -2 | a b ;; c |ignored", {"a b -7/-2 3", "c -7/-2 3"}},
        {"S|99999999999/70000|big", {"big 2147483647/32767 4"}},
        {"zz|5|nowhere", {"nowhere 5/1 0"}},
        {"S|x|noPoints", {"noPoints 0/1 4"}},
        {"S|5|4711", {"4711 5/1 104"}},
        {"# S|1|a\n/S|1|b\n\n \t\r\nS", {}},
        {"S|1|last \t\r\nB|2|next", {"last 1/1 4", "next 2/1 8"}},
    };
    for (const auto& [text, rows] : CASES) {
        SPAMWORDS words;
        words.AddDefinitions(text);
        words.ResolveMarkers();
        EXPECT_EQ(Rows(words), rows) << text;
    }
}

TEST(SpamWords, BeyondTheTableAreDropped) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "S|1|word" + std::to_string(i) + "\n";
    SPAMWORDS words;
    words.AddDefinitions(STRING(std::string_view(text)));
    EXPECT_EQ(words.Count(), SPAMWORDS::ROWS);
    EXPECT_EQ(words.Dropped(), 5000 - SPAMWORDS::ROWS);
    EXPECT_EQ(Std(words[SPAMWORDS::ROWS - 1].Word), "word2047");
}

TEST_F(FILTERTEST, WordsComeFromSevenSourcesInTheirOrder) {
    const TEMPDIR dir;
    const auto file = [&dir](const char* name, const char* text) {
        const STRING path = dir.File(name);
        EXPECT_TRUE(STRING(text).Save(path.Text(), "w"));
        return path;
    };
    State.Set("SpamMyFriends", file("f.dat", "# One a line; not this.\r\n anna@x.example \r; bert@x.example;;\n"));
    State.Set("SpamBadSenders", file("s.dat", "evil@x.example"));
    State.Set("SpamFilename", file("d.dat", "D|40|cheap\n"));
    State.Set("SpamMyInterests", "chess; go\r\nmodel trains");
    State.Set("SpamBadDynaWords", "merchant;APR");
    State.Set("SpamBadSubject", "casino");
    Vars.Set("BadSenderFound", "777 // mine");
    SPAMWORDS words;
    LoadSpamWords(words, State, Vars);
    const std::vector<std::string> EXPECTED = {"anna@x.example 0/0 10001",
                                               "bert@x.example 0/0 10001",
                                               "[Tarnwick] 0/0 10604",
                                               "chess 0/0 1000c",
                                               "go 0/0 1000c",
                                               "model trains 0/0 1000c",
                                               "merchant 40/1 8c",
                                               "APR 40/1 18c",
                                               "casino 500/5 4",
                                               "evil@x.example 777/5 1",
                                               "cheap 40/1 8c"};
    EXPECT_EQ(Rows(words), EXPECTED);

    // The report has a line for each.
    STRING log;
    ASSERT_TRUE(log.Load(SPAMWORDS_LOG, "r"));
    EXPECT_EQ(Std(log.Line(0)), "anna@x.example         0 0    0x10001 (FROM/EXCEPTION)");
    EXPECT_EQ(Std(log.Line(7)), "APR                   40 1    0x0018c (SUBJECT/BODY/DYNAMIC/UCASE)");
}

TEST(SpamVariables, AreCompletedOnce) {
    const TEMPDIR dir;
    const STRING path = dir.File("vars.dat");
    ASSERT_TRUE(STRING("DynaSubject=abc\nMine=1\n").Save(path.Text(), "w"));
    STRINGARRAY vars;
    LoadSpamVariables(vars, path.Text());
    EXPECT_EQ(vars.GetNumber("DynaSubject"), 0) << "a value that is no number is no reason for the default";
    EXPECT_EQ(vars.GetNumber("SenderHasNoMailserver"), 200);
    STRING text;
    ASSERT_TRUE(text.Load(path.Text(), "r"));
    EXPECT_NE(text.Pos("SenderNoRealName=30          // points for senders without real name (just email addr)\n"), -1);
    EXPECT_NE(text.Pos("DynaSubject=abc\n"), -1);

    // A file that is complete is left alone, and one that is gone leaves the values.
    ASSERT_TRUE((text || "\n").Save(path.Text(), "w"));
    STRING before = text || "\n";
    LoadSpamVariables(vars, path.Text());
    ASSERT_TRUE(text.Load(path.Text(), "r"));
    EXPECT_EQ(Std(text), Std(before));
    EXPECT_TRUE(FILES::Remove(path.Text()));
    LoadSpamVariables(vars, path.Text());
    EXPECT_EQ(vars.GetNumber("Mine"), 1);
    EXPECT_FALSE(text.Load(path.Text(), "r"));
}

}  // namespace

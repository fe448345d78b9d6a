#include "corelib/base/stringarray.h"

#include "tests/support/testsupport.h"

TEST(StringarrayTest, ValuesOfEveryKindComeBack) {
    STRINGARRAY table;
    table["Plain"] = "a=b{c}";
    table["Lines"] = "first\r\nsecond";
    table["Zero"] = STRING(std::string_view("a\0b", 3));
    table["Braces"] = "={{abc";
    table["Null"];
    STRING secret(std::string_view("p\0w", 3));
    secret.SetFlags(STRINGFLAG_BINARY);
    table["Secret"] = secret;

    TEMPDIR dir;
    ASSERT_TRUE(table.Save(dir.File("t.ini").Text()));
    EXPECT_EQ(ReadBytes(dir.File("t.ini")),
              "Braces=\\x3d\\x7b\\x7babc\r\nLines=first\\r\\nsecond\r\nNull=\r\nPlain=a\\x3db\\x7bc\\x7d\r\n"
              "Secret=={{cAB3}}\r\nZero=a\\0b\r\n");
    STRINGARRAY back;
    ASSERT_TRUE(back.Load(dir.File("t.ini").Text()));
    EXPECT_EQ(back.AsText(), table.AsText());
    EXPECT_EQ(Std(back["Secret"]), std::string("p\0w", 3));
    EXPECT_TRUE(back["Secret"].GetFlags() & STRINGFLAG_BINARY);
    EXPECT_TRUE(back["Null"].NotNull()) << "null does not survive a file";
}

TEST(StringarrayTest, ReadsWhatItCan) {
    const char* const rows[][2] = {
        {"b=2\na=1\n", "a=1\nb=2\n"},
        {"a=1\n\nno equals sign\nb=2", "a=1\nb=2\n"},
        {"a==b\n", "a=\\x3db\n"},
        {"a=={{abc\n", "a=\\x3d\\x7b\\x7babc\n"},
        {"a=={}}\n", "a=\\x3d\\x7b\\x7d\\x7d\n"},
        {"=x\n", "=x\n"},
        {"k=2\nK=1\nk=3\na=0\n", "a=0\nk=2\nK=1\nk=3\n"},
    };
    for (const auto& [text, result] : rows)
        EXPECT_EQ(STRINGARRAY(STRING(text), 2, 2).AsText(), result) << text;
    STRINGARRAY zeros(STRING(std::string_view("a=1\nb=2\0\nc=3\n", 13)), 2, 2);
    EXPECT_EQ(zeros.AsText(), "a=1\nb=2\\0\nc=3\n") << "a zero byte ends no text";
    STRINGARRAY doubled(STRING("k=2\nK=1\nk=3\n"), 2, 2);
    EXPECT_EQ(doubled["K"], "2") << "the first of equal keys";
    EXPECT_EQ(doubled.Find("k"), 0);
}

TEST(StringarrayTest, ALockedTableAssertsOnNewKeysAndStillMakesThem) {
    STRINGARRAY table;
    EXPECT_FALSE(table.AllowNewKeys(true));
    table["a"] = "1";
    EXPECT_FALSE(table.AllowNewKeys(false));
    EXPECT_TRUE(table.IsLocked());
    EXPECT_TRUE(STRINGARRAY(table).IsLocked());
    EXPECT_ASSERTIONS(1);
    table["b"] = "2";
    EXPECT_EQ(table.Get("b"), "2");
}

TEST(StringarrayTest, AFullTableThatMayNotGrowKeepsItsValues) {
    STRINGARRAY table(2, 0);
    table["b"] = "1";
    table["c"] = "2";
    EXPECT_ASSERTIONS(2 * 2);  // the array of the keys and that of the values
    table["a"] = "x";
    table["d"] = "x";
    EXPECT_EQ(table.AsText(), "b=1\nc=2\n");
}

TEST(StringarrayTest, ReadingAMissingKeyAsserts) {
    const STRINGARRAY table(STRING("a=12\n"), 2, 2);
    EXPECT_EQ(table.GetNumber("A"), 12);
    EXPECT_ASSERTIONS(6);  // for each look-up the key, and the index -1
    EXPECT_FALSE(table.Get("b").NotNull());
    EXPECT_EQ(table["b"] || table["c"], "<NULL>") << "both references hold";
}

TEST(StringarrayTest, AFailedLoadLeavesTheTable) {
    TEMPDIR dir;
    STRINGARRAY table(STRING("a=1\n"), 2, 2);
    EXPECT_FALSE(table.Load(dir.File("missing").Text()));
    EXPECT_FALSE(table.Load(dir.Path())) << "a directory";
    EXPECT_EQ(table.AsText(), "a=1\n");
    EXPECT_FALSE(table.Save(dir.File("no\\such\\dir").Text()));
}

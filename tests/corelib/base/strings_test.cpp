#include "corelib/base/strings.h"

#include <climits>

#include "corelib/base/largeblock.h"
#include "tests/support/testsupport.h"

TEST(StringTest, NullReadsAsItsTextWhereThePlatformWouldCrash) {
    STRING none, x("x");
    EXPECT_EQ(x || none, "x<NULL>");
    EXPECT_EQ(none || x, "x");
    EXPECT_EQ(atoi(none), 0);
    x += none;
    EXPECT_EQ(x, "x");
    STRING cut("");
    cut.Append(none.Ptr(), 20);
    EXPECT_EQ(cut, "<NULL>") << "the length was that of the text which is missing";
}

TEST(StringTest, TakesPiecesOfItself) {
    STRING text("abcdef");
    text.Make(3, text.Ptr() + 3);
    EXPECT_EQ(text, "def");
    text.Insert(text.Ptr() + 1, 0);
    EXPECT_EQ(text, "efdef");
    // So that the buffers have to move.
    while (text.Length() < text.GetBufLen() - 1)
        text.AppendBytes("-", 1);
    const std::string before = Std(text);
    text.AppendBytes(text.Ptr() + 2, 3);
    EXPECT_EQ(Std(text), before + "def");
    while (text.Length() < text.GetBufLen() - 1)
        text.AppendBytes("-", 1);
    const std::string after = Std(text);
    text.Insert(text.Ptr() + 1, 2);
    EXPECT_EQ(Std(text), after.substr(0, 2) + after.substr(1) + after.substr(2));
}

TEST(StringTest, LengthsEndAtTheTypesLimit) {
    STRING text("x"), none;
    EXPECT_ASSERTIONS(5);
    text.Make(INT_MAX, nullptr);
    text.AppendBytes("y", INT_MAX);
    none.Make(INT_MAX, "z");
    // Longer than an int can say, with an end that would fit.
    const std::string_view tooLong("yyyyy", (size_t{1} << 32) + 5);
    text.AppendBytes(tooLong);
    EXPECT_EQ(text, "x");
    EXPECT_FALSE(none.NotNull());
    EXPECT_EQ(STRING(tooLong), "");
    EXPECT_EQ(text.Right(INT_MIN), "");
}

TEST(StringTest, BlocksOutliveTheirPool) {
    int size = 96;
    std::vector<char*> blocks(130);
    for (char*& block : blocks)
        block = AllocBlock(size);
    for (char* block : blocks)
        FreeBlock(block, 96);
    char* pooled = AllocBlock(size);
    STRING before("made while there is a pool");
    ClosePool();
    STRING after("made when there is none");
    before = after;
    EXPECT_EQ(before, after);
    FreeBlock(pooled, 96);
}

TEST(StringTest, AVeryLargeOneHasTheMemoryOfTheLast) {
    int first = LARGEBLOCK::LEAST, again = first + 1, large = 4 * first, small = first;
    const int asked = first;
    char* const block = AllocBlock(first);
    EXPECT_GT(first, asked) << "some to grow into";
    block[first - 1] = 'x';
    FreeBlock(block, first);
    char* const next = AllocBlock(again);
    EXPECT_EQ(next, block);
    EXPECT_EQ(again, first) << "as large as it is";
    char* const other = AllocBlock(large);
    EXPECT_NE(other, next);
    FreeBlock(next, again);
    FreeBlock(other, large);
    // The last is what is kept, and far too large a one helps nobody.
    char* const fresh = AllocBlock(small);
    EXPECT_LT(small, large);
    EXPECT_EQ(fresh[0], 0) << "not a used one";
    FreeBlock(fresh, small);
}

TEST(StringTest, PiecesAreClippedAndNeverNull) {
    const STRING text("abcdef");
    EXPECT_EQ(text.Left(2), "ab");
    EXPECT_EQ(text.Left(20), "abcdef");
    EXPECT_EQ(text.Right(2), "ef");
    EXPECT_EQ(text.Right(20), "abcdef");
    EXPECT_EQ(text.Mid(2, 2), "cd");
    EXPECT_EQ(text.Mid(2), "cdef");
    EXPECT_EQ(text.UpTo(1, "ed"), "bc");
    EXPECT_EQ(text.UpTo(1, "x"), "bcdef");
    for (const STRING& piece :
         {text.Mid(6), text.Mid(60, 3), STRING().Mid(0), STRING().UpTo(0, "x"), STRING().Left(1)}) {
        EXPECT_TRUE(piece.NotNull());
        EXPECT_EQ(piece, "");
    }
    EXPECT_EQ(STRING(std::string_view("ab\0cd", 5)).Right(2), "ab") << "the right end is the first zero byte's";
}

TEST(StringTest, EditingInPlace) {
    STRING text("0123456789");
    text.DeleteLeft(2);
    text.DeleteRight(3);
    EXPECT_EQ(text, "23456");
    text.InsertChars(2, 1, '-');
    EXPECT_EQ(text, "2--3456");
    text.InsertChars(2, 7, '-');
    EXPECT_EQ(text, "2--3456") << "not at the end";
    text.Insert("ab", 7);
    text.Insert("xy", 0);
    text.Insert("lost", 99);
    EXPECT_EQ(text, "xy2--3456ab");
    EXPECT_TRUE(text.ChopLast('b'));
    EXPECT_FALSE(text.ChopLast('b'));
    EXPECT_TRUE(text.ChopFirst('x'));
    text.Truncate(100);
    EXPECT_EQ(text, "y2--3456a");
    text.DeleteLeft(100);
    EXPECT_TRUE(text.NotNull());
    EXPECT_EQ(text, "");
    EXPECT_ASSERTIONS(3);
    text.Truncate(-1);
    text.DeleteLeft(-1);
    text.InsertChars(-1, 0, 'x');
    EXPECT_EQ(text, "");
}

TEST(StringTest, IndexingOutsideGivesAZeroByte) {
    STRING text("ab");
    const STRING& constant = text;
    EXPECT_EQ(constant[2], '\0') << "the terminator may be read";
    text[0] = 'X';
    EXPECT_EQ(text, "Xb");
    EXPECT_ASSERTIONS(3);
    EXPECT_EQ(constant[3], '\0');
    EXPECT_EQ(constant[-1], '\0');
    text[2] = 'c';
    EXPECT_EQ(text, "Xb");
}

TEST(StringTest, ReplaceDoesNotSearchWhatItPutIn) {
    const std::tuple<const char*, const char*, const char*, bool, const char*> rows[] = {
        {"aXbXc", "X", "XX", true, "aXXbXXc"}, {"aXbXc", "X", "", true, "abc"}, {"aXbxc", "x", "-", false, "a-b-c"},
        {"aXbxc", "x", "-", true, "aXb-c"},    {"none", "", "x", true, "none"}, {"aaa", "aa", "a", true, "aa"},
    };
    for (const auto& [before, from, to, caseSensitive, result] : rows) {
        STRING text(before);
        text.Replace(from, to, caseSensitive);
        EXPECT_EQ(text, result) << before;
    }
}

TEST(StringTest, StripTakesZeroBytesAtTheEndToo) {
    STRING text("  ab c  ");
    text.Strip('l', " ");
    EXPECT_EQ(text, "ab c  ");
    text.Strip('R', " ");
    EXPECT_EQ(text, "ab c");
    text.Strip('B', "ac");
    EXPECT_EQ(text, "b ");
    STRING zeros(std::string_view("x\0\0", 3));
    zeros.Strip('R', " ");
    EXPECT_EQ(zeros, "x");
    STRING all("aaa");
    all.Strip('B', "a");
    EXPECT_EQ(all, "");
    EXPECT_ASSERTIONS(1);
    text.Strip('x', " ");
    EXPECT_EQ(text, "b ");
}

TEST(StringTest, WordsEndAtSeparators) {
    EXPECT_EQ(STRING("a=b=c").Word(1, "=", 1), "b=c");
    EXPECT_EQ(STRING("a=b=c").Word(1, "=", 0), "b");
    EXPECT_FALSE(STRING("x").Word(1, "=", 0).NotNull());
    EXPECT_TRUE(STRING("x=").Word(1, "=", 0).NotNull());
    EXPECT_TRUE(STRING("x").Word(1, "=", WORD_NEVERNULL).NotNull());
    const STRING lines("a\nb\n");
    EXPECT_TRUE(lines.Line(2).NotNull());
    EXPECT_EQ(lines.Line(2), "");
    EXPECT_FALSE(lines.Line(3).NotNull());
    EXPECT_FALSE(STRING().Word(0, "=").NotNull());
}

TEST(StringTest, CursorGivesTheSamePiecesAsWord) {
    for (const STRING& text :
         {STRING(), STRING(""), STRING("a"), STRING("|"), STRING("a|b;;c|"), STRING(std::string_view("a|b\0c|d", 7))}) {
        WORDCURSOR cursor(text, "|;");
        std::string_view piece;
        for (int i = 0;; ++i) {
            STRING word = text.Word(i, "|;");
            bool more = cursor.Next(piece);
            ASSERT_EQ(more, word.NotNull()) << Std(text) << " word " << i;
            if (!more)
                break;
            EXPECT_EQ(word, piece) << Std(text) << " word " << i;
        }
    }
}

TEST(StringTest, FormatIsBounded) {
    STRING text;
    EXPECT_EQ(text.Format("%d|%s", 5, "x"), 3);
    text.AppendFormat("%03d", 7);
    EXPECT_EQ(text, "5|x007");
    EXPECT_ASSERTIONS(1);
    std::string wide(3000, 'w');
    EXPECT_EQ(text.Format("%s", wide.c_str()), 2047);
    EXPECT_EQ(text.Length(), 2047);
}

TEST(StringTest, NumbersStopAtTheEndsOfTheirRange) {
    const std::pair<const char*, int> rows[] = {{"12x", 12},
                                                {" -7", -7},
                                                {"+3", 3},
                                                {"x", 0},
                                                {"40 // percent", 40},
                                                {"99999999999", INT32_MAX},
                                                {"-99999999999999999999", INT32_MIN}};
    for (const auto& [text, value] : rows)
        EXPECT_EQ(atoi(STRING(text)), value) << text;
    EXPECT_EQ(atoi64(STRING("-9223372036854775808")), INT64_MIN);
    EXPECT_EQ(atoi64(STRING("9223372036854775808")), INT64_MAX);
}

TEST(StringTest, StricmpOrdersUnderscoreBeforeLetters) {
    EXPECT_LT(stricmp("_", "a", false), 0);
    EXPECT_LT(stricmp("_", "A", false), 0);
    EXPECT_EQ(stricmp("ABC", "abc", false), 0);
    EXPECT_GT(stricmp("\xff", "a", false), 0) << "bytes are unsigned";
    EXPECT_EQ(stricmp(nullptr, nullptr, true), 0);
    EXPECT_EQ(stricmp(nullptr, "a", true), 1);
    EXPECT_EQ(stricmp("a", nullptr, true), 1);
    EXPECT_EQ(stricmp(nullptr, "<null>", false), 0);
}

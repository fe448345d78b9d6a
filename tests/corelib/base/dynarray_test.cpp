#include "corelib/base/dynarray.h"

#include "corelib/base/recordarray.h"
#include "tests/support/testsupport.h"

namespace {

std::string Joined(const DYNARRAY<STRING>& array) {
    std::string text;
    for (int i = 0; i < array.Count(); ++i)
        text.append(i ? "," : "").append(array[i].View());
    return text;
}

}  // namespace

TEST(DynarrayTest, BadPlacesChangeNothing) {
    DYNARRAY<STRING> array(2, 0);
    array.Add("a");
    array.Add("b");
    EXPECT_ASSERTIONS(1 + 2 + 1 + 1 + 1 + 1 + 1);
    array.Add("too many for an array that may not grow");
    EXPECT_EQ(array[5].Length(), 0);
    EXPECT_EQ(array[-1].Length(), 0);
    array.Insert(3, "c");
    array.Delete(2);
    array.Swap(0, 2);
    array.Swap(-1, 0);
    EXPECT_EQ(Joined(array), "a,b");
}

TEST(DynarrayTest, FindModes) {
    DYNARRAY<STRING> array(STRING("Alpha|beta|12 x"), "|", 8, 8);
    EXPECT_EQ(array.Find("ALPHA", 0), 0);
    EXPECT_EQ(array.Find("alph", 0), -1);
    EXPECT_EQ(array.Find("BE", 1), 1);
    EXPECT_EQ(array.Find("ET", 2), 1);
    EXPECT_EQ(array.Find("12", 3), 2);
}

TEST(DynarrayTest, LoadLinesCountsEmptyAndUnendedLines) {
    TEMPDIR dir;
    WriteBytes(dir.File("lines"), "a\r\n\r\nb\\n\r\nlast");
    DYNARRAY<STRING> array(4, 4);
    EXPECT_EQ(array.LoadLines(dir.File("lines").Text(), true), 4);
    EXPECT_EQ(Joined(array), "a,,b\n,last");
    EXPECT_EQ(array.LoadLines(dir.File("missing").Text()), 0);
}

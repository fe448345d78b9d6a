#include "corelib/base/recordarray.h"

#include "tests/support/testsupport.h"

namespace {

STRINGARRAY Record(const char* text) {
    return {STRING(text), 4, 4};
}

std::string Texts(const RECORDARRAY& records) {
    std::string text;
    for (int i = 0; i < records.Count(); ++i)
        text += Std(records[i].AsText()) + "/";
    return text;
}

}  // namespace

TEST(RecordarrayTest, SectionsOnDisk) {
    TEMPDIR dir;
    RECORDARRAY records(2, 2);
    records.Add(Record("a=1\n"));
    records.Add(STRINGARRAY());
    records.Add(Record("a=3\nb=[x]\n"));
    EXPECT_EQ(records.SaveAll(dir.File("r.ini").Text()), 3);
    EXPECT_EQ(ReadBytes(dir.File("r.ini")), "[#0]\r\na=1\r\n\r\n[#1]\r\n\r\n[#2]\r\na=3\r\nb=[x]\r\n\r\n");
    RECORDARRAY back(2, 2);
    EXPECT_EQ(back.LoadAll(dir.File("r.ini").Text()), 3);
    EXPECT_EQ(Texts(back), Texts(records)) << "an empty section in the middle is a record";
    EXPECT_EQ(RECORDARRAY(2, 2).LoadAll(dir.File("missing").Text()), 0);
}

TEST(RecordarrayTest, DamagedFilesKeepWhatCanBeKept) {
    const std::tuple<const char*, const char*, int> rows[] = {
        {"", "", 0},
        {"a=1\r\n", "a=1\n/", 0},
        {"[#0]\r\na=1\r\nb=2", "a=1\n/", 0},
        {"[#0]\r\na=1\r\n[#1]\r\n", "a=1\n/", 0},
        {"[#0]\r\na=1\r\n[#7]\r\nb=2\r\n", "a=1\n/b=2\n/", 2},
        {"[#0]\r\na=1\r\n[x1]\r\nb=2\r\n", "a=1\n/b=2\n/", 1},
        {"[#0]\r\na=1\r\n[#1\r\nb=2\r\n", "a=1\n/b=2\n/", 1},
        {"[\r\n[\r\n", "", 4},
        {"[#0]\r\n[#0]\r\na=1\r\n", "a=1\n/", 0},
    };
    TEMPDIR dir;
    for (const auto& [bytes, result, assertions] : rows) {
        WriteBytes(dir.File("r.ini"), bytes);
        EXPECT_ASSERTIONS(assertions);
        RECORDARRAY records(2, 2);
        (void)records.LoadAll(dir.File("r.ini").Text());
        EXPECT_EQ(Texts(records), result) << bytes;
    }
}

TEST(RecordarrayTest, SortsAndFindsByKeys) {
    RECORDARRAY records(4, 4);
    for (const char* text : {"n=10\ns=b\n", "n=9\ns=b\n", "n=9\ns=Apple\n"})
        records.Add(Record(text));
    const char* const keys[] = {"s", "n"};
    records.SortByKeys(keys, 2, 0);
    EXPECT_EQ(Texts(records), "n=9\ns=Apple\n/n=10\ns=b\n/n=9\ns=b\n/");
    records.SortByKey("n", SORT_NUMERIC | SORT_DESCENDING);
    EXPECT_EQ(records[0].Get("n"), "10");
    EXPECT_GE(records.FindRecord("S", "APPLE"), 1);
    EXPECT_EQ(records.FindRecord("S", "app"), -1);
    EXPECT_GE(records.FindRecord("S", "app", false), 1);
    EXPECT_EQ(records.FindRecord("missing", "x", false), -1);
    const int before = AssertCount();
    records.SortByKey("missing", 0);
    EXPECT_GT(AssertCount(), before);
    EXPECT_ASSERTIONS(AssertCount() - before);
    EXPECT_EQ(records.Count(), 3);
}

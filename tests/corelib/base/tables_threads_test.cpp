#include "corelib/base/recordarray.h"
#include "tests/support/testsupport.h"

namespace {

constexpr int ROUNDS = 300;

STRING Whole(char c) {
    return STRING(std::string(300, c));
}

bool IsWhole(const STRING& text) {
    return text.Length() == 300 && text.View().find_first_not_of(text[0]) == std::string_view::npos;
}

}  // namespace

TEST(TablesThreadsTest, ATableIsReadWholeWhileItIsWritten) {
    STRINGARRAY table;
    table.Set("value", Whole('a'));
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < ROUNDS; ++i) {
            table.Set("value", Whole(i % 2 ? 'a' : 'b'));
            table.SetNumber("at times", i);
            table.AllowNewKeys(true);
            table.Delete("at times");
        }
        done = true;
    });
    do {
        EXPECT_TRUE(IsWhole(table.Get("value")));
        EXPECT_TRUE(IsWhole(STRINGARRAY(table).Get("value")));
        EXPECT_TRUE(IsWhole(STRINGARRAY(table.AsText(), 4, 4).Get("value")));
        EXPECT_FALSE(table.IsLocked());
        table.Exists("at times");
    } while (!done);
    writer.join();
}

TEST(TablesThreadsTest, ArraysAreSortedAndCopiedWhileTheyGrow) {
    RECORDARRAY records(1, 3);
    DYNARRAY<STRING> texts(1, 3);
    std::thread writer([&] {
        for (int i = 0; i < ROUNDS; ++i) {
            STRINGARRAY record(1, 1);
            record.SetNumber("n", i * 7 % ROUNDS);
            records.Add(record);
            texts.Add(record.Get("n"));
        }
    });
    int count = 0;
    do {
        records.SortByKey("n", SORT_NUMERIC);
        texts.Sort(SORT_NUMERIC);
        RECORDARRAY copy(records);
        EXPECT_GE(copy.Count(), count);
        count = copy.Count();
        texts.Find("no such text", 2);
    } while (count < ROUNDS);
    writer.join();
    records.SortByKey("n", SORT_NUMERIC);
    texts.Sort(SORT_NUMERIC);
    for (int i = 0; i < ROUNDS; ++i) {
        EXPECT_EQ(records[i].GetNumber("n"), i);
        EXPECT_EQ(atoi(texts[i]), i);
    }
}

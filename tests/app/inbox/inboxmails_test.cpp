#include "app/inbox/inboxmails.h"

#include "app/filter/spamfilter.h"
#include "app/inbox/senderlist.h"
#include "corelib/base/clock.h"
#include "tests/app/inbox/inboxtest.h"

namespace {

using INTS = std::vector<int>;

TEST_F(INBOXTEST, InboxShowsRowsMarksAndOrder) {
    Application.pState.Set("SpamDoMark", "1");
    Application.pState.Set("SpamMarkPoints", "100");
    Application.pState.Set("SpamDoIgnore", "1");
    Application.pState.Set("SpamIgnorePoints", "50");
    List({Block(1, "=?utf-8?q?Gr=C3=BC=C3=9Fe?=", 0, 3, "Seen: 1\n"), Block(2, "beta\tgamma", 60, 2000),
          Block(3, "Alpha " + std::string(40, 'x'), 100, 900)});
    INBOXMAILS rows(Application);
    rows.Show(Handle());
    ASSERT_EQ(rows.Count(), 3);
    EXPECT_EQ(rows.RowText(0), "Sender 1\tGrüße\t3 KB\t       ");
    EXPECT_EQ(rows.RowText(1), "Sender 2\tbeta gamma\t1 MB\t60");
    EXPECT_EQ(rows.RowText(2), "Sender 3\tAlpha " + std::string(34, 'x') + "\t900 KB\t100");
    EXPECT_EQ((INTS{rows.Picture(0), rows.Picture(1), rows.Picture(2)}),
              (INTS{PICTURE_READ, PICTURE_PASSED_OVER, PICTURE_MARKED}));
    EXPECT_EQ(Std(rows.Title()), "text 2998 $DIR anna");
    Item().SetNumber("LastRefresh", CLOCK::Seconds() - 290);
    EXPECT_EQ(Std(rows.Title()), "text 2998 $DIR anna");
    Item().SetNumber("LastRefresh", CLOCK::Seconds() - 310);
    EXPECT_TRUE(Std(rows.Title()).starts_with("text 2998 $DIR anna (5 ")) << Std(rows.Title());
    EXPECT_TRUE(Std(rows.Title()).ends_with(" text 2992 $DIR)")) << Std(rows.Title());

    const struct {
        int Column;
        INTS Order;
    } CLICKS[] = {{COLUMN_SUBJECT, {2, 1, 0}}, {COLUMN_SUBJECT, {0, 1, 2}}, {COLUMN_SENDER, {2, 1, 0}},
                  {COLUMN_SENDER, {0, 1, 2}},  {COLUMN_SIZE, {2, 0, 1}},    {COLUMN_POINTS, {2, 1, 0}},
                  {COLUMN_POINTS, {0, 1, 2}}};
    for (const auto& click : CLICKS) {
        rows.ClickColumn(click.Column);
        EXPECT_EQ(rows.Sorted(), click.Order) << click.Column;
    }

    EXPECT_EQ(Enabled(rows, {}), "4");
    EXPECT_EQ(Enabled(rows, {0}), "0124678");
    EXPECT_EQ(Enabled(rows, {0}, false), "124678");
    EXPECT_EQ(Enabled(rows, {0, 1}), "1478");
    EXPECT_EQ(Enabled(rows, {0, 2}), "478");
    EXPECT_EQ(Enabled(rows, {2}), "0245678");
    rows.Mark({2}, false);
    EXPECT_EQ(Enabled(rows, {}), "");

    // The selection of a mail that a new listing has in another place.
    const std::vector<std::string> names = {rows.Name(0), rows.Name(1)};
    List({Block(2, "beta\tgamma", 60, 2000), Block(4, "new", 0, 1)});
    rows.Show(Handle());
    EXPECT_EQ(rows.Find(names), INTS{0});
    rows.Show(-1);
    EXPECT_EQ(rows.Count(), 0);
}

TEST_F(INBOXTEST, InboxQueuesWhatIsMarkedAndNothingElse) {
    Application.pState.Set("InboxDeleteToTrash", "1");
    List({Block(1, "a", 0, 1), Block(2, "b", 0, 1), Block(3, "c", 0, 1)});
    INBOXMAILS rows(Application);
    rows.Show(Handle());
    Item().Set("@DeleteMessageId", "3|id3");  // the filter's, without its line end
    rows.Mark({0, 2}, true);
    EXPECT_EQ(rows.Apply(), 0);
    EXPECT_EQ(Std(Item().Get("@DeleteMessageId")), "3|id3\n1|id1\n");
    EXPECT_EQ(Copies(), 4U);
    EXPECT_FALSE(rows.HasMarked());
    EXPECT_EQ(rows.Apply(), 0) << "nothing is queued twice";
    EXPECT_EQ(Std(Item().Get("@DeleteMessageId")), "3|id3\n1|id1\n");

    rows.Show(Handle());
    rows.Mark({0, 2}, true);
    EXPECT_EQ(rows.Apply(), 0);
    EXPECT_EQ(Copies(), 4U) << "nor copied twice";

    Application.pState.Set("InboxDeleteToTrash", "0");
    rows.Mark({1}, true);
    EXPECT_EQ(rows.Apply(), 0);
    EXPECT_EQ(Std(Item().Get("@DeleteMessageId")), "3|id3\n1|id1\n2|id2\n");
    EXPECT_EQ(Copies(), 4U);
}

TEST_F(INBOXTEST, InboxIsLeftWithTheFiltersMarksAlone) {
    Application.pState.Set("SpamDoMark", "1");
    List({Block(1, "a", 900, 1), Block(2, "b", 0, 1)});
    INBOXMAILS rows(Application);
    for (const bool leavesUntouched : {false, true}) {
        Application.pState.Set("InboxLeaveUntouched", leavesUntouched ? "1" : "0");
        rows.Show(Handle());
        EXPECT_TRUE(rows.MayApply(false));
        EXPECT_EQ(rows.MayApply(true), !leavesUntouched);
        rows.Mark({1}, true);
        EXPECT_TRUE(rows.MayApply(true));
    }
}

TEST_F(INBOXTEST, InboxKeepsMarksOverAListing) {
    Application.pState.Set("SpamDoMark", "1");
    for (const bool keeps : {false, true}) {
        Application.pState.Set("InboxKeepMarks", keeps ? "1" : "0");
        List({Block(1, "a", 900, 1), Block(2, "b", 0, 1), Block(3, "c", 900, 1)});
        INBOXMAILS rows(Application);
        rows.Show(Handle());
        rows.Mark({0}, false);
        rows.Mark({1}, true);
        List({Block(2, "b", 0, 1), Block(3, "c", 900, 1), Block(4, "d", 900, 1), Block(1, "a", 900, 1)});
        rows.Show(Handle());
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(rows.IsMarked(i),
                      (keeps ? std::vector{true, true, true, false} : std::vector{false, true, true, true})[i])
                << keeps << i;
        EXPECT_EQ(rows.IsTouched(0), keeps);
    }
}

TEST_F(INBOXTEST, InboxKeepsAMailWhoseCopyFails) {
    Application.pState.Set("InboxDeleteToTrash", "1");
    List({Block(1, "a", 0, 1)});
    INBOXMAILS rows(Application);
    rows.Show(Handle());
    rows.Mark({0}, true);
    Application.Trash().SetDirectory(Application.DataFile("accounts.ini"));  // a file where the folder should be
    EXPECT_EQ(rows.Apply(), 1);
    EXPECT_TRUE(rows.IsMarked(0));
    EXPECT_EQ(Std(Item().Get("@DeleteMessageId")), "");
}

TEST_F(INBOXTEST, InboxOutlivesItsItem) {
    List({Block(1, "a", 0, 1)});
    INBOXMAILS rows(Application);
    rows.Show(Handle());
    rows.Mark({0}, true);
    ASSERT_TRUE(Application.RemoveItem(0));
    EXPECT_EQ(rows.Apply(), 0);
    EXPECT_EQ(Std(rows.Title()), "text 2998 $DIR");
}

TEST_F(INBOXTEST, SendersAreAddedOnce) {
    const STRING file = Application.DataFile("list.dat");
    const auto mail = [](const char* name, const char* address) {
        STRINGARRAY record;
        record.Set("From", name);
        record.Set("FromEmail", address);
        return record;
    };
    const STRINGARRAY jane = mail("Jane Roe", "jane@x.org"), other = mail("Janet", "JANE@X.ORG"),
                      bare = mail("b@x.org", "b@x.org"), near = mail("Ann Lee", "aa@b.org");
    // Words that would be everybody's.
    const STRINGARRAY sly[] = {mail("hi\ngmail.com\n; @", "s@x.org"), mail("com", "t@x.org"), mail("*x", "*@*"),
                               mail(".", "."), mail("Ann Gray", "example")};
    EXPECT_EQ(AddSenders(file, {&jane}), LISTED::NOT_READ);
    ASSERT_TRUE(STRING("Joe; a@b.org\n\n").Save(file.Text(), "w"));
    EXPECT_EQ(AddSenders(file, {&jane, &other, &bare, &near, &sly[0], &sly[1], &sly[2], &sly[3], &sly[4]}),
              LISTED::DONE);
    STRING list;
    ASSERT_TRUE(list.Load(file.Text(), "r"));
    EXPECT_EQ(
        Std(list),
        "Joe; a@b.org\n\nJane Roe; jane@x.org\nb@x.org\nAnn Lee; aa@b.org\nhi gmail.com; s@x.org\nt@x.org\nAnn Gray");
    EXPECT_EQ(AddSenders(file, {&jane, &bare}), LISTED::DONE);
    STRING again;
    ASSERT_TRUE(again.Load(file.Text(), "r"));
    EXPECT_EQ(Std(again), Std(list));
    // A name that looks like a line for people is no such line.
    const STRINGARRAY sign = mail("# 1 a", "u@x.org");
    EXPECT_EQ(AddSenders(file, {&sign}), LISTED::DONE);
    ASSERT_TRUE(again.Load(file.Text(), "r"));
    EXPECT_EQ(Std(again), Std(list) + "\n1 a; u@x.org");
}

TEST_F(INBOXTEST, TeachesTheFilterByWhatAPersonDoes) {
    STRINGARRAY& state = Application.pState;
    for (const char* key : {"SpamLearn", "SpamDoMark"})
        state.Set(key, "1");
    state.Set("SpamMarkPoints", "100");
    state.Set("InboxKeepMarks", "1");
    List({Block(1, "a", 0, 1), Block(2, "b", 0, 1), Block(3, "c", 500, 1)});
    INBOXMAILS rows(Application);
    rows.Show(Handle());
    const auto learnt = [&] {
        Application.Filter().Learn();
        const LEARNINGSTORE::COUNTS mails = Application.Lessons().Mails();
        return std::to_string(mails.Good) + "/" + std::to_string(mails.Spam);
    };
    EXPECT_EQ(learnt(), "0/0") << "a mark of the filter is no lesson";
    rows.Mark({0, 1}, true);
    EXPECT_EQ(learnt(), "0/2");
    rows.Mark({1}, false);
    EXPECT_EQ(learnt(), "1/1");
    rows.Show(Handle());
    EXPECT_EQ(learnt(), "1/1");
    EXPECT_EQ(rows.Apply(), 0);
    EXPECT_EQ(learnt(), "1/2") << "the one that the filter had marked goes by the user's will, too";
    EXPECT_EQ(rows.ListSenders({1}, true), LISTED::DONE);
    EXPECT_EQ(learnt(), "0/3");
    EXPECT_EQ(rows.ListSenders({1}, false), LISTED::DONE);
    EXPECT_EQ(learnt(), "1/2");
    Item().Set("DoSpamFilter", "0");
    rows.Mark({0, 1, 2}, false);
    Item().Set("DoSpamFilter", "1");
    state.Set("SpamLearn", "0");
    rows.Mark({0, 1, 2}, false);
    EXPECT_EQ(learnt(), "1/2");
}

}  // namespace

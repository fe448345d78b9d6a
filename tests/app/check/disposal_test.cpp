#include "app/check/disposal.h"

#include <algorithm>

#include "corelib/base/files.h"
#include "tests/app/check/fakes.h"

namespace {

class Disposal : public testing::Test {
 protected:
    Disposal() {
        FillSettings(State, {{"SpamDoIgnore", "0"}});
        int handle = FIRST_ITEM_HANDLE;
        FixItem(Item, State, handle);
        Item.Set("Type", "1");
        OSYS::MakeDirectories(Dir.File(TRASH_FOLDER).Text());
        Trash.SetDirectory(Dir.Path());
    }
    void Switch(const std::string& letters) {
        const std::pair<char, const char*> KEYS[] = {
            {'D', "SpamDoDelete"}, {'T', "SpamDoTrash"}, {'M', "SpamDoMove"}, {'I', "SpamDoIgnore"}};
        for (const auto& [letter, key] : KEYS)
            State.Set(key, letters.find(letter) != std::string::npos ? "1" : "0");
    }
    static STRINGARRAY Mail(const std::string& points) {
        STRINGARRAY record;
        record.Set("X-SpamPoints", points.c_str());
        record.Set("X-Message-Id", ("id" + points).c_str());
        record.Set("X-Ignore", "0");
        record.Set("MessageId", "same");
        record.Set("Subject", "s\nX-TrashId=7");
        record.Set("Body", "line 1\nline 2\n");
        return record;
    }
    /// What becomes of mails of these points: lists for deletion and moving, then the points of the ignored ones.
    std::string Mark(std::initializer_list<const char*> points) {
        RECORDARRAY records(8, 8);
        for (const char* p : points)
            records.Add(Mail(p));
        Item.Set("@DeleteMessageId", "old\n");
        Pending = MarkBySpamVerdict(Item, records, State, Trash);
        std::string ignored;
        for (int i = 0; i < records.Count(); ++i) {
            if (records[i].GetNumber("X-Ignore") != 0)
                ignored += " " + Std(records[i].Get("X-SpamPoints"));
        }
        std::string result =
            "D:" + Std(Item.Get("@DeleteMessageId")) + "M:" + Std(Item.Get("@MoveMessageId")) + "I:" + ignored;
        std::replace(result.begin(), result.end(), '\n', ' ');
        return result;
    }
    std::string TrashFile(const char* name) const { return ReadBytes(Dir.File(TRASH_FOLDER) || "\\" || name); }

    TEMPDIR Dir;
    STRINGARRAY State;
    STRINGARRAY Item;
    TRASHSTORE Trash;
    bool Pending = false;
};

TEST_F(Disposal, FollowsTheFirstVerdictThatApplies) {
    struct CASE {
        const char *Switches, *Type, *ItemMoves, *Result;
    };
    const CASE CASES[] = {
        {"", "1", "1", "D:M:I:"},
        {"I", "1", "1", "D:M:I: 100 180 600"},
        {"D", "1", "1", "D:id600 M:I: 600"},
        {"DTI", "1", "1", "D:id180 id600 M:I: 100 180 600"},
        {"M", "1", "1", "D:M:I:"},
        {"M", "2", "1", "D:M:id180 id600 I: 180 600"},
        {"M", "2", "0", "D:M:I:"},
        {"DM", "0", "1", "D:id600 M:id180 I: 180 600"},
        {"DTMI", "3", "1", "D:M:I: 100 180 600"},
    };
    for (const CASE& c : CASES) {
        Switch(c.Switches);
        Item.Set("Type", c.Type);
        Item.Set("DoSpamMove", c.ItemMoves);
        EXPECT_EQ(Mark({"", "99", "100", "180", "600"}), c.Result) << c.Switches << " of type " << c.Type;
        EXPECT_EQ(Pending, std::string(c.Result).find("id") != std::string::npos);
    }
    // Thresholds in another order change nothing in the order of the verdicts: above, only 180 was kept.
    EXPECT_EQ(TrashFiles(Dir), (std::set<std::string>{"100000000.ini", "100000000.txt"}));

    Switch("DTMI");
    Item.Set("DoSpamFilter", "0");
    EXPECT_EQ(Mark({"600"}), "D:old M:I:");
    Item.Set("DoSpamFilter", "1");
    Item.Set("@MoveDelError", "1");
    EXPECT_EQ(Mark({"600"}), "D:old M:I:");
}

TEST_F(Disposal, KeepsReadableCopies) {
    EXPECT_TRUE(Trash.SaveToTrash(Mail("200")));
    EXPECT_TRUE(Trash.SaveToTrash(Mail("200")));
    EXPECT_EQ(TrashFiles(Dir).size(), 4U);
    STRINGARRAY copy;
    ASSERT_TRUE(copy.Load((Dir.File(TRASH_FOLDER) || "\\100000001.ini").Text()));
    EXPECT_EQ(Std(copy.Get("X-TrashId")), "100000001");
    EXPECT_EQ(Std(copy.Get("Subject")), "s\nX-TrashId=7");
    EXPECT_FALSE(copy.Exists("Body"));
    EXPECT_EQ(TrashFile("100000001.txt"), "line 1\r\nline 2\r\n");
}

TEST_F(Disposal, NeverGivesAnIdTwice) {
    EXPECT_TRUE(Trash.SaveToTrash(Mail("1")));
    const STRING counter = Dir.File(TRASH_COUNTER);
    // Another run, with the trash emptied meanwhile; then with a damaged counter, with one that is behind what lies
    // there, and with foreign files.
    struct CASE {
        const char *Counter, *Foreign, *Next;
    };
    const CASE CASES[] = {{nullptr, nullptr, "100000001"},
                          {"\x01junk", nullptr, "100000002"},
                          {"5", "readme.txt", "100000003"},
                          {"", "100000077.txt", "100000078"},
                          {"100000500\r\n", "99999999999999999999999999.ini", "100000500"},
                          {"18446744073709551616", "100000600abc.ini", "100000501"}};
    for (const CASE& c : CASES) {
        if (c.Counter)
            WriteBytes(counter, c.Counter);
        else
            FILES::Remove((Dir.File(TRASH_FOLDER) || "\\100000000.ini").Text());
        if (c.Foreign)
            WriteBytes(Dir.File(TRASH_FOLDER) || "\\" || c.Foreign, "foreign");
        Trash.SetDirectory(Dir.Path());
        EXPECT_TRUE(Trash.SaveToTrash(Mail("1")));
        EXPECT_EQ(TrashFile((std::string(c.Next) + ".txt").c_str()), "line 1\r\nline 2\r\n") << c.Next;
    }
}

TEST_F(Disposal, SurvivesATrashThatTakesNothing) {
    WriteBytes(Dir.File("occupied"), "a file where the directory should be");
    Trash.SetDirectory(Dir.File("occupied"));
    EXPECT_FALSE(Trash.SaveToTrash(Mail("200")));
    Switch("T");
    EXPECT_EQ(Mark({"200"}), "D:id200 M:I: 200") << "the verdict goes on";
}

}  // namespace

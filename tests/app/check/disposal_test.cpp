#include "app/check/disposal.h"

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
        (void)OSYS::MakeDirectories(Dir.File(TRASH_FOLDER).Text());
        Trash.SetDirectory(Dir.Path());
    }
    void Switch(const std::string& letters) {
        const std::pair<char, const char*> KEYS[] = {
            {'D', "SpamDoDelete"}, {'T', "SpamDoTrash"}, {'M', "SpamDoMove"}, {'I', "SpamDoIgnore"}};
        for (const auto& [letter, key] : KEYS)
            State.Set(key, letters.find(letter) != std::string::npos ? "1" : "0");
    }
    static STRINGARRAY Mail(const std::string& points, const std::string& id = "1|5", const char* body = "") {
        STRINGARRAY record;
        record.Set("X-SpamPoints", points.c_str());
        record.Set("X-Message-Id", id.c_str());
        record.Set("X-Ignore", "0");
        record.Set("MessageId", "same");
        record.Set("Subject", "s\nX-TrashId=7");
        record.Set("Body", STRING("line 1\nline 2\n") || body);
        return record;
    }
    using MAIL = std::pair<std::string, const char*>;  // id and body
    /// A check that lists these mails, each of 200 points: what is queued, and a "!" if a pass is to come at once.
    std::string List(const std::vector<MAIL>& mails, int announced = -1) {
        MAILRECORDS records;
        for (const auto& [id, body] : mails)
            records.Add(Mail("200", id, body));
        Marks = MarkBySpamVerdict(Item, records, announced < 0 ? records.Count() : announced, {State, Trash});
        Ignored = 0;
        for (int i = 0; i < records.Count(); ++i)
            Ignored += records[i].GetNumber("X-Ignore");
        return Queues() + (Marks.Queued ? "!" : "");
    }
    std::string Queues() const {
        std::string queues = "D:" + Std(Item.Get("@DeleteMessageId")) + "M:" + Std(Item.Get("@MoveMessageId"));
        std::replace(queues.begin(), queues.end(), '\n', ' ');
        return queues;
    }
    /// What becomes of mails of these points: lists for deletion and moving, then the points of the ignored ones.
    std::string Mark(std::initializer_list<const char*> points) {
        MAILRECORDS records;
        for (const char* p : points)
            records.Add(Mail(p, std::to_string(records.Count() + 1) + "|" + p));
        Item.Set("@DeleteMessageId", "old\n");
        Forget();
        Marks = MarkBySpamVerdict(Item, records, records.Count(), {State, Trash});
        std::string ignored;
        for (int i = 0; i < records.Count(); ++i) {
            if (records[i].GetNumber("X-Ignore") != 0)
                ignored += " " + Std(records[i].Get("X-SpamPoints"));
        }
        return Queues() + "I:" + ignored;
    }
    void Forget() {
        Item.Set("@DisposedMails", "");
        Item.Set("TrashedMails", "");
    }
    std::string TrashFile(const char* name) const { return ReadBytes(Dir.File(TRASH_FOLDER) || "\\" || name); }

    TEMPDIR Dir;
    STRINGARRAY State;
    STRINGARRAY Item;
    TRASHSTORE Trash;
    SPAMMARKS Marks;
    int Ignored = 0;
};

TEST_F(Disposal, FollowsTheFirstVerdictThatApplies) {
    const char* const CASES[][4] = {
        {"", "1", "1", "D:M:I:"},
        {"I", "1", "1", "D:M:I: 100 180 600"},
        {"D", "1", "1", "D:5|600 M:I: 600"},
        {"DTI", "1", "1", "D:4|180 5|600 M:I: 100 180 600"},
        {"M", "1", "1", "D:M:I:"},
        {"M", "2", "1", "D:M:4|180 5|600 I: 180 600"},
        {"M", "2", "0", "D:M:I:"},
        {"DM", "0", "1", "D:5|600 M:4|180 I: 180 600"},
        {"DTMI", "3", "1", "D:M:I: 100 180 600"},
    };
    for (const auto& [switches, type, itemMoves, result] : CASES) {
        Switch(switches);
        Item.Set("Type", type);
        Item.Set("DoSpamMove", itemMoves);
        EXPECT_EQ(Mark({"", "99", "100", "180", "600"}), result) << switches << " of type " << type;
        EXPECT_EQ(Marks.Queued, std::string(result).find('|') != std::string::npos);
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
    EXPECT_EQ(Trash.Mails(), 0);
    EXPECT_TRUE(Trash.SaveToTrash(Mail("200")));
    EXPECT_TRUE(Trash.SaveToTrash(Mail("200")));
    EXPECT_EQ(TrashFiles(Dir).size(), 4U);
    EXPECT_EQ(Trash.Mails(), 2);
    STRINGARRAY copy;
    ASSERT_TRUE(copy.Load((Dir.File(TRASH_FOLDER) || "\\100000001.ini").Text()));
    EXPECT_EQ(Std(copy.Get("X-TrashId")), "100000001");
    EXPECT_EQ(Std(copy.Get("Subject")), "s\nX-TrashId=7");
    EXPECT_FALSE(copy.Exists("Body"));
    EXPECT_EQ(TrashFile("100000001.txt"), "line 1\r\nline 2\r\n");

    // Another run counts what is there; of a mail that was taken away by hand the other file may have stayed.
    TRASHSTORE later;
    later.SetDirectory(Dir.Path());
    EXPECT_EQ(later.Mails(), 2);
    (void)FILES::Remove((Dir.File(TRASH_FOLDER) || "\\100000000.ini").Text());
    later.Recount();
    EXPECT_EQ(later.Mails(), 1);
    later.SetDirectory(Dir.File("none"));
    EXPECT_EQ(later.Mails(), 0);
}

TEST_F(Disposal, NeverGivesAnIdTwice) {
    EXPECT_TRUE(Trash.SaveToTrash(Mail("1")));
    const STRING counter = Dir.File(TRASH_COUNTER);
    // Another run, with the trash emptied meanwhile; then with a damaged counter, with one that is behind what lies
    // there, and with foreign files.
    const char* const CASES[][3] = {{nullptr, nullptr, "100000001"},
                                    {"\x01junk", nullptr, "100000002"},
                                    {"5", "readme.txt", "100000003"},
                                    {"", "100000077.txt", "100000078"},
                                    {"100000500\r\n", "99999999999999999999999999.ini", "100000500"},
                                    {"18446744073709551616", "100000600abc.ini", "100000501"}};
    for (const auto& [content, foreign, next] : CASES) {
        if (content)
            WriteBytes(counter, content);
        else
            (void)FILES::Remove((Dir.File(TRASH_FOLDER) || "\\100000000.ini").Text());
        if (foreign)
            WriteBytes(Dir.File(TRASH_FOLDER) || "\\" || foreign, "foreign");
        Trash.SetDirectory(Dir.Path());
        EXPECT_TRUE(Trash.SaveToTrash(Mail("1")));
        EXPECT_EQ(TrashFile((std::string(next) + ".txt").c_str()), "line 1\r\nline 2\r\n") << next;
    }
}

TEST_F(Disposal, SurvivesATrashThatTakesNothing) {
    WriteBytes(Dir.File("occupied"), "a file where the directory should be");
    Trash.SetDirectory(Dir.File("occupied"));
    EXPECT_FALSE(Trash.SaveToTrash(Mail("200")));
    Switch("T");
    EXPECT_EQ(List({{"1|5", ""}}), "D:1|5 M:!") << "the verdict goes on";
    EXPECT_EQ(std::pair(Marks.Lost, Marks.Uncopied), std::pair(1, 0));
    Forget();
    State.Set("TrashKeepUncopied", "1");
    for (int check = 0; check < 2; ++check) {
        EXPECT_EQ(List({{"1|5", ""}}), "D:M:") << "the mail stays";
        EXPECT_EQ(std::pair(Marks.Lost, Marks.Uncopied), std::pair(0, 1));
        EXPECT_EQ(Ignored, 1) << "and is no news";
    }
    Trash.SetDirectory(Dir.Path());
    EXPECT_EQ(List({{"1|5", ""}}), "D:1|5 M:!") << "the copy is there at last";
    EXPECT_EQ(TrashFiles(Dir).size(), 2U);
}

TEST_F(Disposal, TouchesOnlyMailsWhoseIdIsSure) {
    const std::tuple<const char*, int, std::vector<std::string>, const char*, size_t> CASES[] = {
        {"1", 2, {"2|10", "1|10"}, "D:2|10 1|10 M:!", 2},
        {"1", 3, {"3|10", "1|10"}, "D:3|10 1|10 M:!", 2},  // one mail was not shown
        {"1", 1, {"2|10", "1|10"}, "D:M:", 0},             // one block more than mails
        {"1", 2, {"1|10", "1|10"}, "D:M:", 0},             // two blocks of one id
        {"1", 3, {"1|10", "1|99", "2|5"}, "D:2|5 M:!", 1},
        {"1", 2, {"3|10", "1|10"}, "D:1|10 M:!", 1},  // no such mail
        {"1", 6, {"0|1", "-1|1", "02|1", "x|1", "5", "99999999999|1"}, "D:M:", 0},
        {"2", 3, {"7", "8", "7"}, "D:8 M:!", 1},
        {"2", 2, {"4294967295", "1"}, "D:4294967295 1 M:!", 2},
    };
    Switch("T");
    for (const bool moves : {false, true}) {
        for (const auto& [type, announced, ids, result, copies] : CASES) {
            if (moves && *type != '2')
                continue;
            Switch(moves ? "M" : "T");
            Item.Set("DoSpamMove", "1");
            Item.Set("Type", type);
            Forget();
            std::vector<MAIL> mails;
            for (const std::string& id : ids)
                mails.emplace_back(id, "");
            std::string expected = result;
            if (moves)
                expected = "D:M:" + expected.substr(2, expected.find("M:") - 2) + "!";
            const size_t copiesBefore = TrashFiles(Dir).size();
            EXPECT_EQ(List(mails, announced), expected) << ids.front() << " of " << announced;
            EXPECT_EQ(TrashFiles(Dir).size() - copiesBefore, moves ? 0 : 2 * copies);
            EXPECT_EQ(Ignored, static_cast<int>(copies)) << "what stays is to be seen";
        }
    }
}

TEST_F(Disposal, CopiesAMailOnceThatTheServerKeeps) {
    const struct {
        std::vector<MAIL> Listed;
        const char* Result;
        size_t Copies;
        bool Refused = false;  // what is queued
    } STEPS[] = {
        {{{"1|5", "A"}}, "D:1|5 M:!", 1},
        {{{"1|5", "A"}}, "D:M:", 1},
        {{{"1|7", "A"}}, "D:M:", 1},                         // a server that tells another size each time
        {{{"2|5", "A"}, {"1|5", "B"}}, "D:1|5 2|5 M:!", 2},  // numbers shift; the old one is tried again, too
        {{{"2|5", "A"}, {"1|5", "B"}}, "D:M:", 2},
        {{{"2|5", "A"}, {"1|5", "C"}}, "D:1|5 2|5 M:!", 3},  // another mail under the same id and Message-Id
        {{{"3|5", "A"}, {"2|5", "A"}, {"1|5", "C"}}, "D:2|5 3|5 1|5 M:!", 4},  // equal mails are two
        {{}, "D:M:", 4},
        {{{"1|5", "A"}}, "D:1|5 M:!", 5, true},  // it has come again
        {{{"1|5", "A"}}, "D:1|5 M:!", 5, true},
        {{{"1|5", "A"}}, "D:1|5 M:!", 5},
        {{{"1|5", "A"}}, "D:M:", 5},
    };
    Switch("T");
    for (const auto& step : STEPS) {
        const auto at = &step - STEPS;
        EXPECT_EQ(List(step.Listed), step.Result) << at;
        EXPECT_EQ(TrashFiles(Dir).size(), 2 * step.Copies) << at;
        EXPECT_EQ(Ignored, static_cast<int>(step.Listed.size())) << at;
        if (step.Refused)
            ForgetTries(Item);
    }

    EXPECT_EQ(Std(Item.Get("@RetryMessageId")), "1|5\n");
    Item.Set("@DisposedMails", "");
    EXPECT_EQ(List({{"1|5", "A"}}), "D:1|5 M:!") << "another run tries again";
    EXPECT_EQ(TrashFiles(Dir).size(), 10U) << "without another copy";

    Switch("");
    EXPECT_EQ(List({{"1|5", "A"}}), "D:M:");
    Switch("T");
    EXPECT_EQ(List({{"1|5", "A"}}), "D:M:") << "points that come and go make no mail a new one";
    EXPECT_EQ(List({{"1|5", "A"}}, 2), "D:M:");
    EXPECT_EQ(List({{"1|5", "A"}}), "D:M:") << "a listing with gaps forgets nothing";

    Switch("M");
    Item.Set("Type", "2");
    Item.Set("DoSpamMove", "1");
    EXPECT_EQ(List({{"9", "M"}}), "D:M:9 !");
    EXPECT_EQ(List({{"9", "M"}}), "D:M:") << "another move would make another copy";
    EXPECT_EQ(List({{"9", "M"}, {"10", "N"}}), "D:M:10 !");
}

}  // namespace

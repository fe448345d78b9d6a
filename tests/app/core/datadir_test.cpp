#include "app/core/datadir.h"

#include "tests/app/core/coresupport.h"

namespace {

constexpr const char* PRODUCT = "TarnwickTest";

class DataDir : public ::testing::Test {
 protected:
    std::string Get(const char* commandLine = "") {
        return Std(GetDataDir(ARGUMENTS("tarnwick", commandLine), PRODUCT, PRODUCT, Pending));
    }
    int Move(const STRING& oldDir, const STRING& pending, const char* patterns = "*.*") {
        return MoveDataDir(FrontEnd, Texts, PRODUCT, oldDir.Text(), pending.Text(), patterns);
    }

    TESTSTORE Store;
    TEMPDIR Temp;
    RECORDER FrontEnd;
    NUMBEREDTEXTS Texts;
    STRING Pending;
};

TEST_F(DataDir, FirstStartUsesTheApplicationDataAndStoresIt) {
    const std::string dir = Get();
    EXPECT_EQ(dir, Std(GetWin32SystemPath(5) || "Velmora\\TarnwickTest"));
    EXPECT_TRUE(OSYS::FileIsDirectory(dir.c_str()));
    EXPECT_EQ(Store.Get("ApplicationDataDir"), dir);
    EXPECT_FALSE(Pending.NotNull());
    EXPECT_EQ(Get(), dir);
}

TEST_F(DataDir, TakesOverTheValueOfOlderVersions) {
    Store.Set("FilesDir", Temp.File("old"));
    EXPECT_EQ(Get(), Std(Temp.File("old")));
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(Temp.File("old")));
    EXPECT_EQ(Store.Get("FilesDir"), "<none>");
}

TEST_F(DataDir, CommandLineWinsOverTheStore) {
    Store.Set("ApplicationDataDir", Temp.File("stored"));
    Store.Set("ApplicationDataDir.New", Temp.File("pending"));
    const STRING wanted = Temp.File("a\\b c");
    EXPECT_EQ(Get(("\"/WORKDIR:" + Std(wanted) + "\"").c_str()), Std(wanted));
    EXPECT_TRUE(OSYS::FileIsDirectory(wanted.Text()));
    EXPECT_FALSE(OSYS::FileIsDirectory(Temp.File("stored").Text()));
    EXPECT_FALSE(Pending.NotNull());
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(Temp.File("stored")));
}

TEST_F(DataDir, AnUnusableValueEndsAtZeroAndThenAtTheCurrentDirectory) {
    CURRENTDIR here(Temp.Path());
    WriteBytes(Temp.File("file"), "x");
    Store.Set("ApplicationDataDir", Temp.File("file\\below"));
    EXPECT_EQ(Get(), "0");
    EXPECT_TRUE(OSYS::FileIsDirectory(Temp.File("0").Text()));
    EXPECT_EQ(Store.Get("ApplicationDataDir"), "0");

    TEMPDIR other;
    CURRENTDIR there(other.Path());
    WriteBytes(other.File("0"), "x");
    Store.Set("ApplicationDataDir", Temp.File("file\\below"));
    EXPECT_ASSERTIONS(1);
    EXPECT_EQ(Get(), ".");
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(Temp.File("file\\below")));
}

TEST_F(DataDir, PendingIsTheOtherDirectoryOnly) {
    Store.Set("ApplicationDataDir", Temp.File("Data"));
    for (const auto& [value, pending] : {std::pair("dATA", false), {"other", true}}) {
        Store.Set("ApplicationDataDir.New", Temp.File(value));
        EXPECT_EQ(Get(), Std(Temp.File("Data")));
        EXPECT_EQ(Pending.NotNull(), pending) << value;
        EXPECT_NE(Store.Get("ApplicationDataDir.New"), "<none>");
    }
}

TEST_F(DataDir, MoveCopiesAllFilesAndThenDeletesTheOldOnes) {
    Store.Set("ApplicationDataDir.New", "x");
    const STRING from = Temp.File("from");
    const STRING to = Temp.File("deep\\to");
    ASSERT_TRUE(OSYS::MakeDirectories(Temp.File("from\\trash").Text()));
    WriteBytes(Temp.File("from\\accounts.ini"), "new");
    WriteBytes(Temp.File("from\\noextension"), "n");
    WriteBytes(Temp.File("from\\tarnwick.lock"), "");
    ASSERT_TRUE(OSYS::MakeDirectories(to.Text()));
    WriteBytes(Temp.File("deep\\to\\accounts.ini"), "an older one that is replaced");
    EXPECT_EQ(Move(from, STRING("*") || to), 1);
    EXPECT_EQ(ReadBytes(Temp.File("deep\\to\\accounts.ini")), "new");
    EXPECT_EQ(ReadBytes(Temp.File("deep\\to\\noextension")), "n");
    for (const auto& [name, moves] :
         {std::pair{"accounts.ini", true}, {"noextension", true}, {"tarnwick.lock", false}, {"trash", false}}) {
        EXPECT_EQ(OSYS::FileExists((to || "\\" || name).Text()), moves) << name;
        EXPECT_EQ(OSYS::FileExists((from || "\\" || name).Text()), !moves) << name;
    }
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(to));
    EXPECT_EQ(Store.Get("ApplicationDataDir.New"), "<none>");
    EXPECT_TRUE(FrontEnd.Messages.empty());

    // Without the star only the directory changes.
    EXPECT_EQ(Move(to, from), 1);
    EXPECT_TRUE(OSYS::FileExists(Temp.File("deep\\to\\accounts.ini").Text()));
    EXPECT_FALSE(OSYS::FileExists(Temp.File("from\\accounts.ini").Text()));
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(from));
}

TEST_F(DataDir, AFailedCopyKeepsTheOldPlaceAndDropsTheRequest) {
    Store.Set("ApplicationDataDir", Temp.File("from"));
    Store.Set("ApplicationDataDir.New", STRING("*") || Temp.File("to"));
    ASSERT_TRUE(OSYS::MakeDirectories(Temp.File("from").Text()));
    ASSERT_TRUE(OSYS::MakeDirectories(Temp.File("to\\a.ini").Text()));  // a directory stands where a file must go
    WriteBytes(Temp.File("from\\a.ini"), "a");
    WriteBytes(Temp.File("from\\b.ini"), "b");
    EXPECT_EQ(Move(Temp.File("from"), STRING("*") || Temp.File("to"), "a.*|b.*"), 0);
    EXPECT_EQ(FrontEnd.Messages, std::vector<std::string>{"text 10001 $DIR: " + Temp.Native("from\\a.ini") +
                                                          " -> \r\n" + Temp.Native("to\\a.ini") +
                                                          ": copy failed!\r\nWill keep original data directory!"});
    EXPECT_EQ(ReadBytes(Temp.File("from\\a.ini")), "a");
    EXPECT_EQ(ReadBytes(Temp.File("from\\b.ini")), "b");
    EXPECT_EQ(ReadBytes(Temp.File("to\\b.ini")), "b");  // the loop went on
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(Temp.File("from")));
    EXPECT_EQ(Store.Get("ApplicationDataDir.New"), "<none>");
}

TEST_F(DataDir, APlaceThatCannotBeMadeIsRefused) {
    WriteBytes(Temp.File("file"), "x");
    for (const STRING& pending : {Temp.File("file\\to"), STRING("*") || Temp.File("file\\to"), STRING("*")}) {
        Store.Set("ApplicationDataDir.New", pending);
        FrontEnd.Messages.clear();
        EXPECT_EQ(Move(Temp.Path(), pending), 0);
        EXPECT_EQ(FrontEnd.Messages.size(), 1U);
        EXPECT_EQ(Store.Get("ApplicationDataDir"), "<none>");
        EXPECT_EQ(Store.Get("ApplicationDataDir.New"), "<none>");
    }
}

TEST(ReplaceDirectory, TouchesOnlyFilesRightInTheOldDirectory) {
    const struct {
        const char *OldDir, *Value, *Result;
    } cases[] = {
        {"c:\\old", "c:\\old\\spamdef.dat", "d:\\new\\spamdef.dat"},
        {"c:\\old", "C:\\OLD\\spamdef.dat", "d:\\new\\spamdef.dat"},
        {"c:\\old", "c:\\old\\sub\\spamdef.dat", nullptr},
        {"c:\\old", "c:\\older\\spamdef.dat", nullptr},
        {"c:\\old", "spamdef.dat", nullptr},
        {".", "spamdef.dat", "d:\\new\\spamdef.dat"},
        {"c:\\old", "", nullptr},
        {"c:\\old", "c:\\old\\", "d:\\new\\"},
    };
    for (const auto& c : cases) {
        STRING value(c.Value);
        EXPECT_EQ(ReplaceDirectory(c.OldDir, "d:\\new", value), c.Result != nullptr) << c.Value;
        EXPECT_EQ(Std(value), c.Result ? c.Result : c.Value);
    }
}

}  // namespace

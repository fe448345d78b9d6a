#include "app/core/datadir.h"

#include <filesystem>

#include "corelib/base/files.h"
#include "tests/app/core/coresupport.h"

namespace {

constexpr const char* PRODUCT = "TarnwickTest";

bool Link(const std::string& target, const std::string& link) {
    std::error_code error;
    if (std::filesystem::is_directory(target))
        std::filesystem::create_directory_symlink(target, link, error);
    else
        std::filesystem::create_symlink(target, link, error);
    return !error;
}

/// Whether ".." takes a name away without a look at what that name is.
bool PathsAreTexts() {
    return FILES::NativePath("\\") == "\\";
}

class DataDir : public ::testing::Test {
 protected:
    std::string Get(const char* commandLine = "") {
        return Std(GetDataDir(ARGUMENTS("tarnwick", commandLine), PRODUCT, PRODUCT, Pending));
    }
    bool Move(const STRING& oldDir, const STRING& pending, const char* patterns = "*.*") {
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

TEST_F(DataDir, PendingIsAnotherPlaceAndNoOtherSpelling) {
    const STRING data = Temp.File("Data");
    Store.Set("ApplicationDataDir", data);
    ASSERT_TRUE(OSYS::MakeDirectories(Temp.File("Data\\sub").Text()));
    const bool links = Link(Temp.Native("Data"), Temp.Native("link"));
    const bool oneCase = OSYS::FileIsDirectory(Temp.File("dATA").Text());
    const std::string slashes = Temp.Native("Data/sub/..") + "/";
    const std::pair<STRING, bool> cases[] = {
        {data, true},
        {data || "\\", true},
        {data || "\\.", true},
        {Temp.File(".\\\\Data"), true},
        {Temp.File("other\\..\\Data"), false},  // before "other" is made it leads nowhere, where links are followed
        {STRING(slashes.c_str()), true},
        {Temp.File("link"), links},
        {Temp.File("dATA"), oneCase},
        {Temp.File("other"), false},
        {Temp.File("Data\\sub"), false},
        {STRING(Temp.Path()), false},
    };
    for (const char* star : {"", "*"}) {
        for (const auto& [wanted, isSame] : cases) {
            const bool same = isSame || (PathsAreTexts() && wanted.Pos("other\\..") != -1);
            Store.Set("ApplicationDataDir.New", STRING(star) || wanted);
            EXPECT_EQ(Get(), Std(data));
            EXPECT_EQ(Pending.NotNull(), !same) << wanted.Text();
            EXPECT_EQ(Store.Get("ApplicationDataDir.New") == "<none>", same) << wanted.Text();
        }
    }
}

TEST_F(DataDir, AMoveOntoItselfLosesNothing) {
    const STRING from = Temp.File("from");
    ASSERT_TRUE(OSYS::MakeDirectories(from.Text()));
    Store.Set("ApplicationDataDir", from);
    WriteBytes(Temp.File("from\\a.ini"), "a");
    Link(Temp.Native("from"), Temp.Native("link"));
    for (const char* spelling : {"from", "from\\", "from\\.", ".\\from", "new\\..\\from", "link"}) {
        Store.Set("ApplicationDataDir.New", "x");
        if (std::string_view(spelling) == "link" && !OSYS::FileIsDirectory(Temp.File("link").Text()))
            continue;
        EXPECT_TRUE(Move(from, STRING("*") || Temp.File(spelling))) << spelling;
        EXPECT_EQ(ReadBytes(Temp.File("from\\a.ini")), "a") << spelling;
        EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(from)) << spelling;
        EXPECT_EQ(Store.Get("ApplicationDataDir.New"), "<none>") << spelling;
    }
    // Down into a folder of its own, and up again.
    const STRING below = Temp.File("from\\below");
    EXPECT_TRUE(Move(from, STRING("*") || below));
    EXPECT_EQ(ReadBytes(Temp.File("from\\below\\a.ini")), "a");
    EXPECT_FALSE(OSYS::FileExists(Temp.File("from\\a.ini").Text()));
    EXPECT_TRUE(Move(below, STRING("*") || from));
    EXPECT_EQ(ReadBytes(Temp.File("from\\a.ini")), "a");
    EXPECT_TRUE(FrontEnd.Messages.empty());
}

TEST_F(DataDir, LinksBetweenTheOldPlaceAndTheNewOneLoseNothing) {
    for (const char* folder : {"from", "to"})
        ASSERT_TRUE(OSYS::MakeDirectories(Temp.File(folder).Text()));
    WriteBytes(Temp.File("from\\a.ini"), "a");
    WriteBytes(Temp.File("from\\b.ini"), "b");
    WriteBytes(Temp.File("to\\c.ini"), "c");
    if (!Link(Temp.Native("from/a.ini"), Temp.Native("to/a.ini")))
        GTEST_SKIP() << "no links here";
    Link(Temp.Native("from/a.ini"), Temp.Native("to/b.ini"));
    Link(Temp.Native("from/b.ini"), Temp.Native("from/l.ini"));
    EXPECT_TRUE(Move(Temp.File("from"), STRING("*") || Temp.File("to")));
    for (const auto& [name, text] : {std::pair("a.ini", "a"), {"b.ini", "b"}, {"l.ini", "b"}, {"c.ini", "c"}})
        EXPECT_EQ(ReadBytes(Temp.File("to") || "\\" || name), text) << name;
    // What already lies in the new place, and is only linked in the old one, stays there.
    Link(Temp.Native("to/c.ini"), Temp.Native("from/c.ini"));
    EXPECT_FALSE(Move(Temp.File("from"), STRING("*") || Temp.File("to")));
    EXPECT_EQ(ReadBytes(Temp.File("to\\c.ini")), "c");
    EXPECT_EQ(ReadBytes(Temp.File("from\\c.ini")), "c");
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
    EXPECT_TRUE(Move(from, STRING("*") || to));
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
    EXPECT_TRUE(Move(to, from));
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
    EXPECT_FALSE(Move(Temp.File("from"), STRING("*") || Temp.File("to"), "a.*|b.*"));
    EXPECT_EQ(FrontEnd.Messages, std::vector<std::string>{Numbered(TEXT_PRODUCT) + ": " + Temp.Native("from\\a.ini") +
                                                          " -> \r\n" + Temp.Native("to\\a.ini") +
                                                          ": copy failed!\r\nWill keep original data directory!"});
    EXPECT_EQ(ReadBytes(Temp.File("from\\a.ini")), "a");
    EXPECT_EQ(ReadBytes(Temp.File("from\\b.ini")), "b");
    EXPECT_EQ(ReadBytes(Temp.File("to\\b.ini")), "b");  // the loop went on
    EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(Temp.File("from")));
    EXPECT_EQ(Store.Get("ApplicationDataDir.New"), "<none>");
}

TEST_F(DataDir, CopiesAreMadeFitBeforeTheirPlaceHolds) {
    const STRING from = Temp.File("from"), to = Temp.File("to");
    Store.Set("ApplicationDataDir", from);
    ASSERT_TRUE(OSYS::MakeDirectories(from.Text()));
    WriteBytes(Temp.File("from\\a.ini"), "a");
    for (const bool good : {false, true}) {
        const auto settle = [&](const STRING& place) {
            EXPECT_EQ(place, to);
            EXPECT_EQ(ReadBytes(Temp.File("to\\a.ini")), "a");
            EXPECT_EQ(Store.Get("ApplicationDataDir"), Std(from));
            return good;
        };
        EXPECT_EQ(MoveDataDir(FrontEnd, Texts, PRODUCT, from.Text(), (STRING("*") || to).Text(), "*.*", settle), good);
        EXPECT_EQ(FrontEnd.Messages.size(), 1U);
        EXPECT_EQ(OSYS::FileExists(Temp.File("from\\a.ini").Text()), !good);
    }
}

TEST_F(DataDir, APlaceThatCannotBeMadeIsRefused) {
    WriteBytes(Temp.File("file"), "x");
    for (const STRING& pending : {Temp.File("file\\to"), STRING("*") || Temp.File("file\\to"), STRING("*")}) {
        Store.Set("ApplicationDataDir.New", pending);
        FrontEnd.Messages.clear();
        EXPECT_FALSE(Move(Temp.Path(), pending));
        EXPECT_EQ(FrontEnd.Messages.size(), 1U);
        EXPECT_EQ(Store.Get("ApplicationDataDir"), "<none>");
        EXPECT_EQ(Store.Get("ApplicationDataDir.New"), "<none>");
    }
}

TEST(ReplaceDirectory, TouchesOnlyFilesRightInTheOldDirectory) {
    const char* const cases[][3] = {
        {"c:\\old", "c:\\old\\spamdef.dat", "d:\\new\\spamdef.dat"},
        {"c:\\old", "C:\\OLD\\spamdef.dat", "d:\\new\\spamdef.dat"},
        {"c:\\old", "c:\\old\\sub\\spamdef.dat", nullptr},
        {"c:\\old", "c:\\older\\spamdef.dat", nullptr},
        {"c:\\old", "spamdef.dat", nullptr},
        {".", "spamdef.dat", "d:\\new\\spamdef.dat"},
        {"c:\\old", "", nullptr},
        {"c:\\old", "c:\\old\\", "d:\\new\\"},
    };
    for (const auto& [oldDir, former, result] : cases) {
        STRING value(former);
        EXPECT_EQ(ReplaceDirectory(oldDir, "d:\\new", value), result != nullptr) << former;
        EXPECT_EQ(Std(value), result ? result : former);
    }
}

}  // namespace

#include "corelib/system/osys.h"

#include <filesystem>

#include "tests/corelib/system/systemsupport.h"

namespace {

TEST(Paths, AreTakenApartAndPutTogether) {
    const char* const directories[][2] = {
        {"x.txt", "."}, {"", "."},   {"c:x.txt", "c"},   {"c:\\x.txt", "c:"},    {"a\\b\\c", "a\\b"},
        {"a/b", "a"},   {"\\a", ""}, {"a\\b\\", "a\\b"}, {"a\\b/c:d", "a\\b/c"},
    };
    for (const auto& [path, directory] : directories)
        EXPECT_EQ(Std(OSYS::FileDirectory(path)), directory) << path;

    EXPECT_EQ(Std(OSYS::FilePath("a\\", "b")), "a\\b");
    EXPECT_EQ(Std(OSYS::FilePath(nullptr, "b")), Std(OSYS::GetCurrentDir()) + "\\b");
}

TEST(Paths, DirectoriesAreMadePartByPart) {
    TEMPDIR dir;
    const STRING deep = dir.File("a\\b\\c");
    EXPECT_FALSE(OSYS::MakeDirectory(deep.Text()));
    EXPECT_TRUE(OSYS::MakeDirectories(deep.Text()));
    EXPECT_TRUE(OSYS::FileIsDirectory(deep.Text()));
    EXPECT_TRUE(OSYS::MakeDirectories(deep.Text()));
    EXPECT_TRUE(OSYS::MakeDirectories((dir.File("d\\e") || "\\").Text()));

    WriteBytes(dir.File("file"), "x");
    EXPECT_FALSE(OSYS::MakeDirectories(dir.File("file").Text()));
    EXPECT_FALSE(OSYS::MakeDirectories(dir.File("file\\below").Text()));
}

TEST(Files, AnOpenOneIsNotShared) {
    TEMPDIR dir;
    const STRING path = dir.File("f");
    EXPECT_FALSE(OSYS::OpenFile(path.Text(), "r").IsOpen());
    {
        OSYS::FILEHANDLE file = OSYS::OpenFile(path.Text(), "w");
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(file.Write("abc", 3), 3);
        EXPECT_FALSE(OSYS::OpenFile(path.Text(), "w").IsOpen());
        EXPECT_FALSE(OSYS::OpenFile(path.Text(), "rb").IsOpen());
    }
    char text[8];
    OSYS::FILEHANDLE reader = OSYS::OpenFile(path.Text(), "r");
    EXPECT_EQ(reader.Read(text, sizeof text), 3);
    EXPECT_EQ(reader.Write("x", 1), -1);
    EXPECT_FALSE(OSYS::OpenFile(path.Text(), "r").IsOpen());  // nor do two readers share it
    reader = OSYS::FILEHANDLE();
    EXPECT_TRUE(OSYS::OpenFile(path.Text(), "r+").IsOpen());
    EXPECT_EQ(ReadBytes(path), "abc");  // opened, not emptied

    EXPECT_ASSERTIONS(2);
    EXPECT_FALSE(OSYS::OpenFile(path.Text(), "a").IsOpen());
}

TEST(Files, TheTimeIsThatOfTheLastWriting) {
    TEMPDIR dir;
    EXPECT_FALSE(OSYS::FileTime(dir.File("absent").Text()).NotNull());
    WriteBytes(dir.File("f"), "x");
    using namespace std::chrono;
    std::filesystem::last_write_time(dir.Native("f"), file_clock::from_sys(sys_days{2004y / 2 / 29} + 13h + 1min + 2s));
    EXPECT_EQ(Std(OSYS::FileTime(dir.File("f").Text())), "2004-02-29 13:01:02");
}

TEST(Time, StopwatchAndTexts) {
    FAKECLOCK clock;
    EXPECT_EQ(OSYS::MilliSeconds(1), 0);
    OSYS::Sleep(1234);
    EXPECT_EQ(OSYS::MilliSeconds(0), 1234);
    EXPECT_EQ(OSYS::MilliSeconds(0), 1234);
    EXPECT_EQ(OSYS::MilliSeconds(1), 0);
    EXPECT_EQ(OSYS::MilliSeconds(0), 0);
    EXPECT_EQ(OSYS::Seconds(), 1772600768);
}

}  // namespace

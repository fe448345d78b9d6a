#include "corelib/base/files.h"

#include <chrono>
#include <filesystem>
#include <fstream>

#include "tests/support/testsupport.h"

TEST(FilesTest, TextFormOnDisk) {
    TEMPDIR dir;
    STRING file = dir.File("t.txt"), text;
    ASSERT_TRUE(FILES::ReplaceAll(file.Text(), "a\nb\r\n\n", true));
    EXPECT_EQ(ReadBytes(file), "a\r\nb\r\r\n\r\n");
    WriteBytes(file, std::string_view("a\r\nb\rc\nd\x1a"
                                      "behind",
                                      15));
    ASSERT_TRUE(FILES::ReadAll(file.Text(), true, text));
    EXPECT_EQ(text, "a\nb\rc\nd");
    ASSERT_TRUE(FILES::ReadAll(file.Text(), false, text));
    EXPECT_EQ(text.Length(), 15);
    WriteBytes(file, "");
    ASSERT_TRUE(FILES::ReadAll(file.Text(), true, text));
    EXPECT_TRUE(text.NotNull());
}

// The move of a data directory copies all that lies there, such as a log of months.
TEST(FilesTest, ALongFileIsReadAtTheSpeedOfTheDisk) {
    TEMPDIR dir;
    WriteBytes(dir.File("log"), "begin");
    std::filesystem::resize_file(dir.Native("log"), 64 << 20);
    STRING text;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(FILES::ReadAll(dir.File("log").Text(), false, text));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(text.Length(), 64 << 20);
    ASSERT_TRUE(FILES::ReadHead(dir.File("log").Text(), 3, text));
    EXPECT_EQ(text, "beg");
}

TEST(FilesTest, FailuresLeaveTheOldFile) {
    TEMPDIR dir;
    STRING file = dir.File("data.ini");
    WriteBytes(file, "old");
    std::filesystem::permissions(dir.Native("data.ini"), std::filesystem::perms::owner_read);
    STRING out("kept");
    EXPECT_FALSE(FILES::ReadAll(dir.File("missing").Text(), true, out));
    EXPECT_FALSE(FILES::ReadAll(dir.Path(), true, out));
    EXPECT_EQ(out, "kept");
    EXPECT_FALSE(FILES::ReplaceAll(dir.Path(), "x", false)) << "a directory";
    EXPECT_FALSE(FILES::Copy(dir.File("missing").Text(), file.Text()));
    EXPECT_FALSE(FILES::Remove(dir.File("missing").Text()));
    EXPECT_TRUE(FILES::FlushFolder(dir.Path()));
    EXPECT_FALSE(FILES::FlushFolder(dir.File("missing").Text()));
    EXPECT_FALSE(FILES::FlushFolder(file.Text())) << "a file";
    EXPECT_EQ(ReadBytes(file), "old");
}

// Somebody else, say a virus scanner, reads the file until the program has waited a few times.
class READER : public FAKECLOCK {
 public:
    READER(const std::string& path, int pauses)
        : File(path, std::ios::binary), Folder(std::filesystem::path(path).parent_path()), Pauses(pauses) {}
    void Sleep(int ms) override {
        FAKECLOCK::Sleep(ms);
        ++Slept;
        // What a kill would leave now is known for it.
        for (const auto& entry : std::filesystem::directory_iterator(Folder))
            Leftovers += FILES::IsLeftover(entry.path().filename().string());
        if (--Pauses == 0)
            File.close();
    }

    int Slept = 0, Leftovers = 0;

 private:
    std::ifstream File;
    std::filesystem::path Folder;
    int Pauses;
};

TEST(FilesTest, AReaderDelaysAReplacementAtMost) {
    TEMPDIR dir;
    STRING file = dir.File("data.ini");
    WriteBytes(file, "old");
    {
        READER reader(dir.Native("data.ini"), 3);
        EXPECT_TRUE(FILES::ReplaceAll(file.Text(), "new", false));
        EXPECT_EQ(reader.Leftovers, reader.Slept);
    }
    EXPECT_EQ(ReadBytes(file), "new");
    {
        // One that never leaves: either the platform does not mind, or the old file stays.
        READER reader(dir.Native("data.ini"), 1000000);
        bool replaced = FILES::ReplaceAll(file.Text(), "newer", false);
        EXPECT_EQ(ReadBytes(file), replaced ? "newer" : "new");
    }
    auto entries = std::filesystem::directory_iterator(dir.Native());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

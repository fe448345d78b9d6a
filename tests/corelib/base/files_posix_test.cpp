// Replacing files where links, permissions and limits of this platform come in.

#include <filesystem>

#include "corelib/base/files.h"
#include "tests/support/sizelimit_posix.h"
#include "tests/support/testsupport.h"

namespace {

namespace fs = std::filesystem;

auto EntriesOf(const TEMPDIR& dir) {
    auto entries = fs::directory_iterator(dir.Native());
    return std::distance(begin(entries), end(entries));
}

TEST(PosixFiles, AFullDiskLeavesTheOldFile) {
    TEMPDIR dir;
    const STRING file = dir.File("data.ini"), other = dir.File("new.ini");
    WriteBytes(file, "old");
    bool replaced, made, copied;
    {
        SIZELIMIT limit(4096);
        const std::string bytes(5000, 'x');
        replaced = FILES::ReplaceAll(file.Text(), bytes, false);
        made = FILES::ReplaceAll(other.Text(), bytes, false);
        copied = FILES::Copy("\\proc\\self\\exe", file.Text());
    }
    EXPECT_FALSE(replaced);
    EXPECT_FALSE(made);
    EXPECT_FALSE(copied);
    EXPECT_EQ(ReadBytes(file), "old");
    EXPECT_EQ(EntriesOf(dir), 1) << "nothing is left beside it";
}

TEST(PosixFiles, ALinkStaysALink) {
    TEMPDIR dir, elsewhere;
    WriteBytes(elsewhere.File("real"), "old");
    const struct {
        const char* Name;
        fs::path Target;
        const char* Written;
    } cases[] = {
        {"absolute", elsewhere.Native("real"), "real"},
        {"relative", fs::path("..") / fs::path(elsewhere.Native()).filename() / "real", "real"},
        {"chain", "absolute", "real"},
        {"dangling", elsewhere.Native("not yet"), "not yet"},
    };
    for (const auto& c : cases) {
        fs::create_symlink(c.Target, dir.Native(c.Name));
        EXPECT_TRUE(FILES::ReplaceAll(dir.File(c.Name).Text(), c.Name, false)) << c.Name;
        EXPECT_TRUE(fs::is_symlink(dir.Native(c.Name))) << c.Name;
        EXPECT_EQ(ReadBytes(elsewhere.File(c.Written)), c.Name);
    }
    fs::create_symlink("circle", dir.Native("circle"));
    EXPECT_FALSE(FILES::ReplaceAll(dir.File("circle").Text(), "x", false));
    EXPECT_TRUE(fs::is_symlink(dir.Native("circle")));
    EXPECT_EQ(EntriesOf(dir), 5);
    EXPECT_EQ(EntriesOf(elsewhere), 2);
}

TEST(PosixFiles, TheModeIsKeptAndANewFileIsPrivate) {
    TEMPDIR dir;
    const STRING file = dir.File("accounts.ini");
    ASSERT_TRUE(FILES::ReplaceAll(file.Text(), "1", false));
    EXPECT_EQ(fs::status(dir.Native("accounts.ini")).permissions(), fs::perms(0600));
    fs::permissions(dir.Native("accounts.ini"), fs::perms(0640));
    ASSERT_TRUE(FILES::ReplaceAll(file.Text(), "2", false));
    EXPECT_EQ(fs::status(dir.Native("accounts.ini")).permissions(), fs::perms(0640));
}

}  // namespace

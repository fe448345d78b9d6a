// Replacing files where links, permissions and limits of this platform come in.

#include <filesystem>

#include "corelib/base/files.h"
#include "corelib/base/filesplatform.h"
#include "corelib/base/trace.h"
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
    const std::tuple<const char*, fs::path, const char*> cases[] = {
        {"absolute", elsewhere.Native("real"), "real"},
        {"relative", fs::path("..") / fs::path(elsewhere.Native()).filename() / "real", "real"},
        {"chain", "absolute", "real"},
        {"dangling", elsewhere.Native("not yet"), "not yet"},
    };
    for (const auto& [name, target, written] : cases) {
        fs::create_symlink(target, dir.Native(name));
        EXPECT_TRUE(FILES::ReplaceAll(dir.File(name).Text(), name, false)) << name;
        EXPECT_TRUE(fs::is_symlink(dir.Native(name))) << name;
        EXPECT_EQ(ReadBytes(elsewhere.File(written)), name);
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
    // Unless it is to be the owner's alone.
    for (const auto& [before, after] : {std::pair(0644, 0600), {0755, 0600}, {0440, 0400}, {0600, 0600}}) {
        fs::permissions(dir.Native("accounts.ini"), fs::perms(before));
        EXPECT_TRUE(FILES::MakePrivate(file.Text()));
        EXPECT_EQ(fs::status(dir.Native("accounts.ini")).permissions(), fs::perms(after)) << before;
    }
    EXPECT_FALSE(FILES::MakePrivate(dir.Path()));
    EXPECT_FALSE(FILES::MakePrivate(dir.File("missing").Text()));
}

// Root could write there; nothing would remove it with the package.
TEST(PosixFiles, TheProgramLeavesNothingInTheFoldersOfPackages) {
    TEMPDIR dir;
    fs::create_symlink("/usr/lib", dir.Native("link"));
    EXPECT_TRUE(FILESPLATFORM::CanMakeFiles(dir.Path()));
    for (const STRING& folder : {STRING("\\usr\\lib"), dir.File("link")})
        EXPECT_FALSE(FILESPLATFORM::CanMakeFiles(folder.Text())) << Std(folder);
}

TEST(PosixFiles, NoLogGoesThroughALink) {
    TEMPDIR dir, elsewhere;
    WriteBytes(elsewhere.File("letter"), "mine");
    const STRING link = dir.File("link"), plain = dir.File("plain");
    for (const char* target : {"letter", "not yet"}) {
        fs::remove(dir.Native("link"));
        fs::create_symlink(elsewhere.Native(target), dir.Native("link"));
        EXPECT_FALSE(FILES::AppendLog(link.Text(), "log"));
        EXPECT_FALSE(FILES::ReplaceLog(link.Text(), "log", true));
        LogOption((STRING("/LOGIT:") || link).Text());
        EXPECT_EQ(Trace("log"), 0);
        EXPECT_EQ(SettleLog(), link);
        LogOption("/LOGITCLOSE");
    }
    EXPECT_EQ(ReadBytes(elsewhere.File("letter")), "mine");
    EXPECT_EQ(EntriesOf(elsewhere), 1);
    EXPECT_TRUE(FILES::ReplaceLog(plain.Text(), "a\n", true));
    EXPECT_TRUE(FILES::AppendLog(plain.Text(), "b"));
    EXPECT_EQ(ReadBytes(plain), "a\r\nb");
    // A copy takes a link's place if it is told to, even if that leads back.
    fs::remove(dir.Native("link"));
    fs::create_symlink("plain", dir.Native("link"));
    EXPECT_FALSE(FILES::Copy(plain.Text(), link.Text()));
    EXPECT_TRUE(FILES::Copy(plain.Text(), link.Text(), FILES::LINKS::Replace));
    EXPECT_FALSE(FILES::IsLink(link.Text()));
    EXPECT_EQ(ReadBytes(link), "a\r\nb");
}

}  // namespace

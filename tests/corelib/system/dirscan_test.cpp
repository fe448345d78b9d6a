#include "corelib/system/dirscan.h"

#include <filesystem>

#include "corelib/system/osys.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

std::string Found(const STRING& pattern) {
    std::vector<std::string> names;
    STRING name;
    DIRSCAN scan(pattern.Text(), name);
    for (bool more = name.NotNull(); more; more = scan.Next())
        if (name[0] != '.')
            names.push_back(Std(name) + (scan.IsDirectory() ? "/" : ""));
    EXPECT_FALSE(name.NotNull());
    std::sort(names.begin(), names.end());
    std::string all;
    for (const auto& one : names)
        all += one + " ";
    return all;
}

TEST(DirScan, FindsWhatMatches) {
    TEMPDIR dir;
    for (const char* name : {"a.ini", "B.INI", "ab.ini", "ab.in", "none"})
        WriteBytes(dir.File(name), "x");
    ASSERT_TRUE(OSYS::MakeDirectory(dir.File("sub.ini").Text()));
    const char* const cases[][2] = {
        {"*.ini", "B.INI a.ini ab.ini sub.ini/ "},  // the case is of no account
        {"?.ini", "B.INI a.ini "},
        {"A*.Ini", "a.ini ab.ini "},
        {"*B*.in*", "B.INI ab.in ab.ini sub.ini/ "},
        {"*.*", "B.INI a.ini ab.in ab.ini none sub.ini/ "},  // a dot is not needed
        {"*a.ini", "a.ini "},
        {"absent\\*", ""},
    };
    for (const auto& [pattern, names] : cases)
        EXPECT_EQ(Found(dir.File(pattern)), names) << pattern;
}

std::string Collected(const TEMPDIR& dir, const char* pattern, bool recurse) {
    DYNARRAY<STRING> files(4, 4);
    int count = OSYS::CollectFiles(dir.Path(), pattern, &files, recurse);
    EXPECT_EQ(count, files.Count());
    EXPECT_EQ(count, OSYS::CollectFiles(dir.Path(), pattern, nullptr, recurse));
    std::string all;
    for (int i = 0; i < files.Count(); ++i)
        all += Std(files[i].Mid(STRING(dir.Path()).Length() + 1)) + " ";
    return all;
}

TEST(CollectFiles, PutsADirectoryBehindItsContents) {
    TEMPDIR dir;
    ASSERT_TRUE(OSYS::MakeDirectories(dir.File("sub.d\\deep.d").Text()));
    ASSERT_TRUE(OSYS::MakeDirectories(dir.File("other").Text()));
    ASSERT_TRUE(OSYS::MakeDirectories(dir.File(".hidden.d").Text()));
    WriteBytes(dir.File("sub.d\\deep.d\\x.d"), "x");
    WriteBytes(dir.File("other\\y.d"), "y");
    WriteBytes(dir.File(".hidden.d\\z.d"), "z");
    EXPECT_EQ(Collected(dir, "*.d", false), "");
    // A directory is entered only if it matches as the files do.
    EXPECT_EQ(Collected(dir, "*.d", true), "sub.d\\deep.d\\x.d sub.d\\deep.d sub.d ");
}

}  // namespace

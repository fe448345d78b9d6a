// The trash on a disk that is full, as this platform can make one.

#include "tests/app/check/fakes.h"
#include "tests/support/sizelimit_posix.h"

namespace {

TEST(FullTrash, KeepsWholeFilesAloneAndGivesNoIdTwice) {
    const TEMPDIR dir;
    TRASHSTORE trash;
    trash.SetDirectory(dir.Path());  // the folder itself is not there yet, or has been taken away
    const std::string large(5000, 'x');
    const struct {
        rlim_t Limit;  // of bytes on the disk
        size_t Header, Body;
        bool Saved;
        std::set<std::string> Added;
    } CASES[] = {
        {4096, 10, 5000, false, {"100000000.ini"}},
        {4096, 5000, 10, false, {}},
        {0, 10, 10, false, {}},
        {4096, 10, 10, true, {"100000002.ini", "100000002.txt"}},
        {8192, 5000, 5000, true, {"100000003.ini", "100000003.txt"}},
    };
    std::set<std::string> expected;
    for (const auto& c : CASES) {
        STRINGARRAY record;
        record.Set("Header", large.substr(0, c.Header).c_str());
        record.Set("Body", large.substr(0, c.Body).c_str());
        bool saved = false;
        {
            const SIZELIMIT limit(c.Limit);
            saved = trash.SaveToTrash(record);
        }
        EXPECT_EQ(saved, c.Saved);
        expected.insert(c.Added.begin(), c.Added.end());
        EXPECT_EQ(TrashFiles(dir), expected) << "half files, or ones beside them, at " << c.Header << " and " << c.Body;
        for (const std::string& name : c.Added) {
            const STRING path = dir.File(TRASH_FOLDER) || "\\" || name.c_str();
            STRINGARRAY whole;
            if (name.ends_with(".txt"))
                EXPECT_EQ(ReadBytes(path).size(), c.Body) << name;
            else
                EXPECT_TRUE(whole.Load(path.Text()) && whole.Get("Header").Length() == static_cast<int>(c.Header));
        }
    }
}

}  // namespace

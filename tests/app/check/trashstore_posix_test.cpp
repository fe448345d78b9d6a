// The trash on a disk that is full, as this platform can make one, and what is flushed to it when.

#include <cerrno>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "app/check/disposal.h"
#include "app/check/mailrecords.h"
#include "tests/app/check/fakes.h"
#include "tests/support/sizelimit_posix.h"

namespace {

std::string Flushes;    // a letter for each: a folder, a file
int FolderProblem = 0;  // the error of flushing a folder

}  // namespace

// In place of the system's own, which leaves no trace that a test could read.
extern "C" int fsync(int file) {
    struct stat status{};
    const bool isFolder = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
    Flushes += isFolder ? 'D' : 'f';
    if (isFolder && FolderProblem != 0) {
        errno = FolderProblem;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fsync, file));
}

namespace {

TEST(FullTrash, KeepsWholeFilesAloneAndGivesNoIdTwice) {
    const TEMPDIR dir;
    TRASHSTORE trash;
    trash.SetDirectory(dir.Path());  // the folder itself is not there yet, or has been taken away
    const std::string large(5000, 'x');
    const std::tuple<rlim_t, size_t, size_t, bool, std::set<std::string>> CASES[] = {
        {4096, 10, 5000, false, {}},
        {4096, 5000, 10, false, {}},
        {0, 10, 10, false, {}},
        {4096, 10, 10, true, {"100000002.ini", "100000002.txt"}},
        {8192, 5000, 5000, true, {"100000003.ini", "100000003.txt"}},
    };
    std::set<std::string> expected;
    for (const auto& [room, header, body, wantedSaved, added] : CASES) {
        STRINGARRAY record;
        record.Set("Header", large.substr(0, header).c_str());
        record.Set("Body", large.substr(0, body).c_str());
        bool saved = false;
        {
            const SIZELIMIT limit(room);
            saved = trash.SaveToTrash(record);
        }
        EXPECT_EQ(saved, wantedSaved);
        expected.insert(added.begin(), added.end());
        EXPECT_EQ(TrashFiles(dir), expected) << "half files, or ones beside them, at " << header << " and " << body;
    }
}

TEST(FlushedTrash, IsOnTheDiskBeforeAMailIsQueued) {
    const std::tuple<int, const char*, const char*, int> CASES[] = {
        {0, "1", "3|5\n1|5\n", 0}, {EINVAL, "1", "3|5\n1|5\n", 0}, {EIO, "1", "", 2}, {EIO, "0", "3|5\n1|5\n", 2}};
    for (const auto& [problem, keepUncopied, queued, uncopied] : CASES) {
        const TEMPDIR dir;
        TRASHSTORE trash;
        trash.SetDirectory(dir.Path());
        STRINGARRAY state, item;
        FillSettings(state, {{"SpamDoTrash", "1"}, {"TrashKeepUncopied", keepUncopied}});
        int handle = FIRST_ITEM_HANDLE;
        FixItem(item, state, handle, true);
        MAILRECORDS records;
        records.Read(
            "3 msgs\nX-Message-Id: 3|5\nX-SpamPoints: 200\n\nx\n\1X-Message-Id: 2|5\n\nx\n\1"
            "X-Message-Id: 1|5\nX-SpamPoints: 200\n\nx\n\1",
            {});
        Flushes.clear();
        FolderProblem = problem;
        const SPAMMARKS marks = MarkBySpamVerdict(item, records, 3, {state, trash});
        FolderProblem = 0;
        EXPECT_TRUE(Flushes.starts_with("ffffffD")) << Flushes << ": counter and two files each, then the folder once";
        EXPECT_EQ(Std(item.Get("@DeleteMessageId")), queued) << problem;
        EXPECT_EQ(marks.Lost + marks.Uncopied, uncopied) << problem;
        MarkBySpamVerdict(item, records, 3, {state, trash});
        EXPECT_EQ(TrashFiles(dir).size(), 4U) << "what is written need not be written again";
    }
}

}  // namespace

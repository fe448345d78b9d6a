#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "corelib/base/stringarray.h"

/// Copies of mails that the filter or the user has thrown out: two files for each in the folder "trash" of the data
/// directory, named by an id that is never given twice. Any thread.
class TRASHSTORE {
 public:
    /// Before the first mail is saved: where the data lie.
    void SetDirectory(const STRING& dataDir);

    /// Saves the mail: its record without "Body" but with its "X-TrashId" as ID.ini, its body as ID.txt. False if one
    /// of them could not be written; then there is none of the two.
    [[nodiscard]] bool SaveToTrash(const STRINGARRAY& record);

    /// True if the copies saved so far outlive a crash of the machine: before their mails go from the server. One call
    /// serves many copies.
    [[nodiscard]] bool Flush() const;

    STRING Directory() const { return Folder; }

    /// How many mails are in the folder: by the last look at it, and those saved since then.
    int Mails() const { return MailCount; }
    /// Looks at the folder again, which its user may have emptied by hand.
    void Recount();

 private:
    uint64_t NextId();

    std::mutex Guard;  // of the counter
    STRING Folder;
    STRING CounterFile;
    uint64_t Known = 0;  // the next id, once the folder has been looked at
    std::atomic<int> MailCount = 0;
};

/// The folder's name in the data directory, and the counter's.
inline constexpr const char* TRASH_FOLDER = "trash";
inline constexpr const char* TRASH_COUNTER = "trashid.dat";
inline constexpr uint64_t TRASH_FIRST_ID = 100000000;

#include "app/check/trashstore.h"

#include <algorithm>
#include <limits>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/dynarray.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

namespace {

/// The number that a text consists of; 0 for any other text.
uint64_t ReadId(std::string_view text) {
    uint64_t id = 0;
    return ASCII::ReadNumber(text, id) ? id : 0;
}

/// The highest id that has files in the folder; 0 without any.
uint64_t HighestId(const STRING& folder) {
    DYNARRAY<STRING> files(64, 64);
    OSYS::CollectFiles(folder.Text(), "*.*", &files, false);
    uint64_t highest = 0;
    for (int i = 0; i < files.Count(); ++i) {
        const std::string_view path = files[i].View();
        const std::string_view name = path.substr(path.find_last_of('\\') + 1);
        highest = std::max(highest, ReadId(name.substr(0, name.find('.'))));
    }
    return highest;
}

}  // namespace

void TRASHSTORE::SetDirectory(const STRING& dataDir) {
    const std::lock_guard hold(Guard);
    Folder = OSYS::FilePath(dataDir.Text(), TRASH_FOLDER);
    CounterFile = OSYS::FilePath(dataDir.Text(), TRASH_COUNTER);
    Known = 0;
    Recount();
}

void TRASHSTORE::Recount() {
    MailCount = OSYS::CollectFiles(Folder.Text(), "*.ini", nullptr, false);
}

uint64_t TRASHSTORE::NextId() {
    const std::lock_guard hold(Guard);
    if (Known == 0) {
        // The counter may be damaged, or gone with a part of the data; what lies in the folder tells the rest.
        STRING text;
        const uint64_t stored = text.Load(CounterFile.Text(), "r") ? ReadId(text.Line(0, WORD_NEVERNULL).View()) : 0;
        const uint64_t highest = HighestId(Folder);
        const uint64_t behind = highest < std::numeric_limits<uint64_t>::max() ? highest + 1 : 0;
        Known = std::max({stored, behind, TRASH_FIRST_ID});
    }
    const uint64_t id = Known;
    // The counter goes to the disk before the files: after a crash an id is lost at most, and none comes twice.
    if (id == std::numeric_limits<uint64_t>::max() ||
        !FILES::ReplaceAll(CounterFile.Text(), std::to_string(id + 1) + "\n", true))
        return 0;
    Known = id + 1;
    return id;
}

bool TRASHSTORE::SaveToTrash(const STRINGARRAY& record) {
    const uint64_t id = NextId();
    // The user may have taken the whole folder away.
    if (id == 0 || !OSYS::MakeDirectories(Folder.Text())) {
        Trace("TRASHSTORE::SaveToTrash nothing can be written in %s\n", Folder.Text());
        return false;
    }
    const std::string name = std::to_string(id);
    const STRING path = OSYS::FilePath(Folder.Text(), name.c_str());
    STRINGARRAY copy = record;
    copy.AllowNewKeys(true);
    copy.Delete("Body");
    copy.Set("X-TrashId", STRING(std::string_view(name)));
    const STRING header = path || ".ini";
    if (copy.Save(header.Text())) {
        if (record.Get("Body").Save((path || ".txt").Text(), "w")) {
            ++MailCount;
            return true;
        }
        // The copy has failed as a whole already.
        (void)FILES::Remove(header.Text());
    }
    Trace("TRASHSTORE::SaveToTrash %s cannot be written\n", path.Text());
    return false;
}

bool TRASHSTORE::Flush() const {
    // The folder itself may be new in its directory.
    return FILES::FlushFolder(Folder.Text()) && FILES::FlushFolder(OSYS::FileDirectory(Folder.Text()).Text());
}

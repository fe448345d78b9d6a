#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/core/storedpasswords.h"
#include "corelib/base/recordarray.h"

/// For the mask of SaveTables.
inline constexpr int SAVE_ALL = -1;
inline constexpr int SAVE_ITEMS = 1;
inline constexpr int SAVE_TYPES = 2;

/// What the data files are read into and who is asked about them; all of it outlives the DATAFILES.
struct DATATABLES {
    STRINGARRAY& State;
    RECORDARRAY& Items;
    RECORDARRAY& Types;
    int& NextHandle;  // the next item's @Handle
    FRONTEND& FrontEnd;
    const TEXTS& Texts;
};

/// The files of the data directory: tarnwick.ini, accounts.ini, mailtypes.ini and those of the filter. Loading runs
/// before the work thread starts. The files as shipped (def_...) are looked for in the current directory.
class DATAFILES {
 public:
    DATAFILES(const DATATABLES& tables, const char* dataDir);

    /// The path of a file in the data directory.
    STRING Path(const char* name) const;

    /// Gives files of older versions their present names, where those are free.
    void RenameOldFiles();
    /// Reads tarnwick.ini, fills in what is missing and locks the key set. The settings of a new data directory are
    /// written at once: what they say holds from its first start on, however that ends.
    void LoadSettings();
    /// Reads the items (with the wizard if there are none) and the types, completes every record, and makes sure of the
    /// filter's files. May ask whether newer spam definitions are to be taken over.
    void LoadTables();
    /// Takes the settings of an older version over into this one; `dialEntries` are the dial-up entries, split by "|".
    /// Runs the wizard if nobody has told yet how the machine is connected.
    void UpgradeSettings(const STRING& dialEntries);
    /// Points the settings that name files at the new place after the data directory has moved.
    void MovePaths(const char* oldDir);
    /// The same in the settings that are stored in the new place. False if they cannot be written.
    [[nodiscard]] static bool MoveStoredPaths(const char* oldDir, const char* newDir);

    /// SAVE_ITEMS and SAVE_TYPES write these tables; SAVE_ALL takes the run-time fields off the items first, and is
    /// only for the end of a run. False if a file could not be written; the old file is then as it was.
    [[nodiscard]] bool SaveTables(int mask);
    [[nodiscard]] bool SaveSettings();
    /// Passwords stand sealed in the files, or readable, from now on. False if a file could not be written, or nothing
    /// can be sealed here: then all stays as it was.
    [[nodiscard]] bool StorePasswords(bool sealed);

 private:
    bool IsNewDirectory() const;
    void RunSetupWizard();
    [[nodiscard]] bool SaveRecords(const char* name, const RECORDARRAY& table,
                                   const std::vector<STRINGARRAY>& instead = {});
    bool SealsPasswords() const;
    void TellSealingTrouble();
    void KeepDamaged(const STRING& path);
    void UpdateDefinitions(STRING& buffer);
    void CreateMissing(const char* name, const char* defaultName, STRING& buffer);

    DATATABLES Tables;
    STRING DataDir;
    STOREDPASSWORDS Passwords;
    bool SealingToldOf = false;
};

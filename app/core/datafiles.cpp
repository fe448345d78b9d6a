#include "app/core/datafiles.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "app/check/items.h"
#include "app/core/datadir.h"
#include "app/core/settings.h"
#include "app/mailbox/account.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"
#include "resources/commands.h"

namespace {

constexpr const char* FILE_SETTINGS = "tarnwick.ini";
constexpr const char* FILE_ITEMS = "accounts.ini";
constexpr const char* FILE_TYPES = "mailtypes.ini";
/// Settings that hold a password: the proxy's stands in its address, "user:password@host".
constexpr const char* SECRET_SETTINGS[] = {"SpamSmtpPassword", "HttpProxy"};

bool HoldsPassword(const STRINGARRAY& settings, const char* key) {
    return strcmp(key, "HttpProxy") != 0 || settings.Get(key).View().find('@') != std::string_view::npos;
}

constexpr const char* FILE_SPAMDEF = "spamdef.dat";
constexpr const char* FILE_SPAMDEF_DEFAULT = "def_spamdef.dat";

/// After the name of a file in which nothing could be read.
constexpr const char* DAMAGED_SUFFIX = ".bad";

/// Files under their older names. Of two old ones the first wins, as the new name is taken then.
constexpr struct {
    const char* Old;
    const char* New;
} OLD_NAMES[] = {{"tarnwick.cfg", FILE_SETTINGS},
                 {"brackenhall.cfg", FILE_SETTINGS},
                 {"accounts.inf", FILE_ITEMS},
                 {"items.inf", FILE_ITEMS},
                 {"mailtypes.inf", FILE_TYPES}};

bool IsEmptyFile(const STRING& path) {
    STRING content;
    return content.Load(path.Text(), "rb") && content.Length() == 0;
}

bool HoldTheSame(const STRING& path, const char* other) {
    STRING left, right;
    return left.Load(path.Text(), "r") && right.Load(other, "r") && left == right;
}

/// The settings that name files of one directory name those of the other; true if there was one.
bool PointAt(STRINGARRAY& settings, const char* oldDir, const char* newDir) {
    const STRING olddir(oldDir);
    bool any = false;
    if (!ASSERTION(olddir.NotNull(), "olddir.NotNull()"))
        return any;
    for (const char* key : {"SpamMyFriends", "SpamBadSenders", "SpamFilename", "SpamVarsFile"}) {
        STRING path = settings.Exists(key) ? settings.Get(key) : STRING("");
        if (ReplaceDirectory(oldDir, newDir, path)) {
            settings.Set(key, path);
            any = true;
        }
    }
    return any;
}

/// Keys of which a record from before has none, and looks as it did as long as nobody has chosen anything.
bool SaysNothing(const STRINGARRAY& item, std::string_view key) {
    return (key == "Security" || key == "TrustedCertificate") && item.Get(key.data()).Length() == 0;
}

void SubtractOne(STRINGARRAY& table, const char* key) {
    table.SetNumber(key, int64_t{table.GetNumber(key)} - 1);
}

}  // namespace

DATAFILES::DATAFILES(const DATATABLES& tables, const char* dataDir) : Tables(tables), DataDir(dataDir) {}

STRING DATAFILES::Path(const char* name) const {
    return OSYS::FilePath(DataDir.Ptr(), name);
}

void DATAFILES::RenameOldFiles() {
    for (const auto& pair : OLD_NAMES) {
        const STRING from = Path(pair.Old);
        const STRING to = Path(pair.New);
        if (OSYS::FileExists(from.Text()) && !OSYS::FileExists(to.Text())) {
            (void)FILES::Rename(from.Text(), to.Text());  // the old name is tried at each start
        }
    }
}

void DATAFILES::KeepDamaged(const STRING& path) {
    if (!OSYS::FileExists(path.Text()) || IsEmptyFile(path)) {
        return;
    }
    // The end of the run writes the table anew; what stands in this file may still be worth a person's look.
    const STRING kept = path || DAMAGED_SUFFIX;
    (void)FILES::Remove(kept.Text());  // there is one at times only
    const bool ok = FILES::Rename(path.Text(), kept.Text());
    Trace("DATAFILES::KeepDamaged nothing could be read from %s, kept as %s, ok= %d\n", path.Text(), kept.Text(),
          static_cast<int>(ok));
}

/// True if no earlier run has left settings or items here, under any name. The one place that knows it.
bool DATAFILES::IsNewDirectory() const {
    const auto leftBehind = [this](const char* name) {
        return OSYS::FileExists(Path(name).Text()) || OSYS::FileExists((Path(name) || DAMAGED_SUFFIX).Text());
    };
    if (leftBehind(FILE_SETTINGS) || leftBehind(FILE_ITEMS))
        return false;
    // An old name stays where a file could not be renamed.
    return std::none_of(std::begin(OLD_NAMES), std::end(OLD_NAMES),
                        [&](const auto& pair) { return pair.New != FILE_TYPES && leftBehind(pair.Old); });
}

void DATAFILES::LoadSettings() {
    STRINGARRAY& state = Tables.State;
    const bool isNew = IsNewDirectory();
    const STRING path = Path(FILE_SETTINGS);
    (void)FILES::MakePrivate(path.Text());  // a new directory has no such file
    if (!state.Load(path.Text()) || state.Count() == 0) {
        KeepDamaged(path);
    }
    state.AllowNewKeys(true);
    FillSettingDefaults(state, Tables.Texts, DataDir.Text(), isNew);
    for (const char* key : SECRET_SETTINGS)
        Passwords.Open(state, key);
    state.AllowNewKeys(false);
    if (isNew) {
        (void)SaveSettings();  // the end of the run writes them again
    }
}

void DATAFILES::RunSetupWizard() {
    Tables.FrontEnd.RunSetupWizard();
    // Until the user says otherwise the line counts as always up.
    if (Tables.State.GetNumber("ConnectionType") == -1)
        Tables.State.Set("ConnectionType", "0");
    // Not at the end only: after a run that is killed the user would be asked all of it once more.
    (void)SaveSettings();
    for (int i = 0; i < Tables.Items.Count(); ++i) {
        if (!Tables.Items[i].Exists("@Handle")) {
            FixItem(Tables.Items[i], Tables.State, Tables.NextHandle, true);
        }
    }
    if (Tables.Items.Count() > 0) {
        (void)SaveTables(SAVE_ITEMS);  // the end of the run writes them again
    }
}

void DATAFILES::LoadTables() {
    const STRING itemFile = Path(FILE_ITEMS);
    (void)FILES::MakePrivate(itemFile.Text());  // a new directory has no such file
    if (Tables.Items.LoadAll(itemFile.Text()) == 0) {
        KeepDamaged(itemFile);
        RunSetupWizard();
    }
    const STRING typeFile = Path(FILE_TYPES);
    // An empty file is no failure: the user has deleted all types.
    if (Tables.Types.LoadAll(typeFile.Text()) == 0 && !IsEmptyFile(typeFile)) {
        KeepDamaged(typeFile);
        (void)Tables.Types.LoadAll("def_types.ini");  // without it, mails have no types
    }
    for (int i = 0; i < Tables.Items.Count(); ++i) {
        FixItem(Tables.Items[i], Tables.State, Tables.NextHandle);
        Passwords.Open(Tables.Items[i], MAILACCOUNT::PASSWORD_KEY);
    }
    for (int i = 0; i < Tables.Types.Count(); ++i) {
        FillTypeDefaults(Tables.Types[i]);
    }
    // One buffer serves all of these, and a file that cannot be read leaves in it what it held. The next start tries
    // again what cannot be written.
    STRING buffer;
    UpdateDefinitions(buffer);
    CreateMissing("spamvars.dat", nullptr, buffer);
    CreateMissing("myfriends.dat", "def_friends.dat", buffer);
    CreateMissing("badsenders.dat", "def_badsenders.dat", buffer);
}

void DATAFILES::UpdateDefinitions(STRING& buffer) {
    const STRING path = Path(FILE_SPAMDEF);
    const STRING time = OSYS::FileTime(path.Text());
    STRING defaultTime = OSYS::FileTime(FILE_SPAMDEF_DEFAULT);
    if (!defaultTime.NotNull()) {
        defaultTime = "0000-00-00 00:00:00";
    }
    bool refused = false;
    // A file that has been installed anew is newer, and mostly the same.
    if (time.NotNull() && defaultTime.View() > time.View() && !HoldTheSame(path, FILE_SPAMDEF_DEFAULT)) {
        if (Tables.FrontEnd.AskYesNo(Tables.Texts.Get(TEXT_PRODUCT), Tables.Texts.Get(TEXT_NEW_DEFINITIONS))) {
            // What fails is asked for again at the next start.
            (void)FILES::Copy(FILE_SPAMDEF_DEFAULT, path.Text());
        } else {
            refused = true;
        }
    }
    const bool missing = !OSYS::FileExists(path.Text());
    const bool read = buffer.Load(missing ? FILE_SPAMDEF_DEFAULT : path.Text(), "r");
    // Writing a refused file's own text back renews its time, so that the question does not come again at each start.
    if (missing || (refused && read)) {
        (void)buffer.Save(path.Text(), "w");
    }
}

void DATAFILES::CreateMissing(const char* name, const char* defaultName, STRING& buffer) {
    const STRING path = Path(name);
    if (OSYS::FileExists(path.Text())) {
        (void)buffer.Load(path.Text(), "r");
        return;
    }
    if (defaultName) {
        (void)buffer.Load(defaultName, "r");
    } else {
        buffer = "";
    }
    (void)buffer.Save(path.Text(), "w");
}

void DATAFILES::UpgradeSettings(const STRING& dialEntries) {
    STRINGARRAY& state = Tables.State;
    const STRING version = state.Get("Version");
    const auto below = [&version](const char* other) { return stricmp(version.Text(), other, false) < 0; };
    if (stricmp(version.Text(), "0.00", false) > 0) {
        if (below("1.02") && Tables.Items.Count() > 0) {
            Tables.Items[0].Set("TrayCheck", "1");
        }
        if (below("1.23")) {
            SubtractOne(state, "PopupPosition");
        }
        if (below("2.01")) {
            (void)FILES::Remove("spamcheck.log");  // there is one at times only
        }
    }
    if (below("0.99")) {
        Tables.FrontEnd.ShowMessage(Tables.Texts.Get(TEXT_TITLE), Tables.Texts.Get(TEXT_WELCOME));
        Tables.FrontEnd.ShowHelp(HELP_TOPIC_WELCOME);
    }
    const int connection = state.GetNumber("ConnectionType");
    const DYNARRAY<STRING> entries(dialEntries, "|", 8, 8);
    if (connection == -1 || (connection == 1 && entries.Find(state.Get("EntryToMonitor").Text(), 0) == -1)) {
        RunSetupWizard();
    }
    state.Set("Version", PROGRAM_VERSION);
    if (version.View() != PROGRAM_VERSION) {
        (void)SaveSettings();
    }
}

void DATAFILES::MovePaths(const char* oldDir) {
    (void)PointAt(Tables.State, oldDir, DataDir.Text());
}

bool DATAFILES::MoveStoredPaths(const char* oldDir, const char* newDir) {
    const STRING path = OSYS::FilePath(newDir, FILE_SETTINGS);
    STRINGARRAY stored;
    // Without any the start makes new ones.
    return !stored.Load(path.Text()) || !PointAt(stored, oldDir, newDir) || stored.Save(path.Text());
}

bool DATAFILES::SaveTables(int mask) {
    if (mask == SAVE_ALL) {
        for (int i = 0; i < Tables.Items.Count(); ++i) {
            STRINGARRAY& item = Tables.Items[i];
            const DYNARRAY<STRING> keys = item.GetKeys();
            for (int k = 0; k < keys.Count(); ++k) {
                if (keys[k][0] == '@' || SaysNothing(item, keys[k].Text())) {
                    item.Delete(keys[k].Text());
                }
            }
            item.AllowNewKeys(true);
        }
    }
    bool ok = true;
    if (mask & SAVE_ITEMS) {
        Tables.Items.SortByKey("Name", 0);
        std::vector<STRINGARRAY> instead;
        for (int i = 0; i < Tables.Items.Count(); ++i)
            instead.push_back(Passwords.ForFile(Tables.Items[i], MAILACCOUNT::PASSWORD_KEY, SealsPasswords()));
        ok = SaveRecords(FILE_ITEMS, Tables.Items, instead);
        TellSealingTrouble();
    }
    if (mask & SAVE_TYPES) {
        ok = SaveRecords(FILE_TYPES, Tables.Types) && ok;
    }
    return ok;
}

bool DATAFILES::StorePasswords(bool sealed) {
    // Those that stand there readable must not be lost by it.
    if (sealed && !Passwords.CanSeal()) {
        TellSealingTrouble();
        return false;
    }
    Tables.State.SetNumber("PasswordStore", sealed ? 1 : 0);
    return SaveSettings() && SaveTables(SAVE_ITEMS);
}

bool DATAFILES::SealsPasswords() const {
    return Tables.State.GetNumber("PasswordStore") == 1;
}

/// Not a word in a file of what its user has typed is a loss that has to be told.
void DATAFILES::TellSealingTrouble() {
    const STRING trouble = Passwords.TakeTrouble();
    if (trouble.Length() == 0 || SealingToldOf)
        return;
    SealingToldOf = true;
    STRING text = Tables.Texts.Get(TEXT_NOT_SEALED);
    text.Replace("$1", trouble.Text());
    Tables.FrontEnd.ShowMessage(Tables.Texts.Get(TEXT_TITLE), text);
}

bool DATAFILES::SaveRecords(const char* name, const RECORDARRAY& table, const std::vector<STRINGARRAY>& instead) {
    const STRING path = Path(name);
    (void)FILES::MakePrivate(path.Text());  // a new directory has no such file
    const int count = table.Count();
    const bool ok = table.SaveAll(path.Text(), instead) == count && (count > 0 || IsEmptyFile(path));
    if (!ok) {
        Trace("DATAFILES::SaveTables %s could not be written\n", path.Text());
    }
    return ok;
}

bool DATAFILES::SaveSettings() {
    const STRING path = Path(FILE_SETTINGS);
    (void)FILES::MakePrivate(path.Text());  // a new directory has no such file
    STRINGARRAY instead(4, 4);
    for (const char* key : SECRET_SETTINGS) {
        const bool sealed = SealsPasswords() && HoldsPassword(Tables.State, key);
        const STRINGARRAY one = Passwords.ForFile(Tables.State, key, sealed);
        if (one.Exists(key))
            instead.Set(key, one.Get(key));
    }
    const bool ok = Tables.State.Save(path.Text(), &instead);
    TellSealingTrouble();
    if (!ok) {
        Trace("DATAFILES::SaveSettings %s could not be written\n", path.Text());
    }
    return ok;
}

#include "app/core/datadir.h"

#include "app/check/trashstore.h"
#include "corelib/base/dynarray.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/dirscan.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"

namespace {

constexpr const char* VALUE_DIR = "ApplicationDataDir";
constexpr const char* VALUE_PENDING = "ApplicationDataDir.New";
constexpr const char* VALUE_OLD = "FilesDir";

// Of what is stored here a failure is put right by the next start, which finds the same and does it again.

bool IsOrBecomesDirectory(const STRING& path) {
    return OSYS::FileIsDirectory(path.Text()) || OSYS::MakeDirectories(path.Text());
}

/// The stored directory, taken over from the value of older versions if need be; empty if there is none.
STRING StoredDirectory(REGISTRY& store) {
    STRING value = store.Read(VALUE_DIR);
    if (!value.NotNull()) {
        value = store.Read(VALUE_OLD);
        if (value.Length() > 0) {
            // The old value goes only when the new one stands.
            if (store.Write(VALUE_DIR, value.Text()))
                store.Delete(VALUE_OLD);
        }
    }
    return value;
}

STRING DefaultDirectory(const char* subdirectory) {
    const STRING gFilesDir = OSYS::FilePath(GetWin32SystemPath(5).Ptr(), COMPANY);
    ASSERTION(IsOrBecomesDirectory(gFilesDir), "OSYS::FileIsDirectory(gFilesDir)");
    return OSYS::FilePath(gFilesDir.Ptr(), subdirectory);
}

/// Names of the files of a directory that match one pattern; the lock stays with its directory.
DYNARRAY<STRING> FilesOf(const char* directory, const STRING& pattern) {
    DYNARRAY<STRING> names(64, 64);
    STRING name;
    DIRSCAN scan(OSYS::FilePath(directory, pattern.Text()).Ptr(), name);
    for (; name.NotNull(); scan.Next()) {
        if (!scan.IsDirectory() && stricmp(name.Ptr(), DATADIR_LOCKFILE, false) != 0) {
            names.Add(name);
        }
    }
    return names;
}

void RemoveLeftoversOf(const STRING& directory) {
    const DYNARRAY<STRING> names = FilesOf(directory.Text(), "*.*");
    for (int i = 0; i < names.Count(); ++i) {
        if (FILES::IsLeftover(names[i].View())) {
            const bool ok = FILES::Remove(OSYS::FilePath(directory.Text(), names[i].Text()).Text());
            Trace("RemoveLeftovers %s, ok= %d\n", names[i].Text(), static_cast<int>(ok));
        }
    }
}

/// Copies the files, and tells which in `sources`. True if all could be copied.
bool CopyFiles(FRONTEND& frontEnd, const TEXTS& texts, const char* oldDir, const char* newDir, const char* patterns,
               DYNARRAY<STRING>& sources) {
    bool ok = true;
    const DYNARRAY<STRING> list(patterns, "|", 4, 4);
    for (int i = 0; i < list.Count(); ++i) {
        const DYNARRAY<STRING> names = FilesOf(oldDir, list[i]);
        for (int n = 0; n < names.Count(); ++n) {
            const STRING source = OSYS::FilePath(oldDir, names[n].Text());
            const STRING destination = OSYS::FilePath(newDir, names[n].Text());
            sources.Add(source);
            // A link in the new place may lead back to one of the files that go.
            if (!FILES::Copy(source.Text(), destination.Text(), FILES::LINKS::Replace)) {
                ok = false;
                frontEnd.ShowMessage(texts.Get(TEXT_PRODUCT),
                                     FILES::NativePath(source.Text()) || " -> \r\n" ||
                                         FILES::NativePath(destination.Text()) ||
                                         ": copy failed!\r\nWill keep original data directory!");
            }
        }
    }
    return ok;
}

}  // namespace

STRING GetDataDir(const ARGUMENTS& arguments, const char* product, const char* subdirectory, STRING& pending) {
    pending = STRING();
    STRING directory = arguments.GetArgValue("WORKDIR", 0);
    if (directory.Length() > 0) {
        directory = FILES::SystemPath(directory.Text());
        // A failure shows when the directory is locked, and is told there.
        (void)OSYS::MakeDirectories(directory.Text());
        return directory;
    }
    REGISTRY store(COMPANY, product, ROOT_CURRENT_USER);
    directory = StoredDirectory(store);
    if (directory.Length() == 0) {
        directory = DefaultDirectory(subdirectory);
        (void)OSYS::MakeDirectories(directory.Text());
    } else if (!IsOrBecomesDirectory(directory)) {
        directory = "0";
        (void)OSYS::MakeDirectories(directory.Text());
    }
    const bool ok = OSYS::FileIsDirectory(directory.Text());
    if (ASSERTION_INFO(ok, "ok", directory.Text())) {
        (void)store.Write(VALUE_DIR, directory.Text());
    } else {
        directory = ".";
    }
    const STRING wanted = store.Read(VALUE_PENDING);
    if (wanted.Length() > 0) {
        STRING place = wanted;
        place.ChopFirst('*');
        if (FILES::SamePlace(place.Text(), directory.Text())) {
            store.Delete(VALUE_PENDING);
        } else {
            pending = FILES::SystemPath(wanted.Text());
        }
    }
    return directory;
}

STRING WantedDataDir(const char* product) {
    REGISTRY store(COMPANY, product, ROOT_CURRENT_USER);
    STRING wanted = store.Read(VALUE_PENDING);
    if (wanted.Length() == 0)
        return "";
    wanted.ChopFirst('*');
    return wanted;
}

STRING DataDirFault(const TEXTS& texts, const STRING& directory, const STRING& current) {
    const std::string_view path = directory.View();
    const bool whole = path.starts_with('\\') || path.starts_with('/') || path.substr(0, 3).ends_with(":\\");
    if (!whole)
        return texts.Get(TEXT_DIR_RELATIVE);
    if (!IsOrBecomesDirectory(directory))
        return DataDirText(texts, TEXT_DIR_MISSING, directory);
    if (FILES::SamePlace(directory.Text(), current.Text()))
        return {};
    // A name of its own: another program that runs there has its lock.
    const STRING trial = OSYS::FilePath(directory.Text(), "tarnwick-trial.tmp");
    if (!OSYS::OpenFile(trial.Text(), "w").IsOpen())
        return DataDirText(texts, TEXT_DIR_UNWRITABLE, directory);
    (void)FILES::Remove(trial.Text());  // it may as well stay
    return {};
}

bool RequestDataDir(const char* product, const STRING& current, const STRING& wanted, bool withFiles) {
    REGISTRY store(COMPANY, product, ROOT_CURRENT_USER);
    if (FILES::SamePlace(wanted.Text(), current.Text())) {
        store.Delete(VALUE_PENDING);
        return true;
    }
    return store.Write(VALUE_PENDING, (STRING(withFiles ? "*" : "") || wanted).Text());
}

void RemoveLeftovers(const STRING& directory) {
    RemoveLeftoversOf(directory);
    RemoveLeftoversOf(OSYS::FilePath(directory.Text(), TRASH_FOLDER));
}

STRING DataDirText(const TEXTS& texts, int id, const STRING& directory) {
    STRING text = texts.Get(id);
    text.Replace("$DIR", FILES::NativePath(directory.Text()).Text());
    return text;
}

bool MoveDataDir(FRONTEND& frontEnd, const TEXTS& texts, const char* product, const char* oldDir, const char* pending,
                 const char* patterns, const std::function<bool(const STRING& newDir)>& settle) {
    STRING newDir(pending);
    const bool copy = newDir.ChopFirst('*');
    DYNARRAY<STRING> sources(64, 64);
    bool ok = IsOrBecomesDirectory(newDir);
    const bool same = ok && FILES::SamePlace(newDir.Text(), oldDir);
    if (!ok) {
        // The start would otherwise go on in a place that is none, with the user's data out of sight.
        frontEnd.ShowMessage(texts.Get(TEXT_PRODUCT), DataDirText(texts, TEXT_DIR_MISSING, newDir));
    } else if (copy && !same) {
        ok = CopyFiles(frontEnd, texts, oldDir, newDir.Text(), patterns, sources);
        if (ok && settle && !settle(newDir)) {
            frontEnd.ShowMessage(texts.Get(TEXT_PRODUCT), DataDirText(texts, TEXT_DIR_UNWRITABLE, newDir));
            ok = false;
        }
    }
    REGISTRY store(COMPANY, product, ROOT_CURRENT_USER);
    // The old files go last: whenever this ends, the directory that is stored has all of them.
    if (ok && !same && !store.Write(VALUE_DIR, newDir.Text())) {
        Trace("MoveDataDir the new directory %s cannot be stored\n", newDir.Text());
        ok = false;
    }
    store.Delete(VALUE_PENDING);
    for (int i = 0; ok && i < sources.Count(); ++i) {
        // All of them have been copied: what cannot be removed is there twice.
        (void)FILES::Remove(sources[i].Text());
    }
    return ok;
}

bool ReplaceDirectory(const char* oldDir, const char* newDir, STRING& value) {
    const STRING directory = OSYS::FileDirectory(value.Text());
    if (value.Length() == 0 ||
        (stricmp(directory.Ptr(), oldDir, false) != 0 && !FILES::SamePlace(directory.Text(), oldDir))) {
        return false;
    }
    const std::string_view path = value.View();
    const size_t separator = path.find_last_of("\\:/");
    const STRING name(separator == path.npos ? path : path.substr(separator + 1));
    value = OSYS::FilePath(newDir, name.Text());
    return true;
}

#pragma once

#include <functional>

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/core/arguments.h"

/// Name of the file that keeps a second program off a data directory.
inline constexpr const char* DATADIR_LOCKFILE = "tarnwick.lock";
/// Under this name of company its values and its data lie.
inline constexpr const char* COMPANY = "Velmora";

/// The directory of all data files. /WORKDIR:path names it for this run; otherwise the store of named values knows it,
/// and at a first start it is made below the user's application data, as Velmora\subdirectory. `pending` gets the
/// directory that the user wants instead from this start on (with "*" in front if the files are to come along), or
/// null. A request for the same place, however it is spelt, is dropped. The result is a directory, but for a /WORKDIR
/// that cannot be made; "." if nothing else can be used.
STRING GetDataDir(const ARGUMENTS& arguments, const char* product, const char* subdirectory, STRING& pending);

/// Removes what a killed run left of files that it was writing, in the data directory and its trash. Only for
/// the holder of the directory's lock.
void RemoveLeftovers(const STRING& directory);

/// Carries out the pending change: copies the files that match `patterns` (split by "|") if asked, deletes them in the
/// old place only when all were copied, and stores the new directory. Where that is the old one, in whatever spelling,
/// nothing is to do but to drop the request. Before the new one is stored, `settle` is given it, to make the copies
/// there fit for it: a run that ends at any moment leaves them so. True on success; otherwise the old directory stays
/// the one in use, a message has told each file that could not be copied, and the request is gone.
[[nodiscard]] bool MoveDataDir(FRONTEND& frontEnd, const TEXTS& texts, const char* product, const char* oldDir,
                               const char* pending, const char* patterns,
                               const std::function<bool(const STRING& newDir)>& settle = {});

/// The directory that the user has asked for and that the next start takes, without "*"; empty if there is none.
STRING WantedDataDir(const char* product);

/// Why nobody can keep data in a directory, for a person; null if it can be done. It is made if need be. `current` is
/// the directory in use, whose lock is ours.
STRING DataDirFault(const TEXTS& texts, const STRING& directory, const STRING& current);

/// Has the next start take that directory, and the files too if asked. The one in use withdraws an earlier request.
/// False if that cannot be stored.
[[nodiscard]] bool RequestDataDir(const char* product, const STRING& current, const STRING& wanted, bool withFiles);

/// A message about a data directory by the number of its text.
STRING DataDirText(const TEXTS& texts, int id, const STRING& directory);

/// If `value` is the path of a file that lies right in oldDir, its directory becomes newDir. True if so.
[[nodiscard]] bool ReplaceDirectory(const char* oldDir, const char* newDir, STRING& value);

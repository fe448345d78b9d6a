#pragma once

#include <string>
#include <vector>

#include "app/console/consolefrontend.h"
#include "app/core/tarnwick.h"

/// The copies in the trash, the oldest first, with their ids.
std::string TrashTable(TARNWICK& application, int columns);

/// Sends the copies with those ids on to the user's own address, one after the other until one fails; all of them are
/// there before the first one goes. Tells the user what became of each; the exit code.
int RestoreMails(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const std::vector<STRING>& ids,
                 const STOPQUESTION& stopAsked);

#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"
#include "corelib/window/gdi.h"

/// The dialog of an account, over a window that waits. True on OK, with the account's keys changed in the record (Name,
/// Type, Source, Source2, TimingCyclic); otherwise the record is as it was. The record has the keys of an item; another
/// thread may go on reading it meanwhile.
[[nodiscard]] bool EditItem(HWND parent, const TEXTS& texts, STRINGARRAY& record);

#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"
#include "corelib/window/dialog.h"
#include "corelib/window/gdi.h"

/// What ShowMail gives if the button for deletion was used.
inline constexpr int VIEWER_DELETE = 101;

/// Shows one mail in a dialog, until that is closed: its result. deleteLabel: what stands on the button for deletion;
/// empty: there is none.
int ShowMail(HWND parent, const STRINGARRAY& record, const STRING& deleteLabel, const TEXTS& texts);

#pragma once

#include "corelib/base/stringarray.h"
#include "corelib/base/strings.h"
#include "corelib/window/gdi.h"

/// Messages and questions in front of all windows; `window` (may be null) waits meanwhile.
void ShowInfo(HWND window, const STRING& text, const STRING& title);
void ShowError(HWND window, const STRING& text, const STRING& title);
/// True is yes. careful: what Enter answers is no.
[[nodiscard]] bool AskYesNo(HWND window, const STRING& text, const STRING& title, bool careful = false);

/// Whether to go on after a failed assertion, for SetAssertQuestion. Any thread; while one asks, others go on.
[[nodiscard]] bool AskToGoOn(const char* title, const char* text);

/// A message, and a question, that the user can switch off for good. That is remembered under `key`: as a 32-bit value
/// of the product's in the registry, or in `state` if that is given (made there even if its key set is locked). 0: it
/// is shown; 1: not any more, and a question is answered by yes; 2: a question is answered by no. Closing the window is
/// a no.
void ShowHint(HWND window, const STRING& text, const STRING& title, const char* product, const char* key,
              STRINGARRAY* state = nullptr);
[[nodiscard]] bool AskHint(HWND window, const STRING& text, const STRING& title, const char* product, const char* key,
                           STRINGARRAY* state = nullptr);

/// Lets the user choose a file: to open an existing one, or to save. `file` is the one that is offered, and the chosen
/// one's path if true comes back. filter: lines of the form name|pattern; one for all files is added. The current
/// directory stays.
[[nodiscard]] bool FileDialog(HWND window, STRING& file, const STRING& filter, bool save = false);

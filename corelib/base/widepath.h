#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Windows speaks in wide characters, the program in UTF-8: texts and paths are turned where the system is asked. Only
/// the wide calls take more than 260 characters, and only they name every file. For *_win32.cpp and the rooms of
/// windows.

/// No path is longer, its terminator included.
inline constexpr unsigned long PATH_CHARACTERS = 32768;

/// Text of a code page, wide; and back, where what the code page lacks becomes the nearest character or "?".
std::wstring Widen(unsigned codePage, std::string_view text);
STRING Narrow(unsigned codePage, std::wstring_view text);

/// What the system says, in UTF-8. Never null.
STRING FromWide(std::wstring_view text);

/// The path as it stands, for dialogs and the shell. One that is not UTF-8 was written by an earlier version, in the
/// machine's code page. Empty for null.
std::wstring WidePath(const char* path);
/// The path for the file functions: one that they would find too long becomes a full path with `\\?\` in front, so that
/// it needs neither a new Windows nor its setting for long paths.
std::wstring WideFilePath(const char* path);

/// Whether an open file is a link (any reparse point) itself: for files opened with FILE_FLAG_OPEN_REPARSE_POINT. Also
/// true if the system does not tell.
bool HandleIsLink(void* file);

/// The name of a file, to the letter: false, and name as it was, for one that is no text and has no UTF-8.
[[nodiscard]] bool NameFromWide(std::wstring_view wide, STRING& name);

/// Asks with ever more room until the text fits. ask(room, size) gives the text's length, size or more if the room is
/// too small, or 0, which leads to an empty text.
template <typename ASK>
std::wstring GrownText(ASK ask) {
    std::wstring text(260, L'\0');
    for (;;) {
        const size_t length = ask(text.data(), static_cast<unsigned long>(text.size()));
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
        text.resize(2 * length);
    }
}

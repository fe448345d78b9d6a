#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Paths on Windows, where they are bytes of the machine's code page in memory and wide characters for the system. Only
/// the wide calls take more than 260 characters, and only they name every file. For *_win32.cpp and the rooms of
/// windows.

/// No path is longer, its terminator included.
inline constexpr unsigned long PATH_CHARACTERS = 32768;

/// Text of a code page, wide; and back, where what the code page lacks becomes the nearest character or "?".
std::wstring Widen(unsigned codePage, std::string_view text);
STRING Narrow(unsigned codePage, std::wstring_view text);

/// The path as it stands, for dialogs and the shell. Empty for null.
std::wstring WidePath(const char* path);
/// The path for the file functions: one that they would find too long becomes a full path with `\\?\` in front, so that
/// it needs neither a new Windows nor its setting for long paths.
std::wstring WideFilePath(const char* path);

/// Whether an open file is a link (any reparse point) itself: for files opened with FILE_FLAG_OPEN_REPARSE_POINT. Also
/// true if the system does not tell.
bool HandleIsLink(void* file);

/// The way back, to the letter: false, and name as it was, if the code page lacks a character. The nearest character
/// would make it another file's name.
[[nodiscard]] bool NameFromWide(std::wstring_view wide, STRING& name);
/// A whole path: to the letter, or with the short form of what is there ("C:\USERS\42A3~1\new.txt"); null, with a line
/// in the trace log, if that cannot be said either.
STRING PathFromWide(const std::wstring& wide);
/// A word of the command line: to the letter, or with the path in it, the whole word or what stands after the first
/// ":", in its short form. What cannot be said becomes "?", which no file has in its name.
STRING WordFromWide(const std::wstring& word);

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

#include "corelib/window/messages.h"

#include <algorithm>
#include <atomic>
#include <cderr.h>
#include <commdlg.h>
#include <string>

#include "corelib/base/trace.h"
#include "corelib/window/latefunction.h"
#include "corelib/window/widetext.h"
#include "corelib/window/window.h"

namespace {

int Box(HWND window, const STRING& text, const STRING& title, UINT kind) {
    return MessageBoxW(window, WideText(text).c_str(), WideText(title).c_str(), kind | MB_TOPMOST);
}

// Pairs of name and pattern, each with a zero byte after it, and one more at the end.
std::wstring FilterList(const STRING& filter) {
    STRING all = filter.Length() > 0 ? filter : STRING("");
    all.Append(IsGermanResourceModule() ? "\nAlle Dateien|*.*" : "\nAll Files|*.*");
    std::wstring list;
    WORDCURSOR lines(all, "\n");
    for (std::string_view line; lines.Next(line);) {
        const size_t bar = line.find('|');
        if (bar == line.npos)
            continue;
        const std::string_view pattern = line.substr(bar + 1);
        list += WideText(bar == 0 ? pattern : line.substr(0, bar)) + L'\0' + WideText(pattern) + L'\0';
    }
    return list + L'\0';
}

}  // namespace

void ShowInfo(HWND window, const STRING& text, const STRING& title) {
    Box(window, text, title, MB_OK | MB_ICONINFORMATION);
}

void ShowError(HWND window, const STRING& text, const STRING& title) {
    Box(window, text, title, MB_OK | MB_ICONSTOP);
}

bool AskYesNo(HWND window, const STRING& text, const STRING& title, bool careful) {
    return Box(window, text, title, MB_YESNO | MB_ICONQUESTION | (careful ? MB_DEFBUTTON2 : 0)) == IDYES;
}

bool AskToGoOn(const char* title, const char* text) {
    // The box has a message loop of its own, which may well lead to the next one.
    static std::atomic<bool> asking = false;
    if (asking.exchange(true))
        return true;
    // At the program's end it may come back without having been shown, which is no answer.
    const bool no = Box(nullptr, text, title, MB_YESNO | MB_ICONSTOP) == IDNO;
    asking = false;
    return !no;
}

bool FileDialog(HWND window, STRING& file, const STRING& filter, bool save) {
    const std::wstring filters = FilterList(filter), offered = WidePath(file.Ptr());
    std::wstring name(PATH_CHARACTERS, L'\0');
    offered.copy(name.data(), PATH_CHARACTERS - 1);
    OPENFILENAMEW ask{};
    ask.lStructSize = sizeof ask;
    ask.hwndOwner = window;
    ask.lpstrFilter = filters.c_str();
    ask.nFilterIndex = 1;
    ask.lpstrFile = name.data();
    ask.nMaxFile = PATH_CHARACTERS;
    ask.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST;
    ask.Flags |= save ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST;
    auto* const choose =
        LateFunction<decltype(GetOpenFileNameW)>(L"comdlg32.dll", save ? "GetSaveFileNameW" : "GetOpenFileNameW");
    auto* const error = LateFunction<decltype(CommDlgExtendedError)>(L"comdlg32.dll", "CommDlgExtendedError");
    if (!choose || !error)
        return false;
    bool chosen = choose(&ask);
    if (!chosen && error() == FNERR_INVALIDFILENAME) {
        // What stood there is no file's name: the user still may choose one.
        std::fill(name.begin(), name.end(), L'\0');
        chosen = choose(&ask);
    }
    if (!chosen)
        return false;
    // A directory and a name in it may also come one after the other.
    const size_t end = name.find(L'\0');
    if (end > 0 && ask.nFileOffset == end + 1 && name[end + 1] != L'\0')
        name.replace(end, 1, name[end - 1] == L'\\' ? L"" : L"\\");
    const STRING path = FromWide(name.c_str());  // NOLINT(readability-redundant-string-cstr): up to its end
    file = path;
    return true;
}

#include "corelib/window/datapush.h"

#include <array>
// The shell has a constant of the same name as one of ours.
#define SORT_DESCENDING SHELL_SORT_DESCENDING
// These need windows.h, which a header of ours has brought.
#include <commdlg.h>
#include <shellapi.h>
#include <shlobj.h>
#undef SORT_DESCENDING

#include "corelib/base/trace.h"
#include "corelib/window/datadialog.h"
#include "corelib/window/fontvalue.h"
#include "corelib/window/latefunction.h"
#include "corelib/window/messages.h"
#include "corelib/window/sound.h"
#include "corelib/window/widetext.h"

namespace {

// COM for the length of a shell dialog.
class COMUSE {
 public:
    COMUSE() : Ready(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~COMUSE() {
        if (Ready)
            CoUninitialize();
    }
    COMUSE(const COMUSE&) = delete;
    COMUSE& operator=(const COMUSE&) = delete;

 private:
    bool Ready;
};

int CALLBACK SelectFolder(HWND window, UINT message, LPARAM, LPARAM start) {
    if (message == BFFM_INITIALIZED)
        SendMessageW(window, BFFM_SETSELECTIONW, TRUE, start);
    return 0;
}

void Open(HWND window, const STRING& what) {
    ShellExecuteW(window, L"open", WideText(what).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

}  // namespace

STRING PushFolder(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    const COMUSE com;
    const std::wstring start = WidePath(dialog.ControlText(argument.Control).Word(0, "|", WORD_NEVERNULL).Ptr());
    BROWSEINFOW ask{};
    ask.hwndOwner = dialog.hWnd;
    ask.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    ask.lpfn = SelectFolder;
    ask.lParam = reinterpret_cast<LPARAM>(start.c_str());
    PIDLIST_ABSOLUTE const chosen = SHBrowseForFolderW(&ask);
    if (!chosen)
        return value;
    std::wstring path(PATH_CHARACTERS, L'\0');
    const bool named = SHGetPathFromIDListEx(chosen, path.data(), PATH_CHARACTERS, GPFIDL_DEFAULT);
    CoTaskMemFree(chosen);
    if (!named)
        return value;
    STRING folder = FromWide(path.c_str());  // NOLINT(readability-redundant-string-cstr): up to its end
    folder.ChopLast('\\');
    dialog.SetControlText(argument.Control, folder);
    return folder;
}

STRING PushOpenValue(const STRING& value, const PUSHARGUMENT&, DATADIALOG& dialog) {
    Open(dialog.hWnd, value);
    return value;
}

STRING PushOpenText(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    Open(dialog.hWnd, dialog.ControlText(argument.Control));
    return value;
}

STRING PushPlay(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    PlaySoundOf(dialog.ControlText(argument.Control));
    return value;
}

STRING PushFile(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    STRING file = dialog.ControlText(argument.Control);
    if (!FileDialog(dialog.hWnd, file, argument.Texts))
        return value;
    dialog.SetControlText(argument.Control, file);
    return file;
}

STRING PushColor(const STRING& value, const PUSHARGUMENT&, DATADIALOG& dialog) {
    static std::array<COLORREF, 16> mixed = [] {
        std::array<COLORREF, 16> colors;
        colors.fill(RGB(255, 255, 255));
        return colors;
    }();
    CHOOSECOLORW ask{};
    ask.lStructSize = sizeof ask;
    ask.hwndOwner = dialog.hWnd;
    ask.rgbResult = static_cast<COLORREF>(atoi(value)) & 0xffffff;
    ask.lpCustColors = mixed.data();
    ask.Flags = CC_RGBINIT | CC_FULLOPEN;
    static auto* const choose = LateFunction<decltype(ChooseColorW)>(L"comdlg32.dll", "ChooseColorW");
    if (!choose || !choose(&ask))
        return value;
    STRING color;
    color.Format("%u", static_cast<unsigned>(ask.rgbResult));
    return color;
}

STRING PushFont(const STRING& value, const PUSHARGUMENT&, DATADIALOG& dialog) {
    const STRING& font = value;
    ASSERTION(font.Length() == FONTVALUE_LENGTH || font.Length() == 0,
              "font.Length()==sizeof(LOGFONT) || font.Length()==0");
    LOGFONTW chosen{};
    if (!FontFromValue(font, chosen))
        chosen = SCALE::System().IconTitleLook();
    CHOOSEFONTW ask{};
    ask.lStructSize = sizeof ask;
    ask.hwndOwner = dialog.hWnd;
    ask.lpLogFont = &chosen;
    ask.Flags = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT;
    static auto* const choose = LateFunction<decltype(ChooseFontW)>(L"comdlg32.dll", "ChooseFontW");
    return choose && choose(&ask) ? FontValue(chosen) : value;
}

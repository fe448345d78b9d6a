// The yardstick for the program's start: a window with an empty list and nothing behind it.

// The second needs the first.
// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

namespace {

HWND List;

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_SIZE && List)
        MoveWindow(List, 0, 0, LOWORD(second), HIWORD(second), TRUE);
    if (message == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcW(window, message, first, second);
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    WNDCLASSW type{};
    type.lpfnWndProc = WindowProc;
    type.hInstance = instance;
    type.hCursor = LoadCursor(nullptr, IDC_ARROW);
    type.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
    type.lpszClassName = L"BareWindow";
    RegisterClassW(&type);
    const HWND window = CreateWindowW(type.lpszClassName, L"bare", WS_OVERLAPPEDWINDOW, 8, 8, 400, 350, nullptr,
                                      nullptr, instance, nullptr);
    List = CreateWindowW(WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT, 0, 0, 380, 300, window, nullptr,
                         instance, nullptr);
    wchar_t head[] = L"name";
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.pszText = head;
    column.cx = 200;
    ListView_InsertColumn(List, 0, &column);
    ShowWindow(window, SW_SHOWNORMAL);
    for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0;) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}

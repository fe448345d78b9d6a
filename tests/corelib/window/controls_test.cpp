#include "corelib/window/controls.h"

#include "corelib/window/menus.h"
#include "corelib/window/widetext.h"
#include "tests/support/windowtest.h"

namespace {

TEST(WIDETEXT, KeepsEveryByteOfTheCodePage) {
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    EXPECT_EQ(Std(FromWide(WideText(std::string_view(all)))), all);
    EXPECT_EQ(WideText(std::string_view("\x80")), L"\u20AC");
    EXPECT_EQ(Std(FromWide(L"\u4E2D")), "?");
}

TEST(CONTROLS, MayOutliveTheirWindow) {
    auto frame = std::make_unique<WINDOW>(DWORD{WS_OVERLAPPEDWINDOW}, "frame", 0, 0, 300, 200, nullptr, 0, nullptr);
    EDITFIELD field(L"Edit", WS_BORDER, 0, frame->Hwnd(), 1);
    field.SetText("text");
    EXPECT_EQ(Std(EDITFIELD(frame->Hwnd(), 1).Text()), "text");
    frame.reset();
    EXPECT_EQ(field.Hwnd(), nullptr);
}

TEST(MENUS, RemoveASeparatorByTheNameOfItsMenu) {
    const MENUHANDLE bar(CreateMenu());
    const HMENU file = CreatePopupMenu();
    AppendMenuW(file, MF_STRING, 1, L"Check &now\tF5");
    AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(file, MF_STRING, 2, L"E&xit");
    AppendMenuW(bar.get(), MF_POPUP, reinterpret_cast<UINT_PTR>(file), L"&Accounts");
    MENU menu(bar.get());
    menu.DeleteSeparator("File", 1);
    EXPECT_EQ(GetMenuItemCount(file), 3);
    EXPECT_ASSERTIONS(1);
    menu.DeleteSeparator("ACCOUNTS", 0);
    EXPECT_EQ(GetMenuItemCount(file), 3);
    menu.DeleteSeparator("ACCOUNTS", 1);
    EXPECT_EQ(GetMenuItemCount(file), 2);
}

}  // namespace

#include "corelib/window/dialog.h"

#include "corelib/window/controls.h"
#include "tests/support/windowtest.h"

namespace {

constexpr int ID_NAME = 100;

DIALOGTEMPLATE Template() {
    DIALOGTEMPLATE dialog(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, "Frage", 160, 60, "MS Shell Dlg", 8);
    dialog.Add("EDIT", WS_BORDER | WS_TABSTOP, "", 5, 5, 100, 12, ID_NAME);
    dialog.Add("BUTTON", BS_DEFPUSHBUTTON | WS_TABSTOP, "OK", 5, 25, 50, 14, IDOK);
    dialog.Add("BUTTON", BS_PUSHBUTTON | WS_TABSTOP, "Cancel", 60, 25, 50, 14, IDCANCEL);
    return dialog;
}

class ASKING : public DIALOG {
 public:
    ASKING(const DIALOGTEMPLATE& memory, int key) : DIALOG(memory), Key(key) {}
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_INITDIALOG) {
            EDITFIELD(hWnd, ID_NAME).SetText("K\xF6ln");
            PostMessageW(hWnd, WM_APP, 0, 0);
            return 1;
        }
        if (message == WM_APP) {
            Focused = GetDlgCtrlID(GetFocus());
            PostMessageW(GetFocus(), WM_KEYDOWN, static_cast<WPARAM>(Key), 1);
            return 77;
        }
        if (message == WM_COMMAND && LOWORD(first) == IDOK)
            Name = EDITFIELD(hWnd, ID_NAME).Text();
        return DIALOG::WinProc(message, first, second);
    }
    int Focused = 0;
    STRING Name;

 private:
    int Key;
};

TEST(DIALOGTEST, EndsByTheKeyboard) {
    const DIALOGTEMPLATE memory = Template();
    ASKING yes(memory, VK_RETURN);
    EXPECT_EQ(yes.Run(nullptr), IDOK);
    EXPECT_EQ(yes.Focused, ID_NAME);
    EXPECT_EQ(Std(yes.Name), "K\xF6ln");
    EXPECT_EQ(yes.Hwnd(), nullptr);
    ASKING no(memory, VK_ESCAPE);
    EXPECT_EQ(no.Run(nullptr), IDCANCEL);
    EXPECT_FALSE(no.Name.NotNull());
}

TEST(DIALOGTEST, GivesTheAnswerOfAHandledMessage) {
    const DIALOGTEMPLATE memory = Template();
    ASKING page(memory, VK_SHIFT);
    ASSERT_TRUE(page.Create(nullptr));
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP, 0, 0), 77);
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_GETDLGCODE, 0, 0), 0);  // nobody's: the system's own
}

TEST(DIALOGTEST, MissingOneIsToldAndSkipped) {
    EXPECT_ASSERTIONS(2);
    DIALOG missing(4711);
    EXPECT_EQ(missing.Run(nullptr), -1);
    EXPECT_FALSE(missing.Create(nullptr));
}

LRESULT CALLBACK Answering(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    return message == WM_APP + 1 ? 5 : DIALOGSUBCLASS::Former(dialog, message, first, second);
}

TEST(DIALOGTEST, ProcedureIsReplacedForOneAtATime) {
    const DIALOGTEMPLATE memory = Template();
    ASKING page(memory, VK_SHIFT);
    page.Create(nullptr);
    {
        DIALOGSUBCLASS custom(page.Hwnd(), Answering);
        EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP + 1, 0, 0), 5);
        EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP, 0, 0), 77);
        EXPECT_ASSERTIONS(1);
        DIALOGSUBCLASS second(page.Hwnd(), Answering);
    }
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP + 1, 0, 0), 0);
}

TEST(DIALOGTEST, LeavesNoHandles) {
    const DIALOGTEMPLATE memory = Template();
    ExpectNoHandleGrowth([&] { ASKING(memory, VK_ESCAPE).Run(nullptr); });
}

}  // namespace

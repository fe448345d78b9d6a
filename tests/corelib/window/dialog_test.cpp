#include "corelib/window/dialog.h"

#include "tests/support/windowtest.h"

namespace {

const DIALOGTEMPLATE EMPTY(WS_POPUP | WS_CAPTION, "Frage", 160, 60, "MS Shell Dlg", 8);

class ANSWERING : public DIALOG {
 public:
    ANSWERING() : DIALOG(EMPTY) {}
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        return message == WM_APP ? 77 : DIALOG::WinProc(message, first, second);
    }
};

LRESULT CALLBACK AnswerFive(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    return message == WM_APP + 1 ? 5 : DIALOGSUBCLASS::Former(dialog, message, first, second);
}

TEST(DIALOGTEST, AnswersThroughTheProcedureThatReplacesItsOwnForAWhile) {
    ANSWERING page;
    ASSERT_TRUE(page.Create(nullptr));
    {
        const DIALOGSUBCLASS custom(page.Hwnd(), AnswerFive);
        EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP + 1, 0, 0), 5);
        EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP, 0, 0), 77);
        EXPECT_ASSERTIONS(1);
        const DIALOGSUBCLASS second(page.Hwnd(), AnswerFive);
    }
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP + 1, 0, 0), 0);
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP, 0, 0), 77);
    int id = -1;
    SendMessageW(page.Hwnd(), WM__GETID, reinterpret_cast<WPARAM>(&id), 0);
    EXPECT_EQ(id, 0);
}

}  // namespace

#include "corelib/window/drawnaccess.h"

#include "corelib/window/toolbar.h"
#include "tests/corelib/window/commandparent.h"
#include "tests/support/accesstest.h"

namespace {

std::vector<LONG> FocusTold;
void CALLBACK SeeEvent(HWINEVENTHOOK, DWORD event, HWND, LONG, LONG child, DWORD, DWORD) {
    if (event == EVENT_OBJECT_FOCUS && child != CHILDID_SELF)
        FocusTold.push_back(child);
}

class DRAWNACCESSTEST : public testing::Test {
 protected:
    DRAWNACCESSTEST() {
        Bar->AddButton(10, -1, TBSTYLE_BUTTON);
        Bar->AddSeparator();
        Bar->AddButton(11, -1, TBSTYLE_CHECK);
        Bar->AddButton(12, -1, TBSTYLE_CHECK | TBSTYLE_GROUP);
        Bar->SetButtonText(10, "&Mails...\tF5");
        Bar->Check(11, true);
        Bar->Enable(12, false);
        Bar->ArrangeButtons();
        Pump();
    }
    static VARIANT Element(LONG number) { return ACCESSIBLE::Element(number); }

    COMMANDPARENT Parent;
    std::unique_ptr<NEWTOOLBAR> Bar = std::make_unique<NEWTOOLBAR>(Parent.Hwnd());
    ACCESSIBLE Access{Bar->hWnd};
};

TEST_F(DRAWNACCESSTEST, TellsWhatTheButtonsAreAndWhereTheyLie) {
    const std::tuple<const char*, const char*, const char*, LONG, LONG, int> table[] = {
        {"Tool bar", "-", "-", ROLE_SYSTEM_TOOLBAR, STATE_SYSTEM_FOCUSABLE, 0},
        {"Mails", "tip 10", "Press", ROLE_SYSTEM_PUSHBUTTON, STATE_SYSTEM_FOCUSABLE, 10},
        {"-", "-", "-", ROLE_SYSTEM_SEPARATOR, STATE_SYSTEM_READONLY, 0},
        {"tip 11", "-", "Press", ROLE_SYSTEM_CHECKBUTTON, STATE_SYSTEM_FOCUSABLE | STATE_SYSTEM_CHECKED, 11},
        {"tip 12", "-", "Press", ROLE_SYSTEM_RADIOBUTTON, STATE_SYSTEM_UNAVAILABLE, 12},
    };
    ASSERT_EQ(Access.Count(), 4);
    for (LONG i = 0; i <= 4; ++i) {
        const auto& [name, description, action, role, state, id] = table[i];
        EXPECT_EQ(Access.Text(&IAccessible::get_accName, i), name);
        EXPECT_EQ(Access.Text(&IAccessible::get_accDescription, i), description);
        EXPECT_EQ(Access.Text(&IAccessible::get_accDefaultAction, i), action);
        EXPECT_EQ(Access.Number(&IAccessible::get_accRole, i), role);
        EXPECT_EQ(Access.Number(&IAccessible::get_accState, i), state);
        if (id == 0)
            continue;
        RECT wanted = Bar->ButtonRect(id);
        MapWindowPoints(Bar->hWnd, nullptr, reinterpret_cast<POINT*>(&wanted), 2);
        LONG left = 0, top = 0, width = 0, height = 0;
        EXPECT_EQ(Access->accLocation(&left, &top, &width, &height, Element(i)), S_OK);
        EXPECT_EQ(left, wanted.left);
        EXPECT_EQ(top + height, wanted.bottom);
        VARIANT hit{};
        EXPECT_EQ(Access->accHitTest(left + width / 2, top + height / 2, &hit), S_OK);
        EXPECT_EQ(hit.lVal, i);
    }
    EXPECT_EQ(Access.Number(&IAccessible::get_accRole, 5), -1);
    EXPECT_EQ(Access.Number(&IAccessible::get_accRole, -1), -1);
}

TEST_F(DRAWNACCESSTEST, PressesAndFocusesButtonsAndTellsOfTheFocus) {
    const HWINEVENTHOOK hook = SetWinEventHook(EVENT_OBJECT_FOCUS, EVENT_OBJECT_FOCUS, nullptr, SeeEvent,
                                               GetCurrentProcessId(), 0, WINEVENT_OUTOFCONTEXT);
    FocusTold.clear();
    EXPECT_NE(Access->accSelect(SELFLAG_TAKEFOCUS, Element(4)), S_OK);  // disabled
    EXPECT_EQ(Access->accSelect(SELFLAG_TAKEFOCUS, Element(1)), S_OK);
    EXPECT_EQ(GetFocus(), Bar->hWnd);
    TypeKey(Bar->hWnd, VK_RIGHT);
    EXPECT_TRUE(PumpUntil([] { return !FocusTold.empty() && FocusTold.back() == 3; }));
    UnhookWinEvent(hook);
    VARIANT focused{};
    EXPECT_EQ(Access->get_accFocus(&focused), S_OK);
    EXPECT_EQ(focused.lVal, 3);

    EXPECT_EQ(Access->accDoDefaultAction(Element(3)), S_OK);
    EXPECT_NE(Access->accDoDefaultAction(Element(2)), S_OK);
    EXPECT_NE(Access->accDoDefaultAction(Element(4)), S_OK);
    EXPECT_TRUE(Parent.Commands.empty());  // the asking program does not wait for what the command opens
    Pump();
    EXPECT_EQ(Parent.Commands, std::vector<int>{11});
    EXPECT_FALSE(Bar->IsChecked(11));
}

TEST_F(DRAWNACCESSTEST, OutlivesTheBar) {
    Bar.reset();
    EXPECT_EQ(Access.Count(), -1);
    EXPECT_EQ(Access.Number(&IAccessible::get_accRole, 1), -1);
    EXPECT_NE(Access->accDoDefaultAction(Element(1)), S_OK);
}

}  // namespace

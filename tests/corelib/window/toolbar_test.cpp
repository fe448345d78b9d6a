#include "corelib/window/toolbar.h"

#include "corelib/window/listview.h"
#include "tests/corelib/window/commandparent.h"
#include "tests/support/windowtest.h"

namespace {

class TOOLBARTEST : public testing::Test {
 protected:
    TOOLBARTEST() {
        Bar.AddButton(10, -1, TBSTYLE_BUTTON);
        Bar.AddSeparator();
        Bar.AddButton(11, 2112, TBSTYLE_CHECK);
        Bar.AddButton(20, 2105, TBSTYLE_CHECK | TBSTYLE_GROUP);
        Bar.AddButton(21, 2106, TBSTYLE_CHECK | TBSTYLE_GROUP);
        Bar.AddButton(22, 2118, TBSTYLE_CHECK | TBSTYLE_GROUP);
        Bar.AddButton(12, 2113, TBSTYLE_CHECK);
        Bar.AddButton(23, 2135, TBSTYLE_CHECK | TBSTYLE_GROUP);
        Bar.SetButtonText(10, "&Mails...\tF5");
        Bar.ArrangeButtons();
        Pump();
    }
    POINT Middle(int id) const {
        const RECT rect = Bar.ButtonRect(id);
        return {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    }
    void ClickOn(int id) { Click(Bar.Hwnd(), Middle(id).x, Middle(id).y); }
    std::vector<int> Checked() const {
        std::vector<int> checked;
        for (const int id : {10, 11, 12, 20, 21, 22, 23})
            if (Bar.IsChecked(id))
                checked.push_back(id);
        return checked;
    }
    // How many pixels of a button differ from the bar's own colour.
    int Drawn(int id) const { return PixelsUnlike(Bar.Hwnd(), Bar.ButtonRect(id), GetSysColor(COLOR_BTNFACE)); }

    COMMANDPARENT Parent;
    NEWTOOLBAR Bar{Parent.Hwnd()};
};

using IDS = std::vector<int>;

TEST_F(TOOLBARTEST, ClicksCheckAndAreToldToTheParent) {
    Bar.Enable(12, false);
    for (const int id : {10, 11, 21, 12})
        ClickOn(id);
    EXPECT_EQ(Checked(), (IDS{11, 21}));
    for (const int id : {11, 21})
        ClickOn(id);
    EXPECT_EQ(Checked(), (IDS{21}));  // one of a group is down
    for (const int id : {23, 20})
        ClickOn(id);
    EXPECT_EQ(Checked(), (IDS{20, 23}));  // 23 is a run of its own, after 12
    // A click that leaves the button is given up.
    PressMouse(Bar.Hwnd(), Middle(11).x, Middle(11).y);
    EXPECT_EQ(GetCapture(), Bar.Hwnd());
    ReleaseMouse(Bar.Hwnd(), Middle(10).x, Middle(10).y);
    EXPECT_NE(GetCapture(), Bar.Hwnd());
    EXPECT_EQ(Parent.Commands, (IDS{10, 11, 21, 11, 21, 23, 20}));
    // The program, unlike a click, can clear a group.
    Bar.Check(23, false);
    EXPECT_ASSERTIONS(1);
    Bar.Check(10, true);
    EXPECT_EQ(Checked(), (IDS{20}));
}

TEST_F(TOOLBARTEST, IsReachedByTheKeyboard) {
    Bar.Enable(11, false);
    SetFocus(Bar.Hwnd());
    TypeKey(Bar.Hwnd(), VK_SPACE);
    TypeKey(Bar.Hwnd(), VK_RIGHT);  // over the separator and the disabled button
    TypeKey(Bar.Hwnd(), VK_RETURN);
    TypeKey(Bar.Hwnd(), VK_END);
    TypeKey(Bar.Hwnd(), VK_RIGHT);
    TypeKey(Bar.Hwnd(), VK_SPACE);
    TypeKey(Bar.Hwnd(), VK_HOME);
    TypeKey(Bar.Hwnd(), VK_LEFT);
    TypeKey(Bar.Hwnd(), VK_SPACE);
    EXPECT_EQ(Parent.Commands, (IDS{10, 20, 23, 10}));
    EXPECT_EQ(Checked(), (IDS{20, 23}));
}

TEST_F(TOOLBARTEST, TabGoesToTheListAndBack) {
    const LISTVIEW list(Parent.Hwnd(), 100);
    SetFocus(list.Hwnd());
    for (const int key : {VK_TAB, VK_F6}) {
        TypeKey(list.Hwnd(), key);
        EXPECT_EQ(GetFocus(), Bar.Hwnd());
        TypeKey(Bar.Hwnd(), key);
        EXPECT_EQ(GetFocus(), list.Hwnd());
    }
}

TEST_F(TOOLBARTEST, ShowsWhichButtonIsHotDownOrFocused) {
    SetFocus(nullptr);
    const int plain = Drawn(12);
    MoveMouse(Bar.Hwnd(), Middle(12).x, Middle(12).y);
    const int hot = Drawn(12);
    EXPECT_GT(hot, plain);
    // The pointer itself is elsewhere, which the bar finds out by its timer.
    EXPECT_TRUE(PumpUntil([&] { return Drawn(12) == plain; }));
    Bar.Check(12, true);
    EXPECT_GT(Drawn(12), plain);
    const int label = Drawn(10);
    EXPECT_GT(label, 20);
    SetFocus(Bar.Hwnd());
    Pump();
    EXPECT_GT(Drawn(10), label);
}

TEST_F(TOOLBARTEST, LiesAlongTheTopAndLabelsAreCut) {
    const RECT bar = Bar.Rect();
    EXPECT_EQ(bar.bottom - bar.top, Bar.ScalePixels(34));
    EXPECT_EQ(bar.right, Parent.ClientRect().right);
    const LONG width = Bar.ButtonRect(10).right - Bar.ButtonRect(10).left;
    Bar.SetButtonText(10, "Mails");
    Bar.ArrangeButtons();
    EXPECT_EQ(Bar.ButtonRect(10).right - Bar.ButtonRect(10).left, width);
}

}  // namespace

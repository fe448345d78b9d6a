#include "corelib/window/listview.h"

#include "tests/support/windowtest.h"

namespace {

class LISTVIEWTEST : public testing::Test {
 protected:
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (int row = 0; row < List.Count(); ++row)
            names.push_back(Std(List.GetItemText(row, 0)));
        return names;
    }

    WINDOW Frame{WS_OVERLAPPEDWINDOW | WS_VISIBLE, "list", 0, 0, 400, 300, nullptr, 0, "ListFrame"};
    LISTVIEW List{Frame.Hwnd(), 100};
};

TEST_F(LISTVIEWTEST, KeepsTextsDataAndOrderOfItsRows) {
    List.Move(0, 0, 390, 250);
    List.AddColumns("Name\tResult");
    EXPECT_EQ(List.ColumnCount(), 2);
    std::string wide;
    for (int i = 0; i < 100; ++i)
        wide += "日";
    ASSERT_EQ(List.InsertRecord(0, -1, "beta\t5 mails"), 0);
    List.SetRowData(0, 4097);
    ASSERT_EQ(List.InsertRecord(99, -1, STRING(std::string_view("αlpha\tx" + wide))), 1);
    List.SetRowData(1, 0xFFFFFFFF);
    EXPECT_EQ(Std(List.GetItemText(0, 1)), "5 mails");
    EXPECT_EQ(Std(List.GetItemText(1, 0)), "αlpha");
    EXPECT_EQ(Std(List.GetItemText(1, 1)), "x" + wide.substr(0, 252));
    List.SetItemText(1, 1, STRING(std::string_view(std::string(600, 'x'))));
    EXPECT_EQ(List.GetItemText(1, 1).Length(), 600);

    List.InsertRecord(2, -1, "gamma\t");
    List.SetRowData(2, 7);
    List.Sort([](uint32_t left, uint32_t right) { return left < right ? -1 : left > right; });
    EXPECT_EQ(Names(), (std::vector<std::string>{"gamma", "beta", "αlpha"}));
    EXPECT_EQ(List.FindRow(0xFFFFFFFF), 2);
    EXPECT_EQ(List.RowData(1), 4097u);
    EXPECT_TRUE(List.DeleteRow(1));
    EXPECT_EQ(List.FindRow(4097), -1);
    EXPECT_ASSERTIONS(1);
    EXPECT_EQ(List.RowOf(4097), -1);
}

TEST(LISTVIEWS, GiveTheirRowsUpAsTheyGo) {
    static int deleted;
    deleted = 0;
    WINDOW frame(WS_OVERLAPPEDWINDOW, "list", 0, 0, 400, 300, nullptr, 0, nullptr);
    frame.SetHook([](WINDOW&, UINT message, WPARAM, LPARAM second, LRESULT*) {
        deleted += message == WM_NOTIFY && reinterpret_cast<const NMHDR*>(second)->code == LVN_DELETEITEM;
        return false;
    });
    {
        LISTVIEW list(frame.Hwnd(), 100);
        list.AddColumns("Name");
        list.InsertRecord(0, -1, "row");
    }
    EXPECT_EQ(deleted, 1);
}

TEST_F(LISTVIEWTEST, SaysSomethingWhileItIsEmpty) {
    List.Move(0, 0, 390, 250);
    List.AddColumns("Name");
    List.SetEmptyText("nothing here");
    // In the row of the text, right of where a row's would stand.
    const RECT place{120, List.ScalePixels(20), 280, List.ScalePixels(60)};
    const auto speaks = [&] { return PixelsUnlike(List.Hwnd(), place, GetSysColor(COLOR_WINDOW)) > 0; };
    EXPECT_TRUE(speaks());
    List.InsertRecord(0, -1, "a");
    EXPECT_FALSE(speaks());
    List.DeleteRow(0);
    EXPECT_TRUE(speaks());
}

}  // namespace

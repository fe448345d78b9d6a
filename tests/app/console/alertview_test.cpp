#include "app/console/alertview.h"

#include "tests/support/testsupport.h"

TEST(AlertView, DrawsAPopupOnATerminal) {
    const ALERTREQUEST request{
        .Text =
            "New!\nHome: 2 mails (2 new)\n\n\x1b[bs;B=255;F=16711680] ! Ann: \x07!b \n\x1b[s] Bob: Grüße\n\x1b[s]\n"
            "\x1b[sb;*=2110]Program\x1b[s]  \x1b[sb;*=0]Close\x1b[s]  ",
        .BackColor = 0x00C0FF};
    const ALERTVIEW plain = DrawAlert(request, false, 80, false);
    EXPECT_EQ(plain.Text, "  New!\n  Home: 2 mails (2 new)\n  \n   ! Ann: !b \n   Bob: Grüße\n");
    EXPECT_TRUE(plain.Keys.empty());

    const ALERTVIEW view = DrawAlert(request, true, 80, true);
    const std::string bar = "\x1b[48;2;255;192;0m \x1b[0m ";
    EXPECT_TRUE(view.Text.starts_with(bar + "New!\n" + bar + "Home: 2 mails (2 new)\n")) << view.Text;
    EXPECT_NE(view.Text.find(bar + "\x1b[1m\x1b[38;2;0;0;255m\x1b[48;2;255;0;0m ! Ann: !b \x1b[0m\n"),
              std::string::npos)
        << view.Text;
    EXPECT_TRUE(view.Text.ends_with(bar + "[1] Program  [2] Close  \n")) << view.Text;
    ASSERT_EQ(view.Keys.size(), 2U);
    EXPECT_EQ(view.Keys[0].Command, 2110);
    EXPECT_EQ(view.Keys[1].Label, "Close");

    EXPECT_TRUE(DrawAlert(request, false, 80, true, "... and 7 more")
                    .Text.ends_with("e\n   ... and 7 more\n  [1] Program  [2] Close  \n"));

    // Letters of every kind stay, and are cut as a whole.
    const ALERTREQUEST letters{.Text = "New\n\x1b[s] Ольга: 京都の写真を送ります"};
    EXPECT_EQ(DrawAlert(letters, false, 20, false).Text, "  New\n   Ольга: 京都の...\n");

    // A line that is too long for the terminal is cut to it.
    const ALERTREQUEST wide{.Text = STRING(std::string(500, 'x').c_str())};
    EXPECT_EQ(DrawAlert(wide, false, 40, true).Text, "  " + std::string(34, 'x') + "...\n");
}

#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include "app/console/consolefrontend.h"
#include "app/console/terminal.h"
#include "tests/app/apptest.h"

namespace {

/// Stands in the place of the standard files; what is asked of it comes from this side. Nothing may fail meanwhile: it
/// would be told to nobody.
class PTY {
 public:
    PTY() {
        openpty(&Master, &Slave, nullptr, nullptr, nullptr);
        for (int i = 0; i < 2; ++i) {
            Former[i] = dup(i);
            dup2(Slave, i);
        }
    }
    ~PTY() {
        for (int i = 0; i < 2; ++i) {
            dup2(Former[i], i);
            close(Former[i]);
        }
        close(Slave);
        close(Master);
    }
    PTY(const PTY&) = delete;
    PTY& operator=(const PTY&) = delete;

    void Type(std::string_view keys) const {
        EXPECT_EQ(write(Master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    /// What is on the screen since the last call.
    std::string Screen() const {
        std::string text;
        pollfd output{Master, POLLIN, 0};
        char bytes[4096];
        while (poll(&output, 1, 0) == 1) {
            const ssize_t got = read(Master, bytes, sizeof bytes);
            if (got <= 0)
                break;
            text.append(bytes, static_cast<size_t>(got));
        }
        return text;
    }
    tcflag_t Modes() const {
        termios now{};
        tcgetattr(Slave, &now);
        return now.c_lflag & (ICANON | ECHO | ISIG);
    }

 private:
    int Master = -1, Slave = -1;
    int Former[2];
};

constexpr tcflag_t LINES = ICANON | ECHO | ISIG;

}  // namespace

TEST(Keys, ActOnAPopupWhileItIsThere) {
    FAKECLOCK clock;
    std::string told;
    const auto tell = [&](const std::string& what) { told += what + ";"; };
    {
        const PTY pty;
        const NUMBERTEXTS texts;
        CONSOLEFRONTEND front;
        front.SetTexts(&texts);
        front.SetWatching(true);
        ALERTREQUEST popup{.Text = "a\n\x1b[*=2140]Later\x1b[*=0]Close", .DurationMs = 10000};
        {
            const TERMINAL::SINGLEKEYS keys;
            const auto press = [&](std::string_view typed) {
                pty.Screen();
                pty.Type(typed);
                const int command = front.TakeAlertCommand(TERMINAL::PressedKey());
                const std::string screen = pty.Screen();
                tell(std::to_string(command) + " " + screen.substr(0, screen.find('\r')));
            };
            TERMINAL::PressedKey();
            tell(pty.Modes() == ISIG ? "keys" : "lines");
            pty.Type("1");
            front.PostAlert(popup);
            press("");        // an earlier key is not for this popup
            press("x");       // no key of it
            press("3");       // nor is this
            press("\x1b[A");  // an arrow
            press("1\n");
            press("1");  // answered
            front.PostAlert(popup);
            front.PostAlert({.Text = "nothing new"});
            clock.Sleep(9000);
            press("2");  // another popup has no keys
            front.PostAlert(popup);
            clock.Sleep(11000);
            press("2");  // gone by its time
            popup.DurationMs = 0;
            front.PostAlert(popup);
            clock.Sleep(100000);
            press("2");
            // A question has its line, with echo.
            pty.Type("yes\n");
            std::string line;
            tell(TERMINAL::ReadLine(line, false) && line == "yes" && pty.Modes() == LINES ? "answer" : line);
            TERMINAL::PressedKey();
            tell(pty.Modes() == ISIG ? "keys" : "lines");
        }
        tell(pty.Modes() == LINES ? "lines" : "keys");
    }
    EXPECT_EQ(told, "keys;-1 ;-1 ;-1 ;-1 ;2140 > Later;-1 <11024>;0 > Close;-1 <11024>;0 > Close;answer;keys;lines;");
}

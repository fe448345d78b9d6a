#pragma once

#include "corelib/base/strings.h"
#include "corelib/window/gdi.h"

/// An icon in the notification area of the task bar, there as long as the object. Tooltips have at most 63 bytes.
class TASKBARICON {
 public:
    /// Adds the icon of that resource number. `message` comes to the window with the number that the icon had first,
    /// and the mouse message.
    TASKBARICON(HWND window, int icon, const STRING& tooltip, UINT message);
    ~TASKBARICON();
    TASKBARICON(const TASKBARICON&) = delete;
    TASKBARICON& operator=(const TASKBARICON&) = delete;

    /// False when the shell has refused the icon or has lost it since.
    bool IsUp() const { return UpAndRunning; }
    /// The number of the icon that shows.
    int Number() const { return Shown; }
    /// Adds the icon again, for a shell that has been started anew; IsUp() tells whether that worked.
    void Add();
    void SetIcon(int icon);
    /// Shows the same one anew, for the scale that the task bar's screen has now.
    void Rescale() { SetIcon(Shown); }
    void SetTooltip(const STRING& text);

 private:
    void Load(int icon);
    void Modify(UINT what, const char* operation);

    NOTIFYICONDATAW Data{};
    ICONHANDLE Icon;
    int Shown = 0;
    bool UpAndRunning = false;
};

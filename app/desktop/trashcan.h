#pragma once

#include <atomic>
#include <optional>

#include "app/desktop/inbox.h"
#include "corelib/system/osys.h"

/// The window with the copies of what the filter and the user have thrown out. It is read when the window opens and
/// when the person asks for it.
class TRASHCAN : public INBOX {
 public:
    TRASHCAN(MAINWINDOW& main, TARNWICK& application);
    /// Waits for the end of what is being sent on, which is asked to stop.
    ~TRASHCAN() override;
    TRASHCAN(const TRASHCAN&) = delete;
    TRASHCAN& operator=(const TRASHCAN&) = delete;

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;
    void UpdateMenu(MENU& menu) const override { INBOX::UpdateMenu(menu); }
    void ApplyChanges(bool automatic) override;
    bool DoCommand(int command) override;
    /// There is no item: reads the folder anew.
    void Show(const STRINGARRAY* item) override;
    bool IsSending() const { return Sending; }

 private:
    void SendOn(int mail);
    void Sent();
    static unsigned SendBody(void* self);

    bool Sending = false, CloseWanted = false;
    std::optional<BUSYHOLD> SendHold;  // what is on its way stays in the trash
    OSYS::THREADHANDLE hThread;
    std::atomic<bool> Stop = false;
    // Of the thread, while it runs.
    STRINGARRAY Mail, Settings;
    bool Arrived = false;
    STRING Error;
};

#pragma once

#include <memory>

#include "corelib/base/strings.h"

/// The notifications of the user's desktop session (org.freedesktop.Notifications), over D-Bus by a library that is
/// loaded when it is first needed, or else by the program notify-send. Nobody waits for them: a thread of its own
/// delivers, so that a service which does not answer holds up nothing. Where a platform has none, it does nothing.
class DESKTOPNOTICE {
 public:
    /// For all: how long a service has for one notice, in ms. library: where sd-bus is.
    explicit DESKTOPNOTICE(int limitMs = 5000, const char* library = "libsystemd.so.0");
    /// Finishes.
    ~DESKTOPNOTICE();
    DESKTOPNOTICE(const DESKTOPNOTICE&) = delete;
    DESKTOPNOTICE& operator=(const DESKTOPNOTICE&) = delete;

    /// Whether this platform has such notifications at all.
    static bool IsOfThisPlatform();
    /// Shows the two texts, as they are and without mark-up, in place of those that it has shown for the same subject;
    /// of several that wait for one subject only the last. Bytes that are no UTF-8 and control characters but line ends
    /// do not come through, and of very long texts the beginning. Any thread.
    void Show(int subject, const STRING& summary, const STRING& body);
    /// Waits until all that waits is shown, for the time that a service has; nothing is shown any more then. False if
    /// that was not long enough.
    bool Finish();
    /// Why something could not be shown since this was last asked, in English; empty if nothing.
    STRING TakeTrouble();

 private:
    struct SHARED;
    static void Deliver(const std::shared_ptr<SHARED>& shared);
    const std::shared_ptr<SHARED> Shared;
};

#pragma once

#include "app/common/frontend.h"
#include "corelib/window/gdi.h"
#include "resources/commands.h"

// Names and numbers of the main window's messages, timers, resources and values. Those of commands stand in
// resources/commands.h.

inline constexpr UINT WM__ALERTWIN = 1027;          // the next of the alerts that wait
inline constexpr UINT WM__FILLLIST = 1028;          // the list is to be filled anew
inline constexpr UINT WM__STARTMAILPROGRAM = 1029;  // first: the handle of the item, or 0
inline constexpr UINT WM__CALLS = 1030;             // calls of other threads wait
inline constexpr UINT WM__INBOXCLOSED = 1031;       // first: the window that wants to be deleted
inline constexpr UINT WM__TRASHCANCLOSED = 1032;    // the same
inline constexpr UINT WM__SPLITTER = 1033;          // the splitter has moved
inline constexpr UINT WM__TIP = 1034;               // the window has been opened, and may show a tip
inline constexpr UINT WM__ASKPASSWORDS = 1035;      // the user is asked for those that could not be opened
inline constexpr UINT WM__TASKBAR = 1088;           // from the tray icon; second: the mouse message

inline constexpr UINT_PTR TIMER_ALERT = 1;       // ends the alert
inline constexpr UINT_PTR TIMER_NEXT_ALERT = 2;  // the present one has been read
inline constexpr UINT_PTR TIMER_TITLE = 4;
inline constexpr UINT_PTR TIMER_TRAY = 9;  // makes the tray icon after the start

inline constexpr int INBOX_ID = 4;
inline constexpr int SPLITTER_ID = 5;

inline constexpr int ALERT_TOPIC = 2060;  // of the help; other windows have the number of their menu or dialog

inline constexpr int INBOX_IN_WINDOW = 2;  // as InboxVisible: it stands in a window of its own

inline constexpr const char* WINDOW_POSITION = "WindowPos";

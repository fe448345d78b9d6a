#include <windows.h>

#include "corelib/mapi/mapiwait.h"

struct MAPIWAIT::STATE {
    ~STATE() { CloseHandle(Woken); }
    const HANDLE Woken = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

MAPIWAIT::MAPIWAIT() : State(std::make_unique<STATE>()) {}
MAPIWAIT::~MAPIWAIT() = default;

void MAPIWAIT::Wait() {
    while (MsgWaitForMultipleObjectsEx(1, &State->Woken, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE) ==
           WAIT_OBJECT_0 + 1)
        HandleMessages();
}

void MAPIWAIT::Wake() {
    SetEvent(State->Woken);
}

void MAPIWAIT::HandleMessages() {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

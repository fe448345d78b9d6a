#include "app/desktop/uicalls.h"

void UICALLS::SetWindow(HWND window) {
    std::lock_guard hold(Guard);
    Window = window;
    if (Window && !Calls.empty())
        PostMessageW(Window, Message, 0, 0);
}

void UICALLS::Add(const KEY* key, CALL call) {
    std::lock_guard hold(Guard);
    if (key) {
        const auto [place, isNew] = Places.try_emplace(*key, Calls.size());
        if (!isNew) {
            Calls[place->second] = std::move(call);
            return;
        }
    }
    Calls.push_back(std::move(call));
    if (Calls.size() == 1 && Window)
        PostMessageW(Window, Message, 0, 0);
}

void UICALLS::Run() {
    std::vector<CALL> calls;
    {
        std::lock_guard hold(Guard);
        calls.swap(Calls);
        Places.clear();
    }
    for (const CALL& call : calls)
        call();
}

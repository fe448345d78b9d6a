#include <memory>
#include <process.h>
#include <utility>
#include <windows.h>

#include "corelib/system/threadplatform.h"

// The system's own threads: of std::thread the run-time library that the program is built with frees one twice that
// ends while it is detached, and hands that memory to two others.

namespace {

unsigned __stdcall Body(void* work) {
    const std::unique_ptr<std::function<void()>> own(static_cast<std::function<void()>*>(work));
    (*own)();
    return 0;
}

}  // namespace

PLATFORMTHREAD::~PLATFORMTHREAD() {
    if (Thread)
        CloseHandle(Thread);
}

bool PLATFORMTHREAD::Begin(std::function<void()> work) {
    auto own = std::make_unique<std::function<void()>>(std::move(work));
    Thread = reinterpret_cast<void*>(_beginthreadex(nullptr, 0, Body, own.get(), 0, nullptr));
    if (!Thread)
        return false;
    (void)own.release();
    return true;
}

void PLATFORMTHREAD::Join() {
    WaitForSingleObject(Thread, INFINITE);
}

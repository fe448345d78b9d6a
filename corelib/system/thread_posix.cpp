#include <system_error>
#include <utility>

#include "corelib/system/threadplatform.h"

PLATFORMTHREAD::~PLATFORMTHREAD() {
    if (Thread.joinable())
        Thread.detach();
}

bool PLATFORMTHREAD::Begin(std::function<void()> work) {
    try {
        Thread = std::thread(std::move(work));
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void PLATFORMTHREAD::Join() {
    Thread.join();
}

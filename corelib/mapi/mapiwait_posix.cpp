#include <semaphore>

#include "corelib/mapi/mapiwait.h"

struct MAPIWAIT::STATE {
    std::counting_semaphore<> Woken{0};
};

MAPIWAIT::MAPIWAIT() : State(std::make_unique<STATE>()) {}
MAPIWAIT::~MAPIWAIT() = default;

void MAPIWAIT::Wait() {
    State->Woken.acquire();
}

void MAPIWAIT::Wake() {
    State->Woken.release();
}

void MAPIWAIT::HandleMessages() {}

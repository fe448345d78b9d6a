#include "app/check/dialup.h"

// Posix systems have no service that keeps dial-up entries by name and dials them: this is the machine without one.

struct WINRAS::SERVICE {};

WINRAS::WINRAS() = default;
WINRAS::~WINRAS() = default;

const WINRAS::SERVICE* WINRAS::Load() {
    return nullptr;
}

STRING WINRAS::EnumEntries() {
    return STRING("");
}

bool WINRAS::Dial(const STRING& /*entry*/, STRING& error) {
    error = DIALUP_MISSING;
    return false;
}

bool WINRAS::IsConnected(const STRING& /*entry*/) {
    return false;
}

bool WINRAS::HangUp(const STRING& /*entry*/) {
    return false;
}

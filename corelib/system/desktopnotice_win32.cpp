#include "corelib/system/desktopnotice.h"

struct DESKTOPNOTICE::SHARED {};

DESKTOPNOTICE::DESKTOPNOTICE(int /*limitMs*/, const char* /*library*/) {}

DESKTOPNOTICE::~DESKTOPNOTICE() = default;

bool DESKTOPNOTICE::IsOfThisPlatform() {
    return false;
}

void DESKTOPNOTICE::Show(int /*subject*/, const STRING& /*summary*/, const STRING& /*body*/) {}

bool DESKTOPNOTICE::Finish() {
    return true;
}

STRING DESKTOPNOTICE::TakeTrouble() {
    return "";
}

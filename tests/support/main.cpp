#include <gmock/gmock.h>

#include "corelib/base/trace.h"

void InstallAssertionGuard();

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    // The place of a program's options: /LOGIT and the like go to the trace log.
    for (int i = 1; i < argc; ++i)
        LogOption(argv[i]);
    InstallAssertionGuard();
    return RUN_ALL_TESTS();
}

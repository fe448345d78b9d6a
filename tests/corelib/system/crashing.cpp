// Ends by the fault that its argument names, for crashreport_test.
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#ifndef _WIN32
#include <sys/resource.h>
#endif

#include "corelib/system/crashreport.h"
#include "corelib/system/osys.h"

namespace {

[[gnu::noinline]] int ReadFrom(const volatile int* place) {
    return *place + 1;
}

[[gnu::noinline]] int Deeper(volatile int* depth) {  // NOLINT(misc-no-recursion)
    volatile char room[4096] = {};
    *depth = *depth + 1;
    return *depth < 0 ? 0 : Deeper(depth) + room[*depth % 4096];
}

unsigned OverflowInThread(void*) {
    volatile int depth = 0;
    return static_cast<unsigned>(Deeper(&depth));
}

[[gnu::noinline]] void Throw() {
    throw std::out_of_range("crashing");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view how = argc > 1 ? argv[1] : "";
    CRASHREPORT::Install(CRASHREPORT::NOTICE::Console);
    CRASHREPORT::Prepare("Crashing 1.23", "It lies in $FILE.");
    if (how == "address")
        return ReadFrom(reinterpret_cast<const volatile int*>(uintptr_t{0x10}));
    if (how == "stack") {
        OSYS::THREADHANDLE thread = OSYS::CreateThread(OverflowInThread, nullptr, nullptr);
        OSYS::WaitThread(thread, WAIT_FOREVER);
    }
    if (how == "exception")
        Throw();
    if (how == "abort")
        std::abort();
#ifndef _WIN32
    rlimit cores{};
    if (how == "core")
        return getrlimit(RLIMIT_CORE, &cores) == 0 && cores.rlim_cur == 0 ? 0 : 1;
#endif
    return 0;
}

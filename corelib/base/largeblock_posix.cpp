#include <cstddef>
#include <cstdint>
#include <sys/mman.h>

#include "corelib/base/largeblockplatform.h"

namespace {

// Where the system has pages of this size it clears and maps a listing in some of them, instead of in thousands.
constexpr size_t HUGE_PAGE = 2 << 20;

size_t Rounded(int size) {
    return (static_cast<size_t>(size) + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
}

}  // namespace

char* LARGEBLOCK::Map(int size) {
    const size_t bytes = Rounded(size);
    void* const room = mmap(nullptr, bytes + HUGE_PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED)
        return nullptr;
    char* const start = static_cast<char*>(room);
    const size_t before = (HUGE_PAGE - reinterpret_cast<uintptr_t>(start) % HUGE_PAGE) % HUGE_PAGE;
    if (before > 0)
        munmap(start, before);
    munmap(start + before + bytes, HUGE_PAGE - before);
#ifdef MADV_HUGEPAGE
    madvise(start + before, bytes, MADV_HUGEPAGE);
#endif
    return start + before;
}

void LARGEBLOCK::Unmap(char* block, int size) {
    munmap(block, Rounded(size));
}

void LARGEBLOCK::Lend(char* block, int size) {
#ifdef MADV_FREE
    madvise(block, Rounded(size), MADV_FREE);
#else
    madvise(block, Rounded(size), MADV_DONTNEED);
#endif
}

#include "corelib/base/largeblock.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <mutex>
#include <utility>

#include "corelib/base/largeblockplatform.h"

namespace {

// Parts of a block: what it has to grow into at first, and what a used one must have. Nobody gets one that is more than
// twice as large as it need be.
constexpr int ROOM = 8;
constexpr int LEAST_ROOM = 16;

struct SPARE {
    char* Block = nullptr;
    int Size = 0;
};

std::mutex Guard;
SPARE Spare;

}  // namespace

char* LARGEBLOCK::Alloc(int& size) {
    SPARE used;
    {
        const std::lock_guard hold(Guard);
        if (Spare.Size - size >= size / LEAST_ROOM && Spare.Size - size <= size)
            used = std::exchange(Spare, {});
    }
    if (!used.Block) {
        used.Size = static_cast<int>(std::min<int64_t>(int64_t{size} + size / ROOM, std::numeric_limits<int>::max()));
        used.Block = Map(used.Size);
    }
    size = used.Size;
    return used.Block;
}

void LARGEBLOCK::Free(char* block, int size) {
    Lend(block, size);
    SPARE former{block, size};
    {
        const std::lock_guard hold(Guard);
        std::swap(former, Spare);
    }
    if (former.Block)
        Unmap(former.Block, former.Size);
}

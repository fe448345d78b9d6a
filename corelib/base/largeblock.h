#pragma once

/// Blocks of memory so large that the system gives each of them itself and takes it back at once, but for the one that
/// was freed last: the next one has its pages, which need not be cleared and mapped again, unless the system has wanted
/// them meanwhile. Any thread.
namespace LARGEBLOCK {

/// Bytes from which on it is worth it.
inline constexpr int LEAST = 4 << 20;

/// A block of at least `size` bytes, which then says what it has: some more, to grow into. What stands there is
/// anything. Null if there is no room for it.
char* Alloc(int& size);
/// size: as it came from Alloc.
void Free(char* block, int size);

}  // namespace LARGEBLOCK

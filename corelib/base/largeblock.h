#pragma once

/// Blocks of memory so large that the system gives each of them itself, in pages that it has cleared, and takes them
/// back at once.
namespace LARGEBLOCK {

/// Bytes from which on it is worth it.
inline constexpr int LEAST = 4 << 20;

/// All zero; null if there is no room for it.
char* Alloc(int size);
/// size: as it was allocated.
void Free(char* block, int size);

}  // namespace LARGEBLOCK

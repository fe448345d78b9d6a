#pragma once

/// What LARGEBLOCK asks of the system.
namespace LARGEBLOCK {

/// Pages that the system has cleared; null if there is no room.
char* Map(int size);
void Unmap(char* block, int size);
/// The system may take the pages if it needs them; until one is written to, it holds what it has held, or zero.
void Lend(char* block, int size);

}  // namespace LARGEBLOCK

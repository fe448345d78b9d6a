#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "corelib/system/crashreport.h"

/// What a report asks of the platform, and what that asks of the report. For crashreport*.cpp alone. What runs after
/// the fault takes no memory and no lock.
namespace CRASHPLATFORM {

/// A program or library in memory.
struct MODULE {
    uintptr_t Begin;
    uintptr_t End;
    char Name[64];  // of its file, cut if need be
};

inline constexpr int MAX_FRAMES = 64;

/// Has Fault called for each fault.
void Install();
/// Fills in what is in memory now, at most `room`; how many there are.
int FindModules(MODULE* modules, int room);
/// The log by its whole path, and what the user is told.
void Prepare(const STRING& log, const STRING& text, const STRING& title, CRASHREPORT::NOTICE notice);

/// For the platform: the first call is to write the report, all others are not.
bool Begin();
/// The report's text for a fault with that code, in whose words `kind` is; the stack from the innermost frame on.
std::string_view Compose(const char* kind, uint64_t code, uint64_t address, const uintptr_t* frames, int count);

}  // namespace CRASHPLATFORM

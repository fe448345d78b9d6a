#pragma once

#include <cstdint>

/// What the trace log asks of the platform. For trace.cpp alone.
namespace TRACEPLATFORM {

/// A log file, made anew, that others may read meanwhile; -1 on failure, and for a link, through which nothing is
/// written. hard: each write goes through to the disk.
intptr_t OpenLog(const char* path, bool hard);
void WriteLog(intptr_t log, const char* text, int length);
void CloseLog(intptr_t log);
/// The debugger's output, or standard error where the platform has none.
void DebugOutput(const char* text);
uint32_t ThreadNumber();
/// The last error of the operating system, for this thread.
uint32_t LastSystemError();
/// Stops in a debugger; without one the program ends.
void DebugBreak();

}  // namespace TRACEPLATFORM

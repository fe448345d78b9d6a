#include <windows.h>

#include "corelib/base/traceplatform.h"
#include "corelib/base/widepath.h"

namespace TRACEPLATFORM {

intptr_t OpenLog(const char* path, bool hard) {
    const DWORD flags = FILE_FLAG_OPEN_REPARSE_POINT | (hard ? FILE_FLAG_WRITE_THROUGH : 0);
    HANDLE log = CreateFileW(WideFilePath(path).c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                             OPEN_ALWAYS, flags, nullptr);
    if (log == INVALID_HANDLE_VALUE)
        return -1;
    // Emptied only when it is known to be no link.
    if (HandleIsLink(log) || !SetEndOfFile(log)) {
        CloseHandle(log);
        return -1;
    }
    return reinterpret_cast<intptr_t>(log);
}

void WriteLog(intptr_t log, const char* text, int length) {
    DWORD written;
    WriteFile(reinterpret_cast<HANDLE>(log), text, static_cast<DWORD>(length), &written, nullptr);
}

void CloseLog(intptr_t log) {
    CloseHandle(reinterpret_cast<HANDLE>(log));
}

void DebugOutput(const char* text) {
    OutputDebugStringW(WidePath(text).c_str());
}

uint32_t ThreadNumber() {
    return GetCurrentThreadId();
}

uint32_t LastSystemError() {
    return GetLastError();
}

void DebugBreak() {
    ::DebugBreak();
}

}  // namespace TRACEPLATFORM

#include <windows.h>

#include "corelib/base/traceplatform.h"
#include "corelib/base/widepath.h"

namespace TRACEPLATFORM {

intptr_t OpenLog(const char* path, bool hard) {
    DWORD flags = FILE_ATTRIBUTE_NORMAL | (hard ? FILE_FLAG_WRITE_THROUGH : 0);
    HANDLE log =
        CreateFileW(WideFilePath(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, flags, nullptr);
    return log == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<intptr_t>(log);
}

void WriteLog(intptr_t log, const char* text, int length) {
    DWORD written;
    WriteFile(reinterpret_cast<HANDLE>(log), text, static_cast<DWORD>(length), &written, nullptr);
}

void CloseLog(intptr_t log) {
    CloseHandle(reinterpret_cast<HANDLE>(log));
}

void DebugOutput(const char* text) {
    OutputDebugStringA(text);
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

#include <string>
#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"
#include "corelib/system/startprogram.h"

namespace {

constexpr int ERROR_LENGTH = 512;

STRING ErrorText(DWORD number) {
    wchar_t text[ERROR_LENGTH] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, number, 0, text, ERROR_LENGTH,
                   nullptr);
    STRING result = FromWide(text);
    result.Strip('R', "\r\n ");
    return result;
}

}  // namespace

bool StartProgram(const STRING& name, const STRING& arguments, const STRING& directory, const STRING& title, bool wait,
                  STRING* error) {
    STARTUPINFOW start{};
    start.cb = sizeof start;
    std::string command(name.View());
    if (command.starts_with('*')) {
        command.erase(0, 1);
        start.dwFlags = STARTF_USESHOWWINDOW;
        start.wShowWindow = SW_SHOWMINNOACTIVE;
    }
    Trace("START PROGRAM: %s %s\n", command.c_str(), arguments.Text());
    if (arguments.Length() > 0) {
        if (!command.starts_with('"'))
            command = '"' + command + '"';
        command += ' ' + std::string(arguments.View());
    }
    std::wstring line = WidePath(command.c_str()), shown = WidePath(title.Ptr());
    if (!shown.empty())
        start.lpTitle = shown.data();
    PROCESS_INFORMATION process{};
    const bool rc =
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       directory.Length() > 0 ? WidePath(directory.Text()).c_str() : nullptr, &start, &process);
    const DWORD number = GetLastError();
    Trace("START PROGRAM: rc= %d\n", rc);
    if (rc) {
        if (wait)
            WaitForSingleObject(process.hProcess, INFINITE);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    } else if (error) {
        *error = ErrorText(number);
    }
    Trace("START PROGRAM: return\n");
    return rc;
}

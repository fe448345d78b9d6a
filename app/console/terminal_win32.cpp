#include <conio.h>
#include <windows.h>

#include "app/console/terminal.h"
#include "corelib/base/widepath.h"

namespace TERMINAL {

namespace {

void (*Stop)() = nullptr;

// The system ends the process when the handler of a closed console returns, so it stays until the end has saved.
constexpr DWORD CLOSE_PATIENCE_MS = 60000;

BOOL WINAPI Handler(DWORD event) {
    Stop();
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
        Sleep(CLOSE_PATIENCE_MS);
    return TRUE;
}

bool IsConsole(DWORD which) {
    DWORD mode;
    return GetConsoleMode(GetStdHandle(which), &mode);
}

void WriteAll(DWORD which, std::string_view text) {
    HANDLE handle = GetStdHandle(which);
    while (!text.empty()) {
        DWORD written = 0;
        if (!WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) || written == 0)
            return;
        text.remove_prefix(written);
    }
}

}  // namespace

void Prepare() {
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleCP(CP_UTF8);
}

bool OutputIsTerminal() {
    return IsConsole(STD_OUTPUT_HANDLE);
}

bool InputIsTerminal() {
    return IsConsole(STD_INPUT_HANDLE);
}

int Columns() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
        return 80;
    return info.srWindow.Right - info.srWindow.Left + 1;
}

void Write(std::string_view text) {
    WriteAll(STD_OUTPUT_HANDLE, text);
}

void WriteError(std::string_view text) {
    WriteAll(STD_ERROR_HANDLE, text);
}

namespace {

// Reads units up to the end of a line; false if the input ended before anything came.
template <class UNIT, class READ>
bool ReadUnits(std::basic_string<UNIT>& line, READ read) {
    for (UNIT unit; read(unit);) {
        if (unit == '\n')
            return true;
        if (unit != '\r')
            line += unit;
    }
    return !line.empty();
}

}  // namespace

bool ReadLine(std::string& line, bool hidden) {
    HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD former = 0;
    DWORD got = 0;
    line.clear();
    if (!GetConsoleMode(input, &former))
        return ReadUnits(line, [&](char& c) { return ReadFile(input, &c, 1, &got, nullptr) && got == 1; });

    // Bytes read from a console lack what is not ASCII, whatever its code page.
    if (hidden)
        SetConsoleMode(input, former & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    std::wstring wide;
    const bool read =
        ReadUnits(wide, [&](wchar_t& c) { return ReadConsoleW(input, &c, 1, &got, nullptr) && got == 1; });
    if (hidden) {
        SetConsoleMode(input, former);
        WriteError("\r\n");
    }
    line = FromWide(wide).View();
    return read;
}

int ReadBytes(char* buffer, int bytes) {
    DWORD got = 0;
    if (ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer, static_cast<DWORD>(bytes), &got, nullptr))
        return static_cast<int>(got);
    // The other side of a pipe has ended.
    return GetLastError() == ERROR_BROKEN_PIPE ? 0 : -1;
}

// The console gives keys one by one without being asked to.
SINGLEKEYS::SINGLEKEYS() = default;
SINGLEKEYS::~SINGLEKEYS() = default;

int PressedKey() {
    const int key = _kbhit() ? _getch() : 0;
    // These stand in front of the code of a key without a character.
    if (key != 0xE0 && key != 0)
        return key;
    if (_kbhit())
        _getch();
    return 0;
}

void ForgetKeys() {
    FlushConsoleInputBuffer(GetStdHandle(STD_INPUT_HANDLE));
}

void OnStop(void (*stop)()) {
    Stop = stop;
    SetConsoleCtrlHandler(Handler, TRUE);
}

}  // namespace TERMINAL

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iterator>
#include <string>
#include <windows.h>
// After it.
#include <psapi.h>

#include "corelib/base/widepath.h"
#include "corelib/system/crashplatform.h"

namespace {

constexpr size_t PATH_ROOM = 4096;
constexpr DWORD EXIT_ABORTED = 3;  // as abort has it

struct FAULTNAME {
    DWORD Code;
    const char* Name;
};
constexpr FAULTNAME FAULTS[] = {{EXCEPTION_ACCESS_VIOLATION, "access violation"},
                                {EXCEPTION_STACK_OVERFLOW, "stack overflow"},
                                {EXCEPTION_INT_DIVIDE_BY_ZERO, "division by zero"},
                                {EXCEPTION_ILLEGAL_INSTRUCTION, "illegal instruction"},
                                {EXCEPTION_IN_PAGE_ERROR, "page error"},
                                {EXIT_ABORTED, "abort"}};

wchar_t Log[PATH_ROOM], Text[PATH_ROOM], Title[PATH_ROOM];
char PlainText[PATH_ROOM];
CRASHREPORT::NOTICE Notice = CRASHREPORT::NOTICE::Console;
// The report has a thread of its own, ready from the start: the one with the fault may have no stack left.
HANDLE Asked, Done;
DWORD Reporter;
EXCEPTION_RECORD* Record;
CONTEXT* Context;

int StackOf(CONTEXT context, uintptr_t* frames) {
    int count = 0;
    while (count < CRASHPLATFORM::MAX_FRAMES && context.Rip != 0) {
        frames[count++] = context.Rip;
        DWORD64 base, frame;
        void* handlerData;
        RUNTIME_FUNCTION* const function = RtlLookupFunctionEntry(context.Rip, &base, nullptr);
        if (function) {
            RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &handlerData, &frame, nullptr);
            continue;
        }
        // A leaf, or a call to nowhere: the return address lies on top.
        SIZE_T got = 0;
        DWORD64 next = 0;
        if (!ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<void*>(context.Rsp), &next, sizeof next, &got))
            break;
        context.Rip = next;
        context.Rsp += sizeof next;
    }
    return count;
}

void WriteReport() {
    static uintptr_t frames[CRASHPLATFORM::MAX_FRAMES];
    const auto* fault = std::ranges::find(FAULTS, Record->ExceptionCode, &FAULTNAME::Code);
    const bool bad = Record->ExceptionCode == EXCEPTION_ACCESS_VIOLATION && Record->NumberParameters > 1;
    const auto address = bad ? Record->ExceptionInformation[1] : reinterpret_cast<uintptr_t>(Record->ExceptionAddress);
    const int count = StackOf(*Context, frames);
    const std::string_view report = CRASHPLATFORM::Compose(fault == std::end(FAULTS) ? "exception" : fault->Name,
                                                           Record->ExceptionCode, address, frames, count);
    const HANDLE file = CreateFileW(Log, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    DWORD written = 0;
    const bool ok =
        !HandleIsLink(file) && WriteFile(file, report.data(), static_cast<DWORD>(report.size()), &written, nullptr);
    CloseHandle(file);
    if (!ok)
        return;
    if (Notice == CRASHREPORT::NOTICE::Window)
        MessageBoxW(nullptr, Text, Title, MB_OK | MB_ICONSTOP | MB_SETFOREGROUND | MB_TASKMODAL);
    else
        WriteFile(GetStdHandle(STD_ERROR_HANDLE), PlainText, static_cast<DWORD>(strlen(PlainText)), &written, nullptr);
}

DWORD WINAPI ReportThread(void*) {
    Reporter = GetCurrentThreadId();
    WaitForSingleObject(Asked, INFINITE);
    WriteReport();
    SetEvent(Done);
    return 0;
}

LONG WINAPI OnFault(EXCEPTION_POINTERS* fault) {
    if (CRASHPLATFORM::Begin()) {
        Record = fault->ExceptionRecord;
        Context = fault->ContextRecord;
        SetEvent(Asked);
        WaitForSingleObject(Done, INFINITE);
    } else if (GetCurrentThreadId() != Reporter) {
        Sleep(INFINITE);  // the thread that came first ends the process
    }
    return EXCEPTION_EXECUTE_HANDLER;
}

void OnAbort(int) {
    static EXCEPTION_RECORD record;
    static CONTEXT context;
    RtlCaptureContext(&context);
    record.ExceptionCode = EXIT_ABORTED;
    record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
    EXCEPTION_POINTERS fault{&record, &context};
    OnFault(&fault);
    // The C library would show a box of its own.
    TerminateProcess(GetCurrentProcess(), EXIT_ABORTED);
}

void Keep(const std::wstring& text, wchar_t* room) {
    room[text.copy(room, PATH_ROOM - 1)] = 0;
}

}  // namespace

namespace CRASHPLATFORM {

void Install() {
    Asked = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    Done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE thread = CreateThread(nullptr, 0, ReportThread, nullptr, 0, nullptr);
    if (!Asked || !Done || !thread)
        return;
    CloseHandle(thread);
    SetUnhandledExceptionFilter(OnFault);
    signal(SIGABRT, OnAbort);
}

int FindModules(MODULE* modules, int room) {
    HMODULE handles[1024];
    DWORD bytes = 0;
    if (!K32EnumProcessModules(GetCurrentProcess(), handles, sizeof handles, &bytes))
        return 0;
    int count = 0;
    for (DWORD i = 0; i < std::min<DWORD>(bytes / sizeof(HMODULE), std::size(handles)) && count < room; ++i) {
        MODULEINFO info;
        wchar_t path[PATH_ROOM];
        if (!K32GetModuleInformation(GetCurrentProcess(), handles[i], &info, sizeof info))
            continue;
        GetModuleFileNameW(handles[i], path, PATH_ROOM);
        const STRING name = FromWide(path);
        const size_t slash = name.View().rfind('\\');
        MODULE& module = modules[count++];
        module = {.Begin = reinterpret_cast<uintptr_t>(info.lpBaseOfDll), .End = 0, .Name = {}};
        module.End = module.Begin + info.SizeOfImage;
        name.View().substr(slash == std::string_view::npos ? 0 : slash + 1).copy(module.Name, sizeof module.Name - 1);
    }
    return count;
}

void Prepare(const STRING& log, const STRING& text, const STRING& title, CRASHREPORT::NOTICE notice) {
    Keep(WideFilePath(log.Text()), Log);
    Keep(WidePath(text.Text()), Text);
    Keep(WidePath(title.Text()), Title);
    const std::string plain = std::string(text.View()) + "\r\n";
    PlainText[plain.copy(PlainText, PATH_ROOM - 1)] = 0;
    Notice = notice;
}

}  // namespace CRASHPLATFORM

namespace CRASHREPORT {

// The report's own thread has a stack for all.
THREADGUARD::THREADGUARD() : Room(nullptr) {}
THREADGUARD::~THREADGUARD() = default;

}  // namespace CRASHREPORT

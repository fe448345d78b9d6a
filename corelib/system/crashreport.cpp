#include "corelib/system/crashreport.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <typeinfo>
#include <utility>

#include "corelib/base/files.h"
#include "corelib/system/crashplatform.h"
#include "corelib/system/osys.h"

namespace {

constexpr int MAX_MODULES = 256;
constexpr size_t NAME_ROOM = 128;
constexpr size_t REPORT_ROOM = 16384;

// All of it lies ready before anything goes wrong.
char Application[NAME_ROOM];
char Exception[NAME_ROOM];  // the type of one that nobody has caught
CRASHPLATFORM::MODULE Modules[MAX_MODULES];
int ModuleCount;
char Report[REPORT_ROOM];
size_t ReportLength;
std::atomic_flag Begun;
CRASHREPORT::NOTICE Notice = CRASHREPORT::NOTICE::Console;

// The text for the user, as it was given. Never destroyed: other threads may run to the very end.
STRING& Message() {
    static auto* message = new STRING;
    return *message;
}

void Keep(char* room, const char* text) {
    const size_t length = strnlen(text, NAME_ROOM - 1);
    memcpy(room, text, length);
    room[length] = 0;
}

void Put(std::string_view text) {
    text = text.substr(0, REPORT_ROOM - ReportLength);
    memcpy(Report + ReportLength, text.data(), text.size());
    ReportLength += text.size();
}

void PutNumber(uint64_t number, unsigned base, size_t digits = 1) {
    char text[24];
    size_t at = sizeof text;
    while (number != 0 || sizeof text - at < digits) {
        text[--at] = "0123456789abcdef"[number % base];
        number /= base;
    }
    Put({text + at, sizeof text - at});
}

// The time zone would have to be looked up.
void PutTime() {
    const time_t now = time(nullptr);
    int64_t days = now / 86400;
    const auto seconds = static_cast<uint64_t>(now % 86400);
    // Years that begin in March have their odd day at the end; 719468 days before 1970 such years begin with year 0.
    days += 719468;
    const auto era = static_cast<uint64_t>(days / 146097), day = static_cast<uint64_t>(days % 146097);
    const uint64_t year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
    const uint64_t rest = day - (365 * year + year / 4 - year / 100);
    const uint64_t month = (5 * rest + 2) / 153;
    PutNumber(era * 400 + year + (month >= 10 ? 1 : 0), 10, 4);
    Put("-");
    PutNumber(month < 10 ? month + 3 : month - 9, 10, 2);
    Put("-");
    PutNumber(rest - (153 * month + 2) / 5 + 1, 10, 2);
    const char* between = " ";
    for (const uint64_t part : {seconds / 3600, seconds / 60 % 60, seconds % 60}) {
        Put(between);
        PutNumber(part, 10, 2);
        between = ":";
    }
    Put(" UTC");
}

void PutPlace(uintptr_t address) {
    Put("        ");
    for (int i = 0; i < ModuleCount; ++i) {
        const CRASHPLATFORM::MODULE& module = Modules[i];
        if (address >= module.Begin && address < module.End) {
            Put(module.Name);
            Put("+");
            address -= module.Begin;
            break;
        }
    }
    Put("0x");
    PutNumber(address, 16);
    Put("\r\n");
}

[[noreturn]] void OnTerminate() {
    if (const std::exception_ptr exception = std::current_exception()) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& known) {
            Keep(Exception, typeid(known).name());
        } catch (...) {
            Keep(Exception, "unknown");
        }
    }
    std::abort();
}

}  // namespace

namespace CRASHREPORT {

void Install(NOTICE notice) {
    static bool installed = false;
    if (std::exchange(installed, true))
        return;
    Notice = notice;
    std::set_terminate(OnTerminate);
    CRASHPLATFORM::Install();
}

void Prepare(const STRING& application, const STRING& text) {
    Keep(Application, application.Text());
    Message() = text;
    Settle();
}

void Settle() {
    if (Message().Length() == 0)
        return;
    ModuleCount = CRASHPLATFORM::FindModules(Modules, MAX_MODULES);
    const STRING own = FILES::OwnFile("assert.log");
    const bool whole = own.View().find_first_of("\\:") != std::string_view::npos;
    const STRING log = whole ? own : OSYS::FilePath(OSYS::GetCurrentDir().Text(), own.Text());
    STRING filled = Message();
    filled.Replace("$FILE", FILES::NativePath(log.Text()).Text());
    CRASHPLATFORM::Prepare(log, filled, Application, Notice);
}

}  // namespace CRASHREPORT

namespace CRASHPLATFORM {

bool Begin() {
    return !Begun.test_and_set();
}

std::string_view Compose(const char* kind, uint64_t code, uint64_t address, const uintptr_t* frames, int count) {
    ReportLength = 0;
    Put("--- ");
    Put(Application);
    Put(" --- ");
    PutTime();
    Put(" ---\r\n\r\n    Fault: ");
    Put(kind);
    Put(" (0x");
    PutNumber(code, 16);
    Put(") at 0x");
    PutNumber(address, 16);
    Put("\r\n");
    if (Exception[0]) {
        Put("    Exception: ");
        Put(Exception);
        Put("\r\n");
    }
    Put("    Stack:\r\n");
    for (int i = 0; i < count; ++i)
        PutPlace(frames[i]);
    Put("\r\n");
    return {Report, ReportLength};
}

}  // namespace CRASHPLATFORM

#include "corelib/base/trace.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/files.h"
#include "corelib/base/strings.h"
#include "corelib/base/traceplatform.h"

namespace {

constexpr int LINE_BUFFER = 8192;
constexpr size_t HELD_BYTES = 65536;  // of the lines before a log is open
constexpr const char* LOG_FILE = "logit.log";
constexpr int GERMAN = 7;
constexpr uint32_t LEVEL_BITS = 15;

// One for the process, and never destroyed: the last lines are written while everything else has gone.
struct TRACESTATE {
    std::mutex Mutex;
    intptr_t Log = -1;
    std::atomic<bool> LogActive = false;
    std::atomic<bool> Waits = false;  // for the data directory, to be opened there
    bool Hard = false;
    std::string Held;
    STRING Name;     // of the open log
    STRING Refused;  // the name of a log that could not be opened
    std::atomic<bool> Debug = false;
    std::atomic<bool> NoAssert = false;
    std::atomic<uint32_t> Mask = 0;
    std::atomic<int64_t> Start = -1;
    std::atomic<int> Language = 9;
    std::atomic<ASSERTQUESTION> Ask = nullptr;
    std::atomic<int> Assertions = 0;
    STRING Application = "Velmora Application";
};

TRACESTATE& State() {
    static auto* state = new TRACESTATE;
    return *state;
}

int64_t DayTime() {
    CLOCK::LOCALTIME t = CLOCK::Local();
    return ((int64_t{t.Hour} * 60 + t.Minute) * 60 + t.Second) * 1000 + t.Millisecond;
}

bool WriteLine(const char* fmt, va_list args) {
    TRACESTATE& state = State();
    if (!state.LogActive && !state.Debug)
        return false;
    int64_t now = DayTime(), none = -1;
    state.Start.compare_exchange_strong(none, now);
    auto elapsed = static_cast<uint32_t>(now - state.Start);

    char line[LINE_BUFFER];
    int prefix = snprintf(line, sizeof line, "[%04u.%02u:%03x] ", elapsed / 1000, elapsed % 1000 / 10,
                          TRACEPLATFORM::ThreadNumber() & 0xFFF);
    // A byte is kept for the "\r" that may come in.
    const int room = LINE_BUFFER - 1 - prefix;
    int length;
    if (strchr(fmt, '%')) {
        length = std::clamp(vsnprintf(line + prefix, static_cast<size_t>(room), fmt, args), 0, room - 1);
    } else {
        length = std::min(static_cast<int>(strlen(fmt)), room - 1);
        memcpy(line + prefix, fmt, static_cast<size_t>(length));
    }
    int total = prefix + length;
    if (line[total - 1] == '\n') {
        line[total - 1] = '\r';
        line[total++] = '\n';
    }
    line[total] = 0;
    std::lock_guard hold(state.Mutex);
    if (state.Log != -1)
        TRACEPLATFORM::WriteLog(state.Log, line, total);
    else if (state.Waits && state.Held.size() < HELD_BYTES)
        state.Held.append(line, static_cast<size_t>(total));
    if (state.Debug)
        TRACEPLATFORM::DebugOutput(line);
    return true;
}

void CloseLog() {
    TRACESTATE& state = State();
    std::lock_guard hold(state.Mutex);
    state.LogActive = false;
    if (state.Log != -1)
        TRACEPLATFORM::CloseLog(state.Log);
    state.Log = -1;
    state.Waits = false;
    state.Held.clear();
    state.Refused = STRING();
}

void OpenLog(const char* name, bool hard) {
    CloseLog();
    TRACESTATE& state = State();
    // Outside the mutex: a name of many bytes is traced itself when it becomes a STRING.
    const intptr_t log = TRACEPLATFORM::OpenLog(name, hard);
    STRING refused = log == -1 ? STRING(name) : STRING(), opened = log == -1 ? STRING() : STRING(name);
    std::lock_guard hold(state.Mutex);
    state.Log = log;
    state.Refused = std::move(refused);
    state.Name = std::move(opened);
    state.LogActive = state.Log != -1;
}

// The log without a name.
void OpenOwnLog(bool hard) {
    OpenLog(FILES::OwnFile(LOG_FILE).Text(), hard);
    TRACESTATE& state = State();
    std::lock_guard hold(state.Mutex);
    state.Hard = hard;
    state.Waits = state.Log == -1;
    state.LogActive = true;
}

// The text of arg after an option's name, if arg begins with it, without regard to case; else null.
const char* Behind(const char* arg, std::string_view option) {
    return ASCII::BeginsWith(arg, option) ? arg + option.size() : nullptr;
}

STRING TimeText(const CLOCK::LOCALTIME& t) {
    STRING text;
    text.Format("%02d:%02d:%02d", t.Hour, t.Minute, t.Second);
    return text;
}

}  // namespace

bool TraceWanted(uint32_t level) {
    TRACESTATE& state = State();
    if (!state.LogActive && !state.Debug)
        return false;
    uint32_t mask = state.Mask;
    if ((mask & LEVEL_BITS) < (level & LEVEL_BITS))
        return false;
    return level < 16 || (mask & level & ~LEVEL_BITS) != 0;
}

bool Trace(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const bool written = WriteLine(fmt, args);
    va_end(args);
    return written;
}

bool TraceLevel(uint32_t level, const char* fmt, ...) {
    if (!TraceWanted(level))
        return false;
    va_list args;
    va_start(args, fmt);
    const bool written = WriteLine(fmt, args);
    va_end(args);
    return written;
}

bool LogOption(const char* arg) {
    TRACESTATE& state = State();
    auto is = [arg](const char* option) { return stricmp(arg, option, false) == 0; };
    const char* value;
    if (is("/LOGIT") || is("/LOGITHARD")) {
        OpenOwnLog(is("/LOGITHARD"));
    } else if ((value = Behind(arg, "/LOGITHARD:"))) {
        OpenLog(value, true);
    } else if ((value = Behind(arg, "/LOGIT:"))) {
        OpenLog(value, false);
    } else if (is("/LOGITCLOSE")) {
        CloseLog();
    } else if (is("/LOGDEBUG") || is("/LOGDBG")) {
        state.Debug = true;
    } else if ((value = Behind(arg, "/LOG:"))) {
        state.Mask |= static_cast<uint32_t>(atoi64(STRING(value)));
        if (!state.LogActive)
            OpenOwnLog(false);
    } else if (is("/NOASSERT")) {
        state.NoAssert = !state.NoAssert;
    } else {
        return false;
    }
    return true;
}

STRING SettleLog() {
    TRACESTATE& state = State();
    if (state.Waits) {
        std::string held;
        {
            std::lock_guard hold(state.Mutex);
            held.swap(state.Held);
        }
        OpenLog(FILES::OwnFile(LOG_FILE).Text(), state.Hard);
        std::lock_guard hold(state.Mutex);
        if (state.Log != -1)
            TRACEPLATFORM::WriteLog(state.Log, held.data(), static_cast<int>(held.size()));
    }
    return state.Refused;
}

STRING LogFile() {
    TRACESTATE& state = State();
    std::lock_guard hold(state.Mutex);
    return state.Log == -1 ? STRING() : state.Name;
}

void SetApplicationName(const char* name) {
    std::lock_guard hold(State().Mutex);
    State().Application = name;
}

void SetTraceLanguage(int language) {
    State().Language = language;
}

void SetAssertQuestion(ASSERTQUESTION ask) {
    State().Ask = ask;
}

int AssertCount() {
    return State().Assertions;
}

bool Assert(bool condition, const char* text, const char* file, int line, const char* info, bool quiet) {
    if (condition)
        return true;
    // First of all: whatever is called may change it.
    uint32_t error = TRACEPLATFORM::LastSystemError();
    TRACESTATE& state = State();
    ++state.Assertions;
    std::string_view path = file;
    path.remove_prefix(path.find_last_of(":/\\") + 1);
    if (!info)
        info = "<null>";
    bool german = state.Language == GERMAN;

    char details[LINE_BUFFER / 2];
    snprintf(details, sizeof details,
             german ? "    Bedingung: %s\r\n    Datei: %s Zeile %d\r\n    Code : %dL\r\n    Info : %s\r\n"
                    : "    Condition: %s\r\n    Location : %s line %d\r\n    Last Err.: %dL\r\n    Add. Info: %s\r\n",
             text, path.data(), line, static_cast<int>(error), info);
    Trace("*** ASSERTION FAILED: \r\n%s\n", details);

    CLOCK::LOCALTIME now = CLOCK::Local();
    STRING time = TimeText(now), application;
    {
        std::lock_guard hold(state.Mutex);
        application = state.Application;
    }
    STRING report = STRING("--- ") || application || " --- " || CLOCK::DateText(now) || " " || time || " ---\r\n\r\n" ||
                    details || "\r\n\r\n";
    const STRING log = FILES::OwnFile("assert.log");
    if (!FILES::AppendLog(log.Text(), report.View()))
        Trace("%s cannot be written, or is a link\n", log.Text());

    ASSERTQUESTION ask = state.Ask;
    if (state.NoAssert || quiet || !ask)
        return true;
    STRING question = german ? "Es ist eine unerwartete Situation aufgetreten!\n\nBitte melden Sie die Umst\344nde des "
                               "Fehlers und die folgenden\nInformationen an Velmora (siehe auch Datei assert.log):\n\n"
                             : "Unexpected condition encountered!\n\nPlease contact Velmora and provide the "
                               "\nfollowing information (see assert.log):\n\n";
    question.Append(details);
    question.Append(german ? "\nWollen Sie jetzt versuchen mit dem Programm fortzufahren?"
                           : "\nDo you want to try to continue with the program?");
    if (ask((application || " / " || time).Text(), question.Text()))
        return true;
    TRACEPLATFORM::DebugBreak();
    return false;
}

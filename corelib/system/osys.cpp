#include "corelib/system/osys.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/system/crashreport.h"
#include "corelib/system/dirscan.h"
#include "corelib/system/threadplatform.h"

struct THREADSTATE {
    PLATFORMTHREAD Thread;
    EVENTSEM Ended{false};
};

namespace OSYS {

namespace {

uint32_t HandleNumber(const THREADHANDLE& thread) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(thread.get()));
}

THREADHANDLE BeginThread(std::function<void()> work) {
    auto state = std::make_shared<THREADSTATE>();
    const bool begun = state->Thread.Begin([work = std::move(work), weak = std::weak_ptr(state)] {
        const CRASHREPORT::THREADGUARD guard;
        work();
        if (auto strong = weak.lock())
            strong->Ended.Set();
    });
    return begun ? state : nullptr;
}

}  // namespace

FILEHANDLE::FILEHANDLE(FILEHANDLE&& other) noexcept : Handle(std::exchange(other.Handle, -1)) {}

FILEHANDLE& FILEHANDLE::operator=(FILEHANDLE&& other) noexcept {
    std::swap(Handle, other.Handle);
    return *this;
}

STRING FileDirectory(const char* path) {
    std::string_view text = path ? path : "";
    size_t last = text.find_last_of("\\:/");
    return last == text.npos ? STRING(".") : STRING(text.substr(0, last));
}

STRING FilePath(const char* dir, const char* name) {
    STRING result = dir && *dir ? STRING(dir) : GetCurrentDir();
    if (result.Length() == 0 || result[result.Length() - 1] != '\\')
        result.Append("\\");
    result.Append(name);
    return result;
}

bool MakeDirectories(const char* path) {
    STRING text(path);
    for (int end = text.Pos("\\", 1);; end = text.Pos("\\", end + 1)) {
        STRING prefix = end == -1 ? text : text.Left(end);
        if (prefix.Length() > 0 && !FileIsDirectory(prefix.Text()))
            (void)MakeDirectory(prefix.Text());  // most are there already
        if (end == -1)
            break;
    }
    return FileIsDirectory(path);
}

int CollectFiles(const char* dir, const char* pattern, DYNARRAY<STRING>* array, bool recurse) {
    int count = 0;
    STRING name;
    DIRSCAN scan(FilePath(dir, pattern).Text(), name);
    for (bool more = name.NotNull(); more; more = scan.Next()) {
        STRING path = FilePath(dir, name.Text());
        if (scan.IsDirectory()) {
            if (!recurse || name[0] == '.')
                continue;
            // A link is not entered: it may lead back to where the walk comes from.
            if (!scan.IsLink())
                count += CollectFiles(path.Text(), pattern, array, recurse);
        }
        ++count;
        if (array)
            array->Add(path);
    }
    return count;
}

int64_t MilliSeconds(int reset) {
    static std::atomic<int64_t> start = -1;
    int64_t now = CLOCK::DayMilliSeconds();
    if (reset || start == -1) {
        start = now;
        return 0;
    }
    return now - start;
}

int64_t Seconds() {
    return CLOCK::Seconds();
}

void Sleep(int ms) {
    CLOCK::Sleep(ms);
}

STRING DateIso() {
    return CLOCK::DateIso(CLOCK::Local());
}

STRING DateText() {
    return CLOCK::DateText(CLOCK::Local());
}

STRING TimeText() {
    CLOCK::LOCALTIME t = CLOCK::Local();
    STRING result;
    result.Format("%02d:%02d:%02d", t.Hour, t.Minute, t.Second);
    return result;
}

STRING TimeIso() {
    return TimeText();
}

THREADHANDLE CreateThread(unsigned (*routine)(void*), void* argument, uint32_t* id) {
    // The stack is the platform's default: 32 KB, which the threads were made with of old, is no longer enough for the
    // C library of every platform, and untouched stack costs nothing.
    static std::atomic<uint32_t> counter = 0;
    uint32_t number = ++counter;
    const THREADHANDLE state = BeginThread([routine, argument] { routine(argument); });
    if (id)
        *id = number;
    Trace("OSYS::CreateThread returned %08x\n", HandleNumber(state));
    return state;
}

bool RunAlone(std::function<void()> work) {
    return BeginThread(std::move(work)) != nullptr;
}

bool WaitThread(THREADHANDLE& thread, int timeout) {
    if (!ASSERTION(thread != nullptr, "hThread!=NULL"))
        return false;
    if (timeout)
        Trace("OSYS::WaitThread hThread=%08x, timeout= %d\n", HandleNumber(thread), timeout);
    if (!thread->Ended.Wait(timeout)) {
        if (timeout)
            Trace("OSYS::WaitThread hThread=%08x timeout= %d failed\n", HandleNumber(thread), timeout);
        return false;
    }
    thread->Thread.Join();
    thread.reset();
    return true;
}

bool AutoStart(const char* name, const char* value) {
    if (!value)
        return RemoveAutoStart(name);
    STRING command = stricmp(value, AUTOSTART_SELF, false) == 0 ? ProgramCommand() : STRING(value);
    return command.NotNull() && WriteAutoStart(name, command);
}

}  // namespace OSYS

#include <algorithm>
#include <csignal>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <utility>

#include "corelib/base/files.h"
#include "corelib/system/crashplatform.h"

namespace {

constexpr size_t STACK_ROOM = 65536;
constexpr size_t PATH_ROOM = 4096;

struct SIGNAL {
    int Number;
    const char* Name;
    struct sigaction Before;
};
SIGNAL Signals[] = {{SIGSEGV, "SIGSEGV, a bad address", {}},
                    {SIGBUS, "SIGBUS, a bad address", {}},
                    {SIGFPE, "SIGFPE, a bad division", {}},
                    {SIGILL, "SIGILL, a bad instruction", {}},
                    {SIGABRT, "SIGABRT, the program gave up", {}}};
char Log[PATH_ROOM];
char Text[PATH_ROOM];
pid_t Reporter;

void Write(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written <= 0)
            return;
        text.remove_prefix(static_cast<size_t>(written));
    }
}

uintptr_t PlaceOf(const void* context) {
    [[maybe_unused]] const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    return static_cast<uintptr_t>(machine.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return machine.pc;
#else
    return 0;
#endif
}

// From the place of the fault on, without the frames of this handler.
int StackFrom(uintptr_t place, uintptr_t* frames) {
    void* found[CRASHPLATFORM::MAX_FRAMES];
    const int count = backtrace(found, CRASHPLATFORM::MAX_FRAMES);
    int begin = 0;
    while (begin < count && reinterpret_cast<uintptr_t>(found[begin]) != place)
        ++begin;
    int kept = 0;
    if (begin == count) {
        frames[kept++] = place;
        begin = 0;
    }
    while (begin < count && kept < CRASHPLATFORM::MAX_FRAMES)
        frames[kept++] = reinterpret_cast<uintptr_t>(found[begin++]);
    return kept;
}

void WriteReport(const SIGNAL& signal, const siginfo_t& info, uintptr_t place) {
    uintptr_t frames[CRASHPLATFORM::MAX_FRAMES];
    const int count = StackFrom(place, frames);
    const std::string_view report = CRASHPLATFORM::Compose(signal.Name, static_cast<uint64_t>(signal.Number),
                                                           reinterpret_cast<uintptr_t>(info.si_addr), frames, count);
    const int file = open(Log, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file == -1)
        return;
    Write(file, report);
    close(file);
    Write(STDERR_FILENO, Text);
    Write(STDERR_FILENO, "\n");
}

void OnSignal(int number, siginfo_t* info, void* context) {
    const auto thread = static_cast<pid_t>(syscall(SYS_gettid));
    const bool first = CRASHPLATFORM::Begin();
    // The thread that came first ends the process; one that faults while it reports has no more to say.
    while (!first && thread != Reporter)
        pause();
    for (SIGNAL& signal : Signals) {
        if (signal.Number != number)
            continue;
        if (first) {
            Reporter = thread;
            WriteReport(signal, *info, PlaceOf(context));
        }
        sigaction(number, &signal.Before, nullptr);
    }
    // What went wrong goes wrong again, now as it would have without us; what was sent is sent again.
    if (info->si_code <= 0)
        raise(number);
}

int AddModule(dl_phdr_info* info, size_t, void* list) {
    auto& [at, end] = *static_cast<std::pair<CRASHPLATFORM::MODULE*, CRASHPLATFORM::MODULE*>*>(list);
    if (at == end)
        return 1;
    uintptr_t top = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i)
        if (info->dlpi_phdr[i].p_type == PT_LOAD)
            top = std::max(top, info->dlpi_addr + info->dlpi_phdr[i].p_vaddr + info->dlpi_phdr[i].p_memsz);
    std::string name = info->dlpi_name;
    if (name.empty()) {
        char path[PATH_ROOM];
        const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
        name.assign(path, length > 0 ? static_cast<size_t>(length) : 0);
    }
    name.erase(0, name.rfind('/') + 1);
    *at = {.Begin = info->dlpi_addr, .End = top, .Name = {}};
    name.copy(at->Name, sizeof at->Name - 1);
    ++at;
    return 0;
}

}  // namespace

namespace CRASHPLATFORM {

void Install() {
    // The first call loads a library, and later ones nothing.
    void* unused[1];
    backtrace(unused, 1);
    static CRASHREPORT::THREADGUARD mainThread;
    struct sigaction action{};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (SIGNAL& signal : Signals)
        sigaction(signal.Number, &action, &signal.Before);
    // In a core everybody's passwords would lie about; the report is there in its place.
    rlimit cores{};
    getrlimit(RLIMIT_CORE, &cores);
    cores.rlim_cur = 0;
    setrlimit(RLIMIT_CORE, &cores);
}

int FindModules(MODULE* modules, int room) {
    std::pair<MODULE*, MODULE*> list{modules, modules + room};
    dl_iterate_phdr(AddModule, &list);
    return static_cast<int>(list.first - modules);
}

void Prepare(const STRING& log, const STRING& text, const STRING&, CRASHREPORT::NOTICE) {
    const STRING native = FILES::NativePath(log.Text());
    for (const auto& [from, to] : {std::pair{native.View(), Log}, std::pair{text.View(), Text}})
        to[from.copy(to, PATH_ROOM - 1)] = 0;
}

}  // namespace CRASHPLATFORM

namespace CRASHREPORT {

THREADGUARD::THREADGUARD()
    : Room(mmap(nullptr, STACK_ROOM, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    stack_t stack{}, now{};
    sigaltstack(nullptr, &now);
    // A sanitizer has one of its own.
    if (Room == MAP_FAILED || !(now.ss_flags & SS_DISABLE)) {
        if (Room != MAP_FAILED)
            munmap(Room, STACK_ROOM);
        Room = nullptr;
        return;
    }
    stack.ss_sp = Room;
    stack.ss_size = STACK_ROOM;
    sigaltstack(&stack, nullptr);
}

THREADGUARD::~THREADGUARD() {
    if (!Room)
        return;
    stack_t none{};
    none.ss_flags = SS_DISABLE;
    sigaltstack(&none, nullptr);
    munmap(Room, STACK_ROOM);
}

}  // namespace CRASHREPORT

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/system/desktopnotice.h"

namespace {

constexpr const char *PLACE = "org.freedesktop.Notifications", *PATH = "/org/freedesktop/Notifications",
                     *PROGRAM = "Tarnwick", *ICON = "mail-unread", *CATEGORY = "email.arrived";
constexpr size_t SUMMARY_BYTES = 200, BODY_BYTES = 2000;
constexpr auto LOOK = std::chrono::milliseconds(10);

// What of the interface of sd-bus (systemd 240 and later) is used here.
struct BUS;
struct MESSAGE;
struct BUSERROR {
    const char* Name;
    const char* Message;
    int NeedFree;
};

struct LIBRARY {
    int (*New)(BUS**) = nullptr;
    int (*SetAddress)(BUS*, const char*) = nullptr;
    int (*SetBusClient)(BUS*, int) = nullptr;
    int (*SetTimeout)(BUS*, uint64_t microseconds) = nullptr;
    int (*Start)(BUS*) = nullptr;
    int (*Call)(BUS*, const char* destination, const char* path, const char* interface, const char* member, BUSERROR*,
                MESSAGE** reply, const char* types, ...) = nullptr;
    int (*Read)(MESSAGE*, const char* types, ...) = nullptr;
    int (*ReadTexts)(MESSAGE*, char*** texts) = nullptr;
    MESSAGE* (*FreeMessage)(MESSAGE*) = nullptr;
    void (*FreeError)(BUSERROR*) = nullptr;
    void (*Close)(BUS*) = nullptr;
    BUS* (*Free)(BUS*) = nullptr;

    bool Load(const char* name) {
        // Stays loaded: a call that was given up may still be in it.
        void* const handle = dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        const auto find = [handle](auto& function, const char* symbol) {
            function = handle ? reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(handle, symbol)) : nullptr;
            return function != nullptr;
        };
        return find(New, "sd_bus_new") && find(SetAddress, "sd_bus_set_address") &&
               find(SetBusClient, "sd_bus_set_bus_client") && find(SetTimeout, "sd_bus_set_method_call_timeout") &&
               find(Start, "sd_bus_start") && find(Call, "sd_bus_call_method") && find(Read, "sd_bus_message_read") &&
               find(ReadTexts, "sd_bus_message_read_strv") && find(FreeMessage, "sd_bus_message_unref") &&
               find(FreeError, "sd_bus_error_free") && find(Close, "sd_bus_close") && find(Free, "sd_bus_unref");
    }
};

struct NOTICE {
    std::string Summary, Body;
};

// As D-Bus takes texts: anything else ends the conversation.
std::string Printable(std::string_view text, size_t most) {
    std::string printable;
    while (!text.empty() && printable.size() < most) {
        const char32_t character = UTF8::Take(text);
        const bool control = (character < U' ' && character != U'\n') || (character >= 0x7f && character < 0xa0);
        if (character != UTF8::INVALID && !control)
            UTF8::Append(printable, character);
    }
    return printable;
}

std::string AsMarkup(std::string_view text) {
    std::string markup;
    for (const char c : text) {
        if (c == '&')
            markup += "&amp;";
        else if (c == '<')
            markup += "&lt;";
        else if (c == '>')
            markup += "&gt;";
        else
            markup += c;
    }
    return markup;
}

// Empty: there is no session. A job of cron has the session's bus without knowing it.
std::string BusAddress() {
    if (const char* address = getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return address;
    const char* const runtime = getenv("XDG_RUNTIME_DIR");
    const std::string path = (runtime && *runtime ? runtime : "/run/user/" + std::to_string(getuid())) + "/bus";
    struct stat about;
    return stat(path.c_str(), &about) == 0 && S_ISSOCK(about.st_mode) ? "unix:path=" + path : "";
}

/// One conversation with the session's bus.
class CONVERSATION {
 public:
    CONVERSATION(const LIBRARY& library, const std::string& address, int limitMs) : Library(library) {
        constexpr uint64_t MICROSECONDS = 1000;
        int rc = Library.New(&Bus);
        if (rc >= 0)
            rc = Library.SetAddress(Bus, address.c_str());
        if (rc >= 0)
            rc = Library.SetBusClient(Bus, 1);
        if (rc >= 0)
            rc = Library.SetTimeout(Bus, static_cast<uint64_t>(limitMs) * MICROSECONDS);
        if (rc >= 0)
            rc = Library.Start(Bus);
        if (rc < 0)
            Trouble = STRING("the session's bus cannot be reached: ") || strerror(-rc);
    }
    ~CONVERSATION() {
        if (!Bus)
            return;
        Library.Close(Bus);
        Library.Free(Bus);
    }
    CONVERSATION(const CONVERSATION&) = delete;
    CONVERSATION& operator=(const CONVERSATION&) = delete;

    /// Whether the service reads mark-up in the body.
    bool HasMarkup() {
        MESSAGE* const reply = Ask("GetCapabilities", "");
        char** texts = nullptr;
        bool markup = false;
        if (reply && Library.ReadTexts(reply, &texts) >= 0)
            for (char** text = texts; text && *text; ++text) {
                markup = markup || strcmp(*text, "body-markup") == 0;
                free(*text);
            }
        free(static_cast<void*>(texts));
        Library.FreeMessage(reply);
        return markup;
    }
    /// The number of the notice that is shown, which replaces the one of that number; 0 if it is not.
    uint32_t Show(const std::string& summary, const std::string& body, uint32_t replaced) {
        MESSAGE* const reply = Ask("Notify", "susssasa{sv}i", PROGRAM, replaced, ICON, summary.c_str(), body.c_str(), 0,
                                   1, "category", "s", CATEGORY, -1);
        uint32_t number = 0;
        if (reply && Library.Read(reply, "u", &number) < 0)
            number = 0;
        Library.FreeMessage(reply);
        return number;
    }
    const STRING& Fault() const { return Trouble; }

 private:
    template <class... VALUES>
    MESSAGE* Ask(const char* member, const char* types, VALUES... values) {
        if (Trouble.Length() > 0)
            return nullptr;
        BUSERROR error{};
        MESSAGE* reply = nullptr;
        const int rc = Library.Call(Bus, PLACE, PATH, PLACE, member, &error, &reply, types, values...);
        if (rc < 0) {
            Trouble =
                STRING("the notification service does not answer: ") || (error.Message ? error.Message : strerror(-rc));
            Library.FreeError(&error);
            return nullptr;
        }
        return reply;
    }

    const LIBRARY& Library;
    BUS* Bus = nullptr;
    STRING Trouble = "";
};

// notify-send reads escapes in the body, by which a mail could write mark-up.
std::string WithoutEscapes(std::string_view text) {
    std::string result;
    for (const char c : text)
        result += c == '\\' ? "\\\\" : std::string(1, c);
    return result;
}

// Empty if it went well.
STRING ByProgram(const NOTICE& notice, int subject, int limitMs) {
    // Services that know it show one notice for each such name.
    const std::string body = WithoutEscapes(AsMarkup(notice.Body)), app = std::string("--app-name=") + PROGRAM,
                      icon = std::string("--icon=") + ICON, category = std::string("--category=") + CATEGORY,
                      hint = "--hint=string:x-canonical-private-synchronous:tarnwick" + std::to_string(subject);
    std::vector<const char*> words = {"notify-send",          app.c_str(),  icon.c_str(),
                                      category.c_str(),       hint.c_str(), "--",
                                      notice.Summary.c_str(), body.c_str(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_RDWR, 0);
    pid_t child = 0;
    const int rc = posix_spawnp(&child, words[0], &files, nullptr, const_cast<char**>(words.data()), environ);
    posix_spawn_file_actions_destroy(&files);
    if (rc != 0)
        return "neither the library of systemd nor the program notify-send is there";
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return "notify-send does not end";
        }
        std::this_thread::sleep_for(LOOK);
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? STRING("") : STRING("notify-send fails");
}

}  // namespace

struct DESKTOPNOTICE::SHARED {
    int LimitMs;
    std::string Library;
    std::mutex Lock;
    std::condition_variable Change;
    std::map<int, NOTICE> Waiting;    // by their subjects
    std::map<int, uint32_t> Numbers;  // that the service has given to them
    bool Runs = false, Busy = false, Over = false;
    STRING Trouble = "";
};

DESKTOPNOTICE::DESKTOPNOTICE(int limitMs, const char* library) : Shared(std::make_shared<SHARED>()) {
    Shared->LimitMs = limitMs;
    Shared->Library = library;
}

DESKTOPNOTICE::~DESKTOPNOTICE() {
    Finish();
}

bool DESKTOPNOTICE::IsOfThisPlatform() {
    return true;
}

void DESKTOPNOTICE::Show(int subject, const STRING& summary, const STRING& body) {
    const std::lock_guard hold(Shared->Lock);
    if (Shared->Over)
        return;
    Shared->Waiting[subject] = {Printable(summary.View(), SUMMARY_BYTES), Printable(body.View(), BODY_BYTES)};
    Shared->Change.notify_all();
    // Alone, as nobody may have to wait for it.
    if (!std::exchange(Shared->Runs, true))
        std::thread([shared = Shared] { Deliver(shared); }).detach();
}

bool DESKTOPNOTICE::Finish() {
    std::unique_lock hold(Shared->Lock);
    if (std::exchange(Shared->Over, true))
        return !Shared->Busy;  // a service has its time once
    Shared->Change.notify_all();
    const bool shown = Shared->Change.wait_for(hold, std::chrono::milliseconds(Shared->LimitMs),
                                               [this] { return Shared->Waiting.empty() && !Shared->Busy; });
    if (!shown && Shared->Trouble.Length() == 0)
        Shared->Trouble = "the notification service does not answer";
    Shared->Waiting.clear();
    return shown;
}

STRING DESKTOPNOTICE::TakeTrouble() {
    const std::lock_guard hold(Shared->Lock);
    return std::exchange(Shared->Trouble, STRING(""));
}

void DESKTOPNOTICE::Deliver(const std::shared_ptr<SHARED>& shared) {
    LIBRARY library;
    const bool loaded = library.Load(shared->Library.c_str());
    std::unique_lock hold(shared->Lock);
    for (;;) {
        shared->Change.wait(hold, [&shared] { return shared->Over || !shared->Waiting.empty(); });
        if (shared->Waiting.empty())
            return;
        const auto next = shared->Waiting.extract(shared->Waiting.begin());
        const int subject = next.key();
        const NOTICE& notice = next.mapped();
        uint32_t number = shared->Numbers[subject];
        shared->Busy = true;
        hold.unlock();
        STRING trouble = "";
        const std::string address = loaded ? BusAddress() : "";
        if (!loaded) {
            trouble = ByProgram(notice, subject, shared->LimitMs);
        } else if (address.empty()) {
            trouble = "there is no desktop session";
        } else {
            CONVERSATION talk(library, address, shared->LimitMs);
            const bool markup = talk.HasMarkup();
            number = talk.Show(notice.Summary, markup ? AsMarkup(notice.Body) : notice.Body, number);
            trouble = talk.Fault();
        }
        Trace("DESKTOPNOTICE::Deliver number= %u %s\n", number, trouble.Text());
        hold.lock();
        shared->Numbers[subject] = number;
        if (trouble.Length() > 0)
            shared->Trouble = trouble;
        shared->Busy = false;
        shared->Change.notify_all();
    }
}

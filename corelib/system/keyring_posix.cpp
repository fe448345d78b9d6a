#include "corelib/system/keyring_posix.h"

#include <condition_variable>
#include <dlfcn.h>
#include <functional>
#include <memory>
#include <mutex>
#include <sys/stat.h>

#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

namespace {

// As long as somebody may need to find the password of the keyring and to type it.
constexpr auto PATIENCE = std::chrono::seconds(60);
constexpr const char* LABEL = "Tarnwick: key to the passwords of mailboxes";

// What of the interface of libsecret 0.18 and later is used here.
struct GERROR {
    uint32_t Domain;
    int Code;
    char* Message;
};
struct SCHEMA {
    const char* Name;
    int Flags;
    struct {
        const char* Name;
        int Type;
    } Attributes[32];
    int Reserved;
    void* MoreReserved[7];
};
const SCHEMA OUR_SCHEMA = {"org.tarnwick.Key", 0, {{"purpose", 0}, {nullptr, 0}}, 0, {}};
constexpr const char *ATTRIBUTE = "purpose", *PURPOSE = "mailbox passwords";

struct LIBRARY {
    char* (*Lookup)(const SCHEMA*, void* cancellable, GERROR**, ...) = nullptr;
    int (*Store)(const SCHEMA*, const char* collection, const char* label, const char* text, void* cancellable,
                 GERROR**, ...) = nullptr;
    void (*Free)(char*) = nullptr;

    bool Load() {
        // Stays loaded: a call that was given up may still be in it.
        void* const handle = dlopen("libsecret-1.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        const auto find = [handle](auto& function, const char* name) {
            function = handle ? reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(handle, name)) : nullptr;
            return function != nullptr;
        };
        return find(Lookup, "secret_password_lookup_sync") && find(Store, "secret_password_store_sync") &&
               find(Free, "secret_password_free");
    }
};

// Without a session's bus its library would start one.
bool HasSession() {
    if (const char* address = getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return true;
    const char* const runtime = getenv("XDG_RUNTIME_DIR");
    struct stat about;
    return runtime && *runtime && stat((std::string(runtime) + "/bus").c_str(), &about) == 0;
}

struct OUTCOME {
    bool Good = false, Found = false;
    std::string Text;
    STRING Trouble = "";
};

OUTCOME Failed(const GERROR* error) {
    OUTCOME outcome;
    outcome.Trouble = error && error->Message ? STRING(error->Message) : STRING("the keyring refuses");
    return outcome;
}

// A keyring may ask the user, and may never answer: the call goes on alone then.
OUTCOME InTime(const std::function<OUTCOME()>& call) {
    struct SHARED {
        std::mutex Lock;
        std::condition_variable Change;
        bool Over = false;
        OUTCOME Outcome;
    };
    const auto shared = std::make_shared<SHARED>();
    const bool begun = OSYS::RunAlone([shared, call] {
        OUTCOME outcome = call();
        const std::lock_guard lock(shared->Lock);
        shared->Outcome = std::move(outcome);
        shared->Over = true;
        shared->Change.notify_all();
    });
    std::unique_lock lock(shared->Lock);
    if (begun && shared->Change.wait_for(lock, PATIENCE, [&] { return shared->Over; }))
        return std::move(shared->Outcome);
    OUTCOME late;
    late.Trouble = "the keyring does not answer";
    return late;
}

}  // namespace

KEYRING::ANSWER KEYRING::Look(std::string& text, STRING& trouble) {
    LIBRARY library;
    if (!HasSession() || !library.Load())
        return ANSWER::NO_KEYRING;
    OUTCOME outcome = InTime([library] {
        GERROR* error = nullptr;
        char* const found = library.Lookup(&OUR_SCHEMA, nullptr, &error, ATTRIBUTE, PURPOSE, nullptr);
        if (error)
            return Failed(error);
        OUTCOME good;
        good.Good = true;
        good.Found = found != nullptr;
        good.Text = found ? found : "";
        library.Free(found);
        return good;
    });
    trouble = outcome.Trouble;
    text = std::move(outcome.Text);
    Trace("KEYRING::Look good= %d, found= %d %s\n", static_cast<int>(outcome.Good), static_cast<int>(outcome.Found),
          trouble.Text());
    return !outcome.Good ? ANSWER::TROUBLE : outcome.Found ? ANSWER::FOUND : ANSWER::ABSENT;
}

bool KEYRING::Keep(const std::string& text, STRING& trouble) {
    LIBRARY library;
    if (!HasSession() || !library.Load())
        return false;
    const OUTCOME outcome = InTime([library, text] {
        GERROR* error = nullptr;
        const int good =
            library.Store(&OUR_SCHEMA, nullptr, LABEL, text.c_str(), nullptr, &error, ATTRIBUTE, PURPOSE, nullptr);
        if (!good)
            return Failed(error);
        OUTCOME kept;
        kept.Good = true;
        return kept;
    });
    trouble = outcome.Trouble;
    return outcome.Good;
}

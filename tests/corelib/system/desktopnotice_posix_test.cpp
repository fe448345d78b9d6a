#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "corelib/base/files.h"
#include "corelib/system/desktopnotice.h"
#include "tests/support/testsupport.h"

extern char** environ;

namespace {

constexpr int SHORT_MS = 300;

template <class FUNCTION>
FUNCTION* SdBus(const char* name) {
    static void* const library = dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    return reinterpret_cast<FUNCTION*>(library ? dlsym(library, name) : nullptr);
}

/// A bus of the test's own.
class DAEMON {
 public:
    explicit DAEMON(const TEMPDIR& folder) : Socket(Std(FILES::NativePath(folder.File("bus").Text()))) {
        const STRING config = folder.File("bus.conf");
        WriteBytes(config, "<busconfig><type>session</type><listen>unix:path=" + Socket +
                               "</listen><policy context='default'><allow send_destination='*'/>"
                               "<allow receive_sender='*'/><allow own='*'/><allow user='*'/></policy></busconfig>");
        const std::string file = "--config-file=" + Std(FILES::NativePath(config.Text()));
        const char* words[] = {"dbus-daemon", file.c_str(), "--nofork", "--nopidfile", nullptr};
        EXPECT_EQ(posix_spawnp(&Child, words[0], nullptr, nullptr, const_cast<char**>(words), environ), 0)
            << "the package dbus-daemon is missing";
        struct stat about;
        EXPECT_TRUE(Eventually([&] { return stat(Socket.c_str(), &about) == 0; }));
    }
    ~DAEMON() {
        kill(Child, SIGTERM);
        waitpid(Child, nullptr, 0);
    }
    DAEMON(const DAEMON&) = delete;
    DAEMON& operator=(const DAEMON&) = delete;
    const std::string Socket;

 private:
    pid_t Child = 0;
};

/// What shows notifications there, or does not.
class SERVICE {
 public:
    enum MANNER { MARKUP, PLAIN, SILENT, LEAVING };
    SERVICE(const DAEMON& daemon, MANNER manner) : Manner(manner) {
        EXPECT_GE(SdBus<int(void**)>("sd_bus_new")(&Bus), 0);
        SdBus<int(void*, const char*)>("sd_bus_set_address")(Bus, ("unix:path=" + daemon.Socket).c_str());
        SdBus<int(void*, int)>("sd_bus_set_bus_client")(Bus, 1);
        EXPECT_GE(SdBus<int(void*)>("sd_bus_start")(Bus), 0);
        EXPECT_GE(SdBus<int(void*, const char*, uint64_t)>("sd_bus_request_name")(Bus, NAME, 0), 0);
        Thread = std::thread([this] { Serve(); });
    }
    ~SERVICE() {
        Over = true;
        Thread.join();
        SdBus<void(void*)>("sd_bus_close")(Bus);
        SdBus<void*(void*)>("sd_bus_unref")(Bus);
    }
    SERVICE(const SERVICE&) = delete;
    SERVICE& operator=(const SERVICE&) = delete;
    /// "replaced: summary | body", each with its own number from 10 on.
    std::vector<std::string> Shown() {
        const std::lock_guard hold(Lock);
        return Notices;
    }

 private:
    static constexpr const char* NAME = "org.freedesktop.Notifications";
    void Serve() {
        while (!Over) {
            void* message = nullptr;
            if (SdBus<int(void*, void**)>("sd_bus_process")(Bus, &message) == 0)
                SdBus<int(void*, uint64_t)>("sd_bus_wait")(Bus, 2000);
            if (message)
                Take(message);
            SdBus<void*(void*)>("sd_bus_message_unref")(message);
        }
    }
    void Take(void* message) {
        auto* const is = SdBus<int(void*, const char*, const char*)>("sd_bus_message_is_method_call");
        auto* const reply = SdBus<int(void*, const char*, ...)>("sd_bus_reply_method_return");
        const bool notice = is(message, NAME, "Notify") > 0;
        if (notice) {
            const char *program = "", *icon = "", *summary = "", *body = "";
            uint32_t replaced = 0;
            SdBus<int(void*, const char*, ...)>("sd_bus_message_read")(message, "susss", &program, &replaced, &icon,
                                                                       &summary, &body);
            const std::lock_guard hold(Lock);
            Notices.push_back(std::to_string(replaced) + ": " + summary + " | " + body);
        }
        if (Manner == LEAVING)
            SdBus<void(void*)>("sd_bus_close")(Bus);
        else if (notice && Manner != SILENT)
            reply(message, "u", static_cast<uint32_t>(9 + Shown().size()));
        else if (Manner != SILENT && is(message, NAME, "GetCapabilities") > 0)
            reply(message, "as", 2, "body", Manner == MARKUP ? "body-markup" : "actions");
    }

    const MANNER Manner;
    void* Bus = nullptr;
    std::mutex Lock;
    std::vector<std::string> Notices;
    std::atomic<bool> Over = false;
    std::thread Thread;
};

class DesktopNotice : public ::testing::Test {
 protected:
    DesktopNotice() {
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        setenv("XDG_RUNTIME_DIR", FILES::NativePath(Folder.Path()).Text(), 1);
    }
    /// Shows one, which may take nobody's time, and gives what came of it.
    std::string Show(DESKTOPNOTICE& notice, const char* summary = "1 new mail", const char* body = "body") {
        const auto begin = std::chrono::steady_clock::now();
        notice.Show(1, summary, body);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(SHORT_MS / 2));
        notice.Finish();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(SHORT_MS + 3000));
        return Std(notice.TakeTrouble());
    }
    TEMPDIR Folder;
};

}  // namespace

TEST_F(DesktopNotice, ReplacesWhatItHasShownOfASubject) {
    const DAEMON daemon(Folder);
    for (const auto& [manner, body] : {std::pair(SERVICE::MARKUP, "A &amp; B: &lt;b&gt;x&lt;/b&gt;\nnext"),
                                       std::pair(SERVICE::PLAIN, "A & B: <b>x</b>\nnext")}) {
        SERVICE service(daemon, manner);
        DESKTOPNOTICE notice;
        const auto count = [&](size_t n) { return Eventually([&] { return service.Shown().size() == n; }); };
        notice.Show(1, "3 new mails", "A & B: <b>x</b>\nnext");
        EXPECT_TRUE(count(1));
        notice.Show(2, "other\x1b[31m \xff\xc2\x9b", "");
        EXPECT_TRUE(count(2));
        notice.Show(1, std::string(5000, 's').c_str(), std::string(50000, 'b').c_str());
        EXPECT_TRUE(notice.Finish());
        EXPECT_EQ(Std(notice.TakeTrouble()), "");
        const std::vector<std::string> shown = service.Shown();
        ASSERT_EQ(shown.size(), 3U);
        EXPECT_EQ(shown[0], std::string("0: 3 new mails | ") + body);
        EXPECT_EQ(shown[1], "0: other[31m  | ");
        EXPECT_TRUE(shown[2].starts_with("10: sss") && shown[2].size() < 3000) << shown[2].size();
    }
}

TEST_F(DesktopNotice, WaitsForNoServiceThatIsSilentOrGone) {
    {
        DESKTOPNOTICE notice(SHORT_MS);
        EXPECT_EQ(Show(notice), "there is no desktop session");
    }
    const DAEMON daemon(Folder);
    {
        DESKTOPNOTICE notice(SHORT_MS);
        EXPECT_PRED2(([](const std::string& text, const char* begin) { return text.starts_with(begin); }), Show(notice),
                     "the notification service does not answer");
    }
    for (const SERVICE::MANNER manner : {SERVICE::SILENT, SERVICE::LEAVING}) {
        SERVICE service(daemon, manner);
        DESKTOPNOTICE notice(SHORT_MS);
        EXPECT_NE(Show(notice), "") << manner;
    }
    SERVICE service(daemon, SERVICE::PLAIN);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + daemon.Socket).c_str(), 1);
    setenv("XDG_RUNTIME_DIR", "/nowhere", 1);
    DESKTOPNOTICE notice;
    EXPECT_EQ(Show(notice), "");
    EXPECT_EQ(service.Shown().size(), 1U);
}

TEST_F(DesktopNotice, WaitsForNoBusThatIsSilent) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Std(FILES::NativePath(Folder.File("bus").Text())).copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    DESKTOPNOTICE notice(SHORT_MS);
    EXPECT_EQ(Show(notice), "the notification service does not answer");
    close(listener);
}

TEST_F(DesktopNotice, StartsTheProgramWhereTheLibraryIsMissing) {
    const std::string path = getenv("PATH"), folder = Std(FILES::NativePath(Folder.Path()));
    setenv("PATH", folder.c_str(), 1);
    const STRING program = Folder.File("notify-send");
    const std::string said = Std(FILES::NativePath(Folder.File("said").Text()));
    const std::tuple<const char*, std::string, const char*> CASES[] = {
        {"none", "", "neither the library of systemd nor the program notify-send is there"},
        {"one that shows", "#!/bin/sh\nprintf '%s\\n' \"$@\" > " + said + "\n", ""},
        {"one that fails", "#!/bin/sh\nexit 1\n", "notify-send fails"},
        {"one that stays", "#!/bin/sh\nexec /bin/sleep 60\n", "does not"}};
    for (const auto& [name, script, trouble] : CASES) {
        if (!script.empty())
            WriteBytes(program, script);
        chmod(FILES::NativePath(program.Text()).Text(), 0700);
        DESKTOPNOTICE notice(SHORT_MS, "libnone.so");
        const std::string told = Show(notice, "--help", "A <b> C:\\new \\074i");
        EXPECT_TRUE(*trouble ? told.find(trouble) != told.npos : told.empty()) << name << ": " << told;
    }
    const std::string words = ReadBytes(Folder.File("said"));
    EXPECT_TRUE(words.ends_with("--\n--help\nA &lt;b&gt; C:\\\\new \\\\074i\n")) << words;
    setenv("PATH", path.c_str(), 1);
}

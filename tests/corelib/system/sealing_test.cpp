#include "corelib/system/sealing.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "corelib/base/ascii.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

std::string Opened(const STRING& sealed) {
    std::string text;
    STRING trouble;
    return SEALING::Open(sealed, text, trouble) ? text : "not: " + Std(trouble);
}

STRING Sealed(std::string_view text) {
    STRING trouble;
    STRING sealed = SEALING::Seal(text, trouble);
    EXPECT_EQ(Std(trouble), "");
    return sealed;
}

TEST(Sealing, ShowsATextToNobodyElse) {
    TEMPDIR dir;
    const VARIABLE home("TARNWICK_REGISTRY", dir.Native()), bus("DBUS_SESSION_BUS_ADDRESS", ""),
        runtime("XDG_RUNTIME_DIR", "");
    for (const std::string& text :
         {std::string("secret"), std::string(), std::string("p\0\xff\n", 4), std::string(100000, 'x')}) {
        const STRING sealed = Sealed(text);
        EXPECT_EQ(Opened(sealed), text);
        EXPECT_EQ(sealed.View().find_first_of(" \r\n="), sealed.View().find('=')) << "a line of a file";
        EXPECT_NE(Std(sealed), Std(Sealed(text))) << "equal passwords do not look so";
        EXPECT_NE(Std(SEALING::Keeper(sealed)), "");
    }
    for (const char* other : {"", "k1:", "k1:AAAA", "s1:AAAA", "w1:AAAA", "x1:AAAA", "secret"})
        EXPECT_EQ(Opened(other).substr(0, 4), "not:") << other;
}

#ifndef _WIN32

TEST(Sealing, KeepsItsKeyApartAndForItself) {
    namespace fs = std::filesystem;
    TEMPDIR dir;
    const VARIABLE home("TARNWICK_REGISTRY", dir.Native("new/one")), bus("DBUS_SESSION_BUS_ADDRESS", ""),
        runtime("XDG_RUNTIME_DIR", "");
    const fs::path file = dir.Native("new/one") + "/passwords.key";
    const STRING sealed = Sealed("secret");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    fs::permissions(file, fs::perms(0644));
    EXPECT_EQ(Opened(sealed), "secret");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600)) << "mended";

    for (int i = 0; i < sealed.Length(); i += 7) {
        std::string other(sealed.View());
        other[static_cast<size_t>(i)] = other[static_cast<size_t>(i)] == 'A' ? 'B' : 'A';
        EXPECT_EQ(Opened(STRING(std::string_view(other))).substr(0, 4), "not:") << other;
    }

    fs::rename(file, dir.Native("lost"));
    EXPECT_EQ(Opened(sealed), "not: the key file " + file.string() + " is missing");
    const STRING again = Sealed("again");
    EXPECT_EQ(Opened(sealed), "not: sealed with another key, or damaged");
    fs::copy_file(dir.Native("lost"), file, fs::copy_options::overwrite_existing);
    EXPECT_EQ(Opened(sealed), "secret") << "a copy of the key was put back";

    for (const char* damaged : {"", "00112233", "no key of sixty-four digits is this, whatever else it may well be"}) {
        WriteBytes(dir.File("new\\one\\passwords.key"), damaged);
        EXPECT_EQ(Opened(sealed), "not: the key file " + file.string() + " is damaged");
    }
    EXPECT_EQ(Opened(Sealed("new")), "new");
    EXPECT_EQ(ReadBytes(dir.File("new\\one\\passwords.key.bad")).substr(0, 6), "no key") << "set aside";

    // Programs that begin together share the first key, whoever's it is.
    for (int round = 0; round < 8; ++round) {
        const VARIABLE fresh("TARNWICK_REGISTRY", dir.Native(("race" + std::to_string(round)).c_str()));
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        std::vector<pid_t> programs;
        for (int i = 0; i < 4; ++i) {
            programs.push_back(fork());
            if (programs.back() == 0) {
                STRING none;
                const STRING line = SEALING::Seal("secret", none) || "\n";
                _exit(write(ends[1], line.Text(), static_cast<size_t>(line.Length())) == line.Length() ? 0 : 1);
            }
        }
        close(ends[1]);
        std::string all(4096, '\0');
        for (const pid_t program : programs)
            EXPECT_EQ(waitpid(program, nullptr, 0), program);
        all.resize(static_cast<size_t>(read(ends[0], all.data(), all.size())));
        close(ends[0]);
        EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 4);
        for (std::string_view rest = all; !rest.empty();)
            EXPECT_EQ(Opened(STRING(ASCII::Take(rest, '\n'))), "secret");
    }

    const VARIABLE nowhere("TARNWICK_REGISTRY", "/proc/nothing");
    STRING trouble;
    EXPECT_EQ(Std(SEALING::Seal("x", trouble)), "");
    EXPECT_EQ(Std(trouble), "the key file /proc/nothing/passwords.key cannot be written");
}

#endif

}  // namespace

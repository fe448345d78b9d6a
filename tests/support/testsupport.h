#pragma once

// The standard headers that tests use most come with this one.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "corelib/base/clock.h"
#include "corelib/base/strings.h"

/// GoogleTest prints a STRING as its text, or as <null>.
void PrintTo(const STRING& text, std::ostream* out);

/// The text as a std::string, for comparisons and messages.
inline std::string Std(const STRING& text) {
    return std::string(text.View());
}

/// Announces that the present test makes n assertions fail, no more and no less. A failed assertion that no test has
/// announced fails it.
void ExpectAssertions(int n);
#define EXPECT_ASSERTIONS(n) ExpectAssertions(n)

/// A new empty directory, removed with all that is in it when the object goes.
class TEMPDIR {
 public:
    TEMPDIR();
    ~TEMPDIR();
    TEMPDIR(const TEMPDIR&) = delete;
    TEMPDIR& operator=(const TEMPDIR&) = delete;
    /// The directory in the program's form of paths, with `\` between parts.
    const char* Path() const { return Name.Text(); }
    /// A file or directory in it, in the program's form.
    STRING File(const char* name) const;
    /// The same in the platform's own form, for calls outside the program.
    std::string Native(const char* name = "") const;

 private:
    STRING Name;
};

/// A file's bytes as they are on the disk; and writing them. The path is in the program's form.
std::string ReadBytes(const STRING& path);
void WriteBytes(const STRING& path, std::string_view bytes);

/// A clock that stands still until a test moves it; in its scope it is the program's clock. Sleeping moves it on and
/// gives other threads a chance to run.
class FAKECLOCK : public CLOCK::SOURCE {
 public:
    /// Starts at the given second since 1970 (2026-03-04 05:06:07 UTC by default).
    explicit FAKECLOCK(int64_t unixSeconds = 1772600767);
    ~FAKECLOCK() override;
    int64_t UnixMilliSeconds() override { return Now; }
    void Sleep(int ms) override;
    void Advance(int64_t ms) { Now += ms; }

 private:
    std::atomic<int64_t> Now;
    CLOCK::SOURCE* Former;
};

/// Waits, in real time, until `condition` holds; false after ten seconds.
template <class CONDITION>
bool Eventually(CONDITION condition) {
    for (int i = 0; i < 10000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

/// The number after a macro's name, as a text.
#define NUMBER(name) NUMBER_OF(name)
#define NUMBER_OF(name) #name

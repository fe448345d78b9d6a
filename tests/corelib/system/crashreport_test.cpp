#include <array>
#include <cstdio>
#include <cstdlib>
#include <regex>
#ifndef _WIN32
#include <sys/resource.h>
#endif

#include "corelib/base/files.h"
#include "corelib/system/osys.h"
#include "tests/support/testsupport.h"

namespace {

constexpr const char* LOG = "assert.log";

struct CRASH {
    const char* How;
    const char* Fault;     // what the log has to say of it, as regular expressions
    const char* Function;  // where it was
};

class CrashReport : public testing::TestWithParam<CRASH> {};

std::string Contents(const char* file) {
    STRING text;
    EXPECT_TRUE(FILES::ReadAll(file, false, text)) << file;
    return std::string(text.View());
}

// Starts the program next to this one; what it says on standard error stands in a file then.
int RunCrashing(const char* how) {
    const STRING folder = OSYS::FileDirectory(OSYS::ProgramPath().Text());
    const STRING program = OSYS::FilePath(folder.Text(), "crashing");
    return std::system(
        ("\"" + std::string(FILES::NativePath(program.Text()).View()) + "\" " + how + " 2>said").c_str());
}

}  // namespace

// Twice, as reports are added.
TEST_P(CrashReport, TellsKindAndPlace) {
    (void)FILES::Remove(LOG);
    for (int time = 1; time <= 2; ++time)
        EXPECT_NE(RunCrashing(GetParam().How), 0);
    const std::string log = Contents(LOG);
    const std::string head = "--- Crashing 1\\.23 --- 20[0-9-]{8} [0-9:]{8} UTC ---\r\n\r\n    Fault: ";
    const std::regex reports("(" + head + GetParam().Fault +
                             "[^\r]*\r\n(    Exception: [^\r]*out_of_range[^\r]*\r\n)?" +
                             "    Stack:\r\n(        [^\r]*0x[0-9a-f]+\r\n)+\r\n){2}");
    EXPECT_TRUE(std::regex_match(log, reports)) << log;
    EXPECT_EQ(log.find("Exception: ") != std::string::npos, std::string_view(GetParam().How) == "exception");
    EXPECT_NE(log.find("crashing"), std::string::npos);
    const std::string said = Contents("said");
    EXPECT_TRUE(std::regex_search(said, std::regex("It lies in .*assert\\.log\\."))) << said;
#ifndef _WIN32
    // The places lead back to the code.
    const std::string folder =
        std::string(FILES::NativePath(OSYS::FileDirectory(OSYS::ProgramPath().Text()).Text()).View());
    ASSERT_EQ(std::system(("bash " SOURCE_FOLDER "/packaging/where-crashed " + folder + " assert.log >places").c_str()),
              0);
    const std::string places = Contents("places");
    EXPECT_TRUE(std::regex_search(places, std::regex(std::string(GetParam().Function) + ".*crashing\\.cpp:[0-9]+")))
        << places;
#endif
}

#ifdef _WIN32
INSTANTIATE_TEST_SUITE_P(, CrashReport,
                         testing::Values(CRASH{"address", "access violation \\(0xc0000005\\) at 0x10", ""},
                                         CRASH{"stack", "stack overflow \\(0xc00000fd\\)", ""},
                                         CRASH{"exception", "abort \\(0x3\\)", ""},
                                         CRASH{"abort", "abort \\(0x3\\)", ""}));
#else
TEST(CrashReportOnPosix, StandsInPlaceOfACoreWithPasswordsInIt) {
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_CORE, &former), 0);
    const rlimit all{former.rlim_max, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &all), 0);
    EXPECT_EQ(RunCrashing("core"), 0);
    EXPECT_EQ(setrlimit(RLIMIT_CORE, &former), 0);
}

INSTANTIATE_TEST_SUITE_P(, CrashReport,
                         testing::Values(CRASH{"address", "SIGSEGV, a bad address \\(0xb\\) at 0x10", "ReadFrom"},
                                         CRASH{"stack", "SIGSEGV, a bad address", "Deeper"},
                                         CRASH{"exception", "SIGABRT", "Throw"}, CRASH{"abort", "SIGABRT", "main"}));
#endif

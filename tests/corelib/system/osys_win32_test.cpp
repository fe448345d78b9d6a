// What lies in the real registry on this platform.

#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

TEST(WindowsAutoStart, IsAValueOfTheRunKey) {
    constexpr const char* NAME = "TarnwickTest";
    REGISTRY run(ROOT_CURRENT_USER, "Software\\Microsoft\\Windows\\CurrentVersion", "Run", REGISTRY_CREATE);
    ASSERT_TRUE(run.IsOpen());
    EXPECT_TRUE(OSYS::AutoStart(NAME, "\"c:\\a b\\mailer.exe\" /MIN"));
    EXPECT_EQ(Std(run.Read(NAME)), "\"c:\\a b\\mailer.exe\" /MIN");
    EXPECT_TRUE(OSYS::AutoStart(NAME, "<SELF>"));
    EXPECT_EQ(Std(run.Read(NAME)), Std(OSYS::ProgramPath()));
    // The text lies there with its terminator.
    char bytes[1024];
    int size = sizeof bytes;
    EXPECT_EQ(run.Read(NAME, bytes, &size), 1);
    EXPECT_EQ(size, OSYS::ProgramPath().Length() + 1);
    EXPECT_TRUE(OSYS::AutoStart(NAME, nullptr));
    EXPECT_FALSE(run.Read(NAME).NotNull());
    EXPECT_FALSE(OSYS::AutoStart(NAME, nullptr));
}

}  // namespace

// What lies in the real registry on this platform, and its paths.

#include <windows.h>

#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

TEST(WindowsAutoStart, IsAValueOfTheRunKey) {
    constexpr const char* NAME = "TarnwickTest";
    REGISTRY run(ROOT_CURRENT_USER, "Software\\Microsoft\\Windows\\CurrentVersion", "Run", REGISTRY_CREATE);
    ASSERT_TRUE(run.IsOpen());
    EXPECT_TRUE(OSYS::AutoStart(NAME, "\"c:\\a b\\mailer.exe\" /MIN"));
    EXPECT_EQ(Std(OSYS::AutoStartCommand(NAME)), "\"c:\\a b\\mailer.exe\" /MIN");
    EXPECT_TRUE(OSYS::AutoStart(NAME, "<SELF>"));
    EXPECT_EQ(Std(run.Read(NAME)), Std(OSYS::ProgramPath()));
    // The text lies there with its terminator.
    char bytes[1024];
    int size = sizeof bytes;
    EXPECT_EQ(run.Read(NAME, bytes, &size), 1);
    EXPECT_EQ(size, static_cast<int>((WidePath(OSYS::ProgramPath().Text()).size() + 1) * sizeof(wchar_t)));
    EXPECT_TRUE(OSYS::AutoStart(NAME, nullptr));
    EXPECT_FALSE(OSYS::AutoStartCommand(NAME).NotNull());
    EXPECT_FALSE(OSYS::AutoStart(NAME, nullptr));
}

// The names in a directory, one after the other.
std::string Names(const STRING& directory) {
    DYNARRAY<STRING> files(4, 4);
    OSYS::CollectFiles(directory.Text(), "*.*", &files, true);
    std::string names;
    for (int i = 0; i < files.Count(); ++i)
        names += Std(files[i].Mid(directory.Length() + 1)) + " ";
    return names;
}

TEST(WindowsPaths, TakePartInEverythingHoweverLong) {
    const TEMPDIR temp;
    const STRING before = OSYS::GetCurrentDir();
    ASSERT_TRUE(OSYS::SetCurrentDir(temp.Path()));
    STRING parts;
    for (int i = 0; i < 8; ++i)
        parts.Append((STRING("\\") || std::string(40, 'd').c_str()).Text());
    for (const STRING& top : {STRING(temp.Path()) || "\\absolute", STRING("relative"), STRING(".\\x\\..\\up"),
                              STRING("\\\\?\\") || temp.Path() || "\\full"}) {
        SCOPED_TRACE(Std(top));
        const STRING deep = top || parts, one = deep || "\\one.ini", two = deep || "\\two.ini";
        ASSERT_TRUE(OSYS::MakeDirectories(deep.Text()));
        EXPECT_TRUE(FILES::ReplaceAll(one.Text(), "o", false));
        EXPECT_TRUE(FILES::AppendLog(one.Text(), "ne"));
        EXPECT_TRUE(FILES::Rename(one.Text(), two.Text()));
        EXPECT_FALSE(OSYS::FileExists(one.Text()));
        EXPECT_TRUE(OSYS::FileTime(two.Text()).NotNull());
        EXPECT_TRUE(OSYS::OpenFile(two.Text(), "r").IsOpen());
        STRING text;
        EXPECT_TRUE(FILES::ReadAll(two.Text(), false, text));
        EXPECT_EQ(text, "one");
        EXPECT_TRUE(LogOption((STRING("/LOGIT:") || deep || "\\log").Text()));
        LogOption("/LOGITCLOSE");
        EXPECT_EQ(Names(deep), "log two.ini ");
        EXPECT_TRUE(FILES::Remove(two.Text()));
        EXPECT_EQ(Names(deep), "log ");
    }
    OSYS::SetCurrentDir(before.Text());
}

TEST(WindowsPaths, HaveAllLetters) {
    const TEMPDIR temp;
    const STRING folder = STRING(temp.Path()) || "\\Дом 日本";
    const std::wstring wide = WidePath(folder.Text());
    ASSERT_TRUE(OSYS::MakeDirectory(folder.Text()));
    // What looks like an A is none, and the third holds a likeness of a separator; the fourth is no text.
    for (const wchar_t* name : {L"\\\x0100.ini", L"\\A.ini", L"\\A\x2216\x00e4.ini", L"\\\xd800.ini"})
        CloseHandle(CreateFileW((wide + name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    EXPECT_EQ(Names(temp.Path()).find("Дом 日本\\A.ini Дом 日本\\A∖ä.ini Дом 日本\\Ā.ini "), 0U) << Names(temp.Path());
    const STRING before = OSYS::GetCurrentDir();
    ASSERT_TRUE(OSYS::SetCurrentDir(folder.Text()));
    EXPECT_EQ(OSYS::GetCurrentDir(), folder);
    EXPECT_TRUE(FILES::ReplaceAll("ä∖日.ini", "x", false));
    EXPECT_TRUE(OSYS::FileExists((folder || "\\ä∖日.ini").Text()));
    OSYS::SetCurrentDir(before.Text());

    const wchar_t* const key = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
    wchar_t former[1024] = L"";
    DWORD size = sizeof former;
    RegGetValueW(HKEY_CURRENT_USER, key, L"My Pictures", RRF_RT_REG_SZ, nullptr, former, &size);
    const auto set = [key](const std::wstring& value) {
        RegSetKeyValueW(HKEY_CURRENT_USER, key, L"My Pictures", REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    };
    SetEnvironmentVariableW(L"TARNWICK_TEST", wide.c_str());
    for (const std::wstring& value : {wide, std::wstring(L"%TARNWICK_TEST%"), wide + L"\\"}) {
        set(value);
        EXPECT_EQ(GetWin32SystemPath(7), folder || "\\");
    }
    set(former);
}

}  // namespace

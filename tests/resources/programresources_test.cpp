#include "tests/resources/menus.h"
#include "tests/support/testsupport.h"

// After the settings, whose names it has, too.
// clang-format off
#include <windows.h>
// clang-format on

namespace {

struct LIBRARY {
    const wchar_t* File;
    const wchar_t* Language;  // of its version, with the code page
    const wchar_t* OpenText;  // of command 2150, with a letter that depends on the code page where there is one
};

class LanguageLibrary : public testing::TestWithParam<LIBRARY> {
 protected:
    ~LanguageLibrary() override { FreeLibrary(Module); }
    HMODULE Module = LoadLibraryExW(GetParam().File, nullptr, LOAD_LIBRARY_AS_DATAFILE);
};

TEST_P(LanguageLibrary, HasEveryIconAtEverySize) {
    std::vector<int> numbers = {2075, 2076, 2077, 2078, 2079, 2080};
    for (int tray = 2050; tray <= 2066; ++tray)
        numbers.push_back(tray);
    for (const int command : {2105, 2106, 2110, 2111, 2112, 2113, 2118, 2132, 2133, 2135})
        numbers.insert(numbers.end(), {command, command + 2000});
    for (const int number : numbers) {
        const HRSRC found = FindResourceW(Module, MAKEINTRESOURCEW(number), reinterpret_cast<LPCWSTR>(RT_GROUP_ICON));
        ASSERT_NE(found, nullptr) << number;
        const auto* const group = static_cast<const BYTE*>(LockResource(LoadResource(Module, found)));
        std::vector<int> sizes;
        for (int i = 0; i < group[4]; ++i)
            sizes.push_back(group[6 + i * 14]);
        EXPECT_EQ(sizes, (std::vector<int>{16, 20, 24, 32, 48})) << number;
    }
}

TEST_P(LanguageLibrary, HasTheMenusAndKeys) {
    const auto lines = EnglishMenus();
    const auto keys =
        std::count_if(lines.begin(), lines.end(), [](const MENULINE& line) { return line.Kind == MENULINE::KEY; });
    HMENU bar = LoadMenuW(Module, MAKEINTRESOURCEW(2101));
    EXPECT_EQ(GetMenuItemCount(bar), 8);
    HMENU list = LoadMenuW(Module, MAKEINTRESOURCEW(2104));
    EXPECT_EQ(GetMenuItemID(GetSubMenu(list, 0), 0), 2131u);
    HMENU tray = LoadMenuW(Module, MAKEINTRESOURCEW(2000));
    EXPECT_EQ(GetMenuItemID(GetSubMenu(tray, 0), 0), 2152u);
    wchar_t text[64] = {};
    GetMenuStringW(tray, 2150, text, 64, MF_BYCOMMAND);
    EXPECT_STREQ(text, GetParam().OpenText);
    for (HMENU menu : {bar, list, tray})
        DestroyMenu(menu);
    int loaded = 0;
    for (const int number : {2000, 2001})
        loaded += CopyAcceleratorTableW(LoadAcceleratorsW(Module, MAKEINTRESOURCEW(number)), nullptr, 0);
    EXPECT_EQ(loaded, keys);
}

// And so does a program, such as this one.
TEST_P(LanguageLibrary, TellsTheVersionThatTheProgramTells) {
    for (const LIBRARY& file : {GetParam(), LIBRARY{L"resources_test.exe", L"040904B0", L""}}) {
        std::vector<char> block(GetFileVersionInfoSizeW(file.File, nullptr));
        ASSERT_TRUE(GetFileVersionInfoW(file.File, 0, static_cast<DWORD>(block.size()), block.data())) << file.File;
        wchar_t* text = nullptr;
        UINT length = 0;
        const std::wstring name = std::wstring(L"\\StringFileInfo\\") + file.Language + L"\\ProductVersion";
        ASSERT_TRUE(VerQueryValueW(block.data(), name.c_str(), reinterpret_cast<void**>(&text), &length)) << name;
        const std::string_view version = TARNWICK_VERSION;
        EXPECT_EQ(std::wstring(text), std::wstring(version.begin(), version.end()));
        VS_FIXEDFILEINFO* binary = nullptr;
        ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&binary), &length));
        EXPECT_EQ(HIWORD(binary->dwFileVersionMS) + LOWORD(binary->dwFileVersionMS) / 100.0,
                  std::stod(TARNWICK_VERSION));
    }
}

INSTANTIATE_TEST_SUITE_P(, LanguageLibrary,
                         testing::Values(LIBRARY{L"english.dll", L"040904B0", L"&Open Tarnwick"},
                                         LIBRARY{L"german.dll", L"040704B0", L"&Tarnwick \u00F6ffnen"}));

}  // namespace

#include <algorithm>
#include <string>
#include <vector>

#include "app/core/settings.h"
#include "tests/resources/menus.h"
#include "tests/support/testsupport.h"

// Behind the settings, whose names it has, too.
// clang-format off
#include <windows.h>
// clang-format on

// This program has the resources that the desktop program has.

TEST(ProgramResources, HaveEveryIconAtEverySize) {
    std::vector<int> numbers = {1, 2105, 2106, 2110, 2111, 2112, 2113, 2118, 2132, 2133, 2135};
    for (size_t i = numbers.size() - 1; i > 0; --i)
        numbers.push_back(numbers[i] + 2000);
    for (int number = 2050; number <= 2080; ++number) {
        if (number <= 2066 || number >= 2075)
            numbers.push_back(number);
    }
    for (const int number : numbers) {
        for (const int pixels : {16, 20, 24, 32, 48}) {
            auto* const icon = static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(number),
                                                             IMAGE_ICON, pixels, pixels, LR_DEFAULTCOLOR));
            EXPECT_NE(icon, nullptr) << number << " at " << pixels;
            DestroyIcon(icon);
        }
    }
}

TEST(ProgramResources, TellTheVersionThatTheProgramTells) {
    wchar_t path[MAX_PATH] = {};
    ASSERT_NE(GetModuleFileNameW(nullptr, path, MAX_PATH), 0u);
    std::vector<char> block(GetFileVersionInfoSizeW(path, nullptr));
    ASSERT_TRUE(GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data()));
    wchar_t* text = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\ProductVersion",
                               reinterpret_cast<void**>(&text), &length));
    const std::string_view version = PROGRAM_VERSION;
    EXPECT_EQ(std::wstring(text), std::wstring(version.begin(), version.end()));
    VS_FIXEDFILEINFO* binary = nullptr;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&binary), &length));
    EXPECT_EQ(HIWORD(binary->dwFileVersionMS) + LOWORD(binary->dwFileVersionMS) / 100.0, std::stod(PROGRAM_VERSION));
}

TEST(ProgramResources, HaveTheMenusAndKeysInBothLanguages) {
    struct LIBRARY {
        const wchar_t* File;
        const wchar_t* OpenText;  // of command 2150, with a letter that depends on the code page where there is one
    };
    const auto lines = EnglishMenus();
    const auto keys =
        std::count_if(lines.begin(), lines.end(), [](const MENULINE& line) { return line.Kind == MENULINE::KEY; });
    for (const auto& [file, openText] :
         {LIBRARY{L"english.dll", L"&Open Tarnwick"}, LIBRARY{L"german.dll", L"&Tarnwick \u00F6ffnen"}}) {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        std::wstring library = path;
        library = library.substr(0, library.rfind(L'\\') + 1) + file;
        HMODULE module = LoadLibraryExW(library.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
        ASSERT_NE(module, nullptr) << file;
        HMENU bar = LoadMenuW(module, MAKEINTRESOURCEW(2101));
        EXPECT_EQ(GetMenuItemCount(bar), 6);
        HMENU list = LoadMenuW(module, MAKEINTRESOURCEW(2104));
        EXPECT_EQ(GetMenuItemID(GetSubMenu(list, 0), 0), 2131u);
        HMENU tray = LoadMenuW(module, MAKEINTRESOURCEW(2000));
        EXPECT_EQ(GetMenuItemID(GetSubMenu(tray, 0), 0), 2152u);
        wchar_t text[64] = {};
        GetMenuStringW(tray, 2150, text, 64, MF_BYCOMMAND);
        EXPECT_STREQ(text, openText);
        for (HMENU menu : {bar, list, tray})
            DestroyMenu(menu);
        HACCEL table = LoadAcceleratorsW(module, MAKEINTRESOURCEW(2000));
        EXPECT_EQ(CopyAcceleratorTableW(table, nullptr, 0), keys);
        FreeLibrary(module);
    }
}

#include "corelib/base/widepath.h"
#include "tests/support/testsupport.h"

TEST(WidePathTest, OnlyALongPathGetsAnotherForm) {
    const std::string deep = "\\" + std::string(150, 'd') + "\\" + std::string(150, 'e');
    const std::wstring wide(deep.begin(), deep.end());
    const std::pair<std::string, std::wstring> cases[] = {
        {"C:\\a\\b.ini", L"C:\\a\\b.ini"},
        {"trash\\..\\b.ini", L"trash\\..\\b.ini"},
        {"C:" + deep, L"\\\\?\\C:" + wide},
        {"C:/a\\.." + deep, L"\\\\?\\C:" + wide},
        {"\\\\server\\share" + deep, L"\\\\?\\UNC\\server\\share" + wide},
        {"\\\\?\\C:" + deep, L"\\\\?\\C:" + wide},
        {"\\\\.\\C:" + deep, L"\\\\.\\C:" + wide},
        {"\344\200", L"\u00e4\u20ac"},  // as an earlier version wrote it
        {"Λόγος\\日本", L"Λόγος\\日本"},
        {"", L""},
    };
    for (const auto& [path, wantedWide] : cases)
        EXPECT_EQ(WideFilePath(path.c_str()), wantedWide) << path;
    EXPECT_EQ(WideFilePath(nullptr), L"");
    // Relative paths count as long as they are with the directory that they start from.
    EXPECT_TRUE(WideFilePath(deep.c_str() + 1).ends_with(wide));
    EXPECT_TRUE(WideFilePath(deep.c_str() + 1).starts_with(L"\\\\?\\"));
}

TEST(WidePathTest, ATextGrowsUntilItFits) {
    for (const size_t length : {0, 1, 259, 260, 261, 5000})
        for (const bool tells : {false, true}) {
            // Some functions tell how much room they need, with the terminator; others fill what there is.
            const std::wstring text = GrownText([&](wchar_t* room, unsigned long size) {
                if (length >= size && tells)
                    return length + 1;
                std::fill_n(room, std::min<size_t>(length, size), L'x');
                return std::min<size_t>(length, size);
            });
            EXPECT_EQ(text, std::wstring(length, L'x')) << tells;
        }
}

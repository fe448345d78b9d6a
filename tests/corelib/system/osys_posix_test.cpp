// What stands in on this platform for the registry, the shell's folders and the user's locale.

#include <cstdlib>
#include <filesystem>

#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

TEST(PosixAutoStart, IsADesktopEntry) {
    TEMPDIR dir;
    VARIABLE config("XDG_CONFIG_HOME", dir.Native("config"));
    const STRING file = dir.File("config\\autostart\\Tarnwick.desktop");
    const char* const cases[][2] = {
        {"mailer --hidden", "mailer --hidden"},
        {"printf 'a\\b'", "printf 'a\\\\b'"},
        {"date +%F", "date +%%F"},
        {"a\nHidden=true", "a\\nHidden=true"},  // no way to another key
    };
    for (const auto& [command, exec] : cases) {
        EXPECT_TRUE(OSYS::AutoStart("Tarnwick", command));
        EXPECT_EQ(ReadBytes(file),
                  std::string("[Desktop Entry]\nType=Application\nName=Tarnwick\nExec=") + exec + "\n");
        EXPECT_EQ(Std(OSYS::AutoStartCommand("Tarnwick")), command);
    }
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    for (const char* value : {"<SELF>", OSYS::AUTOSTART_SELF}) {
        EXPECT_TRUE(OSYS::AutoStart("Tarnwick", value));
        EXPECT_NE(ReadBytes(file).find("\nExec=\"" + self + "\"\n"), std::string::npos) << ReadBytes(file);
    }
    EXPECT_TRUE(OSYS::AutoStart("Tarnwick", nullptr));
    EXPECT_FALSE(OSYS::FileExists(file.Text()));
    EXPECT_FALSE(OSYS::AutoStartCommand("Tarnwick").NotNull());
    EXPECT_FALSE(OSYS::AutoStart("Tarnwick", nullptr));
}

TEST(PosixFolders, AreTheUsersOwn) {
    TEMPDIR dir;
    VARIABLE home("HOME", dir.Native());
    VARIABLE config("XDG_CONFIG_HOME", "");
    VARIABLE data("XDG_DATA_HOME", "");
    EXPECT_EQ(Std(GetWin32SystemPath(5)), Std(dir.File(".local\\share\\")));
    EXPECT_EQ(Std(GetWin32SystemPath(6)), Std(dir.File("Documents\\")));
    ASSERT_TRUE(OSYS::MakeDirectories(dir.File(".config").Text()));
    WriteBytes(dir.File(".config\\user-dirs.dirs"),
               "# XDG_DOCUMENTS_DIR=\"$HOME/not this\"\n"
               "XDG_DOCUMENTS_DIR=\"$HOME/Eigene Dokumente\"\n"
               "  XDG_PICTURES_DIR=\"/pictures\"\n"
               "XDG_DESKTOP_DIR=\"$HOME/\"\n");
    EXPECT_EQ(Std(GetWin32SystemPath(6)), Std(dir.File("Eigene Dokumente\\")));
    EXPECT_EQ(Std(GetWin32SystemPath(7)), "\\pictures\\");
    EXPECT_EQ(Std(GetWin32SystemPath(8)), Std(dir.File("")));
    VARIABLE documents("XDG_DOCUMENTS_DIR", "/elsewhere");
    EXPECT_EQ(Std(GetWin32SystemPath(6)), "\\elsewhere\\");

    VARIABLE homeless("HOME", "");
    EXPECT_ASSERTIONS(1);
    EXPECT_FALSE(GetWin32SystemPath(5).NotNull());
}

TEST(PosixRegistry, AnUnreadableFileIsNotWrittenOver) {
    TEMPDIR dir;
    VARIABLE store("TARNWICK_REGISTRY", dir.Native("values"));
    REGISTRY key("Velmora", "Tarnwick", ROOT_CURRENT_USER);
    EXPECT_TRUE(key.Write("a", "1"));
    std::filesystem::path file;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.Native("values")))
        if (entry.is_regular_file())
            file = entry.path();
    // A directory in its place cannot be read, whoever runs the test.
    std::filesystem::rename(file, dir.Native("kept"));
    std::filesystem::create_directory(file);
    EXPECT_FALSE(key.Write("b", "2"));
    EXPECT_FALSE(key.Delete("a"));
    std::filesystem::remove(file);
    std::filesystem::rename(dir.Native("kept"), file);
    EXPECT_EQ(Std(key.Read("a")), "1");
}

TEST(PosixRegistry, KeyPathsDoNotMeet) {
    TEMPDIR dir;
    VARIABLE store("TARNWICK_REGISTRY", dir.Native("values"));
    REGISTRY one(ROOT_CURRENT_USER, "a+b", nullptr, REGISTRY_CREATE);
    EXPECT_TRUE(one.Write("v", "1"));
    EXPECT_FALSE(REGISTRY(ROOT_CURRENT_USER, "a", "b", REGISTRY_READ).IsOpen());
    EXPECT_FALSE(REGISTRY(ROOT_LOCAL_MACHINE, "a+b", nullptr, REGISTRY_READ).IsOpen());
    EXPECT_TRUE(REGISTRY(ROOT_CURRENT_USER, "A+B", nullptr, REGISTRY_READ).IsOpen());
}

TEST(PosixCollectFiles, LinksInACircleEnd) {
    TEMPDIR dir;
    std::filesystem::create_directory(dir.Native("real"));
    WriteBytes(dir.File("real\\x"), "x");
    for (const char* name : {"one", "two"})
        std::filesystem::create_directory_symlink(dir.Native(), dir.Native(name));
    EXPECT_EQ(OSYS::CollectFiles(dir.Path(), "*", nullptr, true), 4);
}

TEST(PosixLocale, TheLanguageIsTheFirstThatIsSet) {
    const std::tuple<const char*, const char*, const char*, int> cases[] = {
        {"", "", "", 9},        {"", "", "de_AT.UTF-8", 7}, {"", "en_GB", "de_DE", 9},
        {"", "de", "en_GB", 7}, {"C", "de_DE", "de_DE", 9}, {"de_DE@euro", "en_GB", "en_GB", 7},
    };
    for (const auto& [forAll, forMessages, fallback, language] : cases) {
        VARIABLE all("LC_ALL", forAll), messages("LC_MESSAGES", forMessages), lang("LANG", fallback);
        EXPECT_EQ(OSYS::UserLanguage(), language) << forAll << "," << forMessages << "," << fallback;
    }
}

TEST(PosixLocale, NumbersAndDatesAreTheUsers) {
    TEMPDIR dir;
    if (std::system(("localedef -i fr_FR -f UTF-8 " + dir.Native("fr_FR.UTF-8") + " 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "this system has no sources of locales";
    FAKECLOCK clock;
    VARIABLE path("LOCPATH", dir.Native());
    const char* const cases[][4] = {
        {"C", ",", ".", "03/04/26"},
        {"fr_FR.UTF-8", "\342\200\257", ",", "04/03/2026"},  // a narrow blank that does not break
        {"xx_XX.UTF-8", ",", ".", "03/04/26"},               // not installed
    };
    for (const auto& [locale, thousands, decimal, date] : cases) {
        VARIABLE all("LC_ALL", locale);
        EXPECT_EQ(Std(OSYS::ThousandsSeparator()), thousands) << locale;
        EXPECT_EQ(Std(OSYS::DecimalSeparator()), decimal) << locale;
        EXPECT_EQ(Std(OSYS::DateText()), date) << locale;
    }
}

}  // namespace

// The C library keeps the parts of LOCPATH for good at each look-up of a locale.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:__argz_add_sep\n";
}

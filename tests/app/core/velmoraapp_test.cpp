#include "app/core/velmoraapp.h"

#include "tests/app/core/coresupport.h"

namespace {

TEST(VelmoraApp, TakesTheLanguageFromTheWords) {
    const std::pair<const char*, int> cases[] = {{"/LANG:GER", 7}, {"/lang:engl", 9}, {"/LANG:12", 12},
                                                 {"/LANG:x", 0},   {"-LANG:GER", 0},  {"/MIN", OSYS::UserLanguage()}};
    for (const auto& [line, language] : cases) {
        EXPECT_EQ(LanguageFromArguments(ARGUMENTS("tarnwick", line)), language) << line;
    }
}

TEST(VelmoraApp, ADevelopmentLayoutHasTheProgramAboveItsBuildFolder) {
    TEMPDIR dir;
    ASSERT_TRUE(OSYS::MakeDirectories(dir.File("Release2").Text()));
    const STRING program = dir.File("Release2\\tarnwick.exe");
    EXPECT_EQ(Std(ProgramDirectory(program)), Std(dir.File("Release2")));
    WriteBytes(dir.File("main.cpp"), "");
    EXPECT_EQ(Std(ProgramDirectory(program)), dir.Path());
}

}  // namespace

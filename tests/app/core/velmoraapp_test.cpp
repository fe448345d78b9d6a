#include "app/core/velmoraapp.h"

#include "tests/app/core/coresupport.h"

namespace {

TEST(VelmoraApp, TakesTheLanguageFromTheWords) {
    const struct {
        const char* Line;
        int Language;
    } cases[] = {{"/LANG:GER", 7}, {"/lang:engl", 9}, {"/LANG:12", 12},
                 {"/LANG:x", 0},   {"-LANG:GER", 0},  {"/MIN", OSYS::UserLanguage()}};
    for (const auto& c : cases) {
        EXPECT_EQ(LanguageFromArguments(ARGUMENTS("tarnwick", c.Line)), c.Language) << c.Line;
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

TEST(VelmoraApp, StartsInTheProgramsDirectoryWithItsTexts) {
    CURRENTDIR former(".");
    TEMPDIR logs;
    RECORDER frontEnd;
    const STRING log = logs.File("start.log");
    {
        VELMORAAPP app(ARGUMENTS("tarnwick", ("/LANG:GER /MIN \"/LOGIT:" + Std(log) + "\"").c_str()));
        EXPECT_EQ(Std(OSYS::GetCurrentDir()), Std(app.WorkDir()));
        ASSERT_EQ(app.Start(frontEnd), 0);
        EXPECT_EQ(app.Language(), LANGUAGE_GERMAN);
        EXPECT_TRUE(app.StartMinimized());
        EXPECT_EQ(Std(app.Texts().Part(2940, 3)), "neu");
        EXPECT_EQ(Std(ProgramTitle(app.Texts())), "Tarnwick V2.02");
    }
    EXPECT_NE(ReadBytes(log).find("APP::WinMain instance=00000000 parm=/LANG:GER /MIN"), std::string::npos);
    EXPECT_TRUE(frontEnd.Messages.empty());
}

}  // namespace

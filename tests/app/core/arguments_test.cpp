#include "app/core/arguments.h"

#include "tests/app/core/coresupport.h"

namespace {

std::string Joined(const ARGUMENTS& arguments) {
    std::string all;
    for (int i = 1; i < arguments.Count(); ++i) {
        all.append("[").append(arguments[i].View()).append("]");
    }
    return all;
}

TEST(Arguments, SplitsTheCommandLine) {
    const char* const cases[][2] = {
        {"", ""},
        {"   ", ""},
        {"/MIN", "[/MIN]"},
        {"  /MIN   -check  ", "[/MIN][-check]"},
        {"\"/WORKDIR:c:\\my data\" /MIN", "[/WORKDIR:c:\\my data][/MIN]"},
        {"/WORKDIR:\"c:\\my data\"", "[/WORKDIR:\"c:\\my][data\"]"},  // only a word that begins with a quote
        {"\"\" x", "[][x]"},
        {"\"open end", "[open end]"},
        {"\"a\"b c", "[a][b][c]"},
        {"\"", "[]"},
        {"\ta", "[\ta]"},  // a tab is no blank
    };
    for (const auto& [line, words] : cases) {
        const ARGUMENTS arguments("tarnwick", line);
        EXPECT_EQ(Joined(arguments), words) << line;
        EXPECT_EQ(Std(arguments[0]), "tarnwick");
    }
}

TEST(Arguments, FindsSwitchesAndTheirValues) {
    const ARGUMENTS arguments("/min", "/Lang:GER -check /LOG:5 min /log6 -log:7 \"/WORKDIR:c:\\my data\" /log::");
    EXPECT_TRUE(arguments.TestArg("CHECK"));
    EXPECT_FALSE(arguments.TestArg("CHEC"));
    EXPECT_FALSE(arguments.TestArg("LANG"));  // it has a value
    EXPECT_FALSE(arguments.TestArg("MIN"));   // neither the program's own name nor a bare word
    EXPECT_TRUE(arguments.TestArgValue("LOG", 3));
    EXPECT_FALSE(arguments.TestArgValue("LOG", 4));
    EXPECT_EQ(Std(arguments.GetArgValue("lang", 0)), "GER");
    int number = 0;
    for (const char* value : {"5", "6", "", ":"})
        EXPECT_EQ(Std(arguments.GetArgValue("LOG", number++)), value);
    EXPECT_TRUE(arguments.GetArgValue("LOG", 2).NotNull()) << "a dash brings no value, and counts";
    EXPECT_FALSE(arguments.GetArgValue("LOG", 4).NotNull());
    EXPECT_EQ(Std(arguments.GetArgValue("WORKDIR", 0)), "c:\\my data");
}

TEST(Arguments, TakesTheWordsOfAFile) {
    TEMPDIR dir;
    CURRENTDIR here(dir.Path());
    const char* const argv[] = {"tarnwick", "/a b", "/c"};
    ARGUMENTS arguments(3, argv);
    EXPECT_EQ(Std(arguments.CommandLine()), "/a b /c");
    arguments.AddFile();
    EXPECT_EQ(arguments.Count(), 3);
    WriteBytes(dir.File("commandline.ini"), " \t-MIN \r\n\r\n  \r\n-WORKDIR:c:\\my data\t\r\nlast");
    arguments.AddFile();
    EXPECT_EQ(Joined(arguments), "[/a b][/c][-MIN][/WORKDIR:c:\\my data][last]");
}

TEST(Arguments, TakesADashForASlash) {
    const std::vector<std::string> given = {"-a:b", "-LANG:GER", "-workdir:-", "-logit", "-LOG5", "-noassert",
                                            "-min", "--a:b",     "-",          "-:b",    "-1:2",  "a:b"};
    const std::vector<std::string> words = CompletePaths(given);
    EXPECT_EQ(Joined(ARGUMENTS(words)),
              "[/LANG:GER][/workdir:-][/logit][/LOG5][/noassert][-min][--a:b][-][-:b][-1:2][a:b]");
    EXPECT_EQ(words[0], "-a:b") << "the program's own name";
}

}  // namespace

#include "corelib/base/trace.h"

#include <filesystem>
#include <regex>

#include "corelib/base/files.h"
#include "tests/support/testsupport.h"

namespace {

// A log in a directory of its own, closed at the end.
class TraceTest : public testing::Test {
 protected:
    ~TraceTest() override { LogOption("/LOGITCLOSE"); }
    void Open() { ASSERT_TRUE(LogOption((STRING("/logit:") || Dir.File("log")).Text())); }
    std::string Log() { return ReadBytes(Dir.File("log")); }
    TEMPDIR Dir;
};

// With "#" for each "[ssss.cc:thread]"; for each number, and its sign.
std::string WithoutTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("\\[[ 0-9]{4}\\.[0-9]{2}:[0-9A-Fa-f]+\\]"), "#");
}
std::string WithoutNumbers(const std::string& text) {
    return std::regex_replace(text, std::regex("-?[0-9]+"), "#");
}

const char* Asked = nullptr;
STRING AskedText;

bool AnswerYes(const char* title, const char* text) {
    Asked = title;
    AskedText = text;
    return true;
}

}  // namespace

TEST_F(TraceTest, LinesHaveTimeAndThread) {
    EXPECT_EQ(Trace("nowhere\n"), 0);
    Open();
    EXPECT_EQ(Trace("plain\n"), 1);
    Trace("value %d %s\n", 5, "50% off");
    Trace("no line end");
    EXPECT_EQ(WithoutTimes(Log()), "# plain\r\n# value 5 50% off\r\n# no line end");
}

TEST_F(TraceTest, LongLinesAreCut) {
    Open();
    Trace("%s\n", std::string(20000, 'w').c_str());
    EXPECT_LE(Log().size(), 8192u);
    EXPECT_GE(Log().size(), 8000u);
}

TEST_F(TraceTest, LevelsAndChannels) {
    Open();
    TraceLevel(2, "two\n");
    EXPECT_EQ(Log(), "") << "the mask is 0 at the start";
    LogOption("/log:7");
    TraceLevel(7, "seven\n");
    TraceLevel(12, "twelve\n");
    TraceLevel(519, "channel\n");
    LogOption("/LOG:512");
    TraceLevel(519, "channel now\n");
    std::string log = Log();
    EXPECT_NE(log.find("seven"), log.npos);
    EXPECT_EQ(log.find("twelve"), log.npos);
    EXPECT_EQ(log.find("channel\r"), log.npos);
    EXPECT_NE(log.find("channel now"), log.npos);
}

TEST_F(TraceTest, AssertionsAreReportedAndGoOn) {
    std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(Dir.Native());
    Open();
    SetApplicationName("Test");
    EXPECT_ASSERTIONS(4);
    EXPECT_TRUE(Assert(true, "x", "f", 1, nullptr, false));
    EXPECT_TRUE(Assert(false, "a>b", "dir/file.cpp", 12, "extra", true));
    EXPECT_EQ(WithoutNumbers(ReadBytes("assert.log")),
              "--- Test --- " + WithoutNumbers(Std(CLOCK::DateText(CLOCK::Local()))) +
                  " #:#:# ---\r\n\r\n    Condition: a>b\r\n    Location : file.cpp line #\r\n"
                  "    Last Err.: #L\r\n    Add. Info: extra\r\n\r\n\r\n");
    EXPECT_NE(Log().find("*** ASSERTION FAILED: \r\n    Condition: a>b"), std::string::npos);

    SetAssertQuestion(AnswerYes);
    SetTraceLanguage(7);
    Assert(false, "quiet", "f", 1, nullptr, true);
    EXPECT_EQ(Asked, nullptr);
    Assert(false, "loud", "f", 1, nullptr, false);
    ASSERT_NE(Asked, nullptr);
    EXPECT_NE(AskedText.Pos("    Bedingung: loud\r\n    Datei: f Zeile 1\r\n    Code : "), -1);
    EXPECT_NE(AskedText.Pos("Umst\344nde"), -1);
    Asked = nullptr;
    LogOption("/NOASSERT");
    Assert(false, "silenced", "f", 1, nullptr, false);
    EXPECT_EQ(Asked, nullptr);
    LogOption("/NOASSERT");
    SetTraceLanguage(9);
    SetAssertQuestion(nullptr);
    std::filesystem::current_path(former);
}

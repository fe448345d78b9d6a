#include "app/console/switches.h"

#include <initializer_list>
#include <sstream>

#include "tests/support/testsupport.h"

namespace {

// The verdict on one word after a good one, and the word that it names.
std::string Verdict(const char* word) {
    const char* words[] = {"tarnwickc", "/ONCE", word, "/INBOX"};
    const ARGUMENTS arguments(4, words);
    std::string named;
    constexpr const char* VERDICTS[] = {"good", "unknown ", "no value "};
    return VERDICTS[static_cast<int>(CheckSwitches(arguments, named))] + named;
}

}  // namespace

TEST(Switches, AreKnownInEveryCase) {
    std::istringstream words(
        "/once -ONCE /WorkDir:here /ADD:pop3://a@b:110 /list -REMOVE:a -LOGIT /logit:file -LOG:4 /LOGDBG -LANG:GER /? "
        "-? "
        "--help -h /HELP -CHECK /NOVERS /MIN /NOASSERT /LOGITCLOSE");
    for (std::string word; words >> word;)
        EXPECT_EQ(Verdict(word.c_str()), "good") << word;
}

TEST(Switches, NameFilesFromWhereTheyAreTyped) {
    int count = 0;
    const SWITCH* all = AllSwitches(count);
    for (int i = 0; i < count; ++i) {
        const std::string form = all[i].Form;
        if (form.find(":FILE") == form.npos && form.find(":DIRECTORY") == form.npos)
            continue;
        const std::string word = std::string("/") + all[i].Name + ":here";
        const char* words[] = {"tarnwickc", word.c_str()};
        EXPECT_GT(CompletePaths(2, words)[1].size(), word.size()) << form;
    }
}

TEST(Switches, RefuseWhatIsNone) {
    for (const char* word : {"/ONC", "/ONCES", "once", "", "/", "-", "/:", "--once", "/ONCE:1", "/HELP:x"})
        EXPECT_EQ(Verdict(word), std::string("unknown ") + word);
    for (const char* word : {"/ADD", "-ADD", "/ADD:", "/REMOVE", "/WORKDIR", "/PASSWORDFILE:", "/LANG", "/LOG"})
        EXPECT_EQ(Verdict(word), std::string("no value ") + word);
}

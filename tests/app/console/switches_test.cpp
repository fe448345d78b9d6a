#include "app/console/switches.h"

#include <initializer_list>
#include <sstream>

#include "app/console/switchpages.h"
#include "tests/app/apptest.h"
#include "tests/support/testsupport.h"

namespace {

// The verdict on one word after a good one, and the word that it names.
std::string Verdict(const char* word) {
    const char* words[] = {"tarnwickc", "/ONCE", word, "/INBOX"};
    const ARGUMENTS arguments(4, words);
    std::string named;
    constexpr const char* VERDICTS[] = {"good", "unknown ", "no value ", "superfluous "};
    return VERDICTS[static_cast<int>(CheckSwitches(arguments, named))] + named;
}

std::vector<SWITCH> AllSwitches() {
    std::vector<SWITCH> all;
    for (const SWITCHGROUP& group : SwitchGroups())
        all.insert(all.end(), group.Switches.begin(), group.Switches.end());
    return all;
}

}  // namespace

TEST(Switches, AreKnownInEveryCase) {
    std::istringstream words(
        "/once -ONCE /WorkDir:here /ADD:pop3://a@b:110 /list -REMOVE:a -LOGIT /logit:file -LOG:4 /LOGDBG -LANG:GER /? "
        "-? --help -h /HELP -CHECK /NOVERS /MIN /NOASSERT /LOGITCLOSE /VERSION");
    for (std::string word; words >> word;)
        EXPECT_EQ(Verdict(word.c_str()), "good") << word;
}

TEST(Switches, HaveTwoFormsThatMeanTheSame) {
    std::set<std::string> seen;
    for (const SWITCH& entry : AllSwitches()) {
        const std::string name = entry.Name, value = entry.Value ? entry.Value : "";
        EXPECT_TRUE(seen.insert(name).second && seen.insert(entry.Long).second) << name;
        const std::string written = value.empty() ? "" : "v=1 -:x";
        const auto words =
            WithSlashes({"program", "--" + std::string(entry.Long) + (value.empty() ? "" : "=" + written)});
        EXPECT_EQ(words[1], "/" + name + (value.empty() ? "" : ":" + written));
        EXPECT_EQ(Verdict(words[1].c_str()), "good");
        EXPECT_EQ(NearestSwitch("/" + name.substr(0, name.size() - 1) + "Q"), "/" + name);
        // Whoever names a file means one in the directory where he types.
        const bool isPath = value.find("FILE") != value.npos || value == "DIRECTORY";
        const std::string whole = CompletePaths({"program", "/" + name + ":here"})[1];
        EXPECT_EQ(isPath, whole.size() > name.size() + 6) << name;
    }
}

TEST(Switches, TakeLongFormsApart) {
    const std::pair<std::vector<std::string>, std::vector<std::string>> cases[] = {
        {{"--once", "--add", "imaps://a@b", "/LIST", "-MIN"}, {"/ONCE", "/ADD:imaps://a@b", "/LIST", "-MIN"}},
        {{"--data", "/a dir/b", "--score", "-"}, {"/WORKDIR:/a dir/b", "/SCORE:-"}},
        {{"--log-file", "x"}, {"/LOGIT", "x"}},  // its value may be missing, so none follows as a word of its own
        {{"--log-file=x", "--workdir=x", "--lang=de", "--lang", "en"},
         {"/LOGIT:x", "/WORKDIR:x", "/LANG:GER", "/LANG:ENGL"}},
        {{"--add", "--once"}, {"--add", "/ONCE"}},  // not an account of that name
        {{"--remove=--once"}, {"/REMOVE:--once"}},
        {{"--add=", "--once=1", "--Data", "--unknown=x", "--", "once", "--show"},
         {"--add=", "--once=1", "--Data", "--unknown=x", "--", "once", "--show"}},
    };
    for (auto [words, expected] : cases) {
        words.insert(words.begin(), "--once");  // the program's own name
        expected.insert(expected.begin(), "--once");
        EXPECT_EQ(WithSlashes(words), expected);
    }
}

TEST(Switches, RefuseWhatIsNone) {
    for (const char* word : {"/ONC", "/ONCES", "once", "", "/", "-", "/:", "--onc", "--", "ADD:a"})
        EXPECT_EQ(Verdict(word), std::string("unknown ") + word);
    for (const char* word :
         {"/ADD", "-ADD", "/ADD:", "/REMOVE", "/WORKDIR", "/PASSWORDFILE:", "/LANG", "/LOG", "--add", "--data="})
        EXPECT_EQ(Verdict(word), std::string("no value ") + word);
    for (const char* word : {"/ONCE:1", "/HELP:x", "--once=1"})
        EXPECT_EQ(Verdict(word), std::string("superfluous ") + word);
    const std::pair<const char*, const char*> nearest[] = {
        {"--onc", "--once"},
        {"--chekc", "--check"},
        {"--pasword-file=x", "--password-file"},
        {"--pass", "--password-file"},
        {"/PASWORDS:x", "/PASSWORDS"},
        {"once", "--once"},
        {"-dmo", "/DEMO"},
        {"--xyz", ""},
        {"", ""},
        {"--", ""},
        {"imaps://a@b", ""},
        {"-v", ""},
    };
    for (const auto& [word, expected] : nearest)
        EXPECT_EQ(NearestSwitch(word), expected) << word;
    EXPECT_EQ(FormOf("--data"), "--data=DIRECTORY");
    EXPECT_EQ(FormOf("-data"), "");
    EXPECT_EQ(FormOf("/logit"), "/LOGIT[:FILE]");
}

TEST(Switches, AreWrittenAsIsUsualInTexts) {
    EXPECT_EQ(WithLongForms("'/ADD' $1 /ADD:imaps://A/LIST, (/ONCE /INBOX) /LOGIT: x/LIST /SMTP /"),
              "'--add' $1 --add=imaps://A/LIST, (--once --inbox) --log-file= x/LIST /SMTP /");
}

// Help, man page and completion are made of the table; so they can miss none, and tell of none that there is not.
TEST(Switches, AreToldEverywhere) {
    const NUMBERTEXTS texts;
    const std::string help = HelpText(texts, 80), man = ManOptions(texts), bash = BashCompletion();
    for (const SWITCH& entry : AllSwitches()) {
        const std::string name = std::string("--") + entry.Long;
        EXPECT_NE(help.find("/" + std::string(entry.Name)), help.npos) << name;
        EXPECT_NE(help.find(name), help.npos) << name;
        EXPECT_NE((bash + " ").find(name + (entry.Value && entry.Value[0] != '[' ? "=" : "")), bash.npos) << name;
        std::string escaped = name;
        for (size_t at = 0; (at = escaped.find('-', at)) != escaped.npos; at += 2)
            escaped.insert(at, "\\");
        EXPECT_NE(man.find("\n.B \\&" + escaped), man.npos) << name;
    }
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
}

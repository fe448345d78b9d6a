#include "app/notify/mailprogram.h"

#include "corelib/system/osys.h"
#include "tests/app/apptest.h"

namespace {

class MailProgram : public testing::Test {
 protected:
    MailProgram() {
        FillSettings(State, {{"EmailCmdline", "C:\\Mail Box\\mail.exe"},
                             {"EmailCmdlineInbox", "/inbox"},
                             {"EmailWindowTitle", "Mail||Post"}});
        for (const auto& [key, value] :
             {std::pair{"Type", "1"}, {"DoSpecialMailProgram", "0"}, {"SpecialMailProgram", ""}})
            Item.Set(key, value);
    }
    std::string Start(const STRINGARRAY* item) {
        StartMailProgram(item, State, FrontEnd, Texts, Starter);
        return Starter.Take();
    }

    STRINGARRAY State, Item;
    const TEXTTABLE Texts{{{TEXT_TITLE, "Title"}}};
    JOURNAL Journal;
    JOURNALFRONTEND FrontEnd{Journal};
    FAKESTARTER Starter;
};

TEST_F(MailProgram, IsTheOneOfTheItemOrOfAll) {
    EXPECT_EQ(Start(nullptr), "\"C:\\Mail Box\\mail.exe\",/inbox,C:\\Mail Box");
    Item.Set("DoSpecialMailProgram", "1");
    EXPECT_EQ(Start(&Item), "C:\\Mail Box\\mail.exe,/inbox,C:") << "without quotes a path ends at the blank";
    Item.Set("SpecialMailProgram", "\"D:\\own\\x.exe\" -a");
    EXPECT_EQ(Start(&Item), "\"D:\\own\\x.exe\" -a,/inbox,D:\\own");
    Item.Set("SpecialMailProgram", "HTTP://mail.example/");
    EXPECT_EQ(Start(&Item), "open HTTP://mail.example/");
    Item.Set("DoSpecialMailProgram", "0");
    Item.Set("Type", "3");
    EXPECT_TRUE(Start(&Item).starts_with("open http://"));
    Item.Set("Type", "7");
    EXPECT_ASSERTIONS(1);
    EXPECT_EQ(Start(&Item), "");
    State.Set("EmailCmdline", "");
    EXPECT_EQ(Start(nullptr), "");
}

TEST_F(MailProgram, IsShownInsteadIfItRuns) {
    State.Set("EmailDoWindowCheck", "1");
    Starter.Window = "Post";
    EXPECT_EQ(Start(nullptr), "front 7");
    Starter.Window = "";
    EXPECT_NE(Start(nullptr), "front 7") << "an empty part is no title";
    State.Set("EmailCmdline", "broken");
    Start(nullptr);
    EXPECT_EQ(Journal.Take(), std::vector<std::string>{"Title: \"broken\"\nreason"});
}

TEST_F(MailProgram, ThatDoesNotExistIsTold) {
    const std::unique_ptr<PROGRAMSTARTER> starter = MakeProgramStarter();
    const TEMPDIR dir;
    State.Set("EmailCmdline", dir.File("missing.exe"));
    StartMailProgram(nullptr, State, FrontEnd, Texts, *starter);
    const std::string told = Journal.Take().at(0);
    EXPECT_NE(told.find("missing.exe"), std::string::npos);
    EXPECT_GT(told.size(), Std(dir.File("missing.exe")).size() + 12) << told;
}

TEST_F(MailProgram, IsStartedWithItsArguments) {
    const std::unique_ptr<PROGRAMSTARTER> starter = MakeProgramStarter();
    const TEMPDIR dir;
#ifdef _WIN32
    State.Set("EmailCmdline", "%SystemRoot%\\system32\\cmd.exe");
    State.Set("EmailCmdlineInbox", STRING("/c echo the inbox>") || dir.File("out"));
    const std::string expected = "the inbox\r\n";
#else
    // In its own directory, with words in quotes as one argument.
    WriteBytes(dir.File("mail program"), "#!/bin/sh\necho \"$#:$1:$2\" >out.tmp\nmv out.tmp out\n");
    ASSERT_EQ(system(("chmod +x '" + dir.Native("mail program") + "'").c_str()), 0);
    State.Set("EmailCmdline", dir.File("mail program"));
    State.Set("EmailCmdlineInbox", "--show \"the inbox\"");
    const std::string expected = "2:--show:the inbox\n";
#endif
    StartMailProgram(nullptr, State, FrontEnd, Texts, *starter);
    EXPECT_TRUE(Journal.Take().empty());
    EXPECT_TRUE(
        Eventually([&] { return OSYS::FileExists(dir.File("out").Text()) && ReadBytes(dir.File("out")) == expected; }));
}

}  // namespace

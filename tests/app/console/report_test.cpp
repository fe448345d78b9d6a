#include "app/core/report.h"

#include "app/core/settings.h"
#include "app/demo/mailstore.h"
#include "app/demo/pop3service.h"
#include "app/mailbox/account.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "tests/app/core/applicationtest.h"
#include "tests/servers/scriptedserver.h"

namespace {

// Everything private holds this, and is otherwise itself alone.
constexpr const char* MARK = "mrk";

std::string Private(const char* text) {
    static int count = 0;
    return std::string(text) + MARK + std::to_string(++count);
}

class Report : public APPLICATIONTEST {
 protected:
    Report() {
        // The one that may be open is another test's.
        LogOption("/LOGITCLOSE");
    }
    ~Report() override { LogOption("/LOGITCLOSE"); }
    STRINGARRAY& Add(int type, const std::string& user, const std::string& password, const std::string& server) {
        STRINGARRAY item = Application.NewItem();
        item.Set("Name", Private("Account ").c_str());
        MAILACCOUNT::SetAddress(item, {type, STRING(std::string_view(user)), STRING(std::string_view(server))},
                                STRING(std::string_view(password)));
        for (const char* key : {"SpamFolder", "AltFolder"})
            item.Set(key, Private("Folder ").c_str());
        item.Set("SpecialMailProgram", Private("/opt/").c_str());
        item.Delete("Security");  // as earlier versions log in: in clear
        EXPECT_TRUE(Application.AddItem(item));
        return Application.Items[Application.Items.Count() - 1];
    }
    std::string Made() { return Std(REPORT::Make(Application, Arguments)); }
};

}  // namespace

TEST_F(Report, HoldsNothingPrivateAfterAFullTrace) {
    using namespace PLAY;
    STRINGARRAY& state = Application.pState;
    for (const char* key :
         {"EntryToMonitor", "HttpProxy", "EmailCmdline", "EmailCmdlineNewMail", "EmailWindowTitle", "SoundEmail",
          "SpamMyInterests", "SpamBadDynaWords", "SpamBadSubject", "SpamSmtp", "SpamSmtpUser", "SpamSmtpPassword",
          "SpamSmtpTrusted", "SpamDomainExceptions", "PopupMailDetails", "PopupFont"})
        state.Set(key, Private("x-").c_str());
    state.Set("SpamSmtpTo", (Private("to") + "@" + Private("home") + ".example").c_str());
    state.Set("HttpProxy", (Private("u") + ":" + Private("p") + "@" + Private("proxy") + ":3128").c_str());
    const std::string ownName = Private("Anna ");
    state.Set("SpamMyEmail", (Private("own") + "@" + Private("own") + ".example\r\n" + ownName).c_str());
    const std::string friendName = Private("Friend "), typeName = Private("Type ");
    WriteBytes(state.Get("SpamMyFriends"), "# the list\r\n" + friendName + "\r\n" + Private("f") + "@f.example\r\n");
    WriteBytes(state.Get("SpamFilename"), "S|35|free money\r\nB|35|click here\r\n");
    state.Set("SpamDoDomain", "0");  // no name service
    state.Set("EmailDoPopup", "0");  // no pause

    STRINGARRAY type(8, 8);
    type.Set("Name", typeName.c_str());
    FillTypeDefaults(type);
    Application.Types.AddOwned(std::make_unique<STRINGARRAY>(type));

    // One mailbox that is read, with mail, and servers that repeat what they were told.
    const std::string user = Private("user"), password = Private("pass word\" ");
    DEMOSTORE store;
    POP3SERVICE service(store, user, password);
    ASSERT_TRUE(service.Start());
    for (int i = 0; i < 3; ++i)
        store.Deliver("From: \"" + Private("Sender ") + "\" <" + Private("s") + "@s.example>\r\nTo: " + user +
                      "@a.example\r\nSubject: " + Private("free money ") + "!!!\r\n\tfolded " + Private("more ") +
                      "\r\nMessage-Id: <" + Private("id") + "@id.example>\r\nReceived: from " + Private("h") +
                      ".example ([10.1.2.3])\r\n\r\nClick here: http://" + Private("web") + ".example/" + Private("x") +
                      "\r\nviagra " + Private("cheap ") + "\r\n");
    Add(ITEMTYPE_POP3, user, password, "127.0.0.1:" + std::to_string(service.Port()));
    const std::string imapUser = Private("i") + "@" + Private("d") + ".example", imapPassword = Private("<g\xc3\xbc>");
    SCRIPTEDSERVER imap(SCRIPT{Send("* OK " + Private("host") + ".example ready\r\n"), ExpectPrefix("IMAPCMD_0 LOGIN"),
                               Send("IMAPCMD_0 NO [AUTHENTICATIONFAILED] " + imapUser + " / " + imapPassword + " of " +
                                    ownName + " from 84.1.2.3 at " + Private("host") + ".example\r\n"),
                               Silence()});
    Add(ITEMTYPE_IMAP, imapUser, imapPassword, imap.HostPort());
    STRINGARRAY& resting = Add(ITEMTYPE_IMAP, Private("r"), "", Private("nas") + ":1143");
    resting.Set("UpdateSuspended", "1");
    const bool locked = resting.AllowNewKeys(true);
    resting.Set("Source2Sealed", ("k1:" + Private("")).c_str());
    resting.AllowNewKeys(!locked);
    Add(ITEMTYPE_IMAP, Private("g") + "@gmail.com", "pw", "imap.gmail.com:993").Set("UpdateSuspended", "1");

    LogOption(("/LOGIT:" + Std(Data.File("full.log"))).c_str());
    LogOption("/LOG:4095");
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 0; i < Application.Items.Count(); ++i) {
            CHECKCYCLE::ForceRefresh(Application.Items[i], false);
            Application.Cycle().UpdateItem(Application.Items[i]);
        }
    const std::string log = ReadBytes(LogFile()), report = Made();
    for (const std::string& word : {std::string("'free money'/"), imapUser.substr(0, 4)})
        EXPECT_NE(log.find(word), log.npos) << "the trace should have had it: " << word;
    for (size_t at = 0; (at = ASCII::Find(report, MARK, at)) != report.npos; ++at)
        ADD_FAILURE() << report.substr(report.rfind('\n', at) + 1, 200);
    for (const char* address : {"10.1.2.3", "84.1.2.3", "Anna", "Friend ", "viagra", "g\xc3\xbc"})
        EXPECT_EQ(report.find(address), report.npos) << address;
    // And yet it tells what went wrong with whom.
    for (const char* part :
         {"1. <account 1>: , server 127.0.0.1:", "user <user 1>, password sealed", "NO [AUTHENTICATIONFAILED] <address",
          "of <name", "server <server", "password sealed, and cannot be opened", "server imap.gmail.com:993", "3 mails",
          "TimingCyclic=600", "PopupDuration=10\n", "EmailCmdline=<left out>", "Friends: 2\n",
          "TCP::WriteCommand before PASS <left out>", "TARNWICK::SpamFilter done, total msgs 3", PROGRAM_VERSION})
        EXPECT_NE(report.find(part), report.npos) << part << "\n" << report;
    EXPECT_LT(report.size(), size_t{300000});
}

TEST_F(Report, TellsOfAnEarlierRunOrOfNoTrace) {
    EXPECT_NE(Made().find(Numbered(TEXT_REPORT_NO_TRACE)), std::string::npos);
    std::string lines = "cut off\r\n";
    for (int i = 0; i < 1000; ++i)
        lines += "[0000.00:abc] BASEIO::Read line " + std::to_string(i) + "\r\n";
    WriteBytes(FILES::OwnFile("logit.log"), lines);
    const std::string report = Made();
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n') -
                  std::count(report.begin(), report.begin() + static_cast<long>(report.find("[0000")), '\n'),
              500);
    EXPECT_TRUE(report.ends_with("line 999\n"));
}

TEST_F(Report, NamesTheLanguageThatTheProgramSpeaks) {
    for (const auto& [option, language] : {std::pair{"/LANG:GER", "German"}, {"/LANG:ENGL", "English"}}) {
        const ARGUMENTS started("tarnwick", option);
        EXPECT_NE(Std(REPORT::Make(Application, started)).find(std::string("\nLanguage: ") + language + "\n"),
                  std::string::npos);
    }
}

TEST_F(Report, WritesNoHalfFileAndOverNoOther) {
    const auto save = [&](const STRING& path) {
        const STRING fault = REPORT::Save(Application, Arguments, path);
        return fault.NotNull() ? Std(fault) : "";
    };
    const STRING path = Data.File("report.txt");
    EXPECT_EQ(save(path), "");
    const std::string first = ReadBytes(path);
    EXPECT_EQ(save(path), "") << "over an earlier one";
    EXPECT_TRUE(ReadBytes(path).starts_with(first.substr(0, 20)));
    WriteBytes(Data.File("letter.txt"), "--- Tarnwick: my letter ---");
    EXPECT_EQ(save(Data.File("letter.txt")), Numbered(TEXT_REPORT_FOREIGN));
    EXPECT_EQ(ReadBytes(Data.File("letter.txt")), "--- Tarnwick: my letter ---");
    EXPECT_EQ(save(Data.File("trash")), Numbered(TEXT_REPORT_FOREIGN));
    EXPECT_EQ(save(Data.File("no\\such\\folder.txt")), Numbered(TEXT_REPORT_FAILED));
}

#include "app/core/datafiles.h"

#include <filesystem>

#include "app/core/settings.h"
#include "app/mailbox/account.h"
#include "corelib/base/files.h"
#include "resources/commands.h"
#include "tests/app/core/coresupport.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

/// The current directory stands for the program's, with the files as shipped; Data is the data directory.
class DataFiles : public ::testing::Test {
 protected:
    DataFiles() : Here(Program.Path()) { Reset(); }

    /// As after a new start of the program.
    void Reset() {
        State = STRINGARRAY(64, 64);
        Items = RECORDARRAY(64, 64);
        Types = RECORDARRAY(64, 64);
        NextHandle = 4096;
        Files = std::make_unique<DATAFILES>(DATATABLES{State, Items, Types, NextHandle, FrontEnd, Texts}, Data.Path());
    }
    void Start() {
        Reset();
        Files->RenameOldFiles();
        Files->LoadSettings();
        Files->LoadTables();
        Files->UpgradeSettings("");
    }
    std::string InData(const char* name) { return ReadBytes(Data.File(name)); }
    void WriteData(const char* name, const std::string& text) { WriteBytes(Data.File(name), text); }
    void WriteProgram(const char* name, const std::string& text) { WriteBytes(Program.File(name), text); }
    /// Dates a file back.
    static void SetAge(const std::string& nativePath, std::chrono::minutes age) {
        std::filesystem::last_write_time(nativePath, std::filesystem::file_time_type::clock::now() - age);
    }

    TEMPDIR Program;
    TEMPDIR Data;
    CURRENTDIR Here;
    RECORDER FrontEnd;
    NUMBEREDTEXTS Texts;
    STRINGARRAY State;
    RECORDARRAY Items{64, 64};
    RECORDARRAY Types{64, 64};
    int NextHandle = 4096;
    std::unique_ptr<DATAFILES> Files;
};

TEST_F(DataFiles, EveryMissingSettingGetsItsDefaultAndNoOther) {
    WriteData("tarnwick.ini",
              "popupduration=3\r\nSpamSmtp=\r\nPopupFont=\r\nSpamMyEmail=\r\nResetCounter=1\r\nMine=kept\r\n");
    Files->LoadSettings();
    EXPECT_EQ(Std(State.Get("PopupDuration")), "3");
    EXPECT_EQ(Std(State.Get("SpamMyEmail")), "");  // there, though empty
    EXPECT_EQ(Std(State.Get("ResetCounter")), "0");
    EXPECT_EQ(Std(State.Get("Mine")), "kept");
    EXPECT_EQ(Std(State.Get("PopupLaterDelay")), "15");
    EXPECT_EQ(Std(State.Get("PopupMailDetails")), Numbered(TEXT_MAIL_LINE));
    EXPECT_EQ(Std(State.Get("SpamFilename")), Data.Path() + std::string("\\spamdef.dat"));
    EXPECT_EQ(State.Count(), static_cast<int>(std::size(SETTINGS)) + 1);
    EXPECT_TRUE(State.IsLocked());
    EXPECT_TRUE(Files->SaveSettings());
    EXPECT_NE(InData("tarnwick.ini").find("Mine=kept\r\n"), std::string::npos);
}

TEST_F(DataFiles, OnlyANewDirectoryGetsTheValuesOfToday) {
    const char* const cases[][3] = {
        {nullptr, "", "1"},
        {"mailtypes.ini", "[#0]\r\nName=list\r\n\r\n", "1"},
        {"tarnwick.ini", "PopupDuration=3\r\n", "0"},
        {"tarnwick.ini", "TrashKeepUncopied=1\r\n", "1"},
        {"tarnwick.ini", "TrashKeepUncopied=\r\n", ""},
        {"tarnwick.ini", "", "0"},
        {"brackenhall.cfg", "PopupDuration=3\r\n", "0"},
        {"accounts.ini", "[#0]\r\nName=a\r\n\r\n", "0"},
        {"items.inf", "[#0]\r\nName=a\r\n\r\n", "0"},
        {"accounts.ini.bad", "garbage", "0"},
    };
    for (const auto& [file, text, keepsUncopied] : cases) {
        const TEMPDIR dir;
        if (file)
            WriteBytes(dir.File(file), text);
        // The second start follows a run that was killed when it had saved its first account.
        for (int start = 0; start < 2; ++start) {
            State = STRINGARRAY(64, 64);
            DATAFILES files(DATATABLES{State, Items, Types, NextHandle, FrontEnd, Texts}, dir.Path());
            files.RenameOldFiles();
            files.LoadSettings();
            EXPECT_EQ(Std(State.Get("TrashKeepUncopied")), keepsUncopied) << (file ? file : "") << " " << text;
            WriteBytes(dir.File("accounts.ini"), "[#0]\r\nName=a\r\n\r\n");
        }
    }
}

TEST_F(DataFiles, OldFilesGetTheirNewNamesUnlessThoseAreTaken) {
    const auto rename = [this](const std::vector<const char*>& present) {
        TEMPDIR dir;
        for (const char* name : present) {
            WriteBytes(dir.File(name), name);
        }
        DATAFILES(DATATABLES{State, Items, Types, NextHandle, FrontEnd, Texts}, dir.Path()).RenameOldFiles();
        std::string result;
        for (const char* name : {"tarnwick.ini", "accounts.ini", "mailtypes.ini"}) {
            result += OSYS::FileExists(dir.File(name).Text()) ? ReadBytes(dir.File(name)) : "-";
            result += ' ';
        }
        for (const char* name : present) {
            result += OSYS::FileExists(dir.File(name).Text()) ? '1' : '0';
        }
        return result;
    };
    EXPECT_EQ(rename({"tarnwick.cfg", "brackenhall.cfg"}), "tarnwick.cfg - - 01");
    EXPECT_EQ(rename({"brackenhall.cfg", "mailtypes.inf"}), "brackenhall.cfg - mailtypes.inf 00");
    EXPECT_EQ(rename({"accounts.inf", "items.inf"}), "- accounts.inf - 01");
    EXPECT_EQ(rename({"items.inf"}), "- items.inf - 0");
    EXPECT_EQ(rename({"mailtypes.inf", "mailtypes.ini"}), "- - mailtypes.ini 11");
}

TEST_F(DataFiles, FirstStartRunsTheWizardAndMakesTheFilesFromTheDefaults) {
    WriteProgram("def_types.ini", "[#0]\r\nName=list\r\n\r\n");
    WriteProgram("def_spamdef.dat", "S|1|x\r\n");
    WriteProgram("def_friends.dat", "friend\r\n");
    WriteProgram("def_badsenders.dat", "bad\r\n");
    FrontEnd.Wizard = [this] {
        STRINGARRAY item;
        item.Set("Name", "second");
        item.Set("Source2", "secret");
        Items.Add(item);
        item.Set("Name", "first");
        Items.Add(item);
        State.Set("ConnectionType", "0");
    };
    Start();
    EXPECT_EQ(FrontEnd.Wizards, 1);
    EXPECT_EQ(FrontEnd.Messages, std::vector<std::string>{Numbered(TEXT_TITLE) + ": " + Numbered(TEXT_WELCOME)});
    EXPECT_EQ(FrontEnd.Help, std::vector<int>{HELP_TOPIC_WELCOME});
    EXPECT_EQ(Std(State.Get("Version")), PROGRAM_VERSION);
    EXPECT_EQ(Types.Count(), 1);
    EXPECT_EQ(Std(Types[0].Get("SpamPoints")), "1");
    EXPECT_TRUE(Types[0].IsLocked());
    EXPECT_EQ(InData("spamdef.dat"), "S|1|x\r\n");
    EXPECT_EQ(InData("spamvars.dat"), "");
    EXPECT_EQ(InData("myfriends.dat"), "friend\r\n");
    EXPECT_EQ(InData("badsenders.dat"), "bad\r\n");
    EXPECT_NE(InData("accounts.ini").find("Name=first"), std::string::npos);  // right after the wizard

    Start();
    // A run that is killed leaves what the wizard has asked, and the greeting does not come again.
    EXPECT_EQ(FrontEnd.Wizards, 1);
    EXPECT_EQ(FrontEnd.Messages.size(), 1U);
    ASSERT_EQ(Items.Count(), 2);
    EXPECT_EQ(Std(Items[0].Get("Name")), "first");
    EXPECT_TRUE(Items[1].Exists("@Handle"));
    EXPECT_TRUE(FrontEnd.Questions.empty());
}

// Written by a version whose texts were in code page 1252.
TEST_F(DataFiles, TextsOfAnEarlierVersionBecomeUtf8AndTheFiltersStay) {
    WriteData("tarnwick.ini", "EmailWindowTitle=Entw\\xfcrfe\r\nSpamMyInterests=Gr\\xfc\\xdfe\r\nVersion=2.02\r\n");
    WriteData("accounts.ini",
              "[#0]\r\nName=B\\xfcro \\x80\r\nType=2\r\nSource=imap.x|J\\xf6rg\r\nSource2=={{/A==}}\r\nAltFolder="
              "\\xc4\\xb0\\xfc\r\nLastSeenIds=<\\xfc@x>\r\nUidValidity=5|\\xc4\\xb0\\xfc\r\n\r\n"
              "[#1]\r\nName=\\xce\\xa9\r\nType=1\r\nSource=pop.x|\\xe6\\x97\\xa5\r\n\r\n");
    WriteData("mailtypes.ini", "[#0]\r\nName=\\xdcbung\r\nKeywords=\\xdcbung\r\n\r\n");
    Start();
    EXPECT_EQ(State.Get("EmailWindowTitle"), "Entwürfe");
    EXPECT_EQ(State.Get("SpamMyInterests"), "Gr\xfc\xdf\x65");
    ASSERT_EQ(Items.Count(), 2);
    const auto value = [&](const char* key) { return Std(Items[0].Get(key)); };
    EXPECT_EQ(value("Name"), "Büro €");
    EXPECT_EQ(MAILACCOUNT::Address(Items[0]).User, "Jörg");
    EXPECT_EQ(MAILACCOUNT::Password(Items[0]), "ü");
    EXPECT_EQ(value("AltFolder"), "Ä°ü");
    EXPECT_EQ(value("UidValidity"), "5|Ä°ü");
    EXPECT_EQ(value("LastSeenIds"), "<\xfc@x>") << "a mail's own";
    EXPECT_EQ(Items[1].Get("Name"), "Ω");
    EXPECT_EQ(MAILACCOUNT::Address(Items[1]).User, "日");
    EXPECT_EQ(Types[0].Get("Name"), "Übung");
    EXPECT_EQ(Types[0].Get("Keywords"), "\xdc\x62ung");
    EXPECT_TRUE(Files->SaveTables(SAVE_ALL));
    const std::string saved = InData("accounts.ini");
    EXPECT_NE(saved.find("\r\nName=B\\xc3\\xbcro \\xe2\\x82\\xac\r\n"), std::string::npos) << saved;
    EXPECT_NE(saved.find("\r\nSource2=={{w7w=}}\r\n"), std::string::npos) << saved;
}

TEST_F(DataFiles, AUserWithoutMailTypesKeepsNone) {
    WriteProgram("def_types.ini", "[#0]\r\nName=list\r\n\r\n");
    Start();
    Types.DeleteAll();
    EXPECT_TRUE(Files->SaveTables(SAVE_TYPES));
    Start();
    EXPECT_EQ(Types.Count(), 0);
}

TEST_F(DataFiles, NewerDefinitionsAreTakenOverOrRefusedOnce) {
    WriteProgram("def_spamdef.dat", "shipped\r\n");
    SetAge(Program.Native("def_spamdef.dat"), std::chrono::minutes(30));
    WriteData("spamdef.dat", "mine\r\n");
    for (const bool answer : {false, true}) {
        SetAge(Data.Native("spamdef.dat"), std::chrono::minutes(60));
        FrontEnd.Questions.clear();
        FrontEnd.Answer = answer;
        Start();
        EXPECT_EQ(FrontEnd.Questions,
                  std::vector<std::string>{Numbered(TEXT_PRODUCT) + ": " + Numbered(TEXT_NEW_DEFINITIONS)});
        EXPECT_EQ(InData("spamdef.dat"), answer ? "shipped\r\n" : "mine\r\n");
        Start();
        EXPECT_EQ(FrontEnd.Questions.size(), 1U) << "asked again";
    }
    WriteData("spamdef.dat", "shipped\n");
    SetAge(Data.Native("spamdef.dat"), std::chrono::minutes(60));
    Start();
    EXPECT_EQ(FrontEnd.Questions.size(), 1U) << "nothing would change";
}

TEST_F(DataFiles, UpgradesRunByVersion) {
    const std::tuple<const char*, const char*, const char*, bool, bool> cases[] = {
        {"0.00", "", "1", false, true},  {"", "", "1", false, true},      {"0.50", "1", "0", true, true},
        {"1.01", "1", "0", true, false}, {"1.22", "", "0", true, false},  {"1.23", "", "1", true, false},
        {"2.01", "", "1", false, false}, {"9.00", "", "1", false, false},
    };
    for (const auto& [version, trayCheck, popupPosition, logDeleted, welcome] : cases) {
        FrontEnd.Messages.clear();
        FrontEnd.Help.clear();
        FrontEnd.Wizards = 0;
        WriteProgram("spamcheck.log", "x");
        WriteData("accounts.ini", "[#0]\r\nName=a\r\n\r\n[#1]\r\nName=b\r\n\r\n");
        WriteData("tarnwick.ini", std::string("ConnectionType=0\r\nPopupPosition=1\r\nVersion=") + version + "\r\n");
        Start();
        EXPECT_EQ(Std(Items[0].Get("TrayCheck")), trayCheck) << version;
        EXPECT_EQ(Std(Items[1].Get("TrayCheck")), "") << version;
        EXPECT_EQ(Std(State.Get("PopupPosition")), popupPosition) << version;
        EXPECT_EQ(OSYS::FileExists("spamcheck.log"), !logDeleted) << version;
        EXPECT_EQ(FrontEnd.Messages.size(), welcome ? 1U : 0U) << version;
        EXPECT_EQ(FrontEnd.Wizards, 0) << version;
        EXPECT_EQ(Std(State.Get("Version")), PROGRAM_VERSION) << version;
    }
}

TEST_F(DataFiles, TheWizardRunsUntilTheConnectionIsKnown) {
    const std::tuple<const char*, const char*, int> cases[] = {
        {"ConnectionType=-1\r\n", "Home", 1},
        {"ConnectionType=0\r\n", "", 0},
        {"ConnectionType=1\r\nEntryToMonitor=home\r\n", "Office|Home", 0},
        {"ConnectionType=1\r\nEntryToMonitor=gone\r\n", "Office|Home", 1},
    };
    for (const auto& [settings, entries, wizards] : cases) {
        FrontEnd.Wizards = 0;
        WriteData("tarnwick.ini", settings);
        Reset();
        Files->LoadSettings();
        Files->UpgradeSettings(entries);
        EXPECT_EQ(FrontEnd.Wizards, wizards) << settings;
        EXPECT_GE(State.GetNumber("ConnectionType"), 0) << "the wizard was cancelled: as if the line were always up";
    }
}

TEST_F(DataFiles, OnlyTheLastSaveTakesTheRunTimeFieldsOff) {
    WriteData("accounts.ini",
              "[#0]\r\nName=b\r\n@FileStore=stale\r\n@InUpdate=1\r\nUnknown=kept\r\nSource2=={{c2VjcmV0}}\r\n\r\n"
              "[#1]\r\nName=A\r\n\r\n");
    Start();
    ASSERT_EQ(Items.Count(), 2);
    EXPECT_EQ(Std(Items[0].Get("@InUpdate")), "0");
    EXPECT_EQ(Std(Items[0].Get("PopupTextColor")), Std(State.Get("PopupTextColor")));
    EXPECT_TRUE(Items[0].IsLocked());
    EXPECT_TRUE(Files->SaveTables(SAVE_ITEMS));
    EXPECT_NE(InData("accounts.ini").find("@Handle"), std::string::npos);
    EXPECT_TRUE(Files->SaveTables(SAVE_ALL));
    const std::string saved = InData("accounts.ini");
    EXPECT_EQ(saved.find('@'), std::string::npos);
    EXPECT_NE(saved.find("Unknown=kept\r\n"), std::string::npos);
    EXPECT_NE(saved.find("Source2=={{c2VjcmV0}}\r\n"), std::string::npos);
    EXPECT_LT(saved.find("Name=A"), saved.find("Name=b"));
    EXPECT_FALSE(Items[0].IsLocked());
}

TEST_F(DataFiles, AFailedSaveKeepsWhatIsOnTheDisk) {
    WriteData("accounts.ini", "[#0]\r\nName=a\r\n\r\n");
    Start();
    ASSERT_TRUE(OSYS::MakeDirectories(Data.File("mailtypes.ini").Text()));  // stands where the file must go
    EXPECT_FALSE(Files->SaveTables(SAVE_ALL));
    EXPECT_NE(InData("accounts.ini").find("Name=a"), std::string::npos);
    DATAFILES nowhere(DATATABLES{State, Items, Types, NextHandle, FrontEnd, Texts}, Data.File("gone").Text());
    EXPECT_FALSE(nowhere.SaveSettings());
    EXPECT_FALSE(nowhere.SaveTables(SAVE_ITEMS));
}

TEST_F(DataFiles, FilesWithPasswordsAreMadePrivate) {
    const auto expectPrivate = [this](const char* when) {
        for (const char* name : {"accounts.ini", "tarnwick.ini"}) {
            using std::filesystem::perms;
            const perms others = std::filesystem::status(Data.Native(name)).permissions() & perms(0077);
            EXPECT_TRUE(others == perms::none || FILES::NativePath("\\") != "/") << name << when;
            std::filesystem::permissions(Data.Native(name), perms(0644));
        }
    };
    WriteData("tarnwick.ini", "HttpProxy=user:word@host\r\n");
    WriteData("accounts.ini", "[#0]\r\nName=a\r\n\r\n");
    for (const char* name : {"accounts.ini", "tarnwick.ini"})
        std::filesystem::permissions(Data.Native(name), std::filesystem::perms(0644));
    Files->LoadSettings();
    Files->LoadTables();
    expectPrivate(" is read");
    EXPECT_TRUE(Files->SaveTables(SAVE_ITEMS));
    EXPECT_TRUE(Files->SaveSettings());
    expectPrivate(" is written");
}

TEST_F(DataFiles, PasswordsAreSealedInANewDirectory) {
    const char* const PLAIN = "Source2=={{c2VjcmV0}}\r\n";
    FrontEnd.Wizard = [this] {
        Items.Add(STRINGARRAY(STRING("Name=a"), 8, 8));
        MAILACCOUNT::SetAddress(Items[0], {1, "u", "s"}, "secret");
    };
    const auto save = [this] {
        State.Set("SpamSmtpPassword", State.Get("SpamSmtpPassword").Length() > 0 ? "posted" : "");
        EXPECT_TRUE(Files->SaveSettings() && Files->SaveTables(SAVE_ITEMS));
        return InData("accounts.ini");
    };
    const auto password = [this] { return Std(MAILACCOUNT::Password(Items[0])); };
    Start();
    State.Set("SpamSmtpPassword", "posted");
    const std::string sealed = save();
    EXPECT_EQ(sealed.find("c2VjcmV0"), sealed.npos) << "nor as Base64";
    EXPECT_EQ(InData("tarnwick.ini").find("posted"), std::string::npos);
    FrontEnd.Wizard = {};
    Start();
    EXPECT_EQ(password() + Std(State.Get("SpamSmtpPassword")), "secretposted");
    for (const char* proxy : {"me:proxied@p.example:3128", "p.example:3128"}) {
        State.Set("HttpProxy", proxy);
        save();
        EXPECT_EQ(InData("tarnwick.ini").find("p.example") == std::string::npos, strchr(proxy, '@') != nullptr);
        Start();
        EXPECT_EQ(Std(State.Get("HttpProxy")), proxy);
    }
    const auto sealedLine = [](const std::string& text) { return text.substr(text.find("Source2Sealed"), 60); };
    EXPECT_EQ(sealedLine(save()), sealedLine(sealed)) << "the same password is not sealed anew";

    // As after a move to another machine.
    const auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    };
    WriteData("accounts.ini", replaced(sealed, "Sealed=", "Sealed=x"));
    Start();
    EXPECT_TRUE(MAILACCOUNT::IsPasswordLocked(Items[0]));
    MAILACCOUNT::SetAddress(Items[0], {1, "u2", "s"}, MAILACCOUNT::Password(Items[0]));
    WriteData("accounts.ini", replaced(replaced(save(), "Sealed=x", "Sealed="), "s|u2", "s|u"));
    Start();
    EXPECT_EQ(password(), "secret") << "it was not lost";
    MAILACCOUNT::SetPassword(Items[0], "other");
    save();
    Start();
    EXPECT_EQ(password(), "other");
    MAILACCOUNT::SetPassword(Items[0], "");
    save();
    Start();
    EXPECT_FALSE(MAILACCOUNT::IsPasswordLocked(Items[0])) << "somebody has taken it away";

    MAILACCOUNT::SetPassword(Items[0], "secret");
    EXPECT_TRUE(Files->StorePasswords(false));
    EXPECT_NE(InData("accounts.ini").find(PLAIN), std::string::npos) << InData("accounts.ini");
    EXPECT_EQ(InData("accounts.ini").find("Sealed"), std::string::npos);
    EXPECT_NE(InData("tarnwick.ini").find("SpamSmtpPassword=posted\r\n"), std::string::npos);
    WriteData("tarnwick.ini", replaced(InData("tarnwick.ini"), "PasswordStore=0", "Mine=0"));
    Start();
    EXPECT_NE(save().find(PLAIN), std::string::npos) << "as ever in a directory of before";
#ifndef _WIN32
    {
        const VARIABLE nowhere("TARNWICK_REGISTRY", "/proc/nothing");
        FrontEnd.Messages.clear();
        EXPECT_FALSE(Files->StorePasswords(true));
        EXPECT_NE(save().find(PLAIN), std::string::npos) << "what cannot be sealed is not lost";
        EXPECT_EQ(FrontEnd.Messages.size(), 1U);
    }
#endif
    EXPECT_TRUE(Files->StorePasswords(true));
    EXPECT_EQ(InData("accounts.ini").find("c2VjcmV0"), std::string::npos);
}

TEST_F(DataFiles, DamagedFilesAreReadAsFarAsTheyGoAndNothingIsThrownAway) {
    WriteData("accounts.ini", "[#0]\r\nName=one\r\n\r\n[#1]\r\nName=two\r\nSource2=={{c2V");
    Start();
    ASSERT_EQ(Items.Count(), 2);
    EXPECT_TRUE(Items[1].Exists("@Handle") && Items[1].Exists("Source2"));
    WriteData("tarnwick.ini", "no equals sign\r\nPopupDuration=8\r\n=no key\r\n");
    const std::string garbage("\0\xff!garbage", 10);
    WriteData("accounts.ini", garbage);
    WriteData("mailtypes.ini", "garbage");
    Start();
    EXPECT_EQ(Std(State.Get("PopupDuration")), "8");
    EXPECT_EQ(Items.Count(), 0);
    EXPECT_EQ(InData("accounts.ini.bad"), garbage);
    EXPECT_EQ(InData("mailtypes.ini.bad"), "garbage");
}

}  // namespace

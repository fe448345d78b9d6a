#include <filesystem>

#include "app/check/items.h"
#include "app/dialogs/background.h"
#include "app/dialogs/fields.h"
#include "app/dialogs/itemform.h"
#include "app/dialogs/logintest.h"
#include "app/dialogs/typesform.h"
#include "app/notify/mailtypes.h"
#include "tests/app/apptest.h"
#include "tests/servers/scriptedserver.h"

namespace {

STRINGARRAY Item(const char* type, const char* source, const char* period) {
    STRINGARRAY state(STRING("PopupBackgroundColor=1\nPopupTextColor=2\n"), 8, 8);
    STRINGARRAY item;
    item["Name"] = "Näme";
    item["Type"] = type;
    item["Source"] = source;
    item["Source2"] = "secret";
    item["TimingCyclic"] = period;
    item["TrustedCertificate"] = "ab";
    int handle = FIRST_ITEM_HANDLE;
    FixItem(item, state, handle);
    return item;
}

std::string Summary(const STRINGARRAY& item) {
    std::string all;
    for (const char* key : {"Name", "Type", "Source", "Source2", "TimingCyclic", "TrustedCertificate"})
        all += Std(item.Get(key)) + ";";
    return all;
}

using CHANGES = std::vector<std::pair<const char*, const char*>>;

TEST(ItemForm, StoresWhatWasChanged) {
    const struct {
        const char *Type, *Source, *Period;
        CHANGES Changed;
        const char* After;
        bool Raised = false;
    } table[] = {
        {"1", "pop.example|anna", "125", {}, "Näme;1;pop.example|anna;secret;125;ab;"},
        {"2", "imap.example|anna|x", "600 s", {}, "Näme;2;imap.example|anna|x;secret;600 s;ab;"},
        {"2", "a|b", "", {{"Name", " new\t"}}, "new;2;a|b;secret;;ab;"},
        {"2", "a|b", "125", {{"TimingCyclic.Minutes", "3"}}, "Näme;2;a|b;secret;185;ab;"},
        {"1", "a|b", "125", {{"Source2", "nü"}}, "Näme;1;a|b;nü;125;ab;"},
        {"1", "a|b", "0", {{"Source.Server", " c:143 "}, {"Source.User", "d"}}, "Näme;1;c:143|d;secret;0;;"},
        {"2", "c:143|d", "0", {{"Security", "1"}}, "Näme;2;c|d;secret;0;ab;"},
        {"1", "a|b", "30", {{"Type.Kind", "2"}}, "Näme;3;hotmail|b;secret;60;ab;", true},
        {"3", "hotmail|b", "0", {}, "Näme;3;hotmail|b;secret;0;ab;"},
        {"5", "hotmail|b", "60", {}, "Näme;3;hotmail|b;secret;60;ab;"},
        {"0", "mapi|", "600", {}, "Näme;0;mapi|;secret;600;ab;"},
    };
    for (const auto& row : table) {
        STRINGARRAY item = Item(row.Type, row.Source, row.Period);
        ITEMFORM form(item);
        item.Set("LastValue", "by the work thread");
        for (const auto& [key, value] : row.Changed)
            form.Values.Set(key, value);
        EXPECT_EQ(form.Write(item), row.Raised);
        EXPECT_EQ(Summary(item), row.After);
        EXPECT_EQ(item.Get("LastValue"), "by the work thread");
        EXPECT_EQ(item.Get("Source2").GetFlags() & STRINGFLAG_BINARY, STRINGFLAG_BINARY);
    }
}

TEST(ItemForm, KeepsAKindThatItDoesNotKnow) {
    EXPECT_ASSERTIONS(2);
    for (const bool chosen : {false, true}) {
        STRINGARRAY item = Item("9", "what|ever", "60");
        ITEMFORM form(item);
        EXPECT_EQ(form.Values.Get("Type.Kind"), "-1");
        if (chosen)
            form.Values.Set("Type.Kind", "0");
        EXPECT_FALSE(form.Write(item));
        EXPECT_EQ(Summary(item), chosen ? "Näme;1;what|ever;secret;60;ab;" : "Näme;9;what|ever;secret;60;ab;");
    }
}

TEST(TypesForm, KeepsNamesApartAndTheOrder) {
    RECORDARRAY types(4, 4);
    TYPESFORM form(types);
    int message = 0;
    for (const char* name : {"b", "a", " c "})
        form.Add(name, message);
    for (const auto& [name, fault] : {std::pair{"A", TEXT_TYPE_EXISTS}, {" ", TEXT_TYPE_NO_NAME}}) {
        EXPECT_EQ(form.Add(name, message), -1);
        EXPECT_EQ(message, fault);
    }
    EXPECT_NE(form.Types[0].GetNumber("Color"), form.Types[0].GetNumber("TextColor")) << "it could not be read";
    EXPECT_EQ(TYPESFORM::NameFault(form.Types, "A", 1), 0);
    EXPECT_EQ(TYPESFORM::NameFault(form.Types, "B", 1), TEXT_TYPE_EXISTS);
    const auto order = [&] {
        std::string all;
        for (int i = 0; i < form.Types.Count(); ++i)
            all += Std(form.Types[i].Get("Name"));
        return all;
    };
    const std::tuple<int, int, int, const char*> moves[] = {
        {0, -1, 0, "bac"}, {2, 1, 2, "bac"}, {2, -1, 1, "bca"}, {0, 1, 1, "cba"}, {-1, 1, -1, "cba"}};
    for (const auto& [place, by, where, after] : moves) {
        EXPECT_EQ(form.Move(place, by), where);
        EXPECT_EQ(order(), after);
    }
    form.Delete(1);
    EXPECT_EQ(order(), "ca");
    EXPECT_EQ(form.Types[0].Get("SpamPoints"), "1");
}

TEST(Sounds, AreKnownByTheirBeginning) {
    const TEMPDIR dir;
    const std::pair<const char*, bool> table[] = {{"RIFF\x10\x20\x30\x40WAVEfmt ", true},
                                                  {"RIFF\x10\x20\x30\x40"
                                                   "AVI fmt ",
                                                   false},
                                                  {"RIFF", false},
                                                  {"", false}};
    for (const auto& [bytes, sound] : table) {
        WriteBytes(dir.File("file"), bytes);
        EXPECT_EQ(IsSoundFile(dir.File("file")), sound) << bytes;
    }
    EXPECT_FALSE(IsSoundFile(dir.File("missing")) || IsSoundFile(dir.Path()));
    // As long as a film: the window waits for the look at it.
    WriteBytes(dir.File("file"), table[0].first);
    std::filesystem::resize_file(dir.Native("file"), 3LL << 30);
    EXPECT_TRUE(IsSoundFile(dir.File("file")));
}

TEST(LoginTest, IsBrokenOffWithItsDialog) {
    const NUMBERTEXTS texts;
    STRINGARRAY settings;
    FillSettings(settings, {});
    SCRIPTEDSERVER server({PLAY::Send("+OK\r\n"), PLAY::Expect("USER anna"), PLAY::Silence()});
    const auto start = std::chrono::steady_clock::now();
    bool done = false;
    STRING certificate;
    {
        const BACKGROUND login(
            [&](const STOPQUESTION& stopAsked) {
                (void)LoginOutcome(Item("1", (server.HostPort() + "|anna").c_str(), "60"), settings, texts, stopAsked,
                                   certificate);
            },
            [&] { done = true; });
    }
    EXPECT_TRUE(done);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace

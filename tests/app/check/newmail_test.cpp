#include "app/check/newmail.h"

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "tests/app/check/fakes.h"

namespace {

class NewMail : public testing::Test {
 protected:
    NewMail() {
        FillSettings(State, {{"SpamDoIgnore", "0"}});
        int handle = FIRST_ITEM_HANDLE;
        FixItem(Item, State, handle);
    }
    std::string Check(const std::string& listing, bool asked = false) {
        const STRING before = Item.Get("LastSeenIds");
        return Std(HandleNewMail(Item, STRING(std::string_view(listing)), before, asked,
                                 {State, Texts, Trash, Notifier}, PopupOpened));
    }
    static std::string Mail(const std::string& id, const char* more = "") {
        return "Message-Id: " + id + "\n" + more + "\nbody\n\1";
    }
    std::string Value(const char* key) const { return Std(Item.Get(key)); }

    STRINGARRAY State;
    const TEXTS& Texts = FAKETEXTS;
    TRASHSTORE Trash;
    RECORDINGNOTIFIER Notifier;
    STRINGARRAY Item;
    bool PopupOpened = false;
};

using LIST = std::vector<std::string>;

TEST_F(NewMail, TellsEachMailOnce) {
    Notifier.Popup = true;
    EXPECT_EQ(Check("2 msgs|2 unread|0 bytes\n" + Mail("a") + Mail("b")), "2 mails (2 unread)");
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"new 2 mails (2 unread) (2 new) last 1"});
    EXPECT_TRUE(PopupOpened);
    EXPECT_EQ(Value("LastSeenIds"), "a|b");
    EXPECT_EQ(Value("LastRC"), "2|2");

    // Ids are compared without regard to case, and a mail that was marked unread again is not new.
    EXPECT_EQ(Check("2 msgs|1 unread|0 bytes\n" + Mail("A", "Seen: 1\n") + Mail("b")), "2 mails (1 unread)");
    EXPECT_EQ(Notifier.TakeCalls(), LIST{});
    EXPECT_FALSE(PopupOpened);

    EXPECT_EQ(Check("1 msgs|0 unread|0 bytes\n" + Mail("c", "Seen: yes\n")), "1 mail (0 unread)");
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"new 1 mail (0 unread) (1 new) last 0"});
    EXPECT_EQ(Value("LastSeenIds"), "c") << "what has left the server is forgotten";
}

TEST_F(NewMail, SummaryDecidesWhatIsKnown) {
    const std::string mails = Mail("a") + Mail("b", "Seen: 1\n");
    const std::tuple<std::string, const char*, const char*> CASES[] = {
        {"2 msgs|2 ?unread|99 bytes\n" + mails, "2 mails", "2|1?"},
        {"2 msgs|? unread|0 bytes\n" + mails, "2 mails", "2|1?"},
        {"2 msgs|7 unread|0 bytes\n" + mails, "2 mails (1 unread)", "2|1"},
        {"2 msgs\n" + mails, "2 mails", "2|1?"},
        {"0 msgs|0 unread|0 bytes\n", "No mails", "0|0"},
        {"0 msgs|0 unread|0 bytes\n\1", "No mails", "0|0"},
        {"0 msgs|0 ?unread|0 bytes\n", "No mails", "0|0?"},
    };
    for (const auto& [listing, status, lastRc] : CASES) {
        EXPECT_EQ(Check(listing), status) << listing;
        EXPECT_EQ(Value("LastRC"), lastRc) << listing;
    }
    EXPECT_EQ(Value("LastSeenIds"), "");
}

TEST_F(NewMail, ShowsAllOnce) {
    const std::string listing = "1 msgs|1 ?unread|0 bytes\n" + Mail("a");
    Check(listing);
    Item.Set("LastSeenIds", "<showall>");
    Notifier.TakeCalls();
    Check(listing);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"new 1 mail (1 new) last 0 all unknown"});
    EXPECT_EQ(Value("LastSeenIds"), "a");
    Check(listing);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{});
}

std::string Identity(const std::string& block) {
    RECORDARRAY records(1, 1);
    BuildMailHash(STRING("1 msgs|\n") || block.c_str(), records);
    return NameOf(records[0]).Identity;
}

TEST_F(NewMail, IdsMeanNothingUnderAnotherUidValidity) {
    const std::tuple<const char*, const char*, bool> CASES[] = {
        {"", "7", false}, {"7", "7", false}, {"7", "8", true}, {"8", "8|spam", true}, {"8", "", false}};
    const std::string listing = "1 msgs|1 unread|0 bytes\n" + Mail("1");
    Item.Set("DoSpamFilter", "0");
    for (const auto& [before, now, forgets] : CASES) {
        Item.Set("UidValidity", before);
        Item.Set("LastSeenIds", "1");
        for (const char* key : {"@DeleteMessageId", "@MoveMessageId", "@X-DeleteMessageId"})
            Item.Set(key, "1\n");
        Item.Set("@X-DeleteMail", Identity(Mail("1")).c_str());
        Item.Set("@UidValidity", now);
        Check(listing);
        EXPECT_EQ(Notifier.TakeCalls().size(), forgets ? 1U : 0U) << before << " to " << now;
        EXPECT_EQ(Value("UidValidity"), now);
        EXPECT_EQ(Value("LastSeenIds"), "1");
        for (const char* key : {"@DeleteMessageId", "@MoveMessageId", "@X-DeleteMessageId"})
            EXPECT_EQ(Value(key), forgets ? "" : "1\n") << key;
    }
}

TEST_F(NewMail, ThePopupsMailIsKnownByItsPresentId) {
    const auto mail = [](const char* name, const std::string& id) {
        return Mail(name, ("X-Message-Id: " + id + "\n").c_str());
    };
    const std::pair<std::string, const char*> CASES[] = {
        {"3 msgs|3 ?unread|9 bytes\n" + mail("c", "3|400") + mail("b", "2|400") + mail("a", "1|400"), "2|400\n"},
        {"1 msgs|1 ?unread|9 bytes\n" + mail("c", "3|400"), ""},
        {"2 msgs|2 ?unread|9 bytes\n" + mail("b", "3|400") + mail("b", "2|400"), ""},
        // Other mails with the same Message-Id.
        {"1 msgs|1 ?unread|9 bytes\n" + mail("b", "2|401"), ""},
        {"1 msgs|1 ?unread|9 bytes\n" + Mail("b", "X-Message-Id: 2|400\nSubject: copied\n"), ""},
    };
    for (const auto& [listing, wantedId] : CASES) {
        Item.Set("@X-DeleteMessageId", "3|400\n");
        Item.Set("@X-DeleteMail", Identity(mail("b", "3|400")).c_str());
        Check(listing);
        EXPECT_EQ(Value("@X-DeleteMessageId"), wantedId) << listing;
    }
}

TEST_F(NewMail, TellsOnceOfSpamThatGoes) {
    const TEMPDIR dir;
    Trash.SetDirectory(dir.Path());
    for (const auto& [name, points] : {std::pair{"Delete", "500"}, {"Trash", "300"}, {"Move", "100"}}) {
        State.Set((STRING("SpamDo") || name).Text(), "1");
        State.Set((STRING("Spam") || name || "Points").Text(), points);
    }
    Item.Set("Type", "2");
    Item.Set("DoSpamMove", "1");
    std::string listing = "4 msgs|4 unread|0 bytes\n" + Mail("a", "X-SpamPoints: 500\n") + Mail("b") +
                          Mail("c", "X-SpamPoints: 300\n") + Mail("d", "X-SpamPoints: 100\n");
    Check(listing);
    EXPECT_EQ(Notifier.TakeCalls(),
              (LIST{"new 4 mails (1 unread) (1 new) last 1", "gone trashed c deleted a moved d"}));
    Check(listing);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{}) << "the server keeps them, which is no news";
    // What has no copy did not go to the trash.
    Trash.SetDirectory(dir.File("gone\\no\\place"));
    WriteBytes(dir.File("gone"), "a file");
    Check("1 msgs|1 unread|0 bytes\n" + Mail("e", "X-SpamPoints: 300\n"));
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"gone deleted e"});
}

TEST_F(NewMail, WhatIsCondemnedIsNotKnownToTheNextCheck) {
    State.Set("SpamDoDelete", "1");
    Item.Set("@ListedMails", "scope\nstate\n0 a\n-1 b\n2 c\n");
    Check("3 msgs|3 unread|0 bytes\nX-SpamPoints: 0\n" + Mail("a") + "X-SpamPoints: 900\n" + Mail("b") +
          "X-SpamPoints: 0\n" + Mail("c"));
    EXPECT_EQ(Value("@DeleteMessageId"), "b\n");
    EXPECT_EQ(Value("@ListedMails"), "scope\nstate\n0 a\n- b\n2 c\n");
}

TEST_F(NewMail, AnswersWhoAsks) {
    const std::string listing = "1 msgs|1 unread|0 bytes\n" + Mail("a");
    Check(listing, true);
    EXPECT_EQ(Notifier.TakeCalls().size(), 1U) << "new mail is the answer";
    Notifier.Popup = true;
    Item.Set("@SuppressPopup", "1");
    Check(listing, true);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{});
    EXPECT_EQ(Value("@SuppressPopup"), "0");
    Check(listing, true);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"nothing new"});
    EXPECT_TRUE(PopupOpened);
}

TEST_F(NewMail, WhatIsNewHasItsTextsThoughTheMailWasThereBefore) {
    std::string listing = "40 msgs|40 unread|0 bytes\n", known = "scope\nstate\n";
    for (int i = 0; i < 40; ++i) {
        listing += "X-SpamPoints: 0\n" + Mail(std::to_string(i));
        known += std::to_string(i) + " id\n";
    }
    Check(listing);
    Item.Set("@ListedMails", known.c_str());
    STRING ids = Item.Get("LastSeenIds");
    ids.Replace("|37|", "|");
    Item.Set("LastSeenIds", ids);
    Notifier.TakeCalls();
    Check(listing);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"new 40 mails (40 unread) (1 new) last 37"});
    EXPECT_EQ(Notifier.LastBody, "body\n");
}

TEST_F(NewMail, NoIdMakesAMailNewForEver) {
    const TEMPDIR dir;
    for (const std::string& id :
         {std::string("a\0z", 3), std::string("<a|b@x>"), std::string("||"), std::string("|"), std::string("<showall>"),
          std::string("<NULL>"), std::string("={{x}}"), std::string("\x1a \t\\n\r\xff")}) {
        for (const std::string& listing :
             {"1 msgs|1 unread|0 bytes\n" + Mail(id), "3 msgs|3 unread|0 bytes\n" + Mail("b") + Mail(id) + Mail("c")}) {
            Item.Set("LastSeenIds", "");
            Check(listing);
            EXPECT_EQ(Notifier.TakeCalls().size(), 1U);
            EXPECT_NE(stricmp(Item.Get("LastSeenIds").Text(), SHOW_ALL_IDS, true), 0) << "not a mail's to say";
            Check(listing);
            EXPECT_EQ(Notifier.TakeCalls(), LIST{}) << id;
            // The next run reads the list from a file.
            STRINGARRAY loaded;
            ASSERT_TRUE(Item.Save(dir.File("item").Text()) && loaded.Load(dir.File("item").Text()));
            Item.Set("LastSeenIds", loaded.Get("LastSeenIds"));
            Check(listing);
            EXPECT_EQ(Notifier.TakeCalls(), LIST{}) << id << " from a file";
        }
    }
}

TEST_F(NewMail, AListingWithGapsForgetsNothing) {
    EXPECT_ASSERTIONS(4);
    EXPECT_EQ(Check("3 msgs|0 unread|0 bytes\n" + Mail("x")), "3 mails (1 unread)") << "as the records say";
    EXPECT_EQ(Value("LastRC"), "3|1");
    Check("4 msgs|4 unread|0 bytes\n" + Mail("d") + Mail("c") + Mail("b") + Mail("A"));
    Check("5 msgs|5 unread|0 bytes\n" + Mail("e") + Mail("D"));
    EXPECT_EQ(Value("LastSeenIds"), "e|D|c|b|A");
    Notifier.TakeCalls();
    Check("5 msgs|5 unread|0 bytes\n" + Mail("e") + Mail("d") + Mail("c") + Mail("b") + Mail("a"));
    EXPECT_EQ(Notifier.TakeCalls(), LIST{});
    Check("2 msgs|2 unread|0 bytes\n" + Mail("f"));
    EXPECT_EQ(Value("LastSeenIds"), "f|b|a") << "no more than the server can have";
    Item.Set("LastSeenIds", SHOW_ALL_IDS);
    Check("2 msgs|2 unread|0 bytes\n" + Mail("f"));
    EXPECT_EQ(Value("LastSeenIds"), "f");
}

TEST_F(NewMail, TellsOfMailsWithoutACopyUntilTheyAreGone) {
    State.Set("SpamDoTrash", "1");
    State.Set("SpamTrashPoints", "0");
    const TEMPDIR dir;
    WriteBytes(dir.File("occupied"), "no directory");
    Trash.SetDirectory(dir.File("occupied"));
    Item.Set("Type", "2");
    const std::string one = "1 msgs|1 unread|0 bytes\n" + Mail("a"), none = "0 msgs|0 unread|0 bytes\n";
    EXPECT_EQ(Check(one), "1 mail (0 unread) - 1 not copied");
    EXPECT_EQ(Item.GetNumber("@ForceRefresh"), 1);
    EXPECT_EQ(Check(none), "No mails - 1 not copied") << "the pass that deletes comes at once";
    EXPECT_EQ(Check(none), "No mails");
    State.Set("TrashKeepUncopied", "1");
    for (int check = 0; check < 2; ++check)
        EXPECT_EQ(Check(one), "1 mail (0 unread) - 1 not copied");
    EXPECT_EQ(Item.GetNumber("@ForceRefresh"), 1) << "nothing to carry out";
    Trash.SetDirectory(dir.Path());
    EXPECT_EQ(Check(one), "1 mail (0 unread)");
}

}  // namespace

#include "app/mailbox/account.h"

#include "tests/support/testsupport.h"

namespace {

STRINGARRAY Item(int type, const char* source) {
    STRINGARRAY item;
    item.SetNumber("Type", type);
    item.Set("Source", source);
    item.Set("Source2", "");
    return item;
}

// Accounts of earlier versions and of each way to make one are the same account.
TEST(MailAccount, KnowsAMailboxInEveryStoredForm) {
    const struct {
        int Type;
        const char *Source, *User, *Server, *Host, *Stored, *Password;
    } cases[] = {
        {ITEMTYPE_POP3, "pop.x:995|me@y", "me@y", "pop.x:995", "pop.x:995", "pop.x:995|me@y", "secret"},
        {ITEMTYPE_IMAP, "imap.x", "", "imap.x", "imap.x", "imap.x|", "secret"},
        {ITEMTYPE_IMAP, "", "", "", "", "|", "secret"},
        {ITEMTYPE_HOTMAIL, "hotmail|anna", "anna", "", "webmail.example", "hotmail|anna", "secret"},
        {ITEMTYPE_HOTMAIL, "|anna", "anna", "", "webmail.example", "hotmail|anna", "secret"},
        {ITEMTYPE_HOTMAIL, "127.0.0.1:80|anna", "anna", "", "webmail.example", "hotmail|anna", "secret"},
        {5, "hotmail|anna", "anna", "", "", "hotmail|anna", "secret"},
        {ITEMTYPE_MAPI, "mapi|x", "", "", "", "mapi|", ""},
        {7, "a|b", "b", "a", "a", "a|b", "secret"},
        {ITEMTYPE_POP3, "pop.x|Γιώργος", "Γιώργος", "pop.x", "pop.x", "pop.x|Γιώργος", "パス"},
    };
    EXPECT_EQ((MAILADDRESS{ITEMTYPE_POP3, "me", "Pop.X"}), (MAILADDRESS{ITEMTYPE_POP3, "me", "pop.x"}));
    EXPECT_NE((MAILADDRESS{ITEMTYPE_POP3, "Me", "pop.x"}), (MAILADDRESS{ITEMTYPE_POP3, "me", "pop.x"}));
    for (const auto& c : cases) {
        STRINGARRAY item = Item(c.Type, c.Source);
        const MAILADDRESS address = MAILACCOUNT::Address(item);
        EXPECT_EQ(address, (MAILADDRESS{c.Type, c.User, c.Server})) << c.Source;
        EXPECT_EQ(address.Host(), c.Host) << c.Source;
        MAILACCOUNT::SetAddress(item, address, *c.Password ? c.Password : "unused");
        EXPECT_EQ(item.Get("Source"), c.Stored) << c.Source;
        EXPECT_EQ(MAILACCOUNT::Address(item), address) << c.Source;
        EXPECT_EQ(MAILACCOUNT::Password(item), c.Password) << c.Source;
        EXPECT_EQ(item.Get("Source2").GetFlags() & STRINGFLAG_BINARY, STRINGFLAG_BINARY) << c.Source;
    }
}

// As a file in the code page has them, or somebody has written %FC.
TEST(MailAccount, TakesWhatIsNoUtf8ForTheCodePage) {
    STRINGARRAY item = Item(ITEMTYPE_IMAP, "");
    MAILACCOUNT::SetAddress(item, {ITEMTYPE_IMAP, "J\xfcrgen", "imap.x"}, "\x80uro");
    EXPECT_EQ(MAILACCOUNT::Address(item).User, "Jürgen");
    EXPECT_EQ(MAILACCOUNT::Password(item), "€uro");
    EXPECT_EQ(item.Get("Source2").GetFlags() & STRINGFLAG_BINARY, STRINGFLAG_BINARY);
}

TEST(MailAccount, ReadsItsCountsFromAnyText) {
    const std::tuple<const char*, MAILCOUNTS, const char*> cases[] = {
        {"12|3", {12, 3, true, false}, "12|3"},
        {"12|3?", {12, 3, false, false}, "12|3?"},
        {"0E|0E", {0, 0, true, true}, "0E|0E"},
        {"0E", {0, 0, true, true}, "0E|0E"},
        {"", {}, "0|0"},
        {"7", {7, 0, true, false}, "7|0"},
        {"7?|x", {7, 0, true, false}, "7|0"},
        {"|?", {0, 0, false, false}, "0|0?"},
        {"4|2|9?", {4, 2, true, false}, "4|2"},
    };
    for (const auto& [text, wanted, written] : cases) {
        STRINGARRAY item;
        item.Set("LastRC", text);
        const MAILCOUNTS counts = MAILACCOUNT::Counts(item);
        EXPECT_TRUE(counts == wanted) << text;
        MAILACCOUNT::SetCounts(item, counts);
        EXPECT_EQ(item.Get("LastRC"), written) << text;
    }
}

TEST(MailAccount, SecurityTellsSchemeAndPort) {
    constexpr int POP = ITEMTYPE_POP3, IMAP = ITEMTYPE_IMAP;
    const std::tuple<int, int, const char*, const char*> ways[] = {
        {POP, SECURITY_NONE, "pop3://", "h:110"},      {POP, SECURITY_TLS, "pop3s://", "h:995"},
        {IMAP, SECURITY_TLS, "imaps://", "h:993"},     {IMAP, SECURITY_STARTTLS, "imap+tls://", "h:143"},
        {ITEMTYPE_HOTMAIL, SECURITY_NONE, "", "h:80"}, {ITEMTYPE_HOTMAIL, SECURITY_TLS, "webmail://", "h:443"}};
    for (const auto& [type, security, scheme, destination] : ways) {
        EXPECT_EQ(Std(MAILACCOUNT::Scheme(type, security)), scheme);
        EXPECT_EQ(Std(MAILACCOUNT::Destination("h", type, security)), destination);
    }
    const std::tuple<const char*, int, int, const char*> changes[] = {
        {"h:143", SECURITY_STARTTLS, SECURITY_TLS, "h"},
        {"h:993", SECURITY_TLS, SECURITY_NONE, "h"},
        {"h:143", SECURITY_NONE, SECURITY_STARTTLS, "h:143"},
        {"h:1143", SECURITY_NONE, SECURITY_TLS, "h:1143"}};
    for (const auto& [server, before, after, follows] : changes)
        EXPECT_EQ(Std(MAILACCOUNT::FollowPort(server, IMAP, before, after)), follows);
    STRINGARRAY item;
    item.SetNumber("Type", IMAP);
    EXPECT_FALSE(MAILACCOUNT::Security(item).IsModern);
    for (const auto& [stored, kind] : {std::pair{"", 0}, {"0", 0}, {"1", 1}, {"2", 2}, {"3", 1}, {"no", 1}}) {
        item.Set("Security", stored);
        EXPECT_EQ(MAILACCOUNT::Security(item).IsModern, *stored != 0);
        EXPECT_EQ(MAILACCOUNT::Security(item).Kind, kind);
    }
    item.SetNumber("Type", ITEMTYPE_MAPI);
    EXPECT_EQ(MAILACCOUNT::Security(item).Kind, SECURITY_NONE) << "there is no line";
}

}  // namespace

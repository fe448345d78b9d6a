#include "app/check/persontext.h"

#include "app/check/items.h"
#include "app/mailbox/protection.h"
#include "tests/support/testsupport.h"

#define OTHER_SHA256 "fffffffff0123456789abcdef0123456789abcdef0123456789abcdef0123456"
#define SHA256 "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"

namespace {

// Texts that show their numbers and what is filled in.
class SHORTTEXTS : public TEXTS {
 public:
    STRING Get(int id) const override {
        STRING text;
        text.Format(
            id == 10201 || id == 10202 || id == 10204 || id == 10213 || id == 10224 || id == 10239 ? "<%d $1>" : "<%d>",
            id);
        return id == 3006    ? STRING("Error: ")
               : id == 10225 ? STRING("<10225 $1|$2>")
               : id == 10226 ? STRING("old|early|other|unknown|own|gone|weak|bad")
                             : text;
    }
};

std::string Shown(const char* value, int type = ITEMTYPE_POP3, const char* source = "pop.x:110|me",
                  const char* counts = FAILED_COUNTS, int security = SECURITY_NONE) {
    STRINGARRAY item;
    item.SetNumber("Type", type);
    item.Set("Source", source);
    item.Set("LastRC", counts);
    item.SetNumber("Security", security);
    if (strstr(value, "Certificate")) {
        item.SetNumber("Security", SECURITY_TLS);
        item.Set(REFUSED_CERTIFICATE, SHA256);
    }
    return Std(PersonText(value, item, SHORTTEXTS()));
}

}  // namespace

TEST(PersonText, TellsWhyACheckHasFailed) {
    constexpr int POP = ITEMTYPE_POP3, IMAP = ITEMTYPE_IMAP, WEB = ITEMTYPE_HOTMAIL;
    const struct {
        const char* Recorded;  // after "Error: "
        const char* Shown;     // after the same
        int Type = ITEMTYPE_POP3;
        const char* Source = "pop.x:110|me";
        int Security = SECURITY_NONE;
    } cases[] = {
        // Silence, hang-ups and ports on which everybody else speaks first in another way.
        {"", "<10200>"},
        {"", "<10204 995>", POP, "pop.x:995|me"},
        {"Remote disconnected", "<10203>"},
        {"Remote disconnected", "<10204 993>", IMAP, "imap.x:993|me"},
        {"", "<10204 993>", IMAP, "imap.x:993|me", SECURITY_STARTTLS},
        {"", "<10200>", IMAP, "imap.x:993|me", SECURITY_TLS},
        {"Recv failed", "<10203>", POP, "pop995|me"},
        {"999 TLS only", "<10204 1110>", POP, "pop.x:1110|me"},
        {"999 TLS only", "<10204 143>", IMAP, "imap.x|me"},
        {"No response", "<10201 pop.x:995>", POP, "pop.x:995|me"},
        {"Host not found", "<10202 pop.x>"},
        {"TCPIO 999 Timeout", "<10200>", WEB, "|me"},
        {"WEBGET 999 Read Timeout", "<10200>", WEB, "|me"},
        {"500 Host not found", "<10202 webmail.example>", WEB, "|me"},
        // What our own side did not understand.
        {"IMAP99 BAD 'EXISTS' not found", "<10205>", IMAP},
        {"999 STAT result error", "<10205>"},
        {"\x01\x02", "<10205>"},
        {"* OK [CAPABILITY IMAP4rev1 AUTH=PLAIN] Dovecot ready.", "<10205>"},
        {"+OK Dovecot ready.", "<10205>", IMAP},
        // A refused login: the server's words, and what to do.
        {"IMAPCMD_0 NO Login failed.", "Login failed. <10208>", IMAP},
        {"IMAPCMD_0 NO [AUTHENTICATIONFAILED] You again?", "You again? <10208>", IMAP},
        {"IMAPCMD_0 NO [PRIVACYREQUIRED] Not like this.", "Not like this. <10209>", IMAP},
        {"* BYE [ALERT] [X] Use TLS to authenticate", "Use TLS to authenticate. <10209>", IMAP},
        {"-ERR [AUTH] Authentication failed.", "Authentication failed. <10208>"},
        {"[AUTH] Plaintext authentication disallowed", "Plaintext authentication disallowed. <10209>"},
        {"[AUTH]", "<10207>. <10208>"},
        {"401 Unauthorized", "<10207> <10208>", WEB, "|me"},
        // What is known of it tells what to do.
        {"IMAPCMD_0 NO [ALERT] Application-specific password required: https://x.example",
         "Application-specific password required: https://x.example. <10216>", IMAP},
        {"IMAPCMD_0 NO [ALERT] Please log in via your web browser", "Please log in via your web browser. <10217>",
         IMAP},
        {"IMAPCMD_0 NO [WEBALERT https://x.example] Go there", "Go there. <10217>", IMAP},
        {"-ERR [IN-USE] Unable to lock maildrop", "Unable to lock maildrop. <10218>"},
        {"* BYE [UNAVAILABLE] Later", "Later. <10221>", IMAP},
        {"[SYS/TEMP] Temporary authentication failure", "Temporary authentication failure. <10221>"},
        {"[AUTH] This account is locked", "This account is locked. <10219>"},
        {"IMAPCMD_2 NO [LIMIT] Too many messages", "Too many messages. <10218>", IMAP},
        // Lines that were not protected as they should be.
        {"999 No STARTTLS", "<10222>"},
        {"999 No login method", "<10209>", IMAP},
        {"TLS failed", "<10224 >"},
        {"TLS failed: the server speaks without TLS", "<10239 143>", IMAP, "imap.x:143|me", SECURITY_TLS},
        {"TLS failed: the server speaks without TLS", "<10224 the server speaks without TLS>", IMAP, "imap.x|me",
         SECURITY_STARTTLS},
        {"TCPIO 4106 TLS failed: no cipher", "<10224 no cipher>", WEB, "|me"},
        {"Certificate not trusted: expired, unknown issuer A, B & C, other name; SHA-256 " SHA256,
         "<10225 01234567 89abcdef 01234567 89abcdef 01234567 89abcdef 01234567 89abcdef|old, unknown (\"A\"), B & C, "
         "other>"},
        {"Certificate not trusted: weak; SHA-256 12", "Certificate not trusted: weak; SHA-256 12", POP},
        // One that there has not been.
        {"Certificate not trusted: expired; SHA-256 " OTHER_SHA256,
         "Certificate not trusted: expired; SHA-256 " OTHER_SHA256, POP},
        // Any other refusal stays the server's own.
        {"IMAPCMD_3 NO Mailbox does not exist", "Mailbox does not exist", IMAP},
        {"IMAPCMD_3 NO", "<10206>", IMAP},
        {"* BYE", "<10206>", IMAP},
        {"BAD Unknown command", "Unknown command", IMAP},
        {"503 Service Unavailable", "<10213 503 Service Unavailable>", WEB, "|me"},
        {"[no code", "[no code"},
        {"\x1b[1mbusy\t\x07now\x7f", "[1mbusy now"},
        {"no | bars", "no | bars"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Shown((std::string("Error: ") + c.Recorded).c_str(), c.Type, c.Source, FAILED_COUNTS, c.Security),
                  std::string("Error: ") + c.Shown);
    // As a file may keep it, and as a run in another language has recorded it.
    EXPECT_EQ(Shown("Error:"), "Error: <10200>");
    EXPECT_EQ(Shown("Fehler: No response\nmore"), "Error: <10201 pop.x:110>");
}

TEST(PersonText, LeavesGoodResultsAlone) {
    EXPECT_EQ(Shown("3 mails (1 unread)|rest\nmore", ITEMTYPE_POP3, "pop.x|me", "3|1"), "3 mails (1 unread)");
    EXPECT_EQ(Shown("Error: No response", ITEMTYPE_POP3, "pop.x|me", "3|1?"), "Error: No response");
    EXPECT_EQ(Shown(""), "") << "nothing is recorded";
}

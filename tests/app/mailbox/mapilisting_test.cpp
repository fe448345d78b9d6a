#include "app/mailbox/mapilisting.h"

#include "tests/support/testsupport.h"

namespace {

std::string Block(const MAPIMESSAGE& mail, int bytes = 4096) {
    LISTING::WRITER listing;
    AppendMapiBlock(listing, mail, bytes);
    return Std(listing.Take());
}

MAPIMESSAGE Mail() {
    MAPIMESSAGE mail;
    mail.Id = "00ff1a";
    mail.SenderName = "Anna";
    mail.SenderAddress = "anna@x.test";
    mail.DisplayTo = "Lena";
    mail.Subject = "Grüße";
    mail.Date = "Tue, 03 Mar 2026 05:06:07 +0000";
    mail.Body = "Hello\r\n";
    mail.Transport = "To: me@x.test\r\n";
    mail.Size = 4000000000;
    return mail;
}

TEST(MapiListing, WritesABlock) {
    MAPIMESSAGE mail = Mail();
    // Folded lines, tabs and blanks become single blanks.
    mail.Transport =
        "Received: from a\r\n\tby  b\r\nTO: \t\"Lena\"\r\n  <me@x.test>,\r\n \t you@x.test\r\ncc: c@x.test\r\nBcc: "
        "d@x.test\r\n\r\nTo: nobody\r\n";
    EXPECT_EQ(Block(mail),
              "To: \"Lena\" <me@x.test>, you@x.test\nCc: c@x.test\nFrom: Anna <anna@x.test>\nSubject: "
              "Grüße\nMessage-Id: 00ff1a\nDate: Tue, 03 Mar 2026 05:06:07 +0000\nMime: no\nX-Size: "
              "4000000000\nX-Transport: Received: from a by b\\nTO: \"Lena\" <me@x.test>, you@x.test\\ncc: "
              "c@x.test\\nBcc: d@x.test\\n\\nTo: nobody\\n\nSeen: no\n\nHello\n\1");
    // Of this machine: no header, and the mark of its owner. A sender may have no name, a store no date.
    mail = Mail();
    mail.Transport.clear();
    mail.IsLocal = mail.IsRead = true;
    mail.SenderName.clear();
    mail.Date.clear();
    EXPECT_EQ(Block(mail),
              "To: Lena<{me}>\nCc: \nFrom:  <anna@x.test>\nSubject: Grüße\nMessage-Id: 00ff1a\nDate: \nMime: "
              "no\nX-Size: 4000000000\nX-Transport: To: Lena<{me}>\\n\nSeen: yes\n\nHello\n\1");
}

TEST(MapiListing, NothingOfAMailEndsItsBlockOrItsLine) {
    const std::pair<std::string, const char*> bodies[] = {
        {"", "<empty>"},
        {"a", "a"},
        {".", ". "},
        {".\r\nX-Message-Id: 1\r\n", ". \nX-Message-Id: 1\n"},
        {"a\n.\n.\n\n.", "a\n. \n. \n\n. "},
        {"a\n.\r\r\nb", "a\n. \nb"},
        {"*\n*\r\n**\na*", "\n\n**\na*"},
        {std::string("a\1b\0c\n\1\n", 8), "a b c\n \n"},
    };
    for (const auto& [body, wanted] : bodies) {
        MAPIMESSAGE mail = Mail();
        mail.Body = body;
        const std::string block = Block(mail);
        EXPECT_EQ(block.substr(block.find("\n\n") + 2), wanted + std::string("\1")) << body;
        const std::string empty = Block(mail, 0);
        EXPECT_EQ(empty.substr(empty.find("\n\n") + 2), "\1");
    }
    const std::string hostile = std::string("a\r\nMessage-Id: 66\n\n*\n\1\0", 23) + "\n.\n";
    const std::string plain = Block(Mail());
    for (std::string MAPIMESSAGE::* text : {&MAPIMESSAGE::SenderName, &MAPIMESSAGE::SenderAddress,
                                            &MAPIMESSAGE::DisplayTo, &MAPIMESSAGE::Subject, &MAPIMESSAGE::Transport}) {
        for (const bool local : {false, true}) {
            MAPIMESSAGE mail = Mail();
            mail.*text = hostile;
            mail.IsLocal = local;
            const std::string block = Block(mail);
            EXPECT_EQ(std::ranges::count(block, '\n'), std::ranges::count(plain, '\n'));
            EXPECT_EQ(std::ranges::count(block, '\1'), 1);
            EXPECT_EQ(block.find('\0'), block.npos);
            EXPECT_NE(block.find("\nMessage-Id: 00ff1a\n"), block.npos);
        }
    }
    // A stranger cannot say that a mail is to the user.
    MAPIMESSAGE mail = Mail();
    for (const char* header : {"To: <{me}>\nCc: x{me}\n", "Cc: {me}", "To: {{me}}, {{{me}me}}\n", ""}) {
        mail.DisplayTo = "{me}";
        mail.Transport = header;
        const std::string block = Block(mail);
        EXPECT_EQ(block.substr(0, block.find("\nFrom")).find("{me}"), block.npos) << block;
    }
}

}  // namespace

#include "app/filter/decodedview.h"

#include <random>

#include "corelib/base/ascii.h"
#include "tests/app/filter/filtertest.h"

namespace {

constexpr std::string_view HTML = "Content-Type: text/html; charset=utf-8\n";
constexpr std::string_view BASE64 = "Content-Transfer-Encoding: base64\n";

std::string Coded(std::string_view text) {
    return Std(STRING(text).ToBase64(true));
}

TEST(DecodedView, IsTheTextThatAPersonSees) {
    const std::string page =
        Coded("<p>Ch&#8203;e\xD0\xB0p<i>er</i> <b style='display:none'>x</b><a href='http://a.example/'>");
    const std::string parts =
        "MIME-Version: 1.0\nContent-Type: multipart/alternative; boundary=b\n\n--b\n\nharmless\n--b\n" +
        std::string(HTML) + std::string(BASE64) + "\n" + page;
    const struct {
        std::string Mail, Header, Body;
        bool HeaderDiffers = true, BodyDiffers = true;
    } CASES[] = {
        {"Subject: x\nX: y\nTo: a\n\nplain\n\ttext\n", "Subject: x\nTo: a\n", "plain\n\ttext\n", false, false},
        {"Subject: x", "Subject: x\n", "", false, false},
        {"From: =?utf-8?q?M=C3=BCller?= <a@b>\nsubject: =?koi8-r?B?8NLJ18XU?=\n\t=?utf-8?Q?_b=0Ac?=\n\n",
         "From: M\xFCller <a@b>\nsubject: \xD0\x9F"
         "p\xD0\xB8\xD0\xB2"
         "et b c\n",
         "", true, false},
        {std::string(BASE64) + "\n" + Coded("Hello there"), "", "Hello there", false},
        // Cut off within a group of base64: what came before it is read.
        {std::string(BASE64) + "\n" + Coded("Hello there").substr(0, 11), "", "Hello th", false},
        {"Content-Transfer-Encoding: quoted-printable\n\nGr=C3=BC=\n=C3=9Fe =\n", "",
         "Gr\xFC\xDF"
         "e ",
         false},
        {parts + "\n--b--\n", "", "Cheaper\na.example\n", false},
        {parts.substr(0, parts.size() - 40), "", "Cheaper\n", false},
        // As a POP3 server's reply, and as a block whose mailbox has read the mail.
        {"Subject: x\n\n..a\n.\n", "Subject: x\n", ".a\n", false, false},
        {"Subject: \xC3\x9C\nMime: no\nX-Transport: Content-Transfer-Encoding: base64\\n\n\nGr\xC3\xBC\xC3\x9F"
         "e\n",
         "Subject: \xDC\n",
         "Gr\xFC\xDF"
         "e\n"},
        {std::string("Subject: a\0b\n\nx", 15), "Subject: a\n", "", false, false},
    };
    for (const auto& test : CASES) {
        const DECODEDVIEW view(test.Mail);
        EXPECT_EQ(view.Header, test.Header) << test.Mail;
        EXPECT_EQ(view.Body, test.Body) << test.Mail;
        EXPECT_EQ(view.HeaderDiffers, test.HeaderDiffers) << test.Mail;
        EXPECT_EQ(view.BodyDiffers, test.BodyDiffers) << test.Mail;
    }
}

class BothViews : public FILTERTEST {
 protected:
    std::string Score(std::string_view definitions, const std::string& mail) {
        const SPAMTABLE table = Table(definitions);
        WORDSCANNER scanner(table, State, Texts);
        const DECODEDVIEW view(mail);
        scanner.Scan(mail, &view);
        Details = scanner.Details;
        return std::to_string(scanner.TotalPoints) + "/" + std::to_string(scanner.Significant) + "/" +
               std::to_string(scanner.Exceptions);
    }
    std::string Details;
    class ZONETEXTS : public NUMBERTEXTS {
        STRING Get(int id) const override { return id == TEXT_DECODED ? "f|t|s|b" : NUMBERTEXTS::Get(id); }
    };
    ZONETEXTS Texts;
};

TEST_F(BothViews, CountAnOccurrenceOnce) {
    const std::string to = "To: me@here.example\n", html = to + std::string(HTML), base64 = to + std::string(BASE64);
    const struct {
        const char* Rows;
        std::string Mail;
        const char* Score;
    } CASES[] = {
        {"B|10|cheap", to + "\n\ncheap cheap\n", "20/1/0"},
        {"B|10|cheap", html + "\n<p>cheap <b>che</b>ap cheap", "30/1/0"},
        {"B|10|cheap", html + "\n<i title='cheap cheap'>cheap", "30/1/0"},
        {"B|10|cheap", base64 + "\n" + Coded("cheap\n"), "10/1/0"},
        {"SB|10|cheap", base64 + "Subject: cheap\n\n" + Coded("cheap\n"), "20/1/0"},
        {"S|10|cheap", to + "Subject: =?utf-8?B?Y2hlYXA=?=\n =?utf-8?q?_now?=\n\n", "10/1/0"},
        {"B|10|gr\xFC\xDF"
         "e\nB|10|ch\xC3\xA4rge",
         base64 + "\n" +
             Coded("Gr\xC3\xBC\xC3\x9F"
                   "e CH\xC3\xA4rge"),
         "20/2/0"},
        {"XB||chess", base64 + "\n" + Coded("chess chess"), "0/0/1"},
        {"XF||ann@a.example", to + "From: a =?utf-8?q?ann=40a=2Eexample?= <x@y.example>\n\n", "0/0/1"},
        {"XF||ann@a.example", to + "From: a =?utf-8?b?0LBubg==?=@a.example\n\n", "80/1/0"},
        {"F|10|ann@a.example;a.example", to + "From: a b <ann@a.example>\nSubject: =?utf-8?q?x?=\n\n", "10/1/0"},
        {"D|40|cheap", base64 + "\n" + Coded("1\n2\n3\nCHEAP!!"), "93/1/0"},
        {"D|40|cheap", base64 + "\n" + Coded("cheap"), "52/1/0"},
        // Bytes of a letter that the code page lacks are no letters of that page.
        {"B*|10|\x80\nB*|40|\xD0\x90", base64 + "\n" + Coded("\xD0\x90\xD0\x90\xD0\x80 \xE2\x82\xAC"), "90/0/0"},
        {"M|10|unsubscribe", html + "\nunsubscribe <b>unsub</b>scribe", "20/0/0"},
    };
    for (const auto& test : CASES)
        EXPECT_EQ(Score(test.Rows, test.Mail), test.Score) << test.Mail;
    Score("B|10|cheap", html + "\ncheap <b>che</b>ap");
    EXPECT_TRUE(Details.ends_with("     10 * <3028> 'cheap'\n     10   <3028> 'cheap' (b)\n")) << Details;
}

// Against counting by hand: for each row and zone the larger one of what the two views have, each scanned alone.
TEST_F(BothViews, CountForEachRowWhatTheRicherOneHas) {
    State.Set("SpamMyEmail", "");
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        const auto text = [&random](std::string_view letters, unsigned from, unsigned to) {
            std::string made(from + random() % (to - from + 1), ' ');
            std::generate(made.begin(), made.end(), [&] { return letters[random() % letters.size()]; });
            return made;
        };
        const char* const ZONES[] = {"T", "S", "B"};
        std::string definitions;
        for (int row = 0; row < 60; ++row)
            definitions += std::string(ZONES[random() % 3]) + "*|1|" + text("abAB !$@*9", 1, 5) + "\n";
        const SPAMTABLE table = Table(definitions);
        std::string mail = seed % 2 ? std::string(HTML) : "Content-Transfer-Encoding: quoted-printable\n";
        for (const char* field : {"To: ", "Subject: "})
            mail += field + text("abAB !$@9", 0, 20) + "=?utf-8?Q?" + text("abAB!$@9_", 1, 20) +
                    "?=" + text(" a", 0, 4) + "\n";
        mail += "\n";
        for (int line = 0; line < 6; ++line)
            mail += text(seed % 2 ? "abAB  !$@9<>" : "abAB  !$@9=41\n", 0, 60) + "\n";
        const DECODEDVIEW view(mail);
        WORDSCANNER fast(table, State, Texts), plain(table, State, Texts, true);
        fast.Scan(mail, &view);
        plain.Scan(mail, &view);
        ASSERT_EQ(fast.Details, plain.Details) << mail;
        ASSERT_EQ(fast.TotalPoints, plain.TotalPoints) << mail;
        const int withoutRows = [&] {
            const SPAMTABLE none = Table("");
            WORDSCANNER scanner(none, State, Texts);
            scanner.Scan(mail);
            return scanner.TotalPoints;
        }();
        int64_t expected = withoutRows;
        for (int row = 0; row < table.Words.Count(); ++row) {
            const SPAMWORD& word = table.Words[row];
            const auto hits = [&](std::string_view lines) {
                int count = 0;
                for (bool header = true; !lines.empty();) {
                    std::string line(ASCII::Take(lines, '\n'));
                    const bool isZone = header
                                            ? ASCII::BeginsWith(line, word.Flags & SPAMFLAG_TO ? "To:" : "Subject:") &&
                                                  !(word.Flags & SPAMFLAG_BODY)
                                            : (word.Flags & SPAMFLAG_BODY) != 0;
                    header = header && !line.empty();
                    std::string searched;
                    for (size_t i = 0; i < line.size(); ++i)
                        if (line[i] != ' ' || i + 1 == line.size() || (line[i + 1] != '!' && line[i + 1] != '$'))
                            searched += line[i];
                    WORDSEARCH search(word.Flags, word.Word.View(), searched);
                    for (int at = 0; isZone && (at = search.FindSpamWord(at)) != -1; ++at)
                        ++count;
                }
                return count;
            };
            expected += int64_t{word.Points} * std::max(hits(mail), hits(view.Header + "\n" + view.Body));
        }
        EXPECT_EQ(fast.TotalPoints, expected) << mail;
    }
}

}  // namespace

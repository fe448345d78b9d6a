#include "app/filter/wordscanner.h"

#include <random>

#include "tests/app/filter/filtertest.h"

namespace {

class Scanner : public FILTERTEST {
 protected:
    /// Points, indications and exceptions of the rows' hits alone: the message is to the user.
    std::string Score(std::string_view definitions, std::string_view message) {
        const SPAMTABLE table = Table(definitions);
        WORDSCANNER scanner(table, State, Texts);
        scanner.Scan(message);
        Details = scanner.Details;
        return std::to_string(scanner.TotalPoints) + "/" + std::to_string(scanner.Significant) + "/" +
               std::to_string(scanner.Exceptions);
    }
    std::string InBody(std::string_view definitions, std::string_view body) {
        return Score(definitions, "To: me@here.example\n\n\n\n\n" + std::string(body));
    }

    std::string Details;
};

TEST_F(Scanner, KeepsTheBoundariesOfWords) {
    const char* const CASES[][3] = {
        {"free", "carefree", "0/0/0"},
        {"free", "free4all 4free", "20/1/0"},
        {"free", "FREE. Free", "20/1/0"},
        {"free", "freedom is free", "0/0/0"},
        {"free", "free freedom", "10/1/0"},
        {"free*", "freedom free", "20/1/0"},
        {"*free", "carefree freedom", "10/1/0"},
        {"*free*", "xfreex", "10/1/0"},
        {"~Cash", "cash Cash CASH", "10/1/0"},
        {"$ 9", "for $ 9", "10/1/0"},
        {"9", "x9 9x", "10/1/0"},
        {"a b", "a  b a b", "10/1/0"},
        {"!", "a ! ! b!", "30/1/0"},
        {"\xE4pfel", "\xE4pfel b\xE4pfel", "20/1/0"},
        {"**", "anything", "0/0/0"},
        {"abcdef", "abcde abcdeX", "0/0/0"},
    };
    for (const auto& [word, line, score] : CASES)
        EXPECT_EQ(InBody("B|10|" + std::string(word), line), score) << word << " in " << line;
}

TEST_F(Scanner, ScalesDynamicWords) {
    const char* const CASES[][2] = {
        {"Subject: a CHEAP!!! offer\nTo: me@here.example\n\n", "183/1/0"},
        {"Subject: a cheap offer\n", "64/1/0"},
        {"\n\n\n\n\ncheap", "40/1/0"},
        {"\n\ncheap", "52/1/0"},
        {"\n1\n2\n3\ncheap", "40/1/0"},
        {"\n1\n2\n3\ncheap ! !", "72/1/0"},
        // Counters stay for the row on the line: after the end of the line, and once in capitals.
        {"\n1\n2\n3\ncheap!! cheap", "144/1/0"},
        {"\n1\n2\n3\nCHEAP cheap", "104/1/0"},
        {"\n1\n2\n3\ncheap!! cheap.", "112/1/0"},
    };
    State.Set("SpamMyEmail", "o: m\r\n.\r\n");
    Vars.Set("AddrNotToMe", "0");
    for (const auto& [message, score] : CASES)
        EXPECT_EQ(Score("D|40|cheap", message), score) << message;
    EXPECT_EQ(Score("D|40|chea*", "\n1\n2\n3\ncheapest!!"), "72/1/0");
}

TEST_F(Scanner, SearchesTheLinesOfItsZones) {
    const std::string message =
        "Received: from cheap.example\nsubject:cheap\n\tcheap\nTO: cheap me@here.example\nFrom:Ann Cheap "
        "<ann@x.example>\n"
        "Cc: cheap\nX-Cheap: cheap\n\ncheap\n";
    EXPECT_EQ(Score("S|1|cheap", message), "1/1/0");
    EXPECT_EQ(Score("F|1|cheap", message), "1/1/0");
    EXPECT_EQ(Score("B|1|cheap", message), "1/1/0");
    EXPECT_EQ(Score("TFSB|1|cheap", message), "5/1/0");
    EXPECT_EQ(Score("S|1|subject", message), "1/1/0") << "the name of the field is searched too";
    EXPECT_EQ(Score("B|1|cheap", "Subject: x"), "0/0/0") << "no body";
    EXPECT_EQ(Score("B|1|hidden", std::string("To: me@here.example\n\nx\n\0hidden", 30)), "0/0/0");
}

TEST_F(Scanner, CountsPointsAndIndications) {
    EXPECT_EQ(InBody("B|10/5|cheap", "cheap cheap\ncheap"), "30/5/0");
    EXPECT_EQ(InBody("B*|10/5|cheap", "cheap cheap"), "20/0/0");
    EXPECT_EQ(InBody("B|-15|meeting\nB|10|cheap", "cheap meeting"), "-5/2/0");
    EXPECT_EQ(InBody("XB||chess", "chess chess\nchess"), "0/0/1");
    EXPECT_NE(Details.find("    0   <3025> 'chess' (<3026>)\n      0   <3028> 'chess'\n"), std::string::npos)
        << Details;
    EXPECT_EQ(InBody("B|2000000000|a\nB|2000000000|b", "a b"), "2147483647/2/0");
    const char* const LISTS[] = {"20/0/0", "40/0/0", "60/1/0", "80/2/0"};
    for (int grade = 0; grade < 4; ++grade) {
        State.SetNumber("SpamDistrLists", grade);
        EXPECT_EQ(InBody("M|10/7|unsubscribe;list info", "unsubscribe\nlist info"), LISTS[grade]) << grade;
    }
    // A mail's state is its own.
    const SPAMTABLE table = Table("XB||chess\nB|10/5|cheap");
    WORDSCANNER scanner(table, State, Texts);
    for (int i = 0; i < 2; ++i) {
        scanner.Scan("From: a b <c@d.example>\nSubject: s\nTo: me@here.example\n\nchess cheap");
        EXPECT_EQ(scanner.TotalPoints, 10);
        EXPECT_EQ(scanner.Significant, 5);
        EXPECT_EQ(scanner.Exceptions, 1);
    }
}

TEST_F(Scanner, UsesUpWhatItRecognisesOfASender) {
    const char* const FROM = "From: Ann Lee <ann@shop.example>";
    EXPECT_EQ(Score("F|10|ann@shop.example;shop.example;lee", FROM), "20/2/0");
    EXPECT_EQ(Score("F|10|shop.example;ann@shop.example;lee", FROM), "20/2/0");
    // What the signs leave can be found by a later row, and the overwrite stops at the line's end.
    EXPECT_EQ(Score("F|10|shop;@@@@", FROM), "30/2/0");
    EXPECT_EQ(Score("F|10|a*", "From: aaa!!!! bb a"), "50/1/0") << "30 of these for the name";
}

TEST_F(Scanner, FindsThroughItsIndexWhatAPlainSearchFinds) {
    const char* const FLAGS[] = {"B", "D", "S", "F", "FT", "SB", "XF", "XB", "M", "B*", "TFSBD"};
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937 random(seed);
        // Texts of few letters and signs, in which words of the same letters stand often and in all sorts of ways.
        const auto text = [&random](std::string_view letters, unsigned from, unsigned to) {
            std::string made(from + random() % (to - from + 1), ' ');
            std::generate(made.begin(), made.end(), [&] { return letters[random() % letters.size()]; });
            return made;
        };
        std::string definitions;
        for (int row = 0; row < 200; ++row) {
            definitions += std::string(FLAGS[random() % std::size(FLAGS)]) + "|" +
                           std::to_string(static_cast<int>(random() % 50) - 10) + "|" + text("abAB !$@*~9\xE4", 1, 7) +
                           "\n";
        }
        const SPAMTABLE table = Table(definitions);
        WORDSCANNER fast(table, State, Texts);
        WORDSCANNER plain(table, State, Texts, true);
        for (int mail = 0; mail < 20; ++mail) {
            std::string message;
            for (const char* field : {"From: ", "Subject: ", "To: ", "cc:"})
                message += field + text("abAB !$@9\xE4", 0, 60) + "\n";
            message += "\n";
            for (int line = 0; line < 8; ++line)
                message += text("abAB  !$@9\xE4", 0, 80) + "\n";
            fast.Scan(message);
            plain.Scan(message);
            ASSERT_EQ(fast.Details, plain.Details) << "seed " << seed << "\n" << message;
            ASSERT_EQ(fast.TotalPoints, plain.TotalPoints);
            ASSERT_EQ(fast.Significant, plain.Significant);
            ASSERT_EQ(fast.Exceptions, plain.Exceptions);
        }
    }
}

TEST_F(Scanner, TakesALineOfAMegabyteCalmly) {
    const SPAMTABLE table = Table("B|1|a*;*!*;*aaaaab*\nF|1|b*");
    WORDSCANNER scanner(table, State, Texts);
    const std::string letters(1 << 20, 'a');
    scanner.Scan("To: me@here.example\n\n" + letters);
    EXPECT_EQ(scanner.TotalPoints, 1) << "the second occurrence has a letter in front";
    scanner.Scan("To: me@here.example\n\n" + std::string(1 << 20, '!'));
    EXPECT_EQ(scanner.TotalPoints, 1 << 20);
    EXPECT_LT(scanner.Details.size(), size_t{1} << 19) << "a report is no longer than the mail";
    scanner.Scan("To: me@here.example\nFrom: " + std::string(1 << 20, 'b') + " c\n\n");
    EXPECT_EQ(scanner.TotalPoints, (1 << 20) + 30) << "30 of these for the name";
}

}  // namespace

#include "app/notify/alertmarkup.h"

#include "resources/commands.h"
#include "tests/support/testsupport.h"

namespace {

// Lines between "/", pieces as font, colours, "*command" for a button, and the text in quotes; escapes as "^".
std::string Shown(const std::vector<ALERTLINE>& lines) {
    const char* const fonts[] = {"n", "b", "sb", "s"};
    std::string result;
    for (const ALERTLINE& line : lines) {
        result += result.empty() ? "" : "/";
        for (const ALERTPIECE& piece : line) {
            result += fonts[static_cast<int>(piece.Font)];
            if (piece.TextColor)
                result += "F" + std::to_string(*piece.TextColor);
            if (piece.BackColor)
                result += "B" + std::to_string(*piece.BackColor);
            if (piece.Button)
                result += piece.Command ? "*" + std::to_string(*piece.Command) : "*?";
            result += "'";
            for (char c : piece.Text)
                result += c == '\x1b' ? '^' : c;
            result += "'";
        }
    }
    return result;
}

}  // namespace

TEST(AlertMarkup, DividesAnyTextIntoPieces) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"\x1b[bs] new\x1b[s] old\x1b[b]bold\x1b[n]normal", "sb' new's' old'b'bold'n'normal'"},
        {"\x1b[sb;*=" NUMBER(COMMAND_MAIL_PROGRAM) "]Mail\x1b[s]  \x1b[*]Next",
         "sb*" NUMBER(COMMAND_MAIL_PROGRAM) "'Mail's'  'n*?'Next'"},
        {"\x1b[s;B=255;F=0] spam", "sF0B255' spam'"},
        {"\x1b[F=16777215;bs]x", "sbF16777215'x'"},  // in any order
        {"\x1b[F]a\x1b[B=]b\x1b[F=red]c", "nF-1'a'nB-1'b'nF-1'c'"},
        {"\x1b[F=-1;B=99999999999999999999]a\x1b[F=-99999999999]b", "nF-1B2147483647'a'nF-2147483648'b'"},
        {"\x1b[*=65535]a\x1b[*=65537]b\x1b[*=0]c\x1b[*=]d", "n*65535'a'n*1'b'n*0'c'n*?'d'"},
        {"\x1b[SN;f=1;b2=7]x", "b'x'"},  // the case counts, and unknown elements do not
        {"a\x0fx\x0ey\n\x0f", "n'a's'x'n'y'/s''"},
        // Lines.
        {"", "n''"},
        {"one\ntwo\n", "n'one'/n'two'/n''"},
        {"a\x1b[b]b\nc", "n'a'b'b'/n'c'"},  // no state goes over to the next line
        {"\x1b[s]\x1b[b]x", "s''b'x'"},
        // Names and subjects come from outside: nothing of them gets lost, whatever looks like a code.
        {"a\x1b\x1b[\x1b]b", "n'a'n'^'n'^['n'^]b'"},
        {"\x1b[b;*=7\n]x", "n'^[b;*=7'/n']x'"},  // a code ends with its line
        {"\x1b[b\x1b[s]x", "n'^[b's'x'"},        // and with its piece
        {"\x1b[b\x0f]x", "n'^[b's']x'"},         // also where the control byte brings a piece
        {"a\rb\tc\x01\xff", "n'a\rb c\x01\xff'"},
        {std::string_view("a\0\x1b[b]\0c", 8), std::string_view("n'a\0'b'\0c'", 10)},
    };
    for (const auto& [text, pieces] : cases)
        EXPECT_EQ(Shown(ParseAlertMarkup(text)), pieces) << testing::PrintToString(std::string(text));
}

#include "app/console/scoremails.h"

#include "tests/support/testsupport.h"

namespace {

constexpr const char* SEPARATOR = "From x@y Thu Jan  1 00:00:00 1970\n";

/// What a reader makes of a file that comes in pieces of so many bytes.
std::vector<std::string> Read(const std::string& file, size_t piece) {
    std::vector<std::string> mails;
    MBOXREADER reader([&](const std::string& mail) { mails.push_back(mail); });
    for (size_t at = 0; at < file.size(); at += piece)
        reader.Put(std::string_view(file).substr(at, piece));
    reader.End();
    return mails;
}

}  // namespace

TEST(MboxReader, TakesMailsApart) {
    const std::string file = std::string("preamble\n\n") + SEPARATOR +
                             "A: 1\r\n\r\none\n>From here\n>>From there\nFrom there\n\n" + SEPARATOR + "\n\n" +
                             SEPARATOR + "B: 2\n\n" + SEPARATOR + "C: 3\n\nlast";
    const std::vector<std::string> expected = {"A: 1\n\none\nFrom here\n>From there\nFrom there\n", "\n", "B: 2\n",
                                               "C: 3\n\nlast\n"};
    for (size_t piece : {size_t{1}, size_t{7}, file.size()})
        EXPECT_EQ(Read(file, piece), expected) << piece;
    EXPECT_TRUE(Read("no mail\n\nFromage\n", 100).empty());
    EXPECT_TRUE(Read("", 1).empty());
}

TEST(MboxReader, TakesAFileThatIsOneMail) {
    std::vector<std::string> mails;
    MBOXREADER reader([&](const std::string& mail) { mails.push_back(mail); }, true);
    reader.Put("A: 1\n\none\n\nFrom here\n>From there\n");
    reader.End();
    EXPECT_EQ(mails, std::vector<std::string>{"A: 1\n\none\n\nFrom here\n>From there\n"});
}

TEST(MboxReader, CutsAMailAsACheckDoes) {
    std::string body;
    for (int line = 1; line <= 200; ++line)
        body += std::to_string(line) + "\n";
    const std::string cut = Read(SEPARATOR + std::string("A: 1\n\n") + body, 64).at(0);
    EXPECT_TRUE(cut.ends_with("\n99\n100\n")) << cut;
    // A line without end comes in pieces, of which the search sees as many as of a line from a server.
    const std::string pieces = Read(SEPARATOR + std::string("A: 1\n\n") + std::string(2500, 'x') + "\nz", 64).at(0);
    EXPECT_EQ(pieces, "A: 1\n\n" + std::string(1023, 'x') + "\n" + std::string(1023, 'x') + "\n" +
                          std::string(454, 'x') + "\nz\n");
    EXPECT_LE(Read(SEPARATOR + std::string(20 << 20, 'x'), 65536).at(0).size(), size_t{5} << 20);
}

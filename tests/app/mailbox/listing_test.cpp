#include "app/mailbox/listing.h"

#include "corelib/base/ascii.h"
#include "tests/support/testsupport.h"

namespace {

TEST(Listing, BlocksOfATextAreThoseThatTheEndBytesCut) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"", {}},
        {"-ERR no", {}},
        {"0 msgs\n", {}},
        {"2 msgs\na\1b\1", {"a", "b"}},
        {"2 msgs\na\1b", {"a", "b"}},
        // An empty block ends the listing, here as in the filter.
        {"2 msgs\n\1a\1b\1", {}},
        {"2 msgs\na\1\1b\1", {"a"}},
    };
    for (const auto& [listing, wantedBlocks] : cases) {
        STRING text = listing;
        std::vector<std::string> blocks;
        LISTING::BLOCKCURSOR cursor(text);
        for (std::string_view block; cursor.Next(block);)
            blocks.emplace_back(block);
        EXPECT_EQ(blocks, wantedBlocks) << testing::PrintToString(listing);
    }
}

TEST(Listing, ErrorsHaveOnePrefixAndNoReturns) {
    for (const char* line : {"-err no\r", "-ERR \rno", "no", "\rno"})
        EXPECT_TRUE(ASCII::Equal(LISTING::ErrorText(line).View(), "-ERR no")) << line;
}

TEST(Listing, WriterGivesBackItsPieces) {
    LISTING::WRITER writer;
    EXPECT_EQ(writer.Take(), "");
    std::string expected;
    for (int length : {1, 70000, 0, 200000, 65535, 3}) {
        std::string piece(static_cast<size_t>(length), static_cast<char>('a' + expected.size() % 26));
        writer.Append(piece);
        expected += piece;
    }
    EXPECT_EQ(writer.Length(), static_cast<int64_t>(expected.size()));
    STRING text = writer.Take();
    EXPECT_TRUE(text == expected);
    EXPECT_LT(text.GetBufLen(), static_cast<int>(expected.size()) + 1024);
    EXPECT_EQ(writer.Length(), 0);

    EXPECT_ASSERTIONS(1);
    writer.Append("x");
    writer.Append(std::string_view("y", size_t{STRING::MAX_LENGTH}));
    EXPECT_EQ(writer.Take(), "x") << "a listing is no longer than a STRING";
}

}  // namespace

#include "corelib/net/mxlookup.h"
#include "tests/support/testsupport.h"

namespace {

using namespace std::string_literals;

// An alias of a name that has one mail server, as a name server sends it: header, question, CNAME, MX.
const std::string ANSWER =
    "\x00\x07\x85\x80\x00\x01\x00\x02\x00\x00\x00\x00"
    "\x05"
    "alias\x07"
    "example\x00\x00\x0f\x00\x01"
    "\xc0\x0c\x00\x05\x00\x01\x00\x00\x00\x00\x00\x07\x04real\xc0\x12"
    "\xc0\x2b\x00\x0f\x00\x01\x00\x00\x00\x00\x00\x06\x01\x05\x01m\xc0\x2b"s;

std::string Records(const std::string& answer) {
    // In a block of exactly its size, so that the sanitizer sees a read past its end.
    const std::unique_ptr<char[]> block(new char[answer.size()]);
    std::copy(answer.begin(), answer.end(), block.get());
    std::vector<DNSRECORD> records;
    ReadDnsAnswer({block.get(), answer.size()}, records);
    std::string text;
    for (const DNSRECORD& record : records)
        text += std::to_string(record.Type) + ":" + std::to_string(record.Preference) +
                (record.Port != 0 ? ":" + std::to_string(record.Weight) + ":" + std::to_string(record.Port) : "") +
                "|" + Std(record.Host) + " ";
    return text;
}

// The services of a domain: one in full, one that says there is none, one without room for its numbers.
const std::string SERVICES =
    "\x00\x07\x85\x80\x00\x01\x00\x03\x00\x00\x00\x00\x01"
    "a\x07"
    "example\x00\x00\x21\x00\x01"
    "\xc0\x0c\x00\x21\x00\x01\x00\x00\x00\x00\x00\x0d\x00\x01\x02\x03\x03\xe1\x04imap\xc0\x0c"
    "\xc0\x0c\x00\x21\x00\x01\x00\x00\x00\x00\x00\x07\x00\x00\x00\x00\x00\x8f\x00"
    "\xc0\x0c\x00\x21\x00\x01\x00\x00\x00\x00\x00\x06\x00\x00\x00\x00\x00\x8f"s;

TEST(DnsAnswer, GivesItsRecords) {
    EXPECT_EQ(Records(ANSWER), "5:0| 15:261|m.real.example ");
    EXPECT_EQ(Records(SERVICES), "33:1:515:993|imap.a.example 33:0:0:143|. ");
}

TEST(DnsAnswer, IsHarmlessHoweverItIsDamaged) {
    for (size_t size = 0; size < ANSWER.size(); ++size) {
        const std::string records = Records(ANSWER.substr(0, size));
        EXPECT_TRUE(records.empty() || records == "5:0| ") << size << " " << records;
    }
    for (const std::string& answer : {ANSWER, SERVICES}) {
        for (size_t at = 0; at < answer.size(); ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string damaged = answer;
                damaged[at] = static_cast<char>(byte);
                Records(damaged);
            }
        }
    }
    // The host is a pointer to itself.
    EXPECT_EQ(Records(ANSWER.substr(0, ANSWER.size() - 4) + "\xc0\x40\xc0\x40"), "5:0| ");
    // A record without room for its preference.
    EXPECT_EQ(Records(ANSWER.substr(0, ANSWER.size() - 7) + "\x01"s + "\x00"s), "5:0| ");
}

}  // namespace

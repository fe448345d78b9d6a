#include "corelib/net/ringbuffer.h"

#include <random>

#include "corelib/net/tcpio.h"
#include "tests/support/testsupport.h"
#include "tests/support/times.h"

namespace {

std::string Take(RINGBUFFER& ring, int room, const char* until = nullptr, int timeoutMs = 0) {
    std::string out(static_cast<size_t>(room), '?');
    int length = room;
    const bool ok = ring.Read(out.data(), &length, timeoutMs, until);
    EXPECT_EQ(ok, length > 0);
    return out.substr(0, static_cast<size_t>(length));
}

}  // namespace

TEST(RingBuffer, GivesTheBytesThatWentInUpToTheStopByte) {
    // Against a plain string: every mixture of lengths, also across the end of the block and up to a full ring.
    std::mt19937 random(7);
    auto upTo = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n + 1)); };
    for (int size : {1, 2, 7, 16}) {
        RINGBUFFER ring(size);
        std::string model;
        for (int i = 0; i < 3000; ++i) {
            std::string data(static_cast<size_t>(upTo(size - static_cast<int>(model.size()))), ' ');
            std::generate(data.begin(), data.end(), [&] { return "ab\n;\0c"[upTo(5)]; });
            ASSERT_TRUE(ring.Write(data.data(), static_cast<int>(data.size())));
            model += data;
            ASSERT_EQ(ring.Avail(), static_cast<int>(model.size()));
            const char* until = (const char*[]){nullptr, "\n", ";\n", ""}[upTo(3)];
            const int room = upTo(size + 1);
            std::string expected = model.substr(0, static_cast<size_t>(room));
            if (until)
                for (size_t at = 0; at < expected.size(); ++at)
                    if (strchr(until, expected[at]))
                        expected.resize(at + 1);
            ASSERT_EQ(Take(ring, room, until), expected) << size << " " << i;
            model.erase(0, expected.size());
        }
    }
}

TEST(RingBuffer, ReaderWaitsForTheFirstByteOnly) {
    RINGBUFFER ring(16);
    EXPECT_EQ(Take(ring, 5), "");
    EXPECT_EQ(Take(ring, 5, nullptr, 5), "");
    std::thread writer([&] { ring.Write("x", 1); });
    EXPECT_EQ(Take(ring, 5, nullptr, 20000), "x");
    writer.join();
    // Drained: the next read waits again, and one that leaves something does not make the next one wait.
    EXPECT_EQ(Take(ring, 5, nullptr, 1), "");
    ring.Write("yz", 2);
    EXPECT_EQ(Take(ring, 1, nullptr, 20000), "y");
    EXPECT_EQ(Take(ring, 5, nullptr, 20000), "z");
}

TEST(RingBuffer, AWriterWaitsForRoomWithoutLimit) {
    SHRINKABLE::TcpTimes.RingFullMs = 1;
    RINGBUFFER ring(8);
    ring.Write("12345678", 8);
    std::atomic<bool> done = false;
    std::thread writer([&] { done = ring.Write("ab", 2); });
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(done);
    EXPECT_EQ(Take(ring, 1), "1");
    EXPECT_EQ(Take(ring, 1), "2");
    writer.join();
    EXPECT_TRUE(done);
    EXPECT_EQ(Take(ring, 20), "345678ab");
    SHRINKABLE::TcpTimes = {};
}

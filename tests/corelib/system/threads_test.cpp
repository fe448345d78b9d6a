#include <mutex>

#include "corelib/base/locks.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

struct WORK {
    EVENTSEM Go{false};
    std::atomic<bool> Done = false;
};

unsigned Work(void* argument) {
    auto* work = static_cast<WORK*>(argument);
    work->Go.Wait(WAIT_FOREVER);
    work->Done = true;
    return 0;
}

TEST(Threads, AreWaitedFor) {
    WORK work;
    uint32_t first = 0, second = 0;
    OSYS::THREADHANDLE thread = OSYS::CreateThread(Work, &work, &first);
    OSYS::THREADHANDLE other = OSYS::CreateThread(Work, &work, &second);
    ASSERT_TRUE(thread && other);
    EXPECT_NE(first, second);

    EXPECT_EQ(OSYS::WaitThread(thread, 1), 0);
    EXPECT_TRUE(thread) << "a wait in vain leaves it open";

    work.Go.Set();
    EXPECT_EQ(OSYS::WaitThread(thread, WAIT_FOREVER), 1);
    EXPECT_FALSE(thread);
    EXPECT_TRUE(work.Done);
    EXPECT_TRUE(Eventually([&] { return OSYS::WaitThread(other, 0) == 1; }));
    EXPECT_FALSE(other);

    EXPECT_ASSERTIONS(1);
    EXPECT_EQ(OSYS::WaitThread(thread, 0), 0);
}

TEST(Threads, ValuesOfOneKeyAreNotLostBetweenTwo) {
    constexpr int EACH = 40;
    TEMPDIR dir;
    VARIABLE store("TARNWICK_REGISTRY", dir.Native("values"));
    struct WRITER {
        char Letter;
        static unsigned Run(void* argument) {
            char letter = static_cast<WRITER*>(argument)->Letter;
            REGISTRY key("TarnwickTest", "Threads", ROOT_CURRENT_USER);
            for (int i = 0; i < EACH; ++i)
                key.Write((letter + std::to_string(i)).c_str(), "x");
            return 0;
        }
    } writers[] = {{'a'}, {'b'}};
    std::vector<OSYS::THREADHANDLE> threads;
    for (auto& writer : writers)
        threads.push_back(OSYS::CreateThread(WRITER::Run, &writer, nullptr));
    for (auto& thread : threads)
        EXPECT_EQ(OSYS::WaitThread(thread, WAIT_FOREVER), 1);

    REGISTRY key("TarnwickTest", "Threads", ROOT_CURRENT_USER);
    STRING names;
    EXPECT_EQ(key.EnumValues(&names), 2 * EACH);
    for (int i = 0; names.Word(i, "|").NotNull(); ++i)
        key.Delete(names.Word(i, "|").Text());
}

}  // namespace

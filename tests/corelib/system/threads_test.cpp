#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

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
                (void)key.Write((letter + std::to_string(i)).c_str(), "x");
            return 0;
        }
    } writers[] = {{'a'}, {'b'}};
    std::vector<OSYS::THREADHANDLE> threads;
    for (auto& writer : writers)
        threads.push_back(OSYS::CreateThread(WRITER::Run, &writer, nullptr));
    for (auto& thread : threads)
        EXPECT_TRUE(OSYS::WaitThread(thread, WAIT_FOREVER));

    REGISTRY key("TarnwickTest", "Threads", ROOT_CURRENT_USER);
    STRING names;
    EXPECT_EQ(key.EnumValues(&names), 2 * EACH);
    for (int i = 0; names.Word(i, "|").NotNull(); ++i)
        key.Delete(names.Word(i, "|").Text());
}

TEST(Threads, ManyEndWhileOthersBegin) {
    constexpr int EACH = 100, AT_ONCE = 16;
    auto ended = std::make_shared<std::atomic<int>>(0);
    const auto run = [](void* argument) -> unsigned {
        for (int i = 0; i < EACH; ++i) {
            const auto& count = *static_cast<std::shared_ptr<std::atomic<int>>*>(argument);
            EXPECT_TRUE(OSYS::RunAlone([count] { ++*count; }));
            if (i % 4 == 0)
                OSYS::CreateThread([](void*) -> unsigned { return 0; }, nullptr, nullptr);
        }
        return 0;
    };
    std::vector<OSYS::THREADHANDLE> threads;
    for (int i = 0; i < AT_ONCE; ++i)
        threads.push_back(OSYS::CreateThread(run, &ended, nullptr));
    for (auto& thread : threads)
        EXPECT_TRUE(OSYS::WaitThread(thread, WAIT_FOREVER));
    EXPECT_TRUE(Eventually([&] { return *ended == EACH * AT_ONCE; }));
}

}  // namespace

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

}  // namespace

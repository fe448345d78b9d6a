#include "corelib/system/registry.h"

#include "corelib/system/osys.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

constexpr const char* COMPANY = "TarnwickTest";
constexpr const char* KEY = "Software\\TarnwickTest\\Values";

class Registry : public ::testing::Test {
 protected:
    // On Windows the values lie in the real registry, and are taken out again.
    void TearDown() override {
        REGISTRY key(ROOT_CURRENT_USER, KEY, nullptr, REGISTRY_WRITE);
        STRING names;
        key.EnumValues(&names);
        for (int i = 0; names.Word(i, "|").NotNull(); ++i)
            key.Delete(names.Word(i, "|").Text());
    }
    TEMPDIR Dir;
    VARIABLE Store{"TARNWICK_REGISTRY", Dir.Native("values")};
};

TEST_F(Registry, KeepsTextsAsTheyAre) {
    REGISTRY key(COMPANY, "Values", ROOT_CURRENT_USER);
    ASSERT_TRUE(key.IsOpen());
    const std::string texts[] = {"", "a=b{c}", "={{QUJD}}", " back\\slash\\n\n\tä 日 ", std::string(8000, 'l')};
    for (const auto& text : texts) {
        EXPECT_TRUE(key.Write("Text", text.c_str()));
        EXPECT_TRUE(key.Write("Όνομα", text.c_str()));
        EXPECT_EQ(Std(key.Read("Όνομα")), text);
        const STRING back = REGISTRY(ROOT_CURRENT_USER, "Software\\TarnwickTest", "Values", REGISTRY_READ).Read("tExT");
        EXPECT_TRUE(back.NotNull());
        EXPECT_EQ(Std(back), text);
    }
    EXPECT_TRUE(key.Write("Text", std::string(8300, 'l').c_str()));
    EXPECT_FALSE(key.Read("Text").NotNull());  // more than a read takes
    EXPECT_FALSE(key.Read("absent").NotNull());
}

TEST_F(Registry, TakesTheUsersValueBeforeTheMachines) {
    const auto found = [] { return Std(RegistryText("Software\\TarnwickTest", "Values", "Both")); };
    EXPECT_EQ(found(), "");
    for (const auto& [root, value] : {std::pair(ROOT_LOCAL_MACHINE, "all"), {ROOT_CURRENT_USER, "own"}}) {
        ASSERT_TRUE(REGISTRY(COMPANY, "Values", root).Write("Both", value));
        EXPECT_EQ(found(), value);
    }
    for (const intptr_t root : {ROOT_LOCAL_MACHINE, ROOT_CURRENT_USER})
        REGISTRY(COMPANY, "Values", root).Delete("Both");
}

TEST_F(Registry, KeepsBytesAsTheyAre) {
    REGISTRY key(COMPANY, "Values", ROOT_CURRENT_USER);
    std::string bytes;
    for (int i = 0; i < 300; ++i)
        bytes += static_cast<char>(i);
    EXPECT_TRUE(key.Write("Bytes", bytes.data(), 300));
    char buffer[400];
    int size = sizeof buffer;
    EXPECT_TRUE(key.Read("Bytes", buffer, &size));
    EXPECT_EQ(std::string(buffer, static_cast<size_t>(size)), bytes);
    size = 299;
    EXPECT_FALSE(key.Read("Bytes", buffer, &size));
    EXPECT_EQ(size, 0);
    // One byte of a text is no terminator.
    EXPECT_TRUE(key.Write("Bytes", "x", 1));
    EXPECT_EQ(Std(key.Read("Bytes")), "x");
}

}  // namespace

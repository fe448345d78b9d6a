#include <filesystem>
#include <map>

#include "corelib/base/trace.h"
#include "tests/support/testsupport.h"

namespace fs = std::filesystem;

// Each fuzz target is a function here, with the name of its file.
#define TW_FUZZ(name) extern "C" int name##_fuzz(const uint8_t* data, size_t size);
#include "fuzz/targets.inc"
#undef TW_FUZZ

// The targets end the program where they find something; the last test that was begun tells the seed.
class Seeds : public testing::TestWithParam<fs::path> {};

static std::vector<fs::path> AllSeeds() {
    std::vector<fs::path> seeds;
    for (const auto& entry : fs::recursive_directory_iterator(TW_SEEDS))
        seeds.push_back(entry.path());
    std::sort(seeds.begin(), seeds.end());
    return seeds;
}

static std::string NameOf(const testing::TestParamInfo<fs::path>& seed) {
    std::string name = fs::relative(seed.param, TW_SEEDS).string();
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

TEST_P(Seeds, Pass) {
#define TW_FUZZ(name) {#name, name##_fuzz},
    static const std::map<std::string, int (*)(const uint8_t*, size_t)> targets{
#include "fuzz/targets.inc"
    };
    // A folder stands for no input at all.
    const bool folder = fs::is_directory(GetParam());
    const auto target = targets.find((folder ? GetParam() : GetParam().parent_path()).filename().string());
    ASSERT_NE(target, targets.end());
    const std::string bytes = folder ? "" : ReadBytes(STRING(GetParam().string()));
    // A target may ask what no program may ask: it looks for what ends a program.
    const int before = AssertCount();
    EXPECT_EQ(target->second(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), 0);
    ExpectAssertions(AssertCount() - before);
}
INSTANTIATE_TEST_SUITE_P(All, Seeds, testing::ValuesIn(AllSeeds()), NameOf);

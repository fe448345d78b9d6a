// STRINGARRAY beside std::map: reading a file of many keys, and looking each of them up.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/stringarray.h"

namespace {

struct CASELESS {
    bool operator()(const std::string& a, const std::string& b) const {
        return std::ranges::lexicographical_compare(a, b, {}, Folded, Folded);
    }
    static unsigned char Folded(char c) { return ASCII::Lower(c); }
};

// A file of `count` keys in the order in which the program writes them, and the keys in another order.
class TABLEFILE {
 public:
    explicit TABLEFILE(int count)
        : Path((std::filesystem::temp_directory_path() / ("tables-bench-" + std::to_string(count))).string()) {
        STRINGARRAY table;
        for (int i = 0; i < count; ++i) {
            const std::string key = "Key" + std::to_string(i * 7919L % 1000003);
            table[key.c_str()] = ("value number " + std::to_string(i)).c_str();
            Keys.push_back(key);
        }
        (void)table.Save(FILES::SystemPath(Path.c_str()).Text());
        std::ranges::shuffle(Keys, std::mt19937(1));
    }
    ~TABLEFILE() { std::filesystem::remove(Path); }
    TABLEFILE(const TABLEFILE&) = delete;
    TABLEFILE& operator=(const TABLEFILE&) = delete;

    const std::string Path;
    std::vector<std::string> Keys;
};

void Tables(benchmark::State& state) {
    const TABLEFILE file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        STRINGARRAY table;
        (void)table.Load(FILES::SystemPath(file.Path.c_str()).Text());
        size_t bytes = 0;
        for (const std::string& key : file.Keys)
            bytes += static_cast<size_t>(std::as_const(table)[key.c_str()].Length());
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(Tables)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void Map(benchmark::State& state) {
    const TABLEFILE file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::map<std::string, std::string, CASELESS> table;
        std::ifstream in(file.Path);
        for (std::string line; std::getline(in, line);) {
            if (line.ends_with('\r'))
                line.pop_back();
            const size_t split = line.find('=');
            table.emplace(line.substr(0, split), line.substr(split + 1));
        }
        size_t bytes = 0;
        for (const std::string& key : file.Keys)
            bytes += table.find(key)->second.size();
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(Map)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

#pragma once

// The standard headers that targets use most come with this one.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

/// What a target looks for: it ends the program if what may never be has come about, or what always holds does not.
inline void Never(bool found) {
    if (found)
        abort();
}
inline void Always(bool holds) {
    Never(!holds);
}

/// A target, and the bytes that it tries.
#define FUZZ_TARGET(text)                                                     \
    static void Try(std::string_view text);                                   \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
        Try({reinterpret_cast<const char*>(data), size});                     \
        return 0;                                                             \
    }                                                                         \
    static void Try(std::string_view text)

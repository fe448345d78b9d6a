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

#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

/// Points stay within the range of an int, whatever numbers a user has put into the files.
inline int WithinRange(int64_t points) {
    return static_cast<int>(
        std::clamp<int64_t>(points, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}
